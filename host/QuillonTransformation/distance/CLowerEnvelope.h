#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

namespace ORVEN {

/// The value of a pixel of a distance map that no seed reaches.
template <class T>
inline constexpr T c_noSeed = std::numeric_limits<T>::max();

/// A squared distance as a map stores it: rounded to float, or truncated to unsigned int. Values that are too
/// large become the largest value other than `c_noSeed`.
template <class T>
T StoredDistance(double squaredDistance) {
    if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(std::min(squaredDistance, 0x1.fffffcp127));
    else
        return static_cast<T>(std::min(squaredDistance, static_cast<double>(c_noSeed<T> - 1)));
}

/// The square of a pixel length as a map uses it. For integers it is rounded, and limited to a value that
/// takes every distance but 0 out of their range.
template <class T>
double StoredWeight(double squaredLength) {
    if constexpr (std::is_floating_point_v<T>)
        return squaredLength;
    else
        return std::min(std::round(squaredLength), 0x1p32);
}

/// The squared distance transform of one line, as the lower envelope of parabolas.
///
/// Each site, a position i with a value g(i), defines the parabola g(i) + w (x - i)^2, where w is the square
/// of the pixel length. Each position x takes the minimum of the parabolas. If two are equal, the site with
/// the smaller position is used, which affects only the rounding. Time: linear in the length, whatever the
/// values are. Nothing is allocated once a line of that length has been processed.
///
/// Results are computed in double precision and rounded once. Each is the minimum of the parabolas' values as
/// computed in doubles, whichever way it is found, unless values are so large that doubles cannot distinguish
/// neighbouring positions (2^50 w). For integer values and an integer w they are exact up to 2^53. Where
/// values are whole and w is 1, as in a squared distance in pixels, the envelope is computed in integers,
/// which takes half of the time.
///
/// T. Hirata, A unified linear-time algorithm for computing distance maps, 1996; A. Meijster, J. Roerdink, W.
/// Hesselink, A general algorithm for computing distance transforms in linear time, 2000.
class CLowerEnvelope {
public:
    /// Transforms `length` values, `stride` bytes apart, in place. `c_noSeed<T>` and NaN mark positions
    /// without a site. `isOutsideSeed` adds sites of value 0 just outside both ends. The line is left
    /// unchanged if there is no site, or if w is not finite.
    template <class T>
    void Transform(T* first, std::int64_t length, std::int64_t stride, double w, bool isOutsideSeed);

private:
    struct StSite {
        double value;
        std::int64_t place;
        std::int64_t firstRuled;
    };
    struct StWholeSite {
        std::int64_t value;
        std::int64_t place;
        std::int64_t firstRuled;
        std::int64_t valueThere; ///< of the parabola at `firstRuled`
    };
    /// Limits of whole values and lengths, far from an overflow.
    static constexpr std::int64_t c_greatestWhole = std::int64_t{1} << 50;
    static constexpr std::int64_t c_longestWhole = std::int64_t{1} << 24;

    template <class T>
    static T* Place(T* first, std::int64_t stride, std::int64_t place) {
        return reinterpret_cast<T*>(reinterpret_cast<unsigned char*>(first) + place * stride);
    }

    void Begin(std::int64_t length);
    void AddSite(std::int64_t place, double value, double w);

    /// The same in integers, for w = 1. Returns false, and leaves the line unchanged, if a value is not
    /// whole.
    template <class T>
    bool TransformWhole(T* first, std::int64_t length, std::int64_t stride, bool isOutsideSeed);
    template <class T>
    static bool IsWhole(T value);
    void AddWholeSite(std::int64_t place, std::int64_t value);

    std::vector<StSite> m_sites;
    std::vector<StWholeSite> m_wholeSites;
    std::int64_t m_length = 0;
    std::size_t m_siteCount = 0;
};

template <class T>
void CLowerEnvelope::Transform(T* first, std::int64_t length, std::int64_t stride, double w,
                               bool isOutsideSeed) {
    if (!std::isfinite(w) ||
        (w == 1.0 && length <= c_longestWhole && TransformWhole(first, length, stride, isOutsideSeed)))
        return;
    Begin(length);
    if (isOutsideSeed)
        AddSite(-1, 0.0, w);
    for (std::int64_t place = 0; place < length; ++place) {
        const T value = *Place(first, stride, place);
        if (value < c_noSeed<T>)
            AddSite(place, static_cast<double>(value), w);
    }
    if (isOutsideSeed)
        AddSite(length, 0.0, w);
    for (std::size_t site = 0; site < m_siteCount; ++site) {
        const auto [value, sitePlace, begin] = m_sites[site];
        const std::int64_t end = site + 1 < m_siteCount ? m_sites[site + 1].firstRuled : length;
        for (std::int64_t place = begin; place < end; ++place) {
            const auto distance = static_cast<double>(place - sitePlace);
            *Place(first, stride, place) = StoredDistance<T>(value + w * (distance * distance));
        }
    }
}

template <class T>
bool CLowerEnvelope::IsWhole(T value) {
    if constexpr (std::is_floating_point_v<T>)
        return std::abs(value) < static_cast<T>(c_greatestWhole) &&
               static_cast<T>(static_cast<std::int64_t>(value)) == value;
    else
        return true;
}

inline void CLowerEnvelope::AddWholeSite(std::int64_t place, std::int64_t value) {
    const auto isBetterWhereItBegins = [&](const StWholeSite& site) {
        const std::int64_t distance = site.firstRuled - place;
        return value + distance * distance < site.valueThere;
    };
    while (m_siteCount > 0 && isBetterWhereItBegins(m_wholeSites[m_siteCount - 1]))
        --m_siteCount;
    std::int64_t firstRuled = 0;
    if (m_siteCount > 0) {
        // The new parabola is below the last one beyond (place + top.place + difference / step) / 2.
        const StWholeSite& top = m_wholeSites[m_siteCount - 1];
        const std::int64_t step = place - top.place;
        const std::int64_t difference = value - top.value;
        std::int64_t quotient = difference;
        if (step > 1) {
            quotient = difference / step;
            quotient -= difference % step < 0 ? 1 : 0; // rounded down
        }
        firstRuled = ((place + top.place + quotient) >> 1) + 1;
    }
    if (firstRuled < m_length) {
        const std::int64_t distance = firstRuled - place;
        m_wholeSites[m_siteCount++] = {value, place, firstRuled, value + distance * distance};
    }
}

template <class T>
bool CLowerEnvelope::TransformWhole(T* first, std::int64_t length, std::int64_t stride, bool isOutsideSeed) {
    m_length = length;
    m_siteCount = 0;
    m_wholeSites.resize(std::max(m_wholeSites.size(), static_cast<std::size_t>(length) + 2));
    if (isOutsideSeed)
        AddWholeSite(-1, 0);
    for (std::int64_t place = 0; place < length; ++place) {
        const T value = *Place(first, stride, place);
        if (!(value < c_noSeed<T>))
            continue;
        if (!IsWhole(value))
            return false;
        AddWholeSite(place, static_cast<std::int64_t>(value));
    }
    if (isOutsideSeed)
        AddWholeSite(length, 0);
    for (std::size_t site = 0; site < m_siteCount; ++site) {
        const StWholeSite& ruler = m_wholeSites[site];
        const std::int64_t end = site + 1 < m_siteCount ? m_wholeSites[site + 1].firstRuled : length;
        for (std::int64_t place = ruler.firstRuled; place < end; ++place) {
            const std::int64_t distance = place - ruler.place;
            const std::int64_t result = ruler.value + distance * distance;
            if constexpr (std::is_floating_point_v<T>)
                *Place(first, stride, place) = static_cast<T>(result);
            else
                *Place(first, stride, place) =
                    static_cast<T>(std::min<std::int64_t>(result, c_noSeed<T> - 1));
        }
    }
    return true;
}

} // namespace ORVEN
