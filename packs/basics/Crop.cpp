#include "Crop.h"

#include "pixels/PixelLoops.h"

#include <sorblib2image/CImageExtraction.h>

#include <utility>

namespace quillon::basics {

using namespace ORVEN;

namespace {

constexpr std::array c_axes{"x", "y", "z"};
constexpr std::array c_lines{"column", "row", "plane"};

std::string Assignment(std::size_t axis, const char* end, std::int64_t place) {
    return std::string(c_axes[axis]) + end + " = " + std::to_string(place);
}

std::string Range(std::size_t axis, std::int64_t first, std::int64_t last) {
    return std::string(c_axes[axis]) + "=" + std::to_string(first) + ".." + std::to_string(last);
}

} // namespace

void CCropPlugin::ReadParameters(const CValueMap& tree) {
    for (std::size_t axis = 0; axis < c_axes.size(); ++axis) {
        m_first[axis] = ReadWholeNumber(tree, std::string(c_axes[axis]) + "0");
        m_last[axis] = ReadWholeNumber(tree, std::string(c_axes[axis]) + "1");
    }
}

StResult CCropPlugin::Compute(const CImage& image) {
    const int dimension = image.Size().Dim();
    CBox box;
    box.first.SetDim(dimension);
    box.last.SetDim(dimension);
    std::string history;
    for (std::size_t axis = 0; axis < c_axes.size(); ++axis) {
        const auto place = static_cast<std::int64_t>(axis);
        const std::int64_t border = place < dimension ? image.Size()[place] - 1 : 0;
        const std::int64_t first = m_first[axis].value_or(0);
        const std::int64_t last = m_last[axis].value_or(static_cast<std::int32_t>(border));
        for (const auto& [end, value] : {std::pair("0", first), std::pair("1", last)}) {
            if (value < 0)
                Refuse(Assignment(axis, end, value) + " lies before the first " + c_lines[axis] + ", 0.");
            if (value > border)
                Refuse(Assignment(axis, end, value) + " lies beyond the last " + c_lines[axis] + ", " +
                       std::to_string(border) + ".");
        }
        if (first > last)
            Refuse(Assignment(axis, "0", first) + " must not be greater than " + Assignment(axis, "1", last) +
                   ".");
        if (place >= dimension)
            continue;
        box.first[place] = first;
        box.last[place] = last;
        if (!history.empty())
            history += ",";
        history += Range(axis, first, last);
    }

    StResult result{NewImage(image.Type(), box.Size()), "crop(" + history + ")"};
    result.keepsMeaning = true;
    CImageExtraction::Box(image, *result.image, box);
    result.firstPixel = {static_cast<double>(box.first.x), static_cast<double>(box.first.y),
                         static_cast<double>(box.first.z)};
    return result;
}

} // namespace quillon::basics
