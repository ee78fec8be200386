#include "oracles/DistanceOracle.h"

#include <algorithm>

namespace test {

using namespace ORVEN;

namespace {

using Place = std::array<std::int64_t, 3>;

Place Extents(const CSize& size) {
    return {size.x, size.Dim() > 1 ? size.y : 1, size.Dim() > 2 ? size.z : 1};
}

template <class Body>
void ForEachPlace(const CSize& size, const Body& body) {
    const Place extents = Extents(size);
    std::size_t index = 0;
    for (std::int64_t z = 0; z < extents[2]; ++z) {
        for (std::int64_t y = 0; y < extents[1]; ++y) {
            for (std::int64_t x = 0; x < extents[0]; ++x)
                body(Place{x, y, z}, index++);
        }
    }
}

} // namespace

std::vector<double> SquaredDistances(const StSeeds& seeds, const std::array<double, 3>& weights) {
    const Place extents = Extents(seeds.size);
    // The pixel beside the nearest seed, one step towards the other pixel, is nearer and so is no seed: only
    // seeds with such a neighbour need be tried.
    const std::array<std::int64_t, 3> steps{1, extents[0], extents[0] * extents[1]};
    const auto isBesideOther = [&](const Place& place, std::size_t index) {
        const auto isSeed = [&](std::int64_t step) {
            return seeds.isSeed[static_cast<std::size_t>(static_cast<std::int64_t>(index) + step)] != 0;
        };
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if ((place[axis] > 0 && !isSeed(-steps[axis])) ||
                (place[axis] + 1 < extents[axis] && !isSeed(steps[axis])))
                return true;
        }
        return false;
    };
    std::vector<Place> places;
    ForEachPlace(seeds.size, [&](const Place& place, std::size_t index) {
        if (seeds.isSeed[index] != 0 && isBesideOther(place, index))
            places.push_back(place);
    });
    std::vector<double> result;
    ForEachPlace(seeds.size, [&](const Place& place, std::size_t index) {
        if (seeds.isSeed[index] != 0) {
            result.push_back(0.0);
            return;
        }
        double least = c_noDistance;
        const auto take = [&least](double square) {
            if (least == c_noDistance || square < least)
                least = square;
        };
        for (const Place& seed : places) {
            double square = 0.0;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const auto difference = static_cast<double>(place[axis] - seed[axis]);
                square += weights[axis] * (difference * difference);
            }
            take(square);
        }
        for (std::size_t axis = 0; seeds.isOutsideSeed && axis < static_cast<std::size_t>(seeds.size.Dim());
             ++axis) {
            const auto toOutside =
                static_cast<double>(std::min(place[axis] + 1, extents[axis] - place[axis]));
            take(weights[axis] * (toOutside * toOutside));
        }
        result.push_back(least);
    });
    return result;
}

StSeeds SeedsOf(const IImage& image, bool onForeground, bool isOutsideSeed) {
    StSeeds seeds{image.Size(), PixelsOf<unsigned char>(image), isOutsideSeed};
    for (unsigned char& pixel : seeds.isSeed)
        pixel = (pixel != 0) != onForeground ? 1 : 0;
    return seeds;
}

CSize RandomSize(std::mt19937& random, std::int64_t largest) {
    constexpr std::array<std::int64_t, 8> edges{1, 1, 2, 15, 16, 17, 31, 33};
    const auto draw = [&] {
        const std::int64_t extent =
            random() % 2 == 0 ? edges[random() % edges.size()] : 1 + static_cast<std::int64_t>(random() % 12);
        return std::min(extent, largest);
    };
    CSize size(draw(), draw(), draw());
    size.SetDim(1 + static_cast<int>(random() % 3));
    if (size.Dim() < 3)
        size.z = 1;
    if (size.Dim() < 2)
        size.y = 1;
    return size;
}

std::unique_ptr<CImage> RandomBinary(std::mt19937& random, const CSize& size) {
    std::vector<unsigned char> pixels(static_cast<std::size_t>(size.PixelCount()));
    switch (random() % 6) {
    case 0:
        std::fill(pixels.begin(), pixels.end(), random() % 2);
        break;
    case 1:
        for (unsigned i = 0; i < 1 + random() % 3; ++i)
            pixels[random() % pixels.size()] = 1;
        break;
    case 2:
        std::fill(pixels.begin(), pixels.end(), 1);
        for (unsigned i = 0; i < 1 + random() % 3; ++i)
            pixels[random() % pixels.size()] = 0;
        break;
    case 3: {
        const Place extents = Extents(size);
        for (int box = 0; box < 4; ++box) {
            Place first{};
            Place last{};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                first[axis] = static_cast<std::int64_t>(random() % 40) % extents[axis];
                last[axis] = std::max(first[axis], static_cast<std::int64_t>(random() % 40) % extents[axis]);
            }
            const auto pixel = static_cast<unsigned char>(box == 3 ? 0 : 1);
            ForEachPlace(size, [&](const Place& place, std::size_t index) {
                bool isInside = true;
                for (std::size_t axis = 0; axis < 3; ++axis)
                    isInside = isInside && place[axis] >= first[axis] && place[axis] <= last[axis];
                if (isInside)
                    pixels[index] = pixel;
            });
        }
        break;
    }
    default: {
        const auto share = 1 + random() % 99;
        for (unsigned char& pixel : pixels)
            pixel = random() % 100 < share ? 1 : 0;
    }
    }
    return ImageOf(IMAGE_BINARY_FG, size, pixels);
}

} // namespace test
