#pragma once

#include "sorblib2core/AreTypesEqual.h"
#include "sorblib2core/CExBadParam.h"
#include "sorblib2core/CExBadType.h"
#include "sorblib2core/CValuePointerBase.h"

#include <cstring>

namespace ORVEN {

/// A pointer to `count` objects of class T, usually one. A newly constructed value does not own them; see
/// `CValueOwnedPointer` and the strategies of `Clone` and `Copy`.
///
/// The class is instantiated once per T, in the library that defines T (`extern template` in the header of
/// T), so that host and pack agree on its type.
template <class T>
class CValuePointer : public CValuePointerBase {
public:
    /// A null pointer sets the count to 0.
    CValuePointer(T* pointer, std::size_t count)
        : CValuePointerBase(&typeid(T), pointer != nullptr ? count : 0, sizeof(T))
        , m_pointer(pointer) {}

    ~CValuePointer() override { FreeIfOwner(); }

    /// Raises `CExBadParam` for an owning pointer without a strategy. `TF_MOVE` moves the ownership to the
    /// clone.
    CValue* Clone(EnTfOwnership strategy) const override {
        if (m_pointer != nullptr && IsOwner() && strategy == TF_NONE) {
            throw CExBadParam(Impl::Here("ORVEN::CValuePointer::Clone"),
                              "Owned pointers can only be cloned with a valid ownership transfer strategy!");
        }
        auto* clone = static_cast<CValuePointer*>(CloneNonOwned());
        if (strategy == TF_MOVE) {
            clone->SetOwner(IsOwner());
            SetOwner(false);
        }
        return clone;
    }

    /// Frees the old pointee if this value owns it. Raises `CExBadType` for another kind of value or pointee,
    /// and `CExBadParam` for an owning source without a strategy. `TF_MOVE` moves the ownership from the
    /// source to this value.
    CValue& Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta) override {
        RequireSameKind(source, "ORVEN::CValuePointer::Copy");
        if (&source == this)
            return *this;
        const auto& other = static_cast<const CValuePointer&>(*source.Pointer());
        if (other.IsOwner() && strategy == TF_NONE) {
            throw CExBadParam(Impl::Here("ORVEN::CValuePointer::Copy"),
                              "Owned pointers can only be copied with a valid ownership transfer strategy!");
        }
        T* const pointer = other.m_pointer;
        const std::size_t count = other.Count();
        const bool isOwnedBySource = other.IsOwner();
        if (strategy == TF_MOVE)
            other.SetOwner(false);
        try {
            CopyMeta(source, strategy,
                     mergesMeta); // may destroy the source, if it is one of the meta entries
        } catch (...) {
            other.SetOwner(isOwnedBySource);
            throw;
        }
        // Freed last: the source may be inside the old pointee.
        CValuePointer former(m_pointer, Count());
        former.SetOwner(IsOwner() && m_pointer != pointer);
        if (strategy == TF_MOVE)
            SetOwner(true);
        else if (m_pointer != pointer)
            SetOwner(false);
        m_pointer = pointer;
        SetCount(count);
        return *this;
    }

    bool Equal(const CValue& other) const override {
        return other.GenericType() == GenericType() && other.Pointer()->Count() == Count() &&
               other.VoidPointer() == m_pointer;
    }

    bool EqualData(const CValue& other) const override {
        if (other.GenericType() != GenericType() || other.Pointer()->Count() != Count())
            return false;
        return Count() == 0 || (AreTypesEqual(ElementType(), other.ElementType()) &&
                                std::memcmp(static_cast<const void*>(m_pointer), other.VoidPointer(),
                                            Count() * ElementSize()) == 0);
    }

    const std::type_info& ElementType() const override { return ValueType(); }
    const void* Void() const override { return m_pointer; }
    void* Void() override { return m_pointer; }

    CValuePointerBase* CloneNonOwned() const override {
        auto clone = std::make_unique<CValuePointer>(m_pointer, Count());
        clone->CopyMeta(*this, TF_KEEP, false);
        return clone.release();
    }

private:
    // Not inlined: next to a `new` of one object, the array branch triggers a false compiler warning.
    [[gnu::noinline]] void FreeIfOwner() {
        if (!IsOwner())
            return;
        if (Count() > 1)
            delete[] m_pointer;
        else
            delete m_pointer;
    }

    T* m_pointer;
};

} // namespace ORVEN
