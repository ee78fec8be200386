#pragma once

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

namespace quillon {

/// The image of a document; null for anything but a binary image.
[[nodiscard]] const ORVEN::CImage* BinaryImageOf(const ORVEN::CValueMap* document);

/// What the plug-ins of local topology are told, and how they are told it: alike in both.
struct StLocalTopology {
    ORVEN::CValueMap* focusedDocument = nullptr;
    ORVEN::CString neighborhood; ///< its id

    /// Whether the image in focus is binary and has three dimensions.
    static bool Accepts(const ORVEN::CValueMap& tree);
    void Update(const ORVEN::CValueMap& tree);
    /// `BinaryImageOf` the document.
    [[nodiscard]] const ORVEN::CImage* BinaryImage() const;
    /// A text with the id of the neighbourhood for its placeholder.
    [[nodiscard]] ORVEN::CString HistoryLine(const char* text) const;
};

} // namespace quillon
