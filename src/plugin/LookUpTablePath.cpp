#include "plugin/LookUpTablePath.h"

#include "plugin/PluginContract.h"

#include <sorblib2core/CFile.h>

namespace quillon {

using namespace ORVEN;

void TakePathOfExistingFile(const CValueMap& settings, const char* key, std::string& path) {
    CString text;
    if (contract::ReadParameter(settings, key, text) && CFile::Exists(text))
        path = text.Std();
}

} // namespace quillon
