#pragma once

#include <sorblib2image/IImage.h>

#include <map>
#include <string>
#include <vector>

namespace ORVEN {

class CImage;
class CValue;
class CValueMap;

/// Finds the images that are open in the host, for a dialog where the user picks one of them by name.
///
/// The open documents are the entries of "input/documents" in the tree. Each is a document or a pointer to
/// one, and a host may also group them in nested maps and vectors. "focused" is one of them.
///
/// An image has the label of its document as name. If several images have the same label, all but the first
/// get a number appended, as in "label (2)", so that each can be picked. An image that is found under several
/// entries counts once.
class CAvailableImages {
public:
    /// `offersFocused` includes the focused image; `offersUnnamed` includes images without a label, under the
    /// name "unnamed".
    CAvailableImages(bool offersFocused, bool offersUnnamed);

    /// Restricts the images to those of one of the added types, and to those of one of the added sizes.
    /// Without a call, all types or sizes are allowed.
    void addAllowedType(const IImage::CType& type);
    void addAllowedSize(const CSize& size);

    /// Returns the images by name. The host keeps ownership.
    std::map<std::string, const CImage*> operator()(const CValueMap& tree) const;

private:
    [[nodiscard]] bool Allows(const CImage& image) const;

    bool m_offersFocused;
    bool m_offersUnnamed;
    std::vector<IImage::CType> m_types;
    std::vector<CSize> m_sizes;
};

} // namespace ORVEN
