#pragma once

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <cstdint>
#include <iostream>
#include <memory>
#include <string>

/// The code that all plug-ins share for the parameter tree: finding the image in focus, reading parameters,
/// and handing over a result with its label and history. A plug-in's own source contains only what differs.
///
/// See `CPluginBase` for the tree itself, the order of calls and ownership.
namespace quillon::contract {

/// Stores the entries with which every plug-in describes itself. A null name is omitted: most plug-ins do not
/// store one.
void DescribePlugin(ORVEN::CValueMap& setup, const char* pluginName = nullptr);

/// Returns the image of the focused document, or null if an entry on the path has the wrong kind.
const ORVEN::CImage* FocusedImage(const ORVEN::CValueMap& tree);

/// The usual `TestParameters`: whether the tree holds an image in focus for which `accepts(image)` returns
/// true. Returns false if anything raises.
template <class Accepts>
bool AcceptsFocusedImage(const ORVEN::CValueMap& tree, const Accepts& accepts) {
    try {
        const ORVEN::CImage* image = FocusedImage(tree);
        return image != nullptr && accepts(*image);
    } catch (...) {
        return false;
    }
}

/// The condition under which a plug-in takes the focused document from the tree. An entry of the wrong kind
/// raises `CExBadParam`, except with `POINTER_TO_DOCUMENT`.
enum class EnFocusTest {
    ANY_ENTRY,           ///< a missing entry leaves the old pointer in place
    POINTER_TO_DOCUMENT, ///< so does an entry of the wrong kind
    ANY_INPUT ///< only a tree without "input" leaves it; an "input" without a focused document clears it
};

/// Stores the focused document of the tree in `document`.
void StoreFocusedDocument(const ORVEN::CValueMap& tree, ORVEN::CValueMap*& document, EnFocusTest test);

/// Reads a parameter into a member. If the entry is missing or has the wrong kind, leaves the member
/// unchanged and returns false. The key is a path relative to `values`: "parameters/sigma" for the tree,
/// "sigma" for its map of parameters.
bool ReadParameter(const ORVEN::CValueMap& values, const char* key, bool& member);
bool ReadParameter(const ORVEN::CValueMap& values, const char* key, std::int32_t& member);
bool ReadParameter(const ORVEN::CValueMap& values, const char* key, double& member);
bool ReadParameter(const ORVEN::CValueMap& values, const char* key, ORVEN::CString& member);

/// Returns the image of a document, or null for a null document and for one without content. Content of
/// another kind raises `CExBadParam`.
ORVEN::CImage* ContentOf(const ORVEN::CValueMap* document);

/// The same, but returns null for content of another kind.
ORVEN::CImage* ImageContentOf(const ORVEN::CValueMap* document);

/// Returns the label of a document, or `fallback` if it has none.
ORVEN::CString LabelOf(const ORVEN::CValueMap& document, const char* fallback);

/// Whether the image still holds this very map at a path of its attributes. An exporter keeps a pointer to a
/// measurement between calls, and a new measurement in the meantime frees the old one. Returns false for a
/// null map.
bool HoldsMap(const ORVEN::CImage* image, const std::string& path, const ORVEN::CValueMap* map);

/// Copies the attributes of the source image to the result, and appends a line to the history.
void Inherit(ORVEN::CImage& result, const ORVEN::CImage& source, const ORVEN::CString& historyLine);

/// How much of the tree a plug-in replaces when it hands over a document. Plug-ins differ in this, and hosts
/// rely on it. A replaced entry may be of any kind. An entry on the path that is kept but is not a container
/// raises `CExBadParam` and leaves the tree unchanged.
enum class EnHandOver {
    NEW_OUTPUT,    ///< all of "output"
    NEW_DOCUMENTS, ///< "output/documents"; view requests stay
    NEW_LIST,      ///< "output/documents/add" only
    INTO_LIST      ///< only an earlier document at the same index
};

/// Puts a new document with an image and a label into the tree, at index `index` of "output/documents/add".
/// The document owns the image. The tree only points to the document; the host takes it from the tree and
/// owns it from then on.
void HandOver(ORVEN::CValueMap& tree, EnHandOver way, std::unique_ptr<ORVEN::CImage> image,
              const ORVEN::CString& label, int index = 0);

/// Asks the host to show the attributes of a document, for a plug-in that stores its result in the header of
/// an image. The host keeps ownership of the document.
void RequestView(ORVEN::CValueMap& tree, ORVEN::CValueMap& document);

/// Runs a plug-in's work. A `CException` is written to standard error under the given name, and then
/// rethrown.
template <class Work>
void ReportExceptions(const char* name, const Work& work) {
    try {
        work();
    } catch (const ORVEN::CException& exception) {
        std::cerr << name << " caught an ORVEN::CException: " << exception.Message() << std::endl;
        throw;
    }
}

} // namespace quillon::contract
