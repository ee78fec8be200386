#include "QuillonFilterOrientations/CHessianRows.h"

#include "QuillonFilterOrientations/Lanes.h"

#include <algorithm>
#include <utility>

namespace ORVEN::Impl {

namespace {

/// Adjacent pixels or numbers of one row. For a tap, those of another row: `rows[radius + tap]`.
template <class T>
struct StRows {
    const T* const* rows;
    std::int64_t radius;
    std::int64_t x;

    template <class Numbers>
    [[gnu::always_inline]] void LoadTap(Numbers& lanes, std::int64_t tap) const {
        Load(lanes, rows[radius + tap] + x);
    }
};

/// Like `StRows`, for the last pixels of rows of the image, beyond which nothing may be read.
struct StRowEnds {
    const unsigned char* const* rows;
    std::int64_t radius;
    std::int64_t x;
    std::int64_t count;

    template <class Numbers>
    [[gnu::always_inline]] void LoadTap(Numbers& lanes, std::int64_t tap) const {
        std::array<unsigned char, c_mostLanes> pixels{};
        std::copy_n(rows[radius + tap] + x, count, pixels.begin());
        Load(lanes, pixels.data());
    }
};

/// Numbers of one row. For a tap, those at an offset in the same row.
struct StShifted {
    const double* row;

    template <class Numbers>
    [[gnu::always_inline]] void LoadTap(Numbers& lanes, std::int64_t tap) const {
        Load(lanes, row + tap);
    }
};

/// Correlates with the taps of several orders at once. Numbers at the same distance on both sides are first
/// added, or subtracted for order 1. Summation proceeds from the centre outwards.
template <class Numbers, std::size_t... orders, class Source>
[[gnu::always_inline]] inline void Correlate(const StDerivativeTaps& taps, const Source& source,
                                             const std::array<double*, sizeof...(orders)>& results) {
    constexpr std::size_t count = sizeof...(orders);
    constexpr std::array<std::size_t, count> c_orders{orders...};
    const std::array<const double*, count> weights{taps.taps[orders].data()...};
    std::array<Numbers, count> sums;
    Numbers center;
    source.LoadTap(center, 0);
    for (std::size_t i = 0; i < count; ++i)
        sums[i] = center * weights[i][0];
    for (std::int64_t k = 1; k <= taps.radius; ++k) {
        Numbers left;
        Numbers right;
        source.LoadTap(left, -k);
        source.LoadTap(right, k);
        const Numbers even = right + left;
        const Numbers odd = right - left;
        for (std::size_t i = 0; i < count; ++i)
            sums[i] += weights[i][k] * (c_orders[i] == 1 ? odd : even);
    }
    for (std::size_t i = 0; i < count; ++i)
        Store(results[i], sums[i]);
}

} // namespace

CHessianRows::CHessianRows(const CImageView<const unsigned char>& image,
                           std::span<const StDerivativeTaps> taps, EnVectors vectors)
    : m_image(image)
    , m_taps(taps)
    , m_vectors(vectors)
    , m_width(FillLanes(image.nx))
    , m_margin(FillLanes(taps[0].radius))
    , m_ringLength(2 * taps[1].radius + 1)
    , m_rings(SourceCount() * static_cast<std::size_t>(m_ringLength * m_width))
    , m_mixed(6 * static_cast<std::size_t>(m_width + 2 * m_margin))
    , m_taken(static_cast<std::size_t>(m_ringLength))
    , m_pixels(taps.size() == 3 ? static_cast<std::size_t>(2 * taps[2].radius + 1) : 1) {}

void CHessianRows::StartPlane(std::int64_t z) {
    m_z = z;
    m_nextY = 0;
}

void CHessianRows::Find(std::int64_t y, std::span<const std::int64_t> xs, SymmetricMatrices& matrices) {
    const std::int64_t radius = m_taps[1].radius;
    const std::int64_t last = std::min(y + radius, m_image.ny - 1);
    RunOnLanes(m_vectors, [&]<class Numbers>(std::type_identity<Numbers>) {
        for (m_nextY = std::max(m_nextY, y - radius); m_nextY <= last; ++m_nextY)
            FilterAlongZ<Numbers>(m_nextY);
        FilterAlongY<Numbers>(y);
        RepeatEnds();
        FilterAlongX<Numbers>(xs, matrices);
    });
}

template <class Numbers>
void CHessianRows::FilterAlongZ(std::int64_t y) {
    const std::int64_t radius = static_cast<std::int64_t>(m_pixels.size()) / 2;
    for (std::int64_t k = -radius; k <= radius; ++k) {
        const std::int64_t z = std::clamp<std::int64_t>(m_z + k, 0, m_image.nz - 1);
        m_pixels[static_cast<std::size_t>(radius + k)] = m_image.Row(y, z);
    }
    double* const smooth = RingRow(0, y);
    const auto filter = [&](const auto& source, std::int64_t x) {
        if (m_taps.size() == 3) {
            Correlate<Numbers, 0, 1, 2>(m_taps[2], source,
                                        {smooth + x, RingRow(1, y) + x, RingRow(2, y) + x});
        } else {
            Numbers pixels;
            source.LoadTap(pixels, 0);
            Store(smooth + x, pixels);
        }
    };
    const std::int64_t whole = m_image.nx - m_image.nx % c_laneCount<Numbers>;
    for (std::int64_t x = 0; x < whole; x += c_laneCount<Numbers>)
        filter(StRows<unsigned char>{m_pixels.data(), radius, x}, x);
    if (whole < m_image.nx)
        filter(StRowEnds{m_pixels.data(), radius, whole, m_image.nx - whole}, whole);
}

template <class Numbers>
void CHessianRows::FilterAlongY(std::int64_t y) {
    const StDerivativeTaps& taps = m_taps[1];
    const auto forEachBlock = [&](std::int64_t source, const auto& filter) {
        for (std::int64_t k = -taps.radius; k <= taps.radius; ++k) {
            const std::int64_t row = std::clamp<std::int64_t>(y + k, 0, m_image.ny - 1);
            m_taken[static_cast<std::size_t>(taps.radius + k)] = RingRow(source, row);
        }
        for (std::int64_t x = 0; x < m_width; x += c_laneCount<Numbers>)
            filter(StRows<double>{m_taken.data(), taps.radius, x}, x);
    };
    forEachBlock(0, [&](const StRows<double>& source, std::int64_t x) {
        Correlate<Numbers, 0, 1, 2>(taps, source, {MixedRow(XX) + x, MixedRow(XY) + x, MixedRow(YY) + x});
    });
    if (m_taps.size() < 3)
        return;
    forEachBlock(1, [&](const StRows<double>& source, std::int64_t x) {
        Correlate<Numbers, 0, 1>(taps, source, {MixedRow(XZ) + x, MixedRow(YZ) + x});
    });
    forEachBlock(2, [&](const StRows<double>& source, std::int64_t x) {
        Correlate<Numbers, 0>(taps, source, {MixedRow(ZZ) + x});
    });
}

void CHessianRows::RepeatEnds() {
    for (const EnMatrixPlace place : {XX, YY, XY, ZZ, XZ, YZ}) {
        double* const row = MixedRow(place);
        std::fill(row - m_margin, row, row[0]);
        std::fill(row + m_image.nx, row + m_width + m_margin, row[m_image.nx - 1]);
    }
}

template <class Numbers>
void CHessianRows::FilterAlongX(std::span<const std::int64_t> xs, SymmetricMatrices& matrices) {
    const StDerivativeTaps& taps = m_taps[0];
    std::array<std::array<double, c_mostLanes>, 6> block;
    const auto correlateBlock = [&](std::int64_t x) {
        const auto source = [&](EnMatrixPlace place) { return StShifted{MixedRow(place) + x}; };
        Correlate<Numbers, 2>(taps, source(XX), {block[XX].data()});
        Correlate<Numbers, 0>(taps, source(YY), {block[YY].data()});
        Correlate<Numbers, 1>(taps, source(XY), {block[XY].data()});
        if (m_taps.size() < 3)
            return;
        Correlate<Numbers, 0>(taps, source(ZZ), {block[ZZ].data()});
        Correlate<Numbers, 1>(taps, source(XZ), {block[XZ].data()});
        Correlate<Numbers, 0>(taps, source(YZ), {block[YZ].data()});
    };
    const std::size_t placeCount = m_taps.size() == 3 ? 6 : 3;
    for (std::vector<double>& place : matrices)
        place.resize(xs.size());
    for (std::size_t i = 0; i < xs.size();) {
        const std::int64_t x = xs[i] - xs[i] % c_laneCount<Numbers>;
        correlateBlock(x);
        for (; i < xs.size() && xs[i] < x + c_laneCount<Numbers>; ++i) {
            for (std::size_t place = 0; place < placeCount; ++place)
                matrices[place][i] = block[place][static_cast<std::size_t>(xs[i] - x)];
        }
    }
}

} // namespace ORVEN::Impl
