#pragma once

#include "sorblib2core/CValueContainerBase.h"
#include "sorblib2core/CValueOwnedPointer.h"
#include "sorblib2core/CValuePointer.h"
#include "sorblib2core/IPluginObject.h"

#include <iterator>
#include <list>
#include <map>

namespace ORVEN {

/// A map from keys to values, ordered by key. Parameter trees, documents and the attributes of an image are
/// such maps.
///
/// Lookup, insertion and removal take time logarithmic in the number of entries per step of a path; `Find`
/// searches linearly.
class CValueMap : public CValueContainerBase, public IPluginObject {
    using Entries = std::map<CValue_Key, std::unique_ptr<CValue>>;

public:
    /// Iterates over the direct entries in the order of their keys.
    class const_iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = const CValue*;
        using difference_type = std::ptrdiff_t;
        using pointer = const value_type*;
        using reference = value_type;

        const_iterator() = default;

        [[nodiscard]] const CValue_Key& Key() const { return m_position->first; }
        [[nodiscard]] const CValue* Value() const { return m_map->_Deref(*this); }
        const CValue* operator*() const { return Value(); }
        const_iterator& operator++() {
            m_map->_IncDec(*this, true);
            return *this;
        }
        friend bool operator==(const const_iterator& a, const const_iterator& b) {
            return a.m_position == b.m_position;
        }

    private:
        friend class CValueMap;
        const_iterator(const CValueMap& map, Entries::const_iterator position)
            : m_map(&map)
            , m_position(position) {}

        const CValueMap* m_map = nullptr;
        Entries::const_iterator m_position;
    };

    CValueMap();
    /// Clones every entry. Raises `CExBadParam` if one of them is an owning pointer, as a pointee has only
    /// one owner.
    CValueMap(const CValueMap& other);
    CValueMap& operator=(const CValueMap&) = delete;
    ~CValueMap() override;

    const CValueMap* Map() const override { return this; }
    CValueMap* Map() override { return this; }
    CValue* Clone(EnTfOwnership strategy) const override;
    CValue& Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta) override;
    bool Equal(const CValue& other) const override;
    bool EqualData(const CValue& other) const override;
    EnValType GenericType() const override;
    unsigned Size() const override;
    CValue_Key Find(const char* text, const CValue_Key& after) const override;
    CValue_Key Find(const CValue& value, const CValue_Key& after) const override;

    [[nodiscard]] virtual bool IsEmpty() const;
    virtual void Clear();
    /// The keys of the direct entries in ascending order.
    [[nodiscard]] virtual std::list<CValue_Key> Keys() const;
    /// Whether `other` contains every direct entry of this map, with an equal value.
    [[nodiscard]] virtual bool IsSubset(const CValueMap& other) const;

    [[nodiscard]] virtual const_iterator begin() const;
    [[nodiscard]] virtual const_iterator end() const;

protected:
    /// A new empty map of the class that clones should have.
    [[nodiscard]] virtual CValueMap* NewObject() const;

    /// Used by the iterator.
    virtual const CValue* _Deref(const const_iterator& position) const;
    virtual void _IncDec(const_iterator& position, bool isForward) const;

public:
    // Declared after the others because it takes its own place in the virtual table of this class.
    bool TestInterface(const CString& name) override;

private:
    friend class CValue;
    friend class CValueContainerBase;

    /// Moves all entries of `fresh` into this map. Entries that they replace end up in `fresh`.
    void TakeEntries(CValueMap& fresh) noexcept;

    [[nodiscard]] CValue* DirectEntry(std::string_view step) const;
    void SetDirectEntry(std::string_view step, std::unique_ptr<CValue> value);
    std::unique_ptr<CValue> DetachDirectEntry(std::string_view step);

    template <class Matches>
    CValue_Key FindIf(const CValue_Key& after, const Matches& matches) const;

    Entries m_entries;
};

// Instantiated once, in this library: pointers to maps cross the boundary between host and pack.
extern template class CValuePointer<CValueMap>;
extern template class CValueOwnedPointer<CValueMap>;

} // namespace ORVEN
