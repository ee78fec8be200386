#pragma once

#include "QuillonMeasurement/StLabelingData.h"

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/CImage.h>

#include <cstdint>

namespace ORVEN {

/// Measures the volume and bounding box of all labels of an image in one pass.
///
/// Images: IMAGE_BINARY_FG, in which every pixel that is not 0 has label 1, IMAGE_GREY_8, IMAGE_GREY_16 and
/// IMAGE_GREY_32. Other types raise `CException` "Image type %1 not supported.". Label 0 is measured like any
/// other. The offset of the header is added to the start positions. A missing axis has extent 1.
///
/// Time: linear in the number of pixels. Memory: 56 bytes per label up to the greatest one that occurs, twice
/// that at the end of the pass. Each thread has such a table, unless these would take more memory than the
/// image and 64 MiB: then a single thread starts again. The result does not depend on the number of threads.
/// A cancelled run measures the rows processed until then.
class CExtractorLabelData : public CAlgorithm {
public:
    /// Greater labels are unlikely to be object numbers, and the tables for them would exceed 7 GiB. If an
    /// image of 1024^3 pixels contained this many objects, each would have 16 pixels.
    static constexpr std::uint32_t c_greatestLabel = (1U << 26) - 1;

    using CAlgorithm::CAlgorithm;
    ~CExtractorLabelData() override;

    /// Replaces `data` by the measurement. The vectors end with the greatest label that occurs. Raises
    /// `CException` for labels above `c_greatestLabel`, and as `RequireMemory` for tables that do not fit.
    void Extract(const CImage& image, StLabelingData& data) const;

    /// The key of such a record among the features of an image.
    static const char* KeyToLabelData();
};

} // namespace ORVEN
