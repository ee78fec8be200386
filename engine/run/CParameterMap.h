#pragma once

#include "engine/catalogue/StCatalogueEntry.h"
#include "engine/run/StAssignment.h"

#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace engine {

/// Builds the "parameters" of a call, or its settings, from what the command line says and the catalogue
/// knows.
///
/// Everything that can be wrong with the command line is found before the first file is opened: images are
/// read by `ReadImages` only. The images belong to this object, which must outlive the call.
class CParameterMap {
public:
    /// `what` is the word for a value in messages: "parameter" or "setting". `known` is null for a plug-in
    /// that the catalogue does not know.
    CParameterMap(std::string what, const std::vector<StCatalogueParameter>* known);

    /// Starts from the map in a JSON file, as it stands: the map itself, or a report, which holds one. A file
    /// holds no images: null ones are added where their group is sent. Raises `CFileError`.
    void ReadFile(const std::string& path);
    /// Sets one value, in place of an earlier one. Raises `CCallerError` for a text that is
    /// not of the kind, and for an unknown key without a kind, naming the nearest one.
    void Set(const StAssignment& assignment);
    /// Adds what the catalogue marks as always sent, and null images where their group is sent.
    void FillDefaults();
    /// Reads the image files named. Raises as `ReadImage` does.
    void ReadImages();

    /// The map built; this object starts again with an empty one but keeps the images.
    std::unique_ptr<ORVEN::CValueMap> Take();
    [[nodiscard]] const ORVEN::CValueMap& Map() const { return *m_map; }

private:
    [[nodiscard]] EnValueKind KindOf(const StAssignment& assignment) const;
    void Store(const std::string& key, std::unique_ptr<ORVEN::CValue> value);
    void FillImagesOfGroups();

    std::string m_what;
    const std::vector<StCatalogueParameter>* m_known;
    std::unique_ptr<ORVEN::CValueMap> m_map;
    std::map<std::string, std::string> m_imageFiles; // by key
    std::vector<std::unique_ptr<ORVEN::CImage>> m_images;
};

} // namespace engine
