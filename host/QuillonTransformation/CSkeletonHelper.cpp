#include "QuillonTransformation/CSkeletonHelper.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CString.h>

#include <bit>
#include <cassert>

namespace ORVEN {

namespace {

constexpr unsigned c_cornerCount = 8;

constexpr bool Contains(unsigned set, unsigned subset) { return (set & subset) == subset; }
constexpr bool HasCorner(unsigned block, unsigned corner) { return (block >> corner & 1U) != 0; }

/// 8 times the part of a cell that belongs to one block, for a cell that extends along the given set of axes.
constexpr long long Share(unsigned axes) { return 1LL << std::popcount(axes); }

/// The boxes between pixels. Corners are identified by their sets of axes, so the corners of a box are the
/// union of its lowest corner with each subset of its axes.
long long BoxesOf(unsigned block) {
    long long sum = 0;
    for (unsigned lowest = 0; lowest < c_cornerCount; ++lowest) {
        for (unsigned axes = 0; axes < c_cornerCount; ++axes) {
            bool isPresent = (lowest & axes) == 0;
            for (unsigned step = 0; step < c_cornerCount; ++step)
                isPresent = isPresent && (!Contains(axes, step) || HasCorner(block, lowest | step));
            if (isPresent)
                sum += std::popcount(axes) % 2 == 0 ? Share(axes) : -Share(axes);
        }
    }
    return sum;
}

/// The simplices that start with a chain of corners, given by its ends. In a cube that is split along the
/// paths from (0,0,0) to (1,1,1), the simplices are the ascending chains of corners, ordered by their sets of
/// axes.
long long ChainsFrom(unsigned block, unsigned first, unsigned last) {
    long long sum = Share(first ^ last);
    for (unsigned next = last + 1; next < c_cornerCount; ++next) {
        if (HasCorner(block, next) && Contains(next, last))
            sum -= ChainsFrom(block, first, next); // one more dimension
    }
    return sum;
}

long long ChainsOf(unsigned block) {
    long long sum = 0;
    for (unsigned corner = 0; corner < c_cornerCount; ++corner)
        sum += HasCorner(block, corner) ? ChainsFrom(block, corner, corner) : 0;
    return sum;
}

constexpr unsigned MirroredInX(unsigned block) { return (block & 0x55U) << 1 | (block & 0xAAU) >> 1; }

constexpr unsigned Complement(unsigned block) { return 255 - block; }

using Coefficient = long long (*)(unsigned block);

Coefficient CoefficientOf(int code) {
    switch (code) {
    case 12:
        return BoxesOf;
    case 15:
        return ChainsOf;
    case 18:
        return [](unsigned block) { return ChainsOf(MirroredInX(block)); };
    case 21:
        return [](unsigned block) { return BoxesOf(Complement(block)); };
    default:
        throw CExBadParam(Impl::Here("ORVEN::CSkeletonHelper::_ecoeff"),
                          CString("Unknown Euler code '%1'.", CString::ENC_UTF8).Arg(code, 0));
    }
}

} // namespace

CSkeletonHelper::CSkeletonHelper(const IImage& image)
    : m_pixels(image) {}

void CSkeletonHelper::_ecoeff(long long* table, int code, bool isOfBackground) {
    const Coefficient coefficient = CoefficientOf(code);
    for (unsigned block = 0; block < 256; ++block)
        table[block] = coefficient(isOfBackground ? Complement(block) : block);
}

bool CSkeletonHelper::IsForeground(std::int64_t x, std::int64_t y, std::int64_t z,
                                   bool isOutsideObject) const {
    const auto isInside = [](std::int64_t position, std::int64_t length) {
        return position >= 0 && position < length;
    };
    if (!isInside(x, m_pixels.nx) || !isInside(y, m_pixels.ny) || !isInside(z, m_pixels.nz))
        return isOutsideObject;
    return m_pixels.Row(y, z)[x] != 0;
}

void CSkeletonHelper::createCube(const CTriple<long long>& position, int object, int outside) {
    m_cube = {};
    for (std::size_t k = 1; k <= 3; ++k) {
        for (std::size_t j = 1; j <= 3; ++j) {
            for (std::size_t i = 1; i <= 3; ++i) {
                const auto at = [](long long center, std::size_t index) {
                    return center + static_cast<long long>(index) - 2;
                };
                const bool isForeground =
                    IsForeground(at(position.x, i), at(position.y, j), at(position.z, k), outside != 0);
                m_cube[i][j][k].value = isForeground == (object != 0) ? 1 : 0;
            }
        }
    }
}

int CSkeletonHelper::EulerNumber() const {
    long long sum = 0;
    for (std::size_t i = 0; i <= 3; ++i) {
        for (std::size_t j = 0; j <= 3; ++j) {
            for (std::size_t k = 0; k <= 3; ++k) {
                std::size_t block = 0;
                for (std::size_t corner = 0; corner < c_cornerCount; ++corner) {
                    const StCell& cell = m_cube[i + (corner & 1)][j + (corner >> 1 & 1)][k + (corner >> 2)];
                    block |= std::size_t{cell.value == 1} << corner;
                }
                sum += m_eulerCoefficients[block];
            }
        }
    }
    // Every cell of the complex lies entirely inside the visited blocks, and so counts in full.
    assert(sum % 8 == 0);
    return static_cast<int>(sum / 8);
}

} // namespace ORVEN
