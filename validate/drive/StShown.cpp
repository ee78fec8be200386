#include "validate/drive/StShown.h"

#include "validate/drive/Images.h"

#include <sorblib2core/AreTypesEqual.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/UnwrapPointer.h>

#include <array>
#include <cstdio>

namespace validate {

using namespace ORVEN;

namespace {

/// Exact, and the same in any locale.
std::string TextOf(double number) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%a", number);
    return text.data();
}

/// FNV-1a, to show many bytes in few letters.
std::string HashOf(const std::string& bytes) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char byte : bytes)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(hash));
    return text.data();
}

std::string ScalarText(const CValue& value) {
    switch (value.GenericType()) {
    case CValue::VAL_BOOL:
        return value.Bool() ? "true" : "false";
    case CValue::VAL_LONG:
        return std::to_string(value.Long());
    case CValue::VAL_DOUBLE:
        return TextOf(value.Double());
    case CValue::VAL_STRING:
        return "'" + value.String().Std() + "'";
    case CValue::VAL_POINTER:
        return std::string(value.VoidPointer() != nullptr ? "pointer to " : "null pointer to ") +
               value.ElementType().name();
    default:
        return "of no kind";
    }
}

} // namespace

void StShown::AddValue(const std::string& name, const CValue* value) {
    if (value == nullptr) {
        Add(name, "nothing");
    } else if (const CValueMap* map = value->Map()) {
        Add(name, "a map");
        for (auto entry = map->begin(); entry != map->end(); ++entry)
            AddValue(name + "/" + entry.Key().ToString(), entry.Value());
    } else if (const CValueVector* vector = value->Vector()) {
        Add(name, "a vector");
        for (std::size_t place = 0; place < vector->size(); ++place)
            AddValue(name + "/" + std::to_string(place), (*vector)[place]);
    } else {
        Add(name, ScalarText(*value));
    }
}

void StShown::AddImage(const std::string& name, const CImage& image) {
    Add("the type and size of " + name, OutlineOf(image));
    Add("the hash of the pixels of " + name, HashOf(PixelBytes(image)));
    AddValue("the attribute of " + name + " at ", &image.Attributes());
}

void StShown::AddDocument(const std::string& name, const CValueMap& document) {
    AddValue("the label of " + name, document.Entry("label", true));
    if (const CImage* image = ImageIn(&document))
        AddImage(name, *image);
    else
        Add(name, "a document without an image");
}

StShown StShown::WithoutHistory() const {
    StShown shown;
    for (const auto& part : parts) {
        if (part.first.find(" at /history") == std::string::npos)
            shown.parts.push_back(part);
    }
    return shown;
}

std::string Difference(const StShown& before, const StShown& after) {
    const auto sentence = [](const std::string& name, const std::string& now, const std::string& then) {
        return name + " is " + now + " and was " + then;
    };
    for (std::size_t i = 0; i < before.parts.size(); ++i) {
        const auto& [name, text] = before.parts[i];
        if (i == after.parts.size())
            return sentence(name, "missing", text);
        const auto& [newName, newText] = after.parts[i];
        if (name != newName)
            return after.parts.size() > before.parts.size() ? sentence(newName, newText, "missing")
                                                            : sentence(name, "missing", text);
        if (text != newText)
            return sentence(name, newText, text);
    }
    if (after.parts.size() > before.parts.size())
        return sentence(after.parts[before.parts.size()].first, after.parts[before.parts.size()].second,
                        "missing");
    return {};
}

const CImage* ImageIn(const CValueMap* document) {
    const CValue* const content = document != nullptr ? document->Entry("content", true) : nullptr;
    const bool isImage = content != nullptr && content->GenericType() == CValue::VAL_POINTER &&
                         AreTypesEqual(content->ElementType(), typeid(CImage));
    return isImage ? UnwrapPointer<CImage>(content) : nullptr;
}

StShown ShownValue(const CValue& value) {
    StShown shown;
    shown.AddValue("", &value);
    return shown;
}

} // namespace validate
