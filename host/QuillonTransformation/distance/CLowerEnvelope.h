#pragma once

#include <algorithm>
#include <cmath>
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
/// neighbouring positions (2^50 w). For integer values and an integer w they are exact up to 2^53.
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

    template <class T>
    static T* Place(T* first, std::int64_t stride, std::int64_t place) {
        return reinterpret_cast<T*>(reinterpret_cast<unsigned char*>(first) + place * stride);
    }

    void Begin(std::int64_t length);
    void AddSite(std::int64_t place, double value, double w);

    std::vector<StSite> m_sites;
    std::int64_t m_length = 0;
    std::size_t m_siteCount = 0;
};

template <class T>
void CLowerEnvelope::Transform(T* first, std::int64_t length, std::int64_t stride, double w,
                               bool isOutsideSeed) {
    if (!std::isfinite(w))
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

} // namespace ORVEN
