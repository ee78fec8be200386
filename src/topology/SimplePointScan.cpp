#include "topology/SimplePointScan.h"

#include "topology/CBitPlane.h"
#include "topology/SimplePointWords.h"

#include <algorithm>
#include <utility>

namespace quillon {

using namespace ORVEN;

namespace {

using Word = std::uint64_t;

/// Three planes as bits; the middle one contains the pixels to test.
using PlaneTriple = std::array<const Word*, 3>;

/// Returns the cubes around the 64 pixels of a word. Pixel x is bit x, so x - 1 is the next lower bit.
WordCube<Word> CubesAround(const PlaneTriple& planes, std::ptrdiff_t word, std::ptrdiff_t rowWords) {
    WordCube<Word> cubes;
    Unroll<9>([&](auto row) {
        const Word* const words =
            planes[row / 3] + word + (static_cast<std::ptrdiff_t>(row % 3) - 1) * rowWords;
        cubes[3 * row] = words[0] << 1 | words[-1] >> 63;
        cubes[3 * row + 1] = words[0];
        cubes[3 * row + 2] = words[0] >> 1 | words[1] << 63;
    });
    return cubes;
}

/// Keeps those candidates of a group that have to be marked.
template <class N>
void SiftGroup(const PlaneTriple& planes, std::ptrdiff_t rowWords, std::ptrdiff_t first, Word* candidates) {
    for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(CBitPlane::c_group); ++i)
        candidates[first + i] &= IsMarkedPoint<N>(CubesAround(planes, first + i, rowWords));
}

template <class N>
[[gnu::flatten]] void SiftPlane(const PlaneTriple& planes, CBitPlane& candidates) {
    constexpr auto group = static_cast<std::ptrdiff_t>(CBitPlane::c_group);
    const auto rowWords = static_cast<std::ptrdiff_t>(candidates.RowWords());
    const std::ptrdiff_t end = static_cast<std::ptrdiff_t>(candidates.GroupCount()) * group;
    Word* const words = candidates.Words();
    for (std::ptrdiff_t first = 0; first < end; first += group) {
        if (std::any_of(words + first, words + first + group, [](Word word) { return word != 0; }))
            SiftGroup<N>(planes, rowWords, first, words);
    }
}

void WriteMarks(const CBitPlane& marks, const CImageView<unsigned char>& pixels, std::int64_t z) {
    const Word* row = marks.Words();
    for (std::int64_t y = 0; y < pixels.ny; ++y, row += marks.RowWords()) {
        unsigned char* const target = pixels.Row(y, z);
        for (std::size_t word = 0; word < marks.RowWords(); ++word) {
            for (Word left = row[word]; left != 0; left &= left - 1)
                target[word * 64 + static_cast<std::size_t>(std::countr_zero(left))] = 255;
        }
    }
}

} // namespace

template <class N>
void MarkSimplePoints(const IImage& image, IImage& result) {
    const CImageView<const unsigned char> source(image);
    const CImageView<unsigned char> target(result);
    CBitPlane before(source.nx, source.ny);
    CBitPlane here = before;
    CBitPlane behind = before;
    CBitPlane candidates = before;
    if (source.nz > 0)
        behind.TakeNonZero(source, 0);
    for (std::int64_t z = 0; z < source.nz; ++z) {
        std::swap(before, here);
        std::swap(here, behind);
        if (z + 1 < source.nz)
            behind.TakeNonZero(source, z + 1);
        else
            behind.Clear();
        candidates.TakeOnes(target, z);
        SiftPlane<N>({before.Words(), here.Words(), behind.Words()}, candidates);
        WriteMarks(candidates, target, z);
    }
}

template void MarkSimplePoints<CNeighborhood3dDiffN6>(const IImage&, IImage&);
template void MarkSimplePoints<CNeighborhood3dDiffN14_1>(const IImage&, IImage&);
template void MarkSimplePoints<CNeighborhood3dDiffN14_2>(const IImage&, IImage&);
template void MarkSimplePoints<CNeighborhood3dDiffN26>(const IImage&, IImage&);

} // namespace quillon
