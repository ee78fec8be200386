#include "QuillonUtils/CopyMapEntries.h"

namespace ORVEN {

void CopyMapEntries(CValueMap& target, const CValueMap& source, const std::string& prefix) {
    for (auto entry = source.begin(); entry != source.end(); ++entry)
        target.SetEntry(prefix + entry.Key().ToString(), entry.Value()->Clone(CValue::TF_NONE));
}

} // namespace ORVEN
