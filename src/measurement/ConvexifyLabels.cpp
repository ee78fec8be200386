#include "measurement/ConvexifyLabels.h"

#include "utils/ImageTypeDispatch.h"
#include "utils/PixelView.h"
#include "utils/PointOperations.h"
#include "utils/visitors/PointOperationCopy.h"

#include <QuillonMeasurement/CExtractorLabelData.h>
#include <QuillonNumeric/CConvexHullComputer.h>
#include <sorblib2core/CException.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <cstdint>
#include <iostream>
#include <string>

namespace quillon {

using namespace ORVEN;

namespace {

/// Restores in the second image all object pixels of the first one.
template <class T>
struct OpRedoLabelIfWasNotBackground : visitors::StVisitor<const T, T> {
    void operator()(T before, T& pixel) const {
        if (before != 0)
            pixel = before;
    }
};

template <class Body>
void DispatchLabels(const char* function, const IImage::CType& type, const Body& body) {
    DispatchImageType<unsigned int, unsigned short, unsigned char>(function, type, body);
}

void Copy(const CImage& input, CImage& result) {
    DispatchLabels("Copy", input.Type(), [&]<class T>(std::type_identity<T>) {
        visitors::CCopy<T> copy;
        CPointOperations(nullptr, nullptr).Visit(copy, result, input);
    });
}

std::uint32_t GetMaximum(const CImage& image) {
    if (image.Type() == IMAGE_BINARY_FG)
        return 1;
    std::uint32_t maximum = 0;
    DispatchLabels("GetMaximum", image.Type(), [&]<class T>(std::type_identity<T>) {
        visitors::CAnalyzerMinMax<T> minMax;
        CPointOperations(nullptr, nullptr).Visit(minMax, image);
        maximum = minMax.maximum;
    });
    return maximum;
}

void RedoLabelIfWasNotBackground(const CImage& input, CImage& result) {
    if (input.Type() == IMAGE_BINARY_FG)
        return;
    DispatchLabels("RedoLabelIfWasNotBackground", input.Type(), [&]<class T>(std::type_identity<T>) {
        OpRedoLabelIfWasNotBackground<T> redo;
        CPointOperations(nullptr, nullptr).Visit(redo, input, result);
    });
}

/// Copies to a view the attributes and the spacing of the input that are needed to measure its labels.
void CopyHeader(const CImage& input, CImage& view) {
    CQuillonHeaderTools::SetAttributes(view, input.Attributes());
    double x = 1.0;
    double y = 1.0;
    double z = 1.0;
    CQuillonHeaderTools::GetSpacing(input, x, y, z);
    CQuillonHeaderTools::SetSpacing(view, x, y, z);
}

/// Reads the label data from the header, or measures the image if there are none. Returns the highest label
/// to visit.
std::size_t GetLabelData(CImage& input, StLabelingData& data) {
    CImage view = PixelViewOf(input); // so that the header of the input is not modified
    CopyHeader(input, view);
    const std::string key = CQuillonHeaderTools::c_sTagFeatures + "/" + CExtractorLabelData::KeyToLabelData();
    const CValueMap& attributes = input.Attributes();
    if (attributes.HasEntry(key, CValue::VAL_MAP)) {
        data.Set(*attributes.Entry(key, true)->Map());
        std::size_t labelCount = 0;
        CQuillonHeaderTools::GetNumberOfLabels(input, labelCount);
        CQuillonHeaderTools::SetNumberOfLabels(view, labelCount);
        return labelCount + 1; // deliberately one more than the header says
    }
    const std::uint32_t highestLabel = GetMaximum(input);
    CQuillonHeaderTools::SetNumberOfLabels(view, std::size_t{highestLabel} + 1);
    CExtractorLabelData(nullptr, nullptr).Extract(view, data);
    return highestLabel;
}

/// The bounding boxes of a record, in pixels of the image.
class CLabelBoxes {
public:
    CLabelBoxes(const CImage& image, const StLabelingData& data)
        : m_data(data) {
        CQuillonHeaderTools::GetOffset(image, m_offsetX, m_offsetY, m_offsetZ);
    }

    [[nodiscard]] CConvexHullComputer::CBox Box(std::size_t label) const {
        const std::int64_t startX = m_data.startX[label] - static_cast<std::int64_t>(m_offsetX);
        const std::int64_t startY = m_data.startY[label] - static_cast<std::int64_t>(m_offsetY);
        const std::int64_t startZ = m_data.startZ[label] - static_cast<std::int64_t>(m_offsetZ);
        return {static_cast<std::int32_t>(startX),
                static_cast<std::int32_t>(startY),
                static_cast<std::int32_t>(startZ),
                static_cast<std::int32_t>(startX + m_data.extentX[label]),
                static_cast<std::int32_t>(startY + m_data.extentY[label]),
                static_cast<std::int32_t>(startZ + m_data.extentZ[label])};
    }

private:
    const StLabelingData& m_data;
    unsigned long m_offsetX = 0;
    unsigned long m_offsetY = 0;
    unsigned long m_offsetZ = 0;
};

/// Paints the hull of an object of the input over the result.
void ConvexifyLabel(const CImage& input, CImage& result, std::size_t label, CConvexHullComputer::CBox box) {
    CConvexHullComputer hull(static_cast<std::size_t>(input.Size().Dim()), nullptr, nullptr);
    hull.loadPointsFromImageBox(input, label, box.startX, box.startY, box.startZ, box.endX, box.endY,
                                box.endZ);
    try {
        hull.compute();
    } catch (const CException& exception) {
        std::cerr << "convex hull features failed for object #" << label << "\n\treason: " // contract wording
                  << exception.Message() << "\n";
        return;
    }
    hull.paintConvexHullToImage(result, box, label);
}

} // namespace

std::size_t ConvexifyLabels(CImage& input, CImage& result, const CString& method) {
    Copy(input, result);
    StLabelingData data;
    const std::size_t highestLabel = GetLabelData(input, data);
    const CLabelBoxes boxes(input, data);
    std::size_t count = 1;
    for (std::size_t label = 1; label <= highestLabel && label < data.LabelCount(); ++label) {
        if (data.volume[label] == 0)
            continue;
        ++count;
        ConvexifyLabel(input, result, label, boxes.Box(label));
    }
    if (method == "OverwriteOnlyBackground")
        RedoLabelIfWasNotBackground(input, result);
    return count;
}

} // namespace quillon
