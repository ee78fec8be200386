#pragma once

#include "QuillonMeasurement/StLabelingData.h"

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/CImage.h>

#include <cstdint>

namespace ORVEN {

/// Measures volume and bounding box of all labels of an image in one pass.
///
/// Images: IMAGE_BINARY_FG, in which all that is not 0 has label 1, IMAGE_GREY_8, IMAGE_GREY_16 and
/// IMAGE_GREY_32; another type raises `CException` "Image type %1 not supported.". Label 0 is measured like
/// any other. The header's offset goes into the starts; an axis that the image lacks has extent 1.
///
/// Time: linear in the pixels. Memory: 56 bytes a label up to the greatest that occurs, twice at the end of
/// the pass. A cancelled run measures the planes up to there.
class CExtractorLabelData : public CAlgorithm {
public:
    /// Higher labels are sooner marks than numbers of objects, and their table would exceed 7 GiB. In an
    /// image of 1024^3 pixels, so many objects would have 16 pixels each.
    static constexpr std::uint32_t c_greatestLabel = (1U << 26) - 1;

    using CAlgorithm::CAlgorithm;
    ~CExtractorLabelData() override;

    /// Replaces `data` by the measurement; the vectors end with the greatest label that occurs. Raises
    /// `CException` for labels above `c_greatestLabel`.
    void Extract(const CImage& image, StLabelingData& data) const;

    /// The key of a record among the features of an image.
    static const char* KeyToLabelData();
};

} // namespace ORVEN
