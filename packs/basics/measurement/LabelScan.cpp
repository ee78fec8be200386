#include "measurement/LabelScan.h"

#include "pixels/CRowReader.h"

#include <sorblib2image/LabelTypeDispatch.h>

#include <algorithm>

namespace quillon::basics {

using namespace ORVEN;

namespace {

/// The sum of i and of i^2 for i from first to last.
std::int64_t SumOf(std::int64_t first, std::int64_t last) { return (first + last) * (last - first + 1) / 2; }
std::int64_t SquaresUpTo(std::int64_t last) { return last * (last + 1) * (2 * last + 1) / 6; }

/// Pixels of one label in a row, from first to last.
struct StLabelRun {
    std::int64_t first;
    std::int64_t last;
    std::int64_t y;
    std::int64_t z;
};

void AddPixels(StLabelSums& sums, const StLabelRun& run) {
    const std::int64_t length = run.last - run.first + 1;
    const std::int64_t sumX = SumOf(run.first, run.last);
    const std::array first{run.first, run.y, run.z};
    const std::array last{run.last, run.y, run.z};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const bool isNew = sums.voxels == 0;
        sums.first[axis] = isNew ? first[axis] : std::min(sums.first[axis], first[axis]);
        sums.last[axis] = isNew ? last[axis] : std::max(sums.last[axis], last[axis]);
    }
    sums.voxels += length;
    sums.sum[0] += sumX;
    sums.sum[1] += run.y * length;
    sums.sum[2] += run.z * length;
    sums.products[0][0] += SquaresUpTo(run.last) - (run.first > 0 ? SquaresUpTo(run.first - 1) : 0);
    sums.products[0][1] += sumX * run.y;
    sums.products[0][2] += sumX * run.z;
    sums.products[1][1] += run.y * run.y * length;
    sums.products[1][2] += run.y * run.z * length;
    sums.products[2][2] += run.z * run.z * length;

    auto& ends = sums.rowEnds;
    if (!ends.empty() && ends.back().y == run.y && ends.back().z == run.z) {
        ends.back().x = run.last;
    } else {
        ends.push_back({run.first, run.y, run.z});
        ends.push_back({run.last, run.y, run.z});
    }
}

void AddGreyValues(StLabelSums& sums, const double* values, const StLabelRun& run) {
    for (std::int64_t x = run.first; x <= run.last; ++x) {
        const double value = values[x];
        if (value != value)
            continue;
        if (sums.numbers++ == 0)
            sums.shift = value;
        const double difference = value - sums.shift;
        sums.greySum += difference;
        sums.greySquares += difference * difference;
        sums.least = std::min(sums.least, value);
        sums.greatest = std::max(sums.greatest, value);
    }
}

/// The number of pixels of the run whose neighbour by (dx, dy, dz) has another label.
template <class T>
std::int64_t Changes(const CImageView<const T>& view, const StLabelRun& run, T label, int dx, int dy,
                     int dz) {
    const std::int64_t y = run.y + dy;
    const std::int64_t z = run.z + dz;
    if (y < 0 || y >= view.ny || z < 0 || z >= view.nz)
        return run.last - run.first + 1;
    if (dy == 0 && dz == 0)
        return 1; // the run ends here
    const T* const row = view.Row(y, z);
    const std::int64_t first = std::max<std::int64_t>(run.first + dx, 0);
    const std::int64_t last = std::min(run.last + dx, view.nx - 1);
    std::int64_t changes = run.last - run.first - (last - first); // those outside of the image
    for (std::int64_t x = first; x <= last; ++x)
        changes += row[x] != label ? 1 : 0;
    return changes;
}

template <class T>
void Scan(const CImage& labels, const CImage* grey, const std::vector<StDirection>& directions,
          CWorkPace& pace, std::map<std::uint32_t, StLabelSums>& objects, IProgress& progress) {
    const CImageView<const T> view(labels);
    const CRowReader greyRows(grey != nullptr ? *grey : labels);
    std::vector<double> greyRow(static_cast<std::size_t>(view.nx));
    const auto work = static_cast<std::int64_t>(2 * directions.size() + 4);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            const T* const row = view.Row(y, z);
            if (grey != nullptr)
                greyRows.Read(y, z, greyRow.data());
            for (std::int64_t x = 0; x < view.nx;) {
                const std::int64_t start = x;
                const T label = row[start];
                while (x < view.nx && row[x] == label)
                    ++x;
                if (label == 0) {
                    if (pace.Add(x - start))
                        return;
                    continue;
                }
                const StLabelRun run{start, x - 1, y, z};
                StLabelSums& sums = objects[label];
                AddPixels(sums, run);
                if (grey != nullptr)
                    AddGreyValues(sums, greyRow.data(), run);
                for (const StDirection& direction : directions) {
                    const std::int64_t changes =
                        Changes(view, run, label, direction.dx, direction.dy, direction.dz) +
                        Changes(view, run, label, -direction.dx, -direction.dy, -direction.dz);
                    sums.surface += direction.surface * static_cast<double>(changes);
                }
                if (pace.Add((x - start) * work + 100))
                    return;
            }
        }
        progress.Step(1, 0);
    }
}

} // namespace

std::map<std::uint32_t, StLabelSums> ScanLabels(const CImage& labels, const CImage* grey,
                                                const std::vector<StDirection>& directions,
                                                IProgress& progress) {
    std::map<std::uint32_t, StLabelSums> objects;
    CWorkPace pace(progress);
    DispatchLabelType("ScanLabels", labels.Type(), [&]<class T>(std::type_identity<T>) {
        progress.Start(static_cast<unsigned>(labels.Size().Dim() == 3 ? labels.Size().z : 1), "Measuring...");
        Scan<T>(labels, grey, directions, pace, objects, progress);
        progress.Finish();
    });
    return objects;
}

} // namespace quillon::basics
