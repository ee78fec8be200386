#pragma once

#include "segmentation/WatershedLabels.h"

#include <sorblib2image/IImage.h>

#include <cstdint>
#include <vector>

/// What a new minimum has to be like before the flood makes it a region. A criterion sees the pixels of a
/// candidate one by one and then says yes or no; after a no the candidate's pixels wait again, and a later
/// level may take them.
///
/// Each pixel but the first is shown twice, once when it is found and once when it is taken from the queue. A
/// candidate of N pixels thus counts 2N - 1, and that is what an area minimum is held against. Contract
/// behaviour, as are the other oddities told below: label images made with them stay reproducible.
namespace ORVEN {

/// Which criterion a flood uses.
enum EnWatershedMode : std::uint32_t {
    WATERSHED_NORMAL = 0,
    WATERSHED_NO_OF_VOXEL = 1,
    WATERSHED_MIN_GREY_VALUE = 2,
    WATERSHED_MIN_DEPTH = 3,
    WATERSHED_MIN_VOLUME = 4,
};

namespace Impl {

/// What all criteria hold: the candidate's pixels and the labels they stand on.
class CCriterionBase {
public:
    /// The access is that of the label image, locked as a whole.
    explicit CCriterionBase(IImage::IAccess& access)
        : m_labels(static_cast<unsigned char*>(access.Data()))
        , m_strides(access.Strides()) {}

    /// Sets all pixels of the candidate back to `LabelMask`, shows them to `onPixel` and forgets them.
    template <class OnPixel>
    void Undo(const OnPixel& onPixel) {
        for (const StPixelPosition pixel : m_region) {
            Label(pixel) = LabelMask;
            onPixel(pixel);
        }
        m_region.clear();
    }

protected:
    void Begin(std::uint32_t level) {
        m_level = level;
        m_region.clear();
    }

    void Append(StPixelPosition pixel) { m_region.push_back(pixel); }

    [[nodiscard]] std::uint32_t& Label(StPixelPosition pixel) const {
        return *reinterpret_cast<std::uint32_t*>(m_labels + pixel.x * m_strides.x + pixel.y * m_strides.y +
                                                 pixel.z * m_strides.z);
    }

    std::uint32_t m_level = 0;

private:
    std::vector<StPixelPosition> m_region;
    unsigned char* m_labels;
    CPos m_strides; // that of z is 0 in two dimensions
};

} // namespace Impl

/// Takes every minimum; the flood asks it nothing.
class CWatershedCriterionNone {
public:
    struct StParameters {};

    CWatershedCriterionNone(IImage::IAccess& /*access*/, StParameters* /*parameters*/) {}

    static constexpr bool takesEveryMinimum = true;
};

/// At least `minimum` pixels, counted as told above.
class CWatershedCriterionArea : public Impl::CCriterionBase {
public:
    struct StParameters {
        std::uint32_t minimum;
        std::uint32_t count = 0;
    };

    CWatershedCriterionArea(IImage::IAccess& access, StParameters* parameters)
        : CCriterionBase(access)
        , m_parameters(parameters) {}

    static constexpr bool takesEveryMinimum = false;

    void Reset(std::uint32_t level) {
        Begin(level);
        m_parameters->count = 0;
    }

    void Add(StPixelPosition pixel) {
        Append(pixel);
        ++m_parameters->count;
    }

    void AddFirst(StPixelPosition pixel) { Add(pixel); }
    [[nodiscard]] bool RefusesAtOnce() const { return false; }
    [[nodiscard]] bool Holds() const { return m_parameters->count >= m_parameters->minimum; }

private:
    StParameters* m_parameters;
};

/// Born above level `minimum`. Up to 16 bits a level is a grey value, beyond it is the rank of the value.
class CWatershedCriterionHeight : public Impl::CCriterionBase {
public:
    struct StParameters {
        std::uint32_t minimum;
    };

    CWatershedCriterionHeight(IImage::IAccess& access, StParameters* parameters)
        : CCriterionBase(access)
        , m_parameters(parameters) {}

    static constexpr bool takesEveryMinimum = false;

    void Reset(std::uint32_t level) { Begin(level); }
    void Add(StPixelPosition pixel) { Append(pixel); }
    void AddFirst(StPixelPosition pixel) { Append(pixel); }
    [[nodiscard]] bool RefusesAtOnce() const { return m_level <= m_parameters->minimum; }
    [[nodiscard]] bool Holds() const { return true; }

private:
    StParameters* m_parameters;
};

/// Some pixel more than `minimum` + 1 below the level - where the height of a pixel is read from the label
/// image, which holds the candidate's own number there and no grey value, and a label above the level wraps
/// around. Contract behaviour, not to be mended.
class CWatershedCriterionDepth : public Impl::CCriterionBase {
public:
    struct StParameters {
        std::uint32_t minimum;
        std::uint32_t level = 0;
        bool reached = false;
    };

    CWatershedCriterionDepth(IImage::IAccess& access, StParameters* parameters)
        : CCriterionBase(access)
        , m_parameters(parameters) {}

    static constexpr bool takesEveryMinimum = false;

    void Reset(std::uint32_t level) {
        Begin(level);
        m_parameters->reached = false;
    }

    void Add(StPixelPosition pixel) {
        Append(pixel);
        if (m_parameters->level - Label(pixel) > m_parameters->minimum + 1)
            m_parameters->reached = true;
    }

    void AddFirst(StPixelPosition pixel) {
        Add(pixel);
        m_parameters->level = m_level;
    }

    [[nodiscard]] bool RefusesAtOnce() const { return false; }
    [[nodiscard]] bool Holds() const { return m_parameters->reached; }

private:
    StParameters* m_parameters;
};

/// At least `minimum` of water, the sum over the pixels of the level less their height, plus one - where the
/// height is read from the label image as with the depth, with the same wrap-around. Contract behaviour, not
/// to be mended.
class CWatershedCriterionVolume : public Impl::CCriterionBase {
public:
    struct StParameters {
        double minimum;
        std::uint32_t level = 0;
        double sum = 0.0;
    };

    CWatershedCriterionVolume(IImage::IAccess& access, StParameters* parameters)
        : CCriterionBase(access)
        , m_parameters(parameters) {}

    static constexpr bool takesEveryMinimum = false;

    void Reset(std::uint32_t level) {
        Begin(level);
        m_parameters->sum = 0.0;
    }

    void Add(StPixelPosition pixel) {
        Append(pixel);
        // The one is added in 32 bits too, before the number is widened: it is part of what wraps around.
        m_parameters->sum += m_parameters->level - Label(pixel) + 1;
    }

    void AddFirst(StPixelPosition pixel) {
        Add(pixel);
        m_parameters->level = m_level;
    }

    [[nodiscard]] bool RefusesAtOnce() const { return false; }
    [[nodiscard]] bool Holds() const { return m_parameters->sum >= m_parameters->minimum; }

private:
    StParameters* m_parameters;
};

} // namespace ORVEN
