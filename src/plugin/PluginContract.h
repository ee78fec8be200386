#pragma once

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <cstdint>
#include <iostream>
#include <memory>
#include <string>

/// What all plug-ins do alike with the parameter tree, written once: the walk to the image in focus, the
/// reading of parameters, the hand-over of a result, its label and its history. A plug-in's own source tells
/// only what differs.
///
/// The tree itself, the order of calls and who owns what are told in `CPluginBase`.
namespace quillon::contract {

/// Stores the entries that every plug-in tells of itself. The name is left out if it is null: most plug-ins
/// tell none.
void DescribePlugin(ORVEN::CValueMap& setup, const char* pluginName = nullptr);

/// The image of the focused document, if every entry on the way there is of the right kind; else null.
const ORVEN::CImage* FocusedImage(const ORVEN::CValueMap& tree);

/// The usual `TestParameters`: whether the tree holds an image in focus that `accepts(image)`. Whatever is
/// raised on the way is a no.
template <class Accepts>
bool AcceptsFocusedImage(const ORVEN::CValueMap& tree, const Accepts& accepts) {
    try {
        const ORVEN::CImage* image = FocusedImage(tree);
        return image != nullptr && accepts(*image);
    } catch (...) {
        return false;
    }
}

/// What a plug-in asks of the tree before it takes the focused document. An entry of the wrong kind raises
/// `CExBadParam`, unless it was asked to be a pointer to a document.
enum class EnFocusTest {
    ANY_ENTRY,           ///< a missing entry leaves the old pointer in place
    POINTER_TO_DOCUMENT, ///< so does an entry of another kind
    ANY_INPUT ///< only a tree without "input" leaves it; an "input" without a focused document clears it
};

/// Stores the focused document of the tree.
void StoreFocusedDocument(const ORVEN::CValueMap& tree, ORVEN::CValueMap*& document, EnFocusTest test);

/// Reads a parameter into a member. A missing entry, and an entry of another kind, leave the member as it is
/// and answer false. The key is a path from where `values` stands: "parameters/sigma" from the tree, "sigma"
/// from its map.
bool ReadParameter(const ORVEN::CValueMap& values, const char* key, bool& member);
bool ReadParameter(const ORVEN::CValueMap& values, const char* key, std::int32_t& member);
bool ReadParameter(const ORVEN::CValueMap& values, const char* key, double& member);
bool ReadParameter(const ORVEN::CValueMap& values, const char* key, ORVEN::CString& member);

/// The image of a document; null for no document and for a document without image. Content of another kind
/// raises `CExBadParam`.
ORVEN::CImage* ContentOf(const ORVEN::CValueMap* document);

/// The same for plug-ins to which content of another kind is no image.
ORVEN::CImage* ImageContentOf(const ORVEN::CValueMap* document);

/// The label of a document, or `fallback` where it has none.
ORVEN::CString LabelOf(const ORVEN::CValueMap& document, const char* fallback);

/// Whether the image still holds that very map at a path of its attributes. An export keeps a pointer to a
/// measurement from one call to the next, and a new measurement in between frees the old one. False for no
/// map.
bool HoldsMap(const ORVEN::CImage* image, const std::string& path, const ORVEN::CValueMap* map);

/// Gives a result the attributes of the image that it was made from, and its own line of history after
/// theirs.
void Inherit(ORVEN::CImage& result, const ORVEN::CImage& source, const ORVEN::CString& historyLine);

/// How much of what stands in the tree a plug-in replaces when it hands over a document. Each plug-in has its
/// own way, which hosts rely on. An entry on the way that is replaced may be of any kind; one that stays and
/// is no container raises `CExBadParam`, and the tree stays as it was.
enum class EnHandOver {
    NEW_OUTPUT,    ///< all of "output"
    NEW_DOCUMENTS, ///< "output/documents"; view requests stay
    NEW_LIST,      ///< "output/documents/add" only
    INTO_LIST      ///< nothing but an earlier document at the same place
};

/// Puts a new document with image and label into the tree, at place `index` of "output/documents/add". The
/// document owns the image. The tree only points to the document: the host takes it out and owns it from then
/// on.
void HandOver(ORVEN::CValueMap& tree, EnHandOver way, std::unique_ptr<ORVEN::CImage> image,
              const ORVEN::CString& label, int index = 0);

/// Asks the host to show the attributes of a document, where a plug-in leaves its result in the header of an
/// image. The document stays the host's.
void RequestView(ORVEN::CValueMap& tree, ORVEN::CValueMap& document);

/// Runs a plug-in's work; a `CException` is written to standard error, in the name given, and goes on.
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
