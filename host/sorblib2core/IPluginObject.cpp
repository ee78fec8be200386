#include "sorblib2core/IPluginObject.h"

#include "sorblib2core/CString.h"

namespace ORVEN {

IPluginObject::~IPluginObject() = default;

void IPluginObject::GetPluginSetup(CValueMap& /*setup*/) {}

void IPluginObject::Init(const CValueMap* /*settings*/) {}

bool IPluginObject::TestInterface(const CString& name) {
    return name == "IPluginObject" || name == "IObject";
}

} // namespace ORVEN
