#pragma once

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <cstdint>

/// What the two local thresholding plug-ins share: all but the formula and the words.
namespace quillon {

/// The members of a local thresholding plug-in.
struct StLocalThresholding {
    ORVEN::CValueMap* focusedDocument = nullptr;
    float coefficient = -0.2F;
    std::int32_t windowSize = 5; ///< half width of the window, in pixels
    bool useNewImplementation = true;

    /// Takes the parameters, all three of which are required once there are "parameters" at all, then the
    /// document. A missing one raises `CException`; one of another kind ends the reading, the document's
    /// included.
    void Update(const ORVEN::CValueMap& tree);
};

/// How the two plug-ins differ.
struct StLocalThresholdingMethod {
    const char* name;        ///< in the history, and the label of a result without one
    std::int32_t fastMethod; ///< of `CFastLocalThresholding`
    bool tellsTime;          ///< writes the time of the computation to standard output
    const char* unsupported; ///< message where the older implementation cannot take the image
    void (*older8)(const StLocalThresholding&, const ORVEN::CImage&, ORVEN::CImage&);
    void (*older16)(const StLocalThresholding&, const ORVEN::CImage&, ORVEN::CImage&);
};

/// Whether the tree holds a grey image in focus, of dimension 2 or 3 and at least 2 pixels wide on each axis.
bool AcceptsLocalThresholding(const ORVEN::CValueMap& tree);

/// Binarises the focused image into a new document.
void RunLocalThresholding(ORVEN::CValueMap& tree, const StLocalThresholding& settings,
                          const StLocalThresholdingMethod& method);

/// Runs one of the older thresholders, `CNiblackThresholder` or `CSauvolaThresholder` of a pixel type.
template <class Thresholder>
void RunOlderThresholder(const StLocalThresholding& settings, const ORVEN::CImage& image,
                         ORVEN::CImage& result) {
    Thresholder{settings.windowSize, settings.coefficient, &image}(result);
}

} // namespace quillon
