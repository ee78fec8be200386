#pragma once

#include "topology/SimplePointTest.h"
#include "topology/StAdjacency.h"

#include <sorblib2image/CImage.h>

#include <cstdint>
#include <random>

/// What the tests of local topology share.
namespace test {

/// Calls `work(std::type_identity<N>())` for each of the four neighbourhoods.
template <class Work>
void ForEachNeighborhood(const Work& work) {
    work(std::type_identity<ORVEN::CNeighborhood3dDiffN6>());
    work(std::type_identity<ORVEN::CNeighborhood3dDiffN14_1>());
    work(std::type_identity<ORVEN::CNeighborhood3dDiffN14_2>());
    work(std::type_identity<ORVEN::CNeighborhood3dDiffN26>());
}

/// Asks the definition about cubes given as 26 bits: the neighbours of the centre in raster order, x
/// fastest.
template <class N>
class CDefinition {
public:
    CDefinition() {
        m_helper._ecoeff(m_helper.m_eulerCoefficients.data(), quillon::StAdjacency<N>::eulerCode, false);
        m_pixels.Row(1, 1)[1] = 1;
    }

    bool IsMarkedPoint(std::uint32_t neighbors) {
        for (std::uint32_t bit = 0; bit < 26; ++bit) {
            const std::uint32_t cell = bit < 13 ? bit : bit + 1;
            m_pixels.Row(cell / 3 % 3, cell / 9)[cell % 3] = neighbors >> bit & 1;
        }
        return quillon::IsMarkedPoint<N>(m_helper, {1, 1, 1});
    }

    /// Of the neighbours alone, without the centre.
    bool IsCubeConnected(std::uint32_t neighbors) {
        m_helper.m_cube = {};
        for (std::uint32_t bit = 0; bit < 26; ++bit) {
            const std::uint32_t cell = bit < 13 ? bit : bit + 1;
            m_helper.m_cube[1 + cell % 3][1 + cell / 3 % 3][1 + cell / 9].value =
                static_cast<std::int32_t>(neighbors >> bit & 1);
        }
        return quillon::IsCubeConnected<N>(m_helper);
    }

private:
    ORVEN::CImage m_image{ORVEN::IMAGE_BINARY_FG, ORVEN::CSize(3, 3, 3), ORVEN::CSize(0, 0, 0)};
    ORVEN::CImageView<unsigned char> m_pixels{m_image};
    ORVEN::CSkeletonHelper m_helper{m_image};
};

} // namespace test
