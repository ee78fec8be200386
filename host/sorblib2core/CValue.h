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

/// A value of a parameter tree. The derived class determines what it holds. All accessors are declared here,
/// so that reading a value needs no cast.
///
/// An accessor that does not match the class of the value raises `CExBadType`, except `Map`, `Vector`,
/// `Pointer` and `VoidPointer`, which return null. The order of the virtual functions is part of the binary
/// interface to packs already built: add new ones at the end.
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

    /// Who owns the pointees of owning pointer values after a clone or copy.
    enum EnTfOwnership {
        TF_NONE = 0, ///< unspecified: cloning or copying an owning pointer raises
        TF_KEEP = 1, ///< the original keeps ownership; the clone or copy is a plain pointer
        TF_MOVE = 2, ///< the clone or copy takes ownership
    };

    CValue();
    virtual ~CValue();
    CValue& operator=(const CValue&) = delete;

    virtual bool& Bool();
    virtual bool Bool() const;
    virtual std::int32_t Long() const;
    virtual std::int32_t& Long();
    /// A 32-bit integer value returns its number as a double from the const overload.
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

    /// Returns a new value of the same kind with the same meta entries. The caller owns it.
    virtual CValue* Clone(EnTfOwnership strategy) const = 0;
    /// Copies the contents of `source`, which must be of the same kind (else `CExBadType`), and its meta
    /// entries. These replace the existing meta entries, or are merged into them if `mergesMeta` is set. On
    /// failure both values stay unchanged, including meta entries and ownership.
    virtual CValue& Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta);
    /// Copies with `TF_MOVE`, replacing the meta entries.
    virtual CValue& Move(CValue& source);

    /// Whether kind and value are the same. Pointers are equal if they hold the same address, containers if
    /// their entries are equal.
    virtual bool Equal(const CValue& other) const;
    /// Like `Equal`, but pointers compare the bytes that they point to.
    virtual bool EqualData(const CValue& other) const;

    /// The dynamic class of the value object.
    virtual const std::type_info& Type() const;
    virtual EnValType GenericType() const;
    /// The class of the pointee for a pointer value, else the same as `Type()`.
    virtual const std::type_info& ElementType() const;
    /// Whether the value is a link to another value. No class of this library is one.
    virtual bool IsLink() const;
    /// Whether the value can be read; false for a null pointer.
    virtual bool IsValid() const;
    /// Entries that describe the value, such as a unit, and do not belong to its contents.
    virtual const CValueMap& Meta() const;
    virtual CValueMap& Meta();
    /// Sets the text to the first `length` bytes of `text`, or to all of it for `CString::NPOS`.
    virtual void SetString(const char* text, std::size_t length);
    virtual const void* VoidPointer() const;
    virtual void* VoidPointer();

    /// Copies the meta entries of `source`, replacing the existing ones or merging with them. On failure both
    /// values stay unchanged.
    CValue& CopyMeta(const CValue& source, EnTfOwnership strategy, bool mergesMeta);

protected:
    CValue(const CValue& other);

    /// Raises `CExBadType` unless `source` has the same generic type and element type as this value.
    void RequireSameKind(const CValue& source, const char* function) const;

    /// Clones the meta entries of `source` for `TakeMeta`; null if it has none.
    [[nodiscard]] static std::unique_ptr<CValueMap> ClonedMeta(const CValue& source, EnTfOwnership strategy);
    /// Installs prepared meta entries, replacing the existing ones or merging with them. Replaced entries are
    /// left in `fresh`, so that the caller decides when to destroy them.
    void TakeMeta(std::unique_ptr<CValueMap>& fresh, bool mergesMeta) noexcept;

    /// Undoes a clone with `TF_MOVE`: returns ownership from `clone` to `original`, at every depth. A
    /// container whose cloning failed half-way contains only the first entries of the original, with null for
    /// the entry that failed.
    static void GiveBack(CValue& clone, const CValue& original) noexcept;

private:
    std::unique_ptr<CValueMap> m_meta; // created on first use: most values have none
};

} // namespace ORVEN
