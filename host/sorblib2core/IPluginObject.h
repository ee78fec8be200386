#pragma once

#include "sorblib2core/IObject.h"

namespace ORVEN {

class CString;
class CValueMap;

/// An object that can say what it is. Parameter trees and plug-ins are such objects.
class IPluginObject : public IObject {
public:
    ~IPluginObject() override;

    /// Stores what the host should know of the object ("Version", "PluginName") as texts in `setup`.
    virtual void GetPluginSetup(CValueMap& setup);

    /// Hands over settings before the first use; can be null. The default ignores them.
    virtual void Init(const CValueMap* settings);

    /// Whether the object offers the interface of that class name, such as "IPluginObject".
    virtual bool TestInterface(const CString& name);
};

} // namespace ORVEN
