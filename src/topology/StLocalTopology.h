#pragma once

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

namespace quillon {

/// Returns the image of a document, or null for anything but a binary image.
[[nodiscard]] const ORVEN::CImage* BinaryImageOf(const ORVEN::CValueMap* document);

/// The parameters shared by the plug-ins of local topology, and how they are read.
struct StLocalTopology {
    ORVEN::CValueMap* focusedDocument = nullptr;
    ORVEN::CString neighborhood; ///< its id

    /// Whether the image in focus is binary and three-dimensional.
    static bool Accepts(const ORVEN::CValueMap& tree);
    void Update(const ORVEN::CValueMap& tree);
    /// Returns `BinaryImageOf` the document in focus.
    [[nodiscard]] const ORVEN::CImage* BinaryImage() const;
    /// Returns a text with its placeholder replaced by the id of the neighbourhood.
    [[nodiscard]] ORVEN::CString HistoryLine(const char* text) const;
};

} // namespace quillon
