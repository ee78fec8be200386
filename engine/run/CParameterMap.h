#pragma once

#include "engine/catalogue/StCatalogueEntry.h"
#include "engine/files/CJson.h"
#include "engine/run/StAssignment.h"

#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace engine {

/// Builds the "parameters" or settings of a call from the command line and the catalogue.
///
/// Errors in the command line are reported before any image is opened: only `ReadImages` reads images. This
/// object owns the images and must outlive the call.
class CParameterMap {
public:
    /// `what` is the word for a value in messages: "parameter" or "setting". `known` is null for a plug-in
    /// that is not in the catalogue.
    CParameterMap(std::string what, const std::vector<StCatalogueParameter>* known);

    /// Starts from the map in a JSON file, which is either the map itself or a report containing one. Nothing
    /// is checked against the catalogue. A file holds no images: null images are added for groups that are
    /// sent. Raises `CFileError`.
    void ReadFile(const std::string& path);
    /// Sets one value, replacing an earlier one. Raises `CCallerError` for a text that is not of the kind,
    /// and for an unknown key without a kind, suggesting the most similar known key.
    void Set(const StAssignment& assignment);
    /// Sets the values of a JSON object, which is nested as the map is; a key can also be a path. An integer
    /// becomes a double where the catalogue says so. Raises `CCallerError` for an unknown key, suggesting the
    /// most similar known one, and for a value that no map can hold.
    void SetAll(const CJson& values);
    /// The same for values as they were sent before: nothing is checked or converted.
    void SetAllAsSent(const CJson& values);
    /// Sets an image that the caller keeps alive as long as the call.
    void SetImage(const std::string& key, ORVEN::CImage& image);
    /// Adds parameters that the catalogue marks as always sent, and null images for groups that are sent.
    void FillDefaults();
    /// The plug-in that the report given to `ReadFile` is about; empty if it was not a report.
    [[nodiscard]] const std::string& ReportedPlugin() const { return m_reportedPlugin; }
    /// The keys given to `Set`, except images without a file.
    [[nodiscard]] const std::set<std::string>& SetKeys() const { return m_setKeys; }
    /// The image files to be read, by key.
    [[nodiscard]] const std::map<std::string, std::string>& ImageFiles() const { return m_imageFiles; }
    /// The files that values of the map name, by key, for keys that the catalogue marks as such.
    [[nodiscard]] std::map<std::string, std::string> NamedFiles() const;
    /// Raises `CFileError` if one of these is a pipe or device, because the plug-in could wait for it
    /// forever.
    void RequireRegularFiles() const;
    /// Reads the image files that were named. Raises the errors of `ReadImage`.
    void ReadImages();

    /// Returns the map. This object continues with an empty map but keeps the images.
    std::unique_ptr<ORVEN::CValueMap> Take();
    [[nodiscard]] const ORVEN::CValueMap& Map() const { return *m_map; }

private:
    [[nodiscard]] EnValueKind KindOf(const StAssignment& assignment) const;
    void Store(const std::string& key, std::unique_ptr<ORVEN::CValue> value);
    void SetGroup(const CJson& values, const std::string& prefix, bool isAsSent);
    void SetValue(const std::string& key, const CJson& value, bool isAsSent);
    [[nodiscard]] bool IsKnown(const std::string& key) const;
    void FillImagesOfGroups();

    std::string m_what;
    const std::vector<StCatalogueParameter>* m_known;
    std::unique_ptr<ORVEN::CValueMap> m_map;
    std::string m_reportedPlugin;
    std::set<std::string> m_setKeys;
    std::map<std::string, std::string> m_imageFiles; // by key
    std::vector<std::unique_ptr<ORVEN::CImage>> m_images;
};

} // namespace engine
