#pragma once

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <memory>
#include <string>
#include <vector>

/// The pack as a host sees it: loaded by name, driven through the tree.
namespace test {

/// The path of the pack.
const char* PackPath();

/// A new plug-in object of the pack; null where the pack has none of that name.
std::unique_ptr<ORVEN::CPluginBase> CreatePlugin(const char* name);

/// A host with one open document: keeps image, document and tree, and takes what a plug-in delivers.
class CPackHost {
public:
    /// An empty `label` leaves the document without one.
    explicit CPackHost(std::unique_ptr<ORVEN::CImage> image, const std::string& label = "input");

    /// The tree with the document in focus, and without results.
    ORVEN::CValueMap& Tree() { return m_tree; }
    ORVEN::CValueMap& Document() { return m_document; }
    ORVEN::CImage& Image() { return *m_image; }

    /// Stores a value at "parameters/KEY".
    CPackHost& Set(const std::string& key, ORVEN::CValue* value);

    /// Updates and runs; takes the new documents out of the tree.
    void Run(ORVEN::CPluginBase& plugin);

    [[nodiscard]] std::size_t DocumentCount() const { return m_results.size(); }
    /// The image and the label of the result of the last run.
    [[nodiscard]] const ORVEN::CImage& Result(std::size_t index = 0) const;
    [[nodiscard]] std::string ResultLabel(std::size_t index = 0) const;

private:
    std::unique_ptr<ORVEN::CImage> m_image;
    ORVEN::CValueMap m_document;
    ORVEN::CValueMap m_tree;
    std::vector<std::unique_ptr<ORVEN::CValueMap>> m_results;
};

/// Takes the documents below "output/documents/add" out of a tree, and owns them.
std::vector<std::unique_ptr<ORVEN::CValueMap>> TakeDocuments(ORVEN::CValueMap& tree);

/// The lines of an image's history, oldest first.
std::vector<std::string> HistoryOf(const ORVEN::IImage& image);

} // namespace test
