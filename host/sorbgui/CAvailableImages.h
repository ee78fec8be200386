#pragma once

#include <sorblib2image/IImage.h>

#include <map>
#include <string>
#include <vector>

namespace ORVEN {

class CImage;
class CValue;
class CValueMap;

/// Finds the images that are open in the host, for a dialog that lets a person pick one of them by name.
///
/// The open documents are the entries of "input/documents" in the tree, each a document or a pointer to one;
/// a host can also gather them in maps and vectors there. "focused" is one of them.
///
/// An image goes by its document's label. Where several images have one label, all but the first get a number
/// behind it, "label (2)", so that every one can be picked. An image that stands there under several entries
/// counts once.
class CAvailableImages {
public:
    /// `offersFocused` says whether the image in focus is one to pick, too; `offersUnnamed` whether images
    /// without label are, under the name "unnamed".
    CAvailableImages(bool offersFocused, bool offersUnnamed);

    /// Only images of one of the types are offered, and only those of one of the sizes; without a call, any.
    void addAllowedType(const IImage::CType& type);
    void addAllowedSize(const CSize& size);

    /// The images by name. They stay the host's.
    std::map<std::string, const CImage*> operator()(const CValueMap& tree) const;

private:
    [[nodiscard]] bool Allows(const CImage& image) const;

    bool m_offersFocused;
    bool m_offersUnnamed;
    std::vector<IImage::CType> m_types;
    std::vector<CSize> m_sizes;
};

} // namespace ORVEN
