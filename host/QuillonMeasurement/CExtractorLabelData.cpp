#include "QuillonMeasurement/CExtractorLabelData.h"

#include <QuillonBase/AvailableMemory.h>
#include <QuillonBase/CWorkPace.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/ImageView.h>
#include <sorblib2image/LabelTypeDispatch.h>

#include <algorithm>
#include <cstddef>
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
        endZ = z + 1; // planes are read in order
    }

    std::int64_t volume = 0;
    std::int64_t startX = 0;
    std::int64_t endX = 0;
    std::int64_t startY = 0;
    std::int64_t endY = 0;
    std::int64_t startZ = 0;
    std::int64_t endZ = 0;
};

class CLabelTable {
public:
    StLabel& operator[](std::uint32_t label) {
        if (label >= m_labels.size()) {
            if (label > CExtractorLabelData::c_greatestLabel) {
                throw CException(
                    c_source,
                    CString("Label %1 cannot be measured: the greatest is %2.", CString::ENC_UTF8)
                        .Arg(static_cast<long long>(label), 0)
                        .Arg(static_cast<long long>(CExtractorLabelData::c_greatestLabel), 0),
                    nullptr);
            }
            // The system is asked only when the table moves: labels often come one by one.
            if (label >= m_labels.capacity())
                RequireMemory(c_source, "The table of labels",
                              2 * (std::int64_t{label} + 1) * std::int64_t{sizeof(StLabel)});
            m_labels.resize(label + 1);
        }
        return m_labels[label];
    }

    [[nodiscard]] const std::vector<StLabel>& Labels() const { return m_labels; }

private:
    std::vector<StLabel> m_labels;
};

/// Reads the image as runs of equal labels.
template <class T, class LabelOf>
void Measure(const CImage& image, CLabelTable& labels, IProgress& progress, const LabelOf& labelOf) {
    const CImageView<const T> view(image);
    CWorkPace pace(progress);
    progress.Start(static_cast<unsigned>(view.nz), "Measuring labels...");
    for (std::int64_t z = 0; z < view.nz && !pace.IsCancelled() && !progress.IsCancelled(); ++z) {
        for (std::int64_t y = 0; y < view.ny && !pace.IsCancelled(); ++y) {
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
        }
        progress.Step(1, 0);
    }
    progress.Finish();
}

} // namespace

CExtractorLabelData::~CExtractorLabelData() = default;

void CExtractorLabelData::Extract(const CImage& image, StLabelingData& data) const {
    CLabelTable table;
    DispatchLabelType(c_source, image.Type(), [&]<class T>(std::type_identity<T>) {
        if (image.Type() == IMAGE_BINARY_FG)
            Measure<T>(image, table, Progress(), [](T pixel) { return std::uint32_t{pixel != 0}; });
        else
            Measure<T>(image, table, Progress(), [](T pixel) { return std::uint32_t{pixel}; });
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
