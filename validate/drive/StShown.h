#pragma once

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <string>
#include <utility>
#include <vector>

namespace validate {

/// What a host can see of results, or of a tree, as texts by name, so that two of them can be compared.
struct StShown {
    std::vector<std::pair<std::string, std::string>> parts;

    void Add(const std::string& name, const std::string& text) { parts.emplace_back(name, text); }
    /// Adds a value with all that is below it. A pointer is shown by its type and by whether it is null.
    void AddValue(const std::string& name, const ORVEN::CValue* value);
    /// Adds type, size, pixels and attributes.
    void AddImage(const std::string& name, const ORVEN::CImage& image);
    /// Adds the label and the image of a document.
    void AddDocument(const std::string& name, const ORVEN::CValueMap& document);

    /// The same without the history of images.
    [[nodiscard]] StShown WithoutHistory() const;

    friend bool operator==(const StShown&, const StShown&) = default;
};

/// Says where two differ first: "the pixels of document 0 differ", "'history' of ... is 'a' and was 'b'".
/// Empty if they do not.
std::string Difference(const StShown& before, const StShown& after);

/// The image of a document; null if its content is none.
const ORVEN::CImage* ImageIn(const ORVEN::CValueMap* document);

/// A value with all that is below it.
StShown ShownValue(const ORVEN::CValue& value);

} // namespace validate
