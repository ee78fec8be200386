#pragma once

#include <QuillonBase/CAlgorithm.h>

namespace ORVEN {

/// The algorithm object of a watershed run: what the flood reports its progress through and asks whether to
/// go on. The flood itself is a template of the pack, made for one neighbourhood and pixel type each.
class CWatershed : public CAlgorithm {
public:
    using CAlgorithm::CAlgorithm;
    ~CWatershed() override;
};

} // namespace ORVEN
