#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

#include <string>

namespace ORVEN {

/// Computes the exact bisector function of a binary object: the angle at which each pixel sees its nearest
/// background pixels. See `ComputeBisector` for images, errors and cost.
class CExactBisector : public CAlgorithm {
public:
    CExactBisector(const char* name, const IObject* parent);

    /// Fills `output` with the angles in radians at the pixels of `object`, from its map of squared distances
    /// to the background; angles below the given one become 0. `table` is the path of a look-up table; if it
    /// is empty, the path in `Lut` is used.
    void ExactBisector(IProgress& progress, const IImage& squaredDistance, const IImage& object,
                       IImage& output, float angle, const std::string& table);

    /// The process-wide path of the look-up table; empty for none. It must not be changed while a bisector is
    /// being computed.
    static std::string& Lut();
};

} // namespace ORVEN
