#include "QuillonTransformation/CLowerEnvelope.h"

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
    std::int64_t firstRuled = 0;
    while (m_siteCount > 0) {
        const StSite& top = m_sites[m_siteCount - 1];
        if (valueAt(top.value, top.firstRuled - top.place) > valueAt(value, place - top.firstRuled)) {
            --m_siteCount;
            continue;
        }
        // The two are equal at (place + top.place + difference) / 2. The whole part is taken before the
        // places are added, so that no rounding can take it across a whole number. Further out than the line
        // is long in either direction it makes no difference where.
        const auto reach = static_cast<double>(2 * m_length + 2);
        const double difference = (value - top.value) / (w * static_cast<double>(place - top.place));
        if (!(difference < reach))
            return;
        const auto shift = static_cast<std::int64_t>(std::floor(std::max(difference, -reach)));
        firstRuled = std::max(((shift + place + top.place) >> 1) + 1, top.firstRuled);
        if (firstRuled >= m_length)
            return;
        break;
    }
    m_sites[m_siteCount++] = {value, place, firstRuled};
}

} // namespace ORVEN
