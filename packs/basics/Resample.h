#pragma once

#include "CBasicsPlugin.h"
#include "pixels/Geometry.h"
#include "pixels/Interpolation.h"

namespace quillon::basics {

/// "Resample": the same image with pixels of another size. See `pixels/Interpolation.h`.
class CResamplePlugin : public CBasicsPlugin {
public:
    CResamplePlugin()
        : CBasicsPlugin("Resample") {}

protected:
    void ReadParameters(const ORVEN::CValueMap& tree) override;
    StResult Compute(const ORVEN::CImage& image) override;

private:
    /// The size of the new pixels in old ones along x, y and z.
    [[nodiscard]] Triple Steps(const Triple& spacing, int dimension) const;
    [[nodiscard]] ORVEN::CSize NewSize(const ORVEN::CSize& size, const Triple& steps) const;
    [[nodiscard]] EnInterpolation Interpolation(const ORVEN::CImage& image) const;
    /// The parameter as written by the user, as in "factor=2".
    [[nodiscard]] std::string Request(const char* sign) const;

    std::optional<double> m_spacing;
    std::optional<double> m_factor;
    std::string m_interpolation;
};

} // namespace quillon::basics
