#include "distance/IsotropicPixels.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CStringTools.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <string>

namespace quillon {

using namespace ORVEN;

void RequireIsotropicPixels(const IImage& image, const char* source) {
    double x = 1.0;
    double y = 1.0;
    double z = 1.0;
    CQuillonHeaderTools::GetSpacing(image, x, y, z);
    const int dimension = image.Size().Dim();
    if (y == x && (dimension != 3 || z == y))
        return;
    const std::string message =
        dimension == 2
            ? CStringTools::Printf("Only isotropic pixels are supported, but spacing is (%lf,%lf).", x, y)
            : CStringTools::Printf("Only isotropic pixels are supported, but spacing is (%lf,%lf,%lf).", x, y,
                                   z);
    throw CException(source, message.c_str(), nullptr);
}

} // namespace quillon
