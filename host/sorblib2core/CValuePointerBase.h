#pragma once

#include "sorblib2core/CValue.h"

namespace ORVEN {

/// A pointer value of a parameter tree, to one object or an array, owning or not. See `CValuePointer`.
class CValuePointerBase : public CValue {
public:
    const CValuePointerBase* Pointer() const override { return this; }
    CValuePointerBase* Pointer() override { return this; }
    EnValType GenericType() const override;
    bool IsValid() const override;
    const void* VoidPointer() const override;
    void* VoidPointer() override;

    virtual const void* Void() const = 0;
    virtual void* Void() = 0;
    /// Returns a new non-owning pointer value to the same object. The caller owns the value.
    virtual CValuePointerBase* CloneNonOwned() const = 0;

    /// Gives up ownership of the pointee, which the caller must free from now on.
    CValuePointerBase* Release();

    [[nodiscard]] std::size_t Count() const { return m_count; }
    [[nodiscard]] bool IsOwner() const { return m_isOwner; }

protected:
    /// `elementSize` is the size of one pointee in bytes.
    CValuePointerBase(const std::type_info* valueType, std::size_t count, unsigned short elementSize);
    CValuePointerBase(const CValuePointerBase&) = delete;

    [[nodiscard]] const std::type_info& ValueType() const { return *m_valueType; }
    [[nodiscard]] unsigned short ElementSize() const { return m_elementSize; }
    void SetCount(std::size_t count) { m_count = count; }
    // Const because cloning a const value can take its ownership away. That changes who frees the pointee,
    // not the value.
    void SetOwner(bool isOwner) const { m_isOwner = isOwner; }

private:
    friend class CValue; // returns ownership when cloning fails half-way

    const std::type_info* m_valueType;
    std::size_t m_count;
    unsigned short m_elementSize;
    mutable bool m_isOwner = false;
};

} // namespace ORVEN
