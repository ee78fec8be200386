#pragma once

#include "sorblib2core/CValue.h"
#include "sorblib2core/CValue_Key.h"

#include <memory>
#include <string_view>

namespace ORVEN {

/// What maps and vectors of values have in common: entries behind keys, which can be paths.
///
/// A path walks down through containers. Where a step meets a value that is no container, nothing is there:
/// reading finds no entry, and `SetEntry` raises `CExBadParam`. A container owns its entries. The order of
/// the virtual operations is part of the contract with built packs.
class CValueContainerBase : public CValue {
public:
    /// The entry at the key, null if there is none. The second argument says whether links are to be
    /// followed; as no value class is a link, both answers give the same.
    virtual CValue* Entry(const CValue_Key& key, bool followLinks) const;
    virtual CValue* Entry(const CValue_Key& key, bool followLinks);

    /// Stores the value in place of what was there and owns it from the call on, also when it raises.
    /// Containers missing on the path are made: a vector where the step inside it is a decimal number, else a
    /// map. A vector grows as needed, up to 2^24 entries. Null removes the entry.
    virtual void SetEntry(const CValue_Key& key, CValue* value);

    /// Whether there is an entry of this generic type; of exactly this class; at all.
    virtual bool HasEntry(const CValue_Key& key, EnValType type) const;
    virtual bool HasEntry(const CValue_Key& key, const std::type_info& type) const;
    virtual bool HasEntry(const CValue_Key& key) const;

    /// Destroys the entry; false if there was none. In a vector its place stays, empty.
    virtual bool RemoveEntry(const CValue_Key& key);
    /// Takes the entry out and gives it to the caller, who owns it; null if there was none.
    virtual CValue* Detach(const CValue_Key& key);
    /// The number of places directly in this container.
    virtual unsigned Size() const = 0;

    /// The key of the first direct entry behind `after` (from the start if that is empty) that is this text,
    /// or equals this value; the empty key if there is none.
    virtual CValue_Key Find(const char* text, const CValue_Key& after) const = 0;
    virtual CValue_Key Find(const CValue& value, const CValue_Key& after) const = 0;

    /// The text entry at the key. Without one: an empty scratch text, valid up to the next such call on the
    /// thread and stored nowhere.
    CString& EntryString(const CValue_Key& key);
    /// The text entry at the key, else `fallback` itself: do not pass a temporary and keep the answer.
    const CString& EntryString(const CValue_Key& key, const CString& fallback) const;

private:
    /// The container that holds the last step of the path, and that step; null if the way there ends early.
    const CValueContainerBase* Holder(const CValue_Key& key, std::string_view& lastStep) const;

    // One step of a path. There are maps and vectors and nothing else, and no virtual operation may come
    // between those of this class and theirs.
    [[nodiscard]] CValue* DirectEntry(std::string_view step) const;
    void SetDirectEntry(std::string_view step, std::unique_ptr<CValue> value);
    std::unique_ptr<CValue> DetachDirectEntry(std::string_view step);
};

} // namespace ORVEN
