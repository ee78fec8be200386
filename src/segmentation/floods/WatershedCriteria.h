#pragma once

#include <cstdint>

/// What a new minimum has to be like before the flood makes it a region. A refused candidate's pixels wait
/// again, and a later level may take them.
///
/// By contract a candidate is flooded with the next free number, each of its pixels is shown to the criterion
/// as it is found and all but the first once more as it leaves the queue, and a refused flood is undone.
/// What a criterion can learn in this way depends on three numbers alone: the level, the number that the
/// region would get, and the pixels N of the candidate, of which 2N - 1 are shown. So the criteria here
/// answer from these, before anything is flooded; a flat basin that is refused for each of its pixels would
/// cost the square of its size otherwise. That the last pixel counts once less, and the other oddities below,
/// are contract behaviour: label images made with them stay reproducible.
namespace ORVEN {

/// Which criterion a flood uses.
enum EnWatershedMode : std::uint32_t {
    WATERSHED_NORMAL = 0,
    WATERSHED_NO_OF_VOXEL = 1,
    WATERSHED_MIN_GREY_VALUE = 2,
    WATERSHED_MIN_DEPTH = 3,
    WATERSHED_MIN_VOLUME = 4,
};

/// A minimum that asks to become a region.
struct StWatershedCandidate {
    std::uint32_t level;          ///< that is being flooded
    std::uint32_t label;          ///< that the region would get
    std::uint64_t pixelCount = 0; ///< counted for criteria that depend on it only

    /// How many pixels the criterion is shown, by contract.
    [[nodiscard]] std::uint64_t ShownCount() const { return 2 * pixelCount - 1; }
};

/// Takes every minimum; the flood asks it nothing.
class CWatershedCriterionNone {
public:
    struct StParameters {};

    explicit CWatershedCriterionNone(StParameters* /*parameters*/) {}

    static constexpr bool takesEveryMinimum = true;
};

/// At least `minimum` pixels, counted as told above.
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

/// Born above level `minimum`. Up to 16 bits a level is a grey value, beyond it is the rank of the value.
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

/// Some pixel more than `minimum` + 1 below the level - where the height of a pixel is read from the label
/// image, which holds the candidate's own number there and no grey value, and a label above the level wraps
/// around. Contract behaviour, not to be mended.
class CWatershedCriterionDepth {
public:
    struct StParameters {
        std::uint32_t minimum;
        std::uint32_t level = 0;
        bool reached = false;
    };

    explicit CWatershedCriterionDepth(StParameters* parameters)
        : m_parameters(parameters) {}

    static constexpr bool takesEveryMinimum = false;
    static constexpr bool dependsOnPixelCount = false;

    [[nodiscard]] bool Takes(const StWatershedCandidate& candidate) const {
        m_parameters->level = candidate.level;
        m_parameters->reached = candidate.level - candidate.label > m_parameters->minimum + 1;
        return m_parameters->reached;
    }

private:
    StParameters* m_parameters;
};

/// At least `minimum` of water, the sum over the pixels of the level less their height, plus one - where the
/// height is read from the label image as with the depth, with the same wrap-around. Contract behaviour, not
/// to be mended. Sums are exact up to 2^53, which is far above any minimum of 32 bits.
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
        // The one is added in 32 bits too, before the number is widened: it is part of what wraps around.
        const std::uint32_t waterOfAPixel = candidate.level - candidate.label + 1;
        m_parameters->level = candidate.level;
        m_parameters->sum = static_cast<double>(waterOfAPixel) * static_cast<double>(candidate.ShownCount());
        return m_parameters->sum >= m_parameters->minimum;
    }

private:
    StParameters* m_parameters;
};

} // namespace ORVEN
