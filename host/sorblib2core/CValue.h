#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <typeinfo>

namespace ORVEN {

class CString;
class CValueMap;
class CValuePointerBase;
class CValueVector;

/// A value of a parameter tree. What it holds is a matter of its class; the accessors below all stand here,
/// so that a reader needs no cast.
///
/// An accessor asked of a class that does not hold such a thing raises `CExBadType`, except `Map`, `Vector`,
/// `Pointer` and `VoidPointer`, which answer null. The order of the virtual operations is part of the
/// contract with built packs: add new ones at the end.
class CValue {
public:
    enum EnValType {
        VAL_NONE = 0,
        VAL_BOOL = 1,
        VAL_LONG = 2,
        VAL_DOUBLE = 3,
        VAL_POINTER = 4,
        VAL_STRING = 5,
        VAL_MAP = 6,
        VAL_VECTOR = 7,
    };

    /// Who owns the pointees of owned pointer values after a clone or copy.
    enum EnTfOwnership {
        TF_NONE = 0, ///< no answer: cloning or copying an owned pointer raises
        TF_KEEP = 1, ///< the original still owns; the clone or copy is a plain pointer
        TF_MOVE = 2, ///< the clone or copy owns
    };

    CValue();
    virtual ~CValue();
    CValue& operator=(const CValue&) = delete;

    virtual bool& Bool();
    virtual bool Bool() const;
    virtual std::int32_t Long() const;
    virtual std::int32_t& Long();
    /// A 32-bit integer value answers the const form with its number as a double.
    virtual double Double() const;
    virtual double& Double();
    virtual const CString& String() const;
    virtual CString& String();
    virtual const CValueMap* Map() const;
    virtual CValueMap* Map();
    virtual const CValueVector* Vector() const;
    virtual CValueVector* Vector();
    virtual const CValuePointerBase* Pointer() const;
    virtual CValuePointerBase* Pointer();

    /// A new value of the same kind, with the same meta entries; the caller owns it.
    virtual CValue* Clone(EnTfOwnership strategy) const = 0;
    /// Takes over what `source` holds, which must be of the same kind (else `CExBadType`), and its meta
    /// entries: in place of its own, or among them if `mergeMeta` is set. On failure both values stay as they
    /// were, meta entries and owners included.
    virtual CValue& Copy(const CValue& source, EnTfOwnership strategy, bool mergeMeta);
    /// Copies with `TF_MOVE`.
    virtual CValue& Move(CValue& source);

    /// Same kind and same value. For pointers that means the same address, for containers equal entries.
    virtual bool Equal(const CValue& other) const;
    /// Same data: like `Equal`, but pointers compare what they point to, byte by byte.
    virtual bool EqualData(const CValue& other) const;

    /// The class of the value object itself.
    virtual const std::type_info& Type() const;
    virtual EnValType GenericType() const;
    /// For a pointer value the pointee's class, else the same as `Type()`.
    virtual const std::type_info& ElementType() const;
    /// Whether the value only refers to another value. No class of this library does.
    virtual bool IsLink() const;
    /// Whether there is something to read; false for a null pointer.
    virtual bool IsValid() const;
    /// Entries about the value that are no part of it, such as a unit.
    virtual const CValueMap& Meta() const;
    virtual CValueMap& Meta();
    /// Sets a text of `length` bytes; `CString::NPOS` for all up to the terminator.
    virtual void SetString(const char* text, std::size_t length);
    virtual const void* VoidPointer() const;
    virtual void* VoidPointer();

    /// Takes over the meta entries of `source`, in place of its own or among them. On failure both stay as
    /// they were.
    CValue& CopyMeta(const CValue& source, EnTfOwnership strategy, bool mergeMeta);

protected:
    CValue(const CValue& other);

    /// Raises `CExBadType` unless `source` has the same generic type and element type as this value.
    void RequireSameKind(const CValue& source, const char* function) const;

    /// Meta entries for `TakeMeta`, cloned from those of `source`; null if it has none.
    [[nodiscard]] static std::unique_ptr<CValueMap> ClonedMeta(const CValue& source, EnTfOwnership strategy);
    /// Takes prepared meta entries over, in place of its own or among them. Those that give way are left in
    /// `fresh`, for the caller to destroy when nothing is needed of them any more.
    void TakeMeta(std::unique_ptr<CValueMap>& fresh, bool mergeMeta) noexcept;

    /// Undoes a clone with `TF_MOVE`: `original` owns again what `clone` has taken over, also below them. A
    /// container that was cloned in part has the first entries of the original only, and null for an entry
    /// that failed.
    static void GiveBack(CValue& clone, const CValue& original) noexcept;

private:
    std::unique_ptr<CValueMap> m_meta; // made on first use: most values have none
};

} // namespace ORVEN
