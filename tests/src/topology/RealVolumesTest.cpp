// The fast scans against the definition in real volumes, made binary at their mean grey value.

#include "engine/files/ImageFile.h"
#include "src/topology/TopologyTools.h"
#include "support/TestImage.h"
#include "topology/SimplePointScan.h"

#include <QuillonTransformation/CLocalEulerNumbers.h>
#include <sorblib2image/GreyTypeDispatch.h>

#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;

std::unique_ptr<CImage> ReadBinary(const std::string& file) {
    const auto image = engine::ReadImage(std::string(QUILLON_TEST_DATA "/") + file);
    return DispatchGreyType("ReadBinary", image->Type(), [&]<class T>(std::type_identity<T>) {
        const auto pixels = test::PixelsOf<T>(*image);
        const double mean =
            std::accumulate(pixels.begin(), pixels.end(), 0.0) / static_cast<double>(pixels.size());
        std::vector<unsigned char> bits;
        for (const T pixel : pixels)
            bits.push_back(static_cast<double>(pixel) > mean ? 1 : 0);
        return test::ImageOf(IMAGE_BINARY_FG, image->Size(), bits);
    });
}

template <class N>
void ExpectDefinition(const CImage& image) {
    CImage figures(IMAGE_GREY_F, image.Size(), CSize(0, 0, 0));
    const auto marks = test::ImageOf(IMAGE_GREY_8, image.Size(), test::PixelsOf<unsigned char>(image));
    quillon::MarkSimplePoints<N>(image, *marks);
    (void)CLocalEulerNumbers(quillon::StAdjacency<N>::eulerCode).Calculate(figures, image);

    CSkeletonHelper helper(image);
    helper._ecoeff(helper.m_eulerCoefficients.data(), quillon::StAdjacency<N>::eulerCode, false);
    const CImageView<const unsigned char> pixels(image);
    const CImageView<const unsigned char> marked(*marks);
    const CImageView<const float> figure(figures);
    // The definition is slow: some thousands of pixels, spread over the image. 7919 is a prime.
    const std::int64_t count = std::min<std::int64_t>(pixels.PixelCount(), 6000);
    std::int64_t markedCount = 0;
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t index = i * 7919 % pixels.PixelCount();
        const std::int64_t x = index % pixels.nx;
        const std::int64_t y = index / pixels.nx % pixels.ny;
        const std::int64_t z = index / pixels.nx / pixels.ny;
        const int pixel = pixels.Row(y, z)[x];
        const bool isMarked = pixel == 1 && quillon::IsMarkedPoint<N>(helper, {x, y, z});
        ASSERT_EQ(int{marked.Row(y, z)[x]}, isMarked ? 255 : pixel);
        markedCount += isMarked ? 1 : 0;
        helper.createCube({x, y, z}, 1, 0);
        ASSERT_EQ(figure.Row(y, z)[x], static_cast<float>(helper.EulerNumber()));
    }
    EXPECT_GT(markedCount, 10);
}

TEST(TopologyOfRealVolumes, IsThatOfTheDefinition) {
    for (const char* file : {"cement_pores_128.nrrd", "nuclei_platynereis_labels_u16.nrrd",
                             "lung_ct_crop_u16.mha", "shell_crop_stack.tif", "brain_mri_crop.nii.gz"}) {
        SCOPED_TRACE(file);
        const auto image = ReadBinary(file);
        test::ForEachNeighborhood([&]<class N>(std::type_identity<N>) { ExpectDefinition<N>(*image); });
    }
}

} // namespace
