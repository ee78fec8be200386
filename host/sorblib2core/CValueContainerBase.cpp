#include "sorblib2core/CValueContainerBase.h"

#include "sorblib2core/AreTypesEqual.h"
#include "sorblib2core/CExBadParam.h"
#include "sorblib2core/CString.h"
#include "sorblib2core/CValueMap.h"
#include "sorblib2core/CValueVector.h"

#include <algorithm>
#include <utility>

namespace ORVEN {

namespace {

const CValueContainerBase* AsContainer(const CValue* value) {
    if (value == nullptr)
        return nullptr;
    if (const CValueMap* map = value->Map())
        return map;
    return value->Vector();
}

bool IsDecimal(std::string_view step) {
    return !step.empty() &&
           std::all_of(step.begin(), step.end(), [](char c) { return c >= '0' && c <= '9'; });
}

} // namespace

const CValueContainerBase* CValueContainerBase::Holder(const CValue_Key& key,
                                                       std::string_view& lastStep) const {
    const CValueContainerBase* holder = this;
    std::string_view path = key.ToString();
    for (auto slash = path.find('/'); slash != std::string_view::npos; slash = path.find('/')) {
        holder = AsContainer(holder->DirectEntry(path.substr(0, slash)));
        if (holder == nullptr)
            return nullptr;
        path.remove_prefix(slash + 1);
    }
    lastStep = path;
    return holder;
}

CValue* CValueContainerBase::DirectEntry(std::string_view step) const {
    return Map() != nullptr ? Map()->DirectEntry(step) : Vector()->DirectEntry(step);
}

void CValueContainerBase::SetDirectEntry(std::string_view step, std::unique_ptr<CValue> value) {
    if (CValueMap* map = Map())
        map->SetDirectEntry(step, std::move(value));
    else
        Vector()->SetDirectEntry(step, std::move(value));
}

std::unique_ptr<CValue> CValueContainerBase::DetachDirectEntry(std::string_view step) {
    return Map() != nullptr ? Map()->DetachDirectEntry(step) : Vector()->DetachDirectEntry(step);
}

CValue* CValueContainerBase::Entry(const CValue_Key& key, bool /*followsLinks*/) const {
    std::string_view step;
    const CValueContainerBase* holder = Holder(key, step);
    return holder != nullptr ? holder->DirectEntry(step) : nullptr;
}

CValue* CValueContainerBase::Entry(const CValue_Key& key, bool followsLinks) {
    return std::as_const(*this).Entry(key, followsLinks);
}

void CValueContainerBase::SetEntry(const CValue_Key& key, CValue* value) {
    std::unique_ptr<CValue> owned(value);
    if (value == nullptr) {
        RemoveEntry(key);
        return;
    }
    CValueContainerBase* holder = this;
    std::string_view path = key.ToString();
    for (auto slash = path.find('/'); slash != std::string_view::npos; slash = path.find('/')) {
        const std::string_view step = path.substr(0, slash);
        path.remove_prefix(slash + 1);
        CValue* next = holder->DirectEntry(step);
        if (next == nullptr) {
            const bool isIndexNext = IsDecimal(path.substr(0, path.find('/')));
            auto made =
                isIndexNext ? std::unique_ptr<CValue>(new CValueVector) : std::make_unique<CValueMap>();
            next = made.get();
            holder->SetDirectEntry(step, std::move(made));
        }
        holder = const_cast<CValueContainerBase*>(AsContainer(next));
        if (holder == nullptr) {
            throw CExBadParam(
                Impl::Here("ORVEN::CValueContainerBase::SetEntry"),
                CString("The path '%1' leads through '%2', which is not a container.", CString::ENC_UTF8)
                    .Arg(key.ToString())
                    .Arg(std::string(step)));
        }
    }
    if (holder->DirectEntry(path) == value) {
        (void)owned.release(); // already stored there
        return;
    }
    holder->SetDirectEntry(path, std::move(owned));
}

bool CValueContainerBase::HasEntry(const CValue_Key& key, EnValType type) const {
    const CValue* value = Entry(key, true);
    return value != nullptr && value->GenericType() == type;
}

bool CValueContainerBase::HasEntry(const CValue_Key& key, const std::type_info& type) const {
    return AreTypesEqual(Entry(key, true), type);
}

bool CValueContainerBase::HasEntry(const CValue_Key& key) const { return Entry(key, true) != nullptr; }

bool CValueContainerBase::RemoveEntry(const CValue_Key& key) {
    return std::unique_ptr<CValue>(Detach(key)) != nullptr;
}

CValue* CValueContainerBase::Detach(const CValue_Key& key) {
    std::string_view step;
    auto* holder = const_cast<CValueContainerBase*>(Holder(key, step));
    return holder != nullptr ? holder->DetachDirectEntry(step).release() : nullptr;
}

CString& CValueContainerBase::EntryString(const CValue_Key& key) {
    CValue* value = Entry(key, true);
    if (value != nullptr && value->GenericType() == VAL_STRING)
        return value->String();
    thread_local CString scratch;
    scratch = CString();
    return scratch;
}

const CString& CValueContainerBase::EntryString(const CValue_Key& key, const CString& fallback) const {
    const CValue* value = Entry(key, true);
    return value != nullptr && value->GenericType() == VAL_STRING ? value->String() : fallback;
}

} // namespace ORVEN
