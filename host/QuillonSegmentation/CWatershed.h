#pragma once

#include <QuillonBase/CAlgorithm.h>

namespace ORVEN {

/// The algorithm object of a watershed run, through which the flood reports progress and checks for
/// cancellation. The flood itself is a template of the pack, instantiated for each neighbourhood and pixel
/// type.
class CWatershed : public CAlgorithm {
public:
    using CAlgorithm::CAlgorithm;
    ~CWatershed() override;
};

} // namespace ORVEN
