#include "sorblib2core/CPluginBase.h"

#include "sorblib2core/CString.h"
#include "sorblib2core/CValueMap.h"
#include "sorblib2core/UnwrapPointer.h"

namespace ORVEN {

CPluginBase::~CPluginBase() = default;

bool CPluginBase::TestInterface(const CString& name) {
    return name == "CPluginBase" || IPluginObject::TestInterface(name);
}

void CPluginBase::Configure(void* /*context*/, CValueMap& /*settings*/) {}

void CPluginBase::Reset() {}

bool CPluginBase::TestParameters(const CValueMap& tree) {
    try {
        const CValueMap* document = UnwrapPointer<CValueMap>(tree.Entry("input/documents/focused", true));
        const CValue* content = document != nullptr ? document->Entry("content", true) : nullptr;
        return content != nullptr && content->Pointer() != nullptr && content->VoidPointer() != nullptr;
    } catch (...) {
        return false;
    }
}

} // namespace ORVEN
