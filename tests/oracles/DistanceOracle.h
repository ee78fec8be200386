#pragma once

#include "support/TestImage.h"

#include <array>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

/// What the tests of distance maps and of the morphology with balls compare with: each pixel against each
/// seed. Nothing here shares code with the library.
namespace test {

/// A set of pixels of an image, with what is around it.
struct StSeeds {
    ORVEN::CSize size;
    std::vector<unsigned char> isSeed; ///< in raster order, x fastest
    bool isOutsideSeed = false;        ///< the pixels just beyond the border are seeds too
};

/// Stands for the distance to nothing.
inline constexpr double c_noDistance = -1.0;

/// The squared distance of each pixel to the nearest seed; the squares of the pixel lengths are given.
std::vector<double> SquaredDistances(const StSeeds& seeds, const std::array<double, 3>& weights = {1, 1, 1});

/// Where the pixels of a binary image have, or have not, the value of the seeds.
StSeeds SeedsOf(const ORVEN::IImage& image, bool onForeground, bool isOutsideSeed);

/// A size of dimension 1, 2 or 3 with extents from 1 up to about `largest`, many of them 1 or next to the
/// number of lines that are done at once.
ORVEN::CSize RandomSize(std::mt19937& random, std::int64_t largest);

/// A binary image of noise, of boxes, of a few pixels, or of one value only.
std::unique_ptr<ORVEN::CImage> RandomBinary(std::mt19937& random, const ORVEN::CSize& size);

/// An image that is none of the library's own classes.
class CForeignImage : public ORVEN::IImage {
public:
    explicit CForeignImage(ORVEN::CImage& image)
        : m_image(image) {}
    const IAccess* CreateAccess(bool isReserved) const override {
        return const_cast<const ORVEN::CImage&>(m_image).CreateAccess(isReserved);
    }
    IAccess* CreateAccess(bool isReserved) override { return m_image.CreateAccess(isReserved); }
    const ORVEN::CValueMap& Attributes() const override { return m_image.Attributes(); }
    ORVEN::CValueMap& Attributes() override { return m_image.Attributes(); }
    [[nodiscard]] const CType& Type() const override { return m_image.Type(); }
    [[nodiscard]] const ORVEN::CSize& Size() const override { return m_image.Size(); }

private:
    ORVEN::CImage& m_image;
};

} // namespace test
