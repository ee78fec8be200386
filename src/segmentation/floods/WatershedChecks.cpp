#include "segmentation/floods/WatershedChecks.h"

#include "segmentation/floods/WatershedLabels.h"
#include "utils/ImageTypeDispatch.h"
#include "utils/PointOperations.h"
#include "utils/visitors/PointOperationCopy.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>

namespace ORVEN {

namespace visitors {

/// Converts a seed to a label: the seed itself, or `LabelInit` where there is none.
template <class L>
struct CWatershedInitWithSeeding : StVisitor<unsigned int, const L> {
    void operator()(unsigned int& label, L seed) { label = seed != 0 ? seed : LabelInit; }
};

} // namespace visitors

namespace {

CString Text(const char* text) { return {text, CString::ENC_UTF8}; }

bool IsLabelType(const IImage::CType& type) {
    return Impl::HoldsPixels<unsigned char>(type) || Impl::HoldsPixels<unsigned short>(type) ||
           Impl::HoldsPixels<unsigned int>(type);
}

} // namespace

void CheckWatershedImages(const char* site, int dimension, const IImage& output, const IImage& input,
                          const IImage* seeds, const std::array<std::int16_t, 3>& engineSize) {
    // The messages are contract wording, including the missing brackets in two of them.
    const auto require = [site](bool isMet, const CString& message) {
        if (isMet)
            return;
        Impl::StExLocation location = Impl::Here(site);
        location.file = "src/segmentation/WatershedImpl";
        throw CException(location, message);
    };
    constexpr double tooBig = 32767.0;
    const CSize& size = input.Size();
    require(size.Dim() == dimension,
            Text("image dimension of input image and neighborhood does not match (%1 vs %2).")
                .Arg(size.Dim(), 0)
                .Arg(dimension, 0));
    require(static_cast<double>(size.x) < tooBig && static_cast<double>(size.y) < tooBig &&
                static_cast<double>(size.z) < tooBig,
            Text("one image size is too big (max is %1").Arg(tooBig, 0));
    require(output.Size() == size,
            Text("image sizes are not equal (%1 vs %2).").Arg(size.ToString()).Arg(output.Size().ToString()));
    require(IsLabelType(input.Type()) || Impl::HoldsPixels<float>(input.Type()),
            Text("input image type '%1' does not match (should be gray float or int 8bit/16bit/32bit).")
                .Arg(input.Type().ToString()));
    // Deliberately names the type of the input, not of the output.
    require(Impl::HoldsPixels<unsigned int>(output.Type()),
            Text("output image type '%1' does not match (should be gray int 32bit).")
                .Arg(input.Type().ToString()));
    if (seeds != nullptr) {
        require(seeds->Size() == size, Text("seeding and input image sizes are not equal (%1 vs %2).")
                                           .Arg(seeds->Size().ToString())
                                           .Arg(size.ToString()));
        require(IsLabelType(seeds->Type()), Text("region seeding image type '%1' does not match (must be "
                                                 "gray label type: int 8bit/16bit/32bit).")
                                                .Arg(seeds->Type().ToString()));
    }
    // This check is kept deliberately, but it never fails and so has no test: the engine sets its size later,
    // and the product of three 16-bit extents cannot reach the limit anyway.
    constexpr double maxPixelCount = 9223372036854775807.0;
    const double pixelCount = static_cast<double>(engineSize[0]) * engineSize[1] * engineSize[2];
    require(pixelCount <= maxPixelCount,
            Text("image to large for watershed (maximum pixel number is %1.").Arg(maxPixelCount, 0));
}

bool InitWatershedLabels(IImage& output, const IImage* seeds) {
    const CPointOperations operations(nullptr, nullptr);
    if (seeds == nullptr) {
        visitors::CInitializer<unsigned int> initializer(LabelInit);
        return operations.Visit(initializer, output);
    }
    return DispatchImageType<unsigned int, unsigned short, unsigned char>(
        "Init", seeds->Type(), [&]<class L>(std::type_identity<L>) {
            visitors::CWatershedInitWithSeeding<L> initializer;
            return operations.Visit(initializer, output, *seeds);
        });
}

} // namespace ORVEN
