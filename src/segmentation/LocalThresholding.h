#pragma once

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <cstdint>

/// Shared by the two local thresholding plug-ins: everything except the formula and the texts.
namespace quillon {

/// The members of a local thresholding plug-in.
struct StLocalThresholding {
    ORVEN::CValueMap* focusedDocument = nullptr;
    float coefficient = -0.2F;
    std::int32_t windowSize = 5; ///< half width of the window, in pixels
    bool usesNewImplementation = true;

    /// Reads the parameters, then the focused document. If "parameters" exists, all three of them are
    /// required: a missing one raises `CException`. One of the wrong kind stops the reading, and the document
    /// is not read either.
    void Update(const ORVEN::CValueMap& tree);
};

/// The differences between the two plug-ins.
struct StLocalThresholdingMethod {
    const char* name;        ///< in the history, and the label of the result if the input has none
    std::int32_t fastMethod; ///< of `CFastLocalThresholding`
    bool tellsTime;          ///< writes the computing time to standard output
    const char* unsupported; ///< message if the older implementation does not support the image
    void (*older8)(const StLocalThresholding&, const ORVEN::CImage&, ORVEN::CImage&);
    void (*older16)(const StLocalThresholding&, const ORVEN::CImage&, ORVEN::CImage&);
};

/// Whether the tree holds a grey image in focus, of dimension 2 or 3 and at least 2 pixels wide along each
/// axis.
bool AcceptsLocalThresholding(const ORVEN::CValueMap& tree);

/// Binarises the focused image into a new document.
void RunLocalThresholding(ORVEN::CValueMap& tree, const StLocalThresholding& settings,
                          const StLocalThresholdingMethod& method);

/// Runs one of the older thresholders: `CNiblackThresholder` or `CSauvolaThresholder` for a pixel type.
template <class Thresholder>
void RunOlderThresholder(const StLocalThresholding& settings, const ORVEN::CImage& image,
                         ORVEN::CImage& result) {
    Thresholder{settings.windowSize, settings.coefficient, &image}(result);
}

} // namespace quillon
