#pragma once

namespace ORVEN {

/// Root of everything that the host drives through a pointer.
class IObject {
public:
    IObject() = default;
    IObject(const IObject&) = default;
    IObject& operator=(const IObject&) = default;
    virtual ~IObject();

    /// Tells the object the name of its instance, for the host's own book-keeping. The default ignores it.
    virtual void SetInstance(const char* name);
};

} // namespace ORVEN
