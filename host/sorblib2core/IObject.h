#pragma once

namespace ORVEN {

/// Base class of everything that the host uses through a pointer.
class IObject {
public:
    IObject() = default;
    IObject(const IObject&) = default;
    IObject& operator=(const IObject&) = default;
    virtual ~IObject();

    /// Sets the name of this instance, for the host's own records. The default ignores it.
    virtual void SetInstance(const char* name);
};

} // namespace ORVEN
