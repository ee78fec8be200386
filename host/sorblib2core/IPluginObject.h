#pragma once

#include "sorblib2core/IObject.h"

namespace ORVEN {

class CString;
class CValueMap;

/// An object that can describe itself, such as a parameter tree or a plug-in.
class IPluginObject : public IObject {
public:
    ~IPluginObject() override;

    /// Writes a description of the object ("Version", "PluginName") as texts into `setup`.
    virtual void GetPluginSetup(CValueMap& setup);

    /// Passes settings before the first use; `settings` can be null. The default ignores them.
    virtual void Init(const CValueMap* settings);

    /// Whether the object implements the interface of that class name, such as "IPluginObject".
    virtual bool TestInterface(const CString& name);
};

} // namespace ORVEN
