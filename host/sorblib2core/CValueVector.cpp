#include "sorblib2core/CValueVector.h"

#include "sorblib2core/CExBadParam.h"
#include "sorblib2core/CString.h"
#include "sorblib2core/CValueMap.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

namespace ORVEN {

namespace {

// Far more than any list of documents or lines needs. A mistyped index must not allocate all memory.
constexpr std::size_t c_maxEntries = std::size_t{1} << 24;

std::optional<std::size_t> Index(std::string_view step) {
    std::size_t index = 0;
    const auto [end, error] = std::from_chars(step.data(), step.data() + step.size(), index);
    if (step.empty() || error != std::errc() || end != step.data() + step.size())
        return std::nullopt;
    return index;
}

bool BothEmptyOr(const CValue* a, const CValue* b, bool (CValue::*same)(const CValue&) const) {
    return a == nullptr || b == nullptr ? a == b : (a->*same)(*b);
}

} // namespace

CValueVector::CValueVector() = default;

CValueVector::CValueVector(std::size_t count)
    : std::vector<CValue*>(count, nullptr) {}

CValueVector::CValueVector(CValue* first, CValue* second) {
    std::unique_ptr<CValue> ownedSecond(second);
    CValueVector::PushBack(first);
    CValueVector::PushBack(ownedSecond.release());
}

CValueVector::~CValueVector() {
    for (CValue* value : *this)
        delete value;
}

CValue* CValueVector::Clone(EnTfOwnership strategy) const {
    auto clone = std::make_unique<CValueVector>();
    clone->Copy(*this, strategy, false);
    return clone.release();
}

CValue& CValueVector::Copy(const CValue& source, EnTfOwnership strategy, bool mergesMeta) {
    if (&source == this)
        return *this;
    RequireSameKind(source, "ORVEN::CValue::Copy");
    CValueVector staged;
    std::unique_ptr<CValueMap> meta;
    try {
        for (const CValue* value : *source.Vector()) {
            staged.push_back(nullptr); // place first, so that no clone can leak
            if (value != nullptr)
                staged.back() = value->Clone(strategy);
        }
        meta = ClonedMeta(source, strategy);
    } catch (...) {
        GiveBack(staged, source);
        throw;
    }
    // The source may be one of the old entries, so these are destroyed last.
    swap(staged);
    TakeMeta(meta, mergesMeta);
    return *this;
}

bool CValueVector::Equal(const CValue& other) const {
    return CValue::Equal(other) &&
           std::equal(begin(), end(), other.Vector()->begin(), other.Vector()->end(),
                      [](const CValue* a, const CValue* b) { return BothEmptyOr(a, b, &CValue::Equal); });
}

bool CValueVector::EqualData(const CValue& other) const {
    return CValue::Equal(other) &&
           std::equal(begin(), end(), other.Vector()->begin(), other.Vector()->end(),
                      [](const CValue* a, const CValue* b) { return BothEmptyOr(a, b, &CValue::EqualData); });
}

CValue::EnValType CValueVector::GenericType() const { return VAL_VECTOR; }

unsigned CValueVector::Size() const { return static_cast<unsigned>(size()); }

template <class Matches>
CValue_Key CValueVector::FindIf(const CValue_Key& after, const Matches& matches) const {
    const auto start = Index(after.ToString());
    for (std::size_t i = start ? *start + 1 : 0; i < size(); ++i) {
        if ((*this)[i] != nullptr && matches(*(*this)[i]))
            return {static_cast<int>(i)};
    }
    return {};
}

CValue_Key CValueVector::Find(const char* text, const CValue_Key& after) const {
    return FindIf(after, [text](const CValue& value) {
        return value.GenericType() == VAL_STRING && value.String() == text;
    });
}

CValue_Key CValueVector::Find(const CValue& wanted, const CValue_Key& after) const {
    return FindIf(after, [&wanted](const CValue& value) { return value.Equal(wanted); });
}

void CValueVector::PushBack(CValue* value) {
    std::unique_ptr<CValue> owned(value);
    push_back(value);
    (void)owned.release();
}

CValue* CValueVector::DirectEntry(std::string_view step) const {
    const auto index = Index(step);
    return index && *index < size() ? (*this)[*index] : nullptr;
}

void CValueVector::SetDirectEntry(std::string_view step, std::unique_ptr<CValue> value) {
    const auto index = Index(step);
    if (!index || *index >= c_maxEntries) {
        throw CExBadParam(
            Impl::Here("ORVEN::CValueVector::SetEntry"),
            CString("'%1' is not a vector index: expected a number from 0 to %2.", CString::ENC_UTF8)
                .Arg(std::string(step))
                .Arg(static_cast<long long>(c_maxEntries - 1), 0));
    }
    if (*index >= size())
        resize(*index + 1, nullptr);
    delete (*this)[*index];
    (*this)[*index] = value.release();
}

std::unique_ptr<CValue> CValueVector::DetachDirectEntry(std::string_view step) {
    const auto index = Index(step);
    if (!index || *index >= size())
        return nullptr;
    return std::unique_ptr<CValue>(std::exchange((*this)[*index], nullptr));
}

} // namespace ORVEN
