#pragma once

#include <cstdint>

/// The criteria that decide whether a flood makes a new minimum a region. The pixels of a refused candidate
/// wait again and may be flooded at a later level.
///
/// In the direct form of the algorithm, a candidate is flooded with the next free number. The criterion is
/// shown each pixel when it is found, and all but the first once more when it leaves the queue. A refused
/// flood is undone. What a criterion can learn in this way depends on three numbers only: the level, the
/// number that the region would get, and the number N of pixels, of which 2N - 1 are shown. The criteria here
/// decide from these numbers, before anything is flooded. Otherwise a flat basin that is refused at each of
/// its pixels would take time quadratic in its size. The count 2N - 1 and the other oddities below are kept
/// deliberately, so that existing label images can be reproduced.
namespace ORVEN {

/// Which criterion a flood uses.
enum EnWatershedMode : std::uint32_t {
    WATERSHED_NORMAL = 0,
    WATERSHED_NO_OF_VOXEL = 1,
    WATERSHED_MIN_GREY_VALUE = 2,
    WATERSHED_MIN_DEPTH = 3,
    WATERSHED_MIN_VOLUME = 4,
};

/// A minimum that may become a region.
struct StWatershedCandidate {
    std::uint32_t level;          ///< the level that is being flooded
    std::uint32_t label;          ///< the label that the region would get
    std::uint64_t pixelCount = 0; ///< counted only for criteria that depend on it

    /// How many times the criterion is shown a pixel, see above.
    [[nodiscard]] std::uint64_t ShownCount() const { return 2 * pixelCount - 1; }
};

/// Accepts every minimum; the flood does not even ask it.
class CWatershedCriterionNone {
public:
    struct StParameters {};

    explicit CWatershedCriterionNone(StParameters* /*parameters*/) {}

    static constexpr bool takesEveryMinimum = true;
};

/// Accepts minima of at least `minimum` pixels, counted as described above.
class CWatershedCriterionArea {
public:
    struct StParameters {
        std::uint32_t minimum;
        std::uint32_t count = 0;
    };

    explicit CWatershedCriterionArea(StParameters* parameters)
        : m_parameters(parameters) {}

    static constexpr bool takesEveryMinimum = false;
    static constexpr bool dependsOnPixelCount = true;

    [[nodiscard]] bool Takes(const StWatershedCandidate& candidate) const {
        m_parameters->count = static_cast<std::uint32_t>(candidate.ShownCount());
        return m_parameters->count >= m_parameters->minimum;
    }

private:
    StParameters* m_parameters;
};

/// Accepts minima born above level `minimum`. Up to 16 bits a level is a grey value; beyond, it is the rank
/// of the value.
class CWatershedCriterionHeight {
public:
    struct StParameters {
        std::uint32_t minimum;
    };

    explicit CWatershedCriterionHeight(StParameters* parameters)
        : m_parameters(parameters) {}

    static constexpr bool takesEveryMinimum = false;
    static constexpr bool dependsOnPixelCount = false;

    [[nodiscard]] bool Takes(const StWatershedCandidate& candidate) const {
        return candidate.level > m_parameters->minimum;
    }

private:
    StParameters* m_parameters;
};

/// Accepts minima with a pixel more than `minimum` + 1 below the level. The height of a pixel is read from
/// the label image, which at that point holds the candidate's own number instead of a grey value; a label
/// above the level wraps around. This is deliberate and must not be fixed.
class CWatershedCriterionDepth {
public:
    struct StParameters {
        std::uint32_t minimum;
        std::uint32_t level = 0;
        bool isReached = false;
    };

    explicit CWatershedCriterionDepth(StParameters* parameters)
        : m_parameters(parameters) {}

    static constexpr bool takesEveryMinimum = false;
    static constexpr bool dependsOnPixelCount = false;

    [[nodiscard]] bool Takes(const StWatershedCandidate& candidate) const {
        m_parameters->level = candidate.level;
        m_parameters->isReached = candidate.level - candidate.label > m_parameters->minimum + 1;
        return m_parameters->isReached;
    }

private:
    StParameters* m_parameters;
};

/// Accepts minima with a water volume of at least `minimum`: the sum, over the pixels, of the level minus the
/// height of the pixel plus one. The height is read from the label image as for the depth, with the same
/// wrap-around. This is deliberate and must not be fixed. Sums are exact up to 2^53, far above any 32-bit
/// minimum.
class CWatershedCriterionVolume {
public:
    struct StParameters {
        double minimum;
        std::uint32_t level = 0;
        double sum = 0.0;
    };

    explicit CWatershedCriterionVolume(StParameters* parameters)
        : m_parameters(parameters) {}

    static constexpr bool takesEveryMinimum = false;
    static constexpr bool dependsOnPixelCount = true;

    [[nodiscard]] bool Takes(const StWatershedCandidate& candidate) const {
        // The one is also added in 32 bits, before the number is widened, and takes part in the wrap-around.
        const std::uint32_t waterOfAPixel = candidate.level - candidate.label + 1;
        m_parameters->level = candidate.level;
        m_parameters->sum = static_cast<double>(waterOfAPixel) * static_cast<double>(candidate.ShownCount());
        return m_parameters->sum >= m_parameters->minimum;
    }

private:
    StParameters* m_parameters;
};

} // namespace ORVEN
