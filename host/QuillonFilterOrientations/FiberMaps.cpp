#include "QuillonFilterOrientations/FiberMaps.h"

#include "QuillonFilterOrientations/CSubfieldFiberDirections.h"
#include "QuillonFilterOrientations/FiberFigures.h"

#include <sorblib2core/CStringTools.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/StoreEntry.h>

#include <algorithm>
#include <string>

namespace ORVEN::Impl {

namespace {

constexpr std::array c_profileKeys{"x-Direction", "y-Direction", "z-Direction"};

/// The number of decimal digits of the largest index, at least `least`. Padded to this width, keys sort in
/// numeric order.
int DigitsOf(std::int64_t count, int least) {
    return std::max(least, static_cast<int>(std::to_string(std::max<std::int64_t>(count - 1, 0)).size()));
}

/// Creates the entries of parts of the field.
class CPartEntries {
public:
    CPartEntries(const StFiberFigures& field, std::size_t dimension)
        : m_dimension(dimension)
        , m_fieldDirection(field.mainDirection) {}

    [[nodiscard]] std::unique_ptr<CValueMap> Of(const StDirectionSum& sum, const StPixelBox& box) const {
        const StFiberFigures figures(sum, m_dimension);
        auto map = MapOfRegion(figures, sum, box, m_dimension);
        StoreEntry(*map, "Difference to global direction",
                   std::make_unique<CValueDouble>(AngleBetween(figures.mainDirection, m_fieldDirection)));
        return map;
    }

private:
    std::size_t m_dimension;
    Direction m_fieldDirection;
};

// Table rows list their leaves in key order, and the columns are those of the field. Of "Number of subfields"
// and "Slice position", a slice has both and a subfield has neither. The code that writes the table therefore
// adds "Slice position" to subfields, and "Number pf subfields" in place of the other.

/// To make the entry of a part of the image.
constexpr std::int64_t c_unitsPerEntry = 20'000;

/// Incomplete if cancelled.
std::unique_ptr<CValueMap> MapOfSubfields(const CDirectionSums& sums, const StPixelBox& area,
                                          const std::array<std::int64_t, 3>& size,
                                          const CPartEntries& entries, CWorkPace& pace) {
    auto map = std::make_unique<CValueMap>();
    const auto& counts = sums.SubfieldCounts();
    std::array<int, 3> digits{};
    std::transform(counts.begin(), counts.end(), digits.begin(),
                   [](std::int64_t count) { return DigitsOf(count, 3); });
    std::array<std::int64_t, 3> index{};
    for (index[2] = 0; index[2] < counts[2]; ++index[2]) {
        for (index[1] = 0; index[1] < counts[1]; ++index[1]) {
            for (index[0] = 0; index[0] < counts[0]; ++index[0]) {
                StPixelBox box;
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    box.first[axis] = area.first[axis] + index[axis] * size[axis];
                    box.end[axis] = box.first[axis] + size[axis];
                }
                const std::string name = CStringTools::Printf(
                    "Subfield z%0*lld y%0*lld x%0*lld", digits[2], static_cast<long long>(index[2]),
                    digits[1], static_cast<long long>(index[1]), digits[0], static_cast<long long>(index[0]));
                StoreEntry(*map, name, entries.Of(sums.Subfield(index), box));
                if (pace.Add(c_unitsPerEntry))
                    return map;
            }
        }
    }
    return map;
}

/// Incomplete if cancelled.
std::unique_ptr<CValueMap> MapOfProfile(const CDirectionSums& sums, const StPixelBox& area, std::size_t axis,
                                        const CPartEntries& entries, CWorkPace& pace) {
    auto map = std::make_unique<CValueMap>();
    const int digits = DigitsOf(area.end[axis], 4);
    for (std::int64_t position = area.first[axis]; position < area.end[axis] && !pace.Add(c_unitsPerEntry);
         ++position) {
        StPixelBox box = area;
        box.first[axis] = position;
        box.end[axis] = position + 1;
        auto slice = entries.Of(sums.Slice(axis, position), box);
        slice->SetEntry("Slice position", new CValueLong(static_cast<std::int32_t>(position)));
        StoreEntry(*slice, "Number of subfields", std::make_unique<CValueString>("n/a", CString::NPOS));
        StoreEntry(*map, CStringTools::Printf("Slice %0*lld", digits, static_cast<long long>(position)),
                   std::move(slice));
    }
    return map;
}

} // namespace

std::unique_ptr<CValueMap> MapOfFibers(const CDirectionSums& sums, const StFiberScale& scale,
                                       const std::array<std::int64_t, 3>& subfieldSize, bool isFieldOnly,
                                       CWorkPace& pace) {
    const StDirectionSum fieldSum = sums.Field();
    const StFiberFigures field(fieldSum, scale.dimension);
    const CPartEntries entries(field, scale.dimension);
    auto result = std::make_unique<CValueMap>();
    StoreEntry(*result, CSubfieldFiberDirections::sFieldFiberDirectionsId,
               MapOfRegion(field, fieldSum, scale.area, scale.dimension));
    if (subfieldSize[0] > 0) {
        auto subfields = MapOfSubfields(sums, scale.area, subfieldSize, entries, pace);
        const double length = static_cast<double>(subfieldSize[0]) * scale.spacing[0];
        subfields->SetEntry("Subfield size", new CValueDouble(length));
        subfields->SetEntry("Subfield step", new CValueDouble(length));
        StoreEntry(*result, CSubfieldFiberDirections::sSubfieldFiberDirectionsId, std::move(subfields));
    }
    if (!isFieldOnly) {
        auto profiles = std::make_unique<CValueMap>();
        for (std::size_t axis = 0; axis < scale.dimension; ++axis)
            profiles->SetEntry(c_profileKeys[axis],
                               MapOfProfile(sums, scale.area, axis, entries, pace).release());
        StoreEntry(*result, CSubfieldFiberDirections::sSubfieldProfiles, std::move(profiles));
    }
    return result;
}

void StoreFiberSettings(CValueMap& map, const StFiberScale& scale, double fiberRadius,
                        const std::optional<StOtsu>& otsu) {
    map.SetEntry("Fiber radius", new CValueDouble(fiberRadius));
    if (otsu) {
        map.SetEntry("Otsu factor", new CValueDouble(otsu->factor));
        map.SetEntry("Otsu threshold", new CValueDouble(otsu->threshold));
    } else {
        map.SetEntry("Otsu factor", new CValueString("mask image", CString::NPOS));
    }
    map.SetEntry("Border", new CValueLong(static_cast<std::int32_t>(scale.border)));
    map.SetEntry("Sigma", new CValueDouble(scale.sigma));
}

} // namespace ORVEN::Impl
