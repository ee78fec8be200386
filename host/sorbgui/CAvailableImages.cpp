#include "sorbgui/CAvailableImages.h"

#include <sorblib2core/AreTypesEqual.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CImage.h>

#include <algorithm>
#include <set>

namespace ORVEN {

namespace {

template <class T>
const T* PointeeOf(const CValue* value) {
    const bool isPointerToT = value != nullptr && value->GenericType() == CValue::VAL_POINTER &&
                              AreTypesEqual(value->ElementType(), typeid(T));
    return isPointerToT ? UnwrapPointer<T>(value) : nullptr;
}

const CImage* ImageOf(const CValueMap* document) {
    return document != nullptr ? PointeeOf<CImage>(document->Entry("content", true)) : nullptr;
}

/// Calls `visit` for every document at or below the value.
template <class Visit>
void VisitDocuments(const CValue* value, const Visit& visit) {
    if (value == nullptr)
        return;
    if (const auto* document = PointeeOf<CValueMap>(value)) {
        visit(*document);
    } else if (const CValueMap* map = value->Map()) {
        if (map->HasEntry("content")) {
            visit(*map);
            return;
        }
        for (const CValue* entry : *map)
            VisitDocuments(entry, visit);
    } else if (const CValueVector* vector = value->Vector()) {
        for (const CValue* entry : *vector)
            VisitDocuments(entry, visit);
    }
}

/// The name, or the first of "name (2)", "name (3)", ... that is free.
std::string FreeName(const std::string& name, const std::map<std::string, const CImage*>& taken) {
    std::string candidate = name;
    for (int number = 2; taken.contains(candidate); ++number)
        candidate = name + " (" + std::to_string(number) + ")";
    return candidate;
}

} // namespace

CAvailableImages::CAvailableImages(bool offersFocused, bool offersUnnamed)
    : m_offersFocused(offersFocused)
    , m_offersUnnamed(offersUnnamed) {}

void CAvailableImages::addAllowedType(const IImage::CType& type) { m_types.push_back(type); }

void CAvailableImages::addAllowedSize(const CSize& size) { m_sizes.push_back(size); }

std::map<std::string, const CImage*> CAvailableImages::operator()(const CValueMap& tree) const {
    std::map<std::string, const CImage*> images;
    std::set<const CImage*> seen;
    if (!m_offersFocused)
        seen.insert(ImageOf(PointeeOf<CValueMap>(tree.Entry("input/documents/focused", true))));
    VisitDocuments(tree.Entry("input/documents", true), [&](const CValueMap& document) {
        const CImage* image = ImageOf(&document);
        const CString none;
        const std::string label = document.EntryString("label", none).Std();
        if (image == nullptr || !Allows(*image) || (label.empty() && !m_offersUnnamed) ||
            !seen.insert(image).second)
            return;
        images.emplace(FreeName(label.empty() ? "unnamed" : label, images), image);
    });
    return images;
}

bool CAvailableImages::Allows(const CImage& image) const {
    const auto isAmong = [](const auto& allowed, const auto& one) {
        return allowed.empty() || std::find(allowed.begin(), allowed.end(), one) != allowed.end();
    };
    return isAmong(m_types, image.Type()) && isAmong(m_sizes, image.Size());
}

} // namespace ORVEN
