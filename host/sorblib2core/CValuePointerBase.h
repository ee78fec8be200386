#pragma once

#include "sorblib2core/CValue.h"

namespace ORVEN {

/// A pointer in a parameter tree, to one object or to an array of them, owned or not. See `CValuePointer`.
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
    /// A new plain pointer value to the same object; the caller owns the value.
    virtual CValuePointerBase* CloneNonOwned() const = 0;

    /// Gives up ownership: the pointee is the caller's affair from now on.
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
    // Cloning a const value can take its ownership away: that is a matter of the pair, not of what it points
    // to.
    void SetOwner(bool isOwner) const { m_isOwner = isOwner; }

private:
    friend class CValue; // which gives ownership back when a clone fails half way

    const std::type_info* m_valueType;
    std::size_t m_count;
    unsigned short m_elementSize;
    mutable bool m_isOwner = false;
};

} // namespace ORVEN
