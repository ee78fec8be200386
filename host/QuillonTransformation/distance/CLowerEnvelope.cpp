#include "QuillonTransformation/distance/CLowerEnvelope.h"

namespace ORVEN {

void CLowerEnvelope::Begin(std::int64_t length) {
    m_length = length;
    m_siteCount = 0;
    m_sites.resize(std::max(m_sites.size(), static_cast<std::size_t>(length) + 2));
}

void CLowerEnvelope::AddSite(std::int64_t place, double value, double w) {
    const auto valueAt = [w](double siteValue, std::int64_t distance) {
        const auto length = static_cast<double>(distance);
        return siteValue + w * (length * length);
    };
    const auto isBetter = [&](const StSite& site, std::int64_t x) {
        return valueAt(value, x - place) < valueAt(site.value, x - site.place);
    };
    // Two seeds divide the interval between them, and neither hides the other.
    if (value == 0.0 && w > 0.0 && m_siteCount > 0 && m_sites[m_siteCount - 1].value == 0.0) {
        const std::int64_t middle = (place + m_sites[m_siteCount - 1].place) >> 1;
        if (middle + 1 < m_length)
            m_sites[m_siteCount++] = {value, place, middle + 1};
        return;
    }
    while (m_siteCount > 0 && isBetter(m_sites[m_siteCount - 1], m_sites[m_siteCount - 1].firstRuled))
        --m_siteCount;
    if (m_siteCount == 0) {
        m_sites[m_siteCount++] = {value, place, 0};
        return;
    }
    // The two are equal at (place + top.place + difference) / 2. The integer part is taken before the places
    // are added, so that rounding cannot move a whole number across an integer. Beyond the length of the line
    // in either direction, the exact position does not matter.
    const StSite& top = m_sites[m_siteCount - 1];
    const auto reach = static_cast<double>(2 * m_length + 2);
    const double difference = (value - top.value) / (w * static_cast<double>(place - top.place));
    if (!(difference < reach))
        return;
    const auto shift = static_cast<std::int64_t>(std::floor(std::max(difference, -reach)));
    std::int64_t firstRuled = std::max(((shift + place + top.place) >> 1) + 1, top.firstRuled);
    // For other numbers, the values decide, as rounded.
    if (firstRuled > top.firstRuled && isBetter(top, firstRuled - 1))
        --firstRuled;
    else if (!isBetter(top, firstRuled))
        ++firstRuled;
    if (firstRuled < m_length)
        m_sites[m_siteCount++] = {value, place, firstRuled};
}

} // namespace ORVEN
