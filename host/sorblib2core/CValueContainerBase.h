#pragma once

#include "sorblib2core/CValue.h"
#include "sorblib2core/CValue_Key.h"

#include <memory>
#include <string_view>

namespace ORVEN {

/// The common base of maps and vectors of values. Entries are addressed by keys, which can be paths.
///
/// A path leads down through nested containers. If a step meets a value that is not a container, reading
/// finds no entry, and `SetEntry` raises `CExBadParam`. A container owns its entries. The order of the
/// virtual functions is part of the binary interface to packs already built.
class CValueContainerBase : public CValue {
public:
    /// The entry at the key; null if there is none. `followsLinks` has no effect, as no value class is a
    /// link.
    virtual CValue* Entry(const CValue_Key& key, bool followsLinks) const;
    virtual CValue* Entry(const CValue_Key& key, bool followsLinks);

    /// Replaces the entry at the key by `value`. Takes ownership in any case, even if it raises. Missing
    /// containers on the path are created: a vector if the next step is a decimal number, else a map. A
    /// vector grows as needed, up to 2^24 entries. A null `value` removes the entry.
    virtual void SetEntry(const CValue_Key& key, CValue* value);

    /// Whether there is an entry of this generic type, of exactly this class, or of any kind.
    virtual bool HasEntry(const CValue_Key& key, EnValType type) const;
    virtual bool HasEntry(const CValue_Key& key, const std::type_info& type) const;
    virtual bool HasEntry(const CValue_Key& key) const;

    /// Destroys the entry and returns whether there was one. In a vector an empty place remains.
    virtual bool RemoveEntry(const CValue_Key& key);
    /// Removes the entry and passes its ownership to the caller; null if there was none.
    virtual CValue* Detach(const CValue_Key& key);
    /// The number of places directly in this container.
    virtual unsigned Size() const = 0;

    /// The key of the first direct entry after the key `after` that is this text or equals this value. An
    /// empty `after` starts at the beginning. Returns the empty key if there is no such entry.
    virtual CValue_Key Find(const char* text, const CValue_Key& after) const = 0;
    virtual CValue_Key Find(const CValue& value, const CValue_Key& after) const = 0;

    /// The text entry at the key. If there is none, an empty scratch text that is not stored in the container
    /// and stays valid until the next such call on this thread.
    CString& EntryString(const CValue_Key& key);
    /// The text entry at the key, or a reference to `fallback` if there is none. Do not keep the result if
    /// `fallback` is a temporary.
    const CString& EntryString(const CValue_Key& key, const CString& fallback) const;

private:
    /// The container that holds the last step of the path, and that step; null if the path does not lead
    /// there.
    const CValueContainerBase* Holder(const CValue_Key& key, std::string_view& lastStep) const;

    // These operate on one step of a path. They dispatch by hand between map and vector, the only two
    // containers, because no virtual function may be added between those of this class and those of its
    // subclasses.
    [[nodiscard]] CValue* DirectEntry(std::string_view step) const;
    void SetDirectEntry(std::string_view step, std::unique_ptr<CValue> value);
    std::unique_ptr<CValue> DetachDirectEntry(std::string_view step);
};

} // namespace ORVEN
