#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

#include <cstdint>
#include <string>

namespace ORVEN {

/// Marks the exact medial axis of a binary object: the centres of its maximal balls. See `MarkMedialAxis` for
/// images, errors and cost.
class CExactMedialAxis : public CAlgorithm {
public:
    CExactMedialAxis(const char* name, const IObject* parent);

    /// Marks the centres of the maximal balls of at least the given squared radius, from a map of squared
    /// distances to the background. `table` is the path of a look-up table; if it is empty, the path in `Lut`
    /// is used.
    void ExactMedialAxis(IProgress& progress, const IImage& squaredDistance, IImage& output,
                         std::uint64_t squaredRadius, const std::string& table);

    /// The process-wide path of the look-up table; empty for the built-in one. It must not be changed while a
    /// medial axis is being computed.
    static std::string& Lut();
};

} // namespace ORVEN
