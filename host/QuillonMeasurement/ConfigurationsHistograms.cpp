#include "QuillonMeasurement/ConfigurationsHistograms.h"

#include <QuillonBase/AvailableMemory.h>
#include <sorblib2image/GreyTypeDispatch.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace ORVEN {

namespace {

const char* const c_source = "ConfigurationsHistograms";

constexpr std::size_t c_pixelsOfBlock = 8;
constexpr std::size_t c_configurationCount = StConfigurationsHistograms::configurationCount;

/// A vector with one number for each of several neighbouring blocks.
template <class Number, std::size_t lanes>
struct StLanes {
    typedef Number Vector __attribute__((vector_size(lanes * sizeof(Number))));
};

template <class V>
void Order(V& a, V& b) {
    const V less = a < b ? a : b;
    b = a < b ? b : a;
    a = less;
}

/// Sorts the eight numbers of each lane in ascending order, with a network of 19 comparators (Batcher's
/// odd-even merge sort; Knuth, The Art of Computer Programming 3, 5.3.4).
template <class V>
void SortLanes(V (&numbers)[c_pixelsOfBlock]) {
    constexpr std::array<std::array<std::size_t, 2>, 19> network{{{0, 1},
                                                                  {2, 3},
                                                                  {4, 5},
                                                                  {6, 7},
                                                                  {0, 2},
                                                                  {1, 3},
                                                                  {4, 6},
                                                                  {5, 7},
                                                                  {1, 2},
                                                                  {5, 6},
                                                                  {0, 4},
                                                                  {1, 5},
                                                                  {2, 6},
                                                                  {3, 7},
                                                                  {2, 4},
                                                                  {3, 5},
                                                                  {1, 2},
                                                                  {3, 4},
                                                                  {5, 6}}};
#pragma GCC unroll 19 // the numbers then stay in registers
    for (const auto& [low, high] : network)
        Order(numbers[low], numbers[high]);
}

/// Records the changes of configuration of each block, see the header.
template <class T>
class CChangeCounter {
    /// A pixel as a number: its value, followed by eight bits that hold the bit of its position in the block.
    /// These numbers sort like the values, and they show how the configuration changes when the threshold
    /// reaches the value.
    using Number = std::conditional_t<sizeof(T) == 1, std::uint16_t, std::uint32_t>;
    /// As many as fit into a register of the least capable processor.
    static constexpr std::size_t lanes = 16 / sizeof(Number);
    using Numbers = typename StLanes<Number, lanes>::Vector;
    /// Processors provide the minimum and maximum of signed numbers.
    using SignedNumbers = typename StLanes<std::make_signed_t<Number>, lanes>::Vector;
    static constexpr Number signBit = static_cast<Number>(Number{1} << (8 * sizeof(Number) - 1));

public:
    explicit CChangeCounter(std::uint64_t* counts)
        : m_counts(counts) {}

    /// Counts a row of blocks. `rows` are the four rows of pixels that contain them, y fastest.
    void CountRow(const std::array<const T*, 4>& rows, std::int64_t blockCount) {
        constexpr auto step = static_cast<std::int64_t>(lanes);
        std::int64_t x = 0;
        for (; x + step <= blockCount; x += step)
            CountBlocks({rows[0] + x, rows[1] + x, rows[2] + x, rows[3] + x}, lanes);
        if (x == blockCount)
            return;
        // The last blocks are read from a copy, because there are not enough pixels for all lanes.
        std::array<std::array<T, lanes + 1>, 4> rest{};
        for (std::size_t row = 0; row < 4; ++row)
            std::copy(rows[row] + x, rows[row] + blockCount + 1, rest[row].begin());
        CountBlocks({rest[0].data(), rest[1].data(), rest[2].data(), rest[3].data()},
                    static_cast<std::size_t>(blockCount - x));
    }

    /// Records that all blocks, at the lowest grey value, start with the configuration below all their
    /// pixels.
    void Finish() { m_counts[c_configurationCount - 1] += m_blockCount; }

private:
    /// Returns the same number in all lanes.
    static Numbers Filled(Number number) { return Numbers{} + number; }

    /// Counts neighbouring blocks, at most as many as there are lanes.
    void CountBlocks(const std::array<const T*, 4>& rows, std::size_t blockCount) {
        SignedNumbers sorted[c_pixelsOfBlock];
        for (std::size_t pixel = 0; pixel < c_pixelsOfBlock; ++pixel) {
            typename StLanes<T, lanes>::Vector values;
            std::memcpy(&values, rows[pixel / 2] + pixel % 2, sizeof values);
            const Numbers numbers = __builtin_convertvector(values, Numbers) * Filled(256) +
                                    Filled(static_cast<Number>(1U << pixel));
            sorted[pixel] = reinterpret_cast<SignedNumbers>(numbers ^ Filled(signBit));
        }
        SortLanes(sorted);

        // The changes of configuration at each pixel, as indices into the counts. Between equal values these
        // include configurations that do not occur; they cancel out.
        Number left[c_pixelsOfBlock][lanes];
        Number entered[c_pixelsOfBlock][lanes];
        Numbers configuration = Filled(c_configurationCount - 1);
        for (std::size_t pixel = 0; pixel < c_pixelsOfBlock; ++pixel) {
            const Numbers number = reinterpret_cast<Numbers>(sorted[pixel]) ^ Filled(signBit);
            const Numbers row = number & ~Filled(255);
            const Numbers before = row | configuration;
            configuration ^= number & Filled(255);
            const Numbers after = row | configuration;
            std::memcpy(left[pixel], &before, sizeof before);
            std::memcpy(entered[pixel], &after, sizeof after);
        }
        for (std::size_t lane = 0; lane < blockCount; ++lane) {
            const Number first = left[0][lane];
            const Number last = entered[c_pixelsOfBlock - 1][lane];
            if (first == last + (c_configurationCount - 1)) { // all pixels are equal
                --m_counts[first];
                ++m_counts[last];
                continue;
            }
            for (std::size_t pixel = 0; pixel < c_pixelsOfBlock; ++pixel) {
                --m_counts[left[pixel][lane]]; // may wrap around; the running sum undoes this
                ++m_counts[entered[pixel][lane]];
            }
        }
        m_blockCount += blockCount;
    }

    std::uint64_t* m_counts;
    std::uint64_t m_blockCount = 0;
};

template <class T>
StConfigurationsHistograms Count(const CImage& image) {
    StConfigurationsHistograms histograms;
    histograms.greatestGreyValue = std::numeric_limits<T>::max();
    const std::size_t count = (std::size_t{histograms.greatestGreyValue} + 1) * c_configurationCount;
    RequireMemory(c_source, "The table of field features",
                  static_cast<std::int64_t>(count * sizeof(std::uint64_t)));
    histograms.counts.assign(count, 0);

    const CImageView<const T> pixels(image);
    const std::int64_t blocksOfRow = std::max<std::int64_t>(pixels.nx - 1, 0); // rows can be empty
    CChangeCounter<T> counter(histograms.counts.data());
    for (std::int64_t z = 0; z + 1 < pixels.nz; ++z) {
        for (std::int64_t y = 0; y + 1 < pixels.ny; ++y) {
            counter.CountRow(
                {pixels.Row(y, z), pixels.Row(y + 1, z), pixels.Row(y, z + 1), pixels.Row(y + 1, z + 1)},
                blocksOfRow);
        }
    }
    counter.Finish();
    for (std::size_t place = c_configurationCount; place < histograms.counts.size(); ++place)
        histograms.counts[place] += histograms.counts[place - c_configurationCount];
    return histograms;
}

} // namespace

StConfigurationsHistograms ConfigurationsHistograms(const CImage& image) {
    const IImage::CType& type = image.Type();
    if (type == IMAGE_GREY_16)
        return Count<unsigned short>(image);
    if (type == IMAGE_GREY_8 || type == IMAGE_BINARY_FG)
        return Count<unsigned char>(image);
    ThrowUnsupportedType(c_source, type);
}

} // namespace ORVEN
