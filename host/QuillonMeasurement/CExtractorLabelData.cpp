#include "QuillonMeasurement/CExtractorLabelData.h"

#include <QuillonBase/AvailableMemory.h>
#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/CThreadLimit.h>
#include <QuillonBase/CWorkPace.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/ImageView.h>
#include <sorblib2image/LabelTypeDispatch.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <deque>
#include <limits>
#include <mutex>
#include <span>
#include <utility>
#include <vector>

namespace ORVEN {

namespace {

const char* const c_source = "CExtractorLabelData";

/// The data of one label, kept together while the pixels are read.
struct StLabel {
    void Add(std::int64_t firstX, std::int64_t behindX, std::int64_t y, std::int64_t z) {
        if (volume == 0) {
            *this = {behindX - firstX, firstX, behindX, y, y + 1, z, z + 1};
            return;
        }
        volume += behindX - firstX;
        startX = std::min(startX, firstX);
        endX = std::max(endX, behindX);
        startY = std::min(startY, y);
        endY = std::max(endY, y + 1);
        endZ = z + 1; // each thread reads planes in order
    }

    void Add(const StLabel& other) {
        if (other.volume == 0)
            return;
        if (volume == 0) {
            *this = other;
            return;
        }
        volume += other.volume;
        startX = std::min(startX, other.startX);
        endX = std::max(endX, other.endX);
        startY = std::min(startY, other.startY);
        endY = std::max(endY, other.endY);
        startZ = std::min(startZ, other.startZ);
        endZ = std::max(endZ, other.endZ);
    }

    std::int64_t volume = 0;
    std::int64_t startX = 0;
    std::int64_t endX = 0;
    std::int64_t startY = 0;
    std::int64_t endY = 0;
    std::int64_t startZ = 0;
    std::int64_t endZ = 0;
};

/// Raised by threads whose tables would be too large. One thread then measures, and raises the errors.
struct StTablesTooLarge {};

/// The memory that the tables of several threads may take: not much more than the image.
class CTableMemory {
public:
    explicit CTableMemory(std::int64_t imageBytes)
        : m_spareBytes(std::min(std::max(imageBytes, c_smallTables),
                                AvailableMemory().value_or(std::numeric_limits<std::int64_t>::max()) / 4)) {}

    void Take(std::size_t labelCount) {
        const auto bytes = static_cast<std::int64_t>(labelCount * sizeof(StLabel));
        if (m_spareBytes.fetch_sub(bytes) < bytes)
            throw StTablesTooLarge();
    }

private:
    static constexpr std::int64_t c_smallTables = std::int64_t{64} << 20;

    std::atomic<std::int64_t> m_spareBytes;
};

class CLabelTable {
public:
    /// `memory` is that of all tables, or null for a single one.
    explicit CLabelTable(CTableMemory* memory)
        : m_memory(memory) {}

    StLabel& operator[](std::uint32_t label) {
        if (label >= m_labels.size()) [[unlikely]]
            Extend(label);
        return m_labels[label];
    }

    [[nodiscard]] std::span<StLabel> Labels() { return m_labels; }

private:
    [[gnu::noinline]] void Extend(std::uint32_t label) {
        if (label > CExtractorLabelData::c_greatestLabel)
            RefuseLabel(label);
        // The system is asked only when the table moves: labels often come one by one.
        if (label >= m_labels.capacity())
            Move(label);
        m_labels.resize(label + 1);
    }

    void RefuseLabel(std::uint32_t label) const {
        if (m_memory != nullptr)
            throw StTablesTooLarge();
        throw CException(c_source,
                         CString("Label %1 cannot be measured: the greatest is %2.", CString::ENC_UTF8)
                             .Arg(static_cast<long long>(label), 0)
                             .Arg(static_cast<long long>(CExtractorLabelData::c_greatestLabel), 0),
                         nullptr);
    }

    void Move(std::uint32_t label) {
        if (m_memory == nullptr) {
            RequireMemory(c_source, "The table of labels",
                          2 * (std::int64_t{label} + 1) * std::int64_t{sizeof(StLabel)});
            return;
        }
        const std::size_t count = std::max<std::size_t>(2 * m_labels.capacity(), label + 1);
        m_memory->Take(count);
        m_labels.reserve(count);
    }

    std::vector<StLabel> m_labels;
    CTableMemory* m_memory;
};

/// The rows of an image as items for threads: a plane, or part of a large one.
class CRowGroups {
public:
    template <class View>
    explicit CRowGroups(const View& view)
        : m_ny(view.ny)
        , m_nz(view.nz)
        , m_rowCount(std::clamp<std::int64_t>(c_pixelsOfGroup / std::max<std::int64_t>(view.nx, 1), 1,
                                              std::max<std::int64_t>(view.ny, 1))) {}

    [[nodiscard]] std::int64_t Count() const { return m_nz * GroupsOfPlane(); }

    /// Calls `body(y, z)` for the rows of a group until the pace is cancelled.
    template <class Body>
    void ForEachRow(std::int64_t group, const CWorkPace& pace, const Body& body) const {
        const std::int64_t z = group / GroupsOfPlane();
        const std::int64_t first = group % GroupsOfPlane() * m_rowCount;
        const std::int64_t end = std::min(first + m_rowCount, m_ny);
        for (std::int64_t y = first; y < end && !pace.IsCancelled(); ++y)
            body(y, z);
    }

private:
    static constexpr std::int64_t c_pixelsOfGroup = 1 << 17;

    [[nodiscard]] std::int64_t GroupsOfPlane() const { return (m_ny + m_rowCount - 1) / m_rowCount; }

    std::int64_t m_ny;
    std::int64_t m_nz;
    std::int64_t m_rowCount;
};

/// Adds all tables to the first. Labels are counts and extrema, so that the order does not matter.
void Merge(std::deque<CLabelTable>& tables) {
    constexpr std::size_t labelsOfItem = 1 << 12;
    CLabelTable& largest =
        *std::ranges::max_element(tables, {}, [](CLabelTable& table) { return table.Labels().size(); });
    std::swap(largest, tables.front());
    const std::span<StLabel> sums = tables.front().Labels();
    const auto itemCount = static_cast<std::int64_t>((sums.size() + labelsOfItem - 1) / labelsOfItem);
    // A cancelled measurement is merged as well.
    CProgressProxy none;
    ParallelFor(itemCount, none, [&] {
        return [&](std::int64_t item) {
            const std::size_t first = static_cast<std::size_t>(item) * labelsOfItem;
            for (std::size_t table = 1; table < tables.size(); ++table) {
                const std::span<StLabel> labels = tables[table].Labels();
                const std::size_t end = std::min(first + labelsOfItem, labels.size());
                for (std::size_t label = first; label < end; ++label)
                    sums[label].Add(labels[label]);
            }
        };
    });
}

/// Reads the image as runs of equal labels, with a table for each thread.
template <class T, class LabelOf>
CLabelTable MeasureOnThreads(int threadCount, const CImageView<const T>& view, IProgress& progress,
                             const LabelOf& labelOf) {
    const CThreadLimit limit(threadCount);
    const CRowGroups groups(view);
    CTableMemory memory(view.PixelCount() * std::int64_t{sizeof(T)});
    CTableMemory* const shared = threadCount > 1 ? &memory : nullptr;
    std::deque<CLabelTable> tables;
    tables.emplace_back(shared); // there may be no thread
    std::mutex guard;
    const auto makeTable = [&]() -> CLabelTable& {
        const std::lock_guard lock(guard);
        return tables.emplace_back(shared);
    };
    progress.Start(static_cast<unsigned>(groups.Count()), "Measuring labels...");
    ParallelForAtPace(groups.Count(), progress, [&] {
        return [&, &labels = makeTable()](std::int64_t group, CWorkPace& pace) {
            groups.ForEachRow(group, pace, [&](std::int64_t y, std::int64_t z) {
                const T* const row = view.Row(y, z);
                ForEachPiece(view.nx, 8, pace, [&](std::int64_t begin, std::int64_t end) {
                    for (std::int64_t x = begin; x < end;) {
                        const std::int64_t first = x;
                        const std::uint32_t label = labelOf(row[first]);
                        do
                            ++x;
                        while (x < end && labelOf(row[x]) == label);
                        labels[label].Add(first, x, y, z);
                    }
                });
            });
        };
    });
    Merge(tables);
    progress.Finish();
    return std::move(tables.front());
}

template <class T, class LabelOf>
CLabelTable Measure(const CImage& image, IProgress& progress, const LabelOf& labelOf) {
    constexpr std::int64_t pixelsOfThread = 1 << 16;
    const CImageView<const T> view(image);
    const std::int64_t threadCount =
        std::clamp<std::int64_t>(view.PixelCount() / pixelsOfThread, 1, ThreadCount());
    if (threadCount > 1) {
        try {
            return MeasureOnThreads(static_cast<int>(threadCount), view, progress, labelOf);
        } catch (const StTablesTooLarge&) {
            progress.Finish();
        }
    }
    return MeasureOnThreads(1, view, progress, labelOf);
}

} // namespace

CExtractorLabelData::~CExtractorLabelData() = default;

void CExtractorLabelData::Extract(const CImage& image, StLabelingData& data) const {
    CLabelTable table(nullptr);
    DispatchLabelType(c_source, image.Type(), [&]<class T>(std::type_identity<T>) {
        if (image.Type() == IMAGE_BINARY_FG)
            table = Measure<T>(image, Progress(), [](T pixel) { return std::uint32_t{pixel != 0}; });
        else
            table = Measure<T>(image, Progress(), [](T pixel) { return std::uint32_t{pixel}; });
    });

    unsigned long offsetX = 0;
    unsigned long offsetY = 0;
    unsigned long offsetZ = 0;
    CQuillonHeaderTools::GetOffset(image, offsetX, offsetY, offsetZ);
    StLabelingData measured;
    const auto collect = [&table](std::vector<std::int64_t>& numbers, const auto& numberOf) {
        numbers.reserve(table.Labels().size());
        for (const StLabel& label : table.Labels())
            numbers.push_back(label.volume != 0 ? numberOf(label) : 0);
    };
    const auto collectAxis = [&collect](std::vector<std::int64_t>& starts, std::vector<std::int64_t>& extents,
                                        unsigned long offset, std::int64_t StLabel::*start,
                                        std::int64_t StLabel::*end) {
        collect(starts,
                [&](const StLabel& label) { return label.*start + static_cast<std::int64_t>(offset); });
        collect(extents, [&](const StLabel& label) { return label.*end - label.*start; });
    };
    collect(measured.volume, [](const StLabel& label) { return label.volume; });
    collectAxis(measured.startX, measured.extentX, offsetX, &StLabel::startX, &StLabel::endX);
    collectAxis(measured.startY, measured.extentY, offsetY, &StLabel::startY, &StLabel::endY);
    collectAxis(measured.startZ, measured.extentZ, offsetZ, &StLabel::startZ, &StLabel::endZ);
    data = std::move(measured);
}

const char* CExtractorLabelData::KeyToLabelData() {
    static const char* const szKeyToLabelData = "LabelData";
    return szKeyToLabelData;
}

} // namespace ORVEN
