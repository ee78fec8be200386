#include "cli/RunSummary.h"

#include "engine/files/ImageWords.h"

#include <sorblib2core/CStringTools.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace cli {

using namespace engine;

namespace {

std::string Duration(double seconds) {
    if (seconds < 1)
        return ORVEN::CStringTools::Printf("%.0f ms", 1000 * seconds);
    if (seconds < 10)
        return ORVEN::CStringTools::Printf("%.1f s", seconds);
    return ORVEN::CStringTools::Printf("%.0f s", seconds);
}

/// The fraction of object pixels.
double ForegroundFraction(const ORVEN::CImage& image) {
    const ORVEN::CImageView<const unsigned char> view(image);
    std::int64_t count = 0;
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y)
            count += view.nx - std::count(view.Row(y, z), view.Row(y, z) + view.nx, 0);
    }
    return static_cast<double>(count) / static_cast<double>(std::max<std::int64_t>(view.PixelCount(), 1));
}

/// The main facts about an image: type and size, spacing if known, object fraction, number of labels.
std::string Description(const ORVEN::CImage& image) {
    std::string text = WordOfPixelType(image.Type()) + ", " + SizeInWords(image.Size());
    std::array<double, 3> spacing{};
    if (ORVEN::CQuillonHeaderTools::GetSpacing(image, spacing[0], spacing[1], spacing[2])) {
        text += ", spacing";
        for (int axis = 0; axis < image.Size().Dim(); ++axis)
            text.append(axis > 0 ? " x " : " ")
                .append(ORVEN::CStringTools::Printf("%g", spacing.at(static_cast<std::size_t>(axis))));
    }
    if (image.Type().IsBinary())
        text += ORVEN::CStringTools::Printf(", foreground %.1f %%", 100 * ForegroundFraction(image));
    std::size_t labelCount = 0;
    if (ORVEN::CQuillonHeaderTools::GetNumberOfLabels(image, labelCount) && labelCount > 0)
        text += ", " + std::to_string(labelCount - 1) + " labels besides 0";
    return text;
}

std::string DocumentLine(const ORVEN::CValueMap& document, const std::string& file,
                         const std::string& unwritten) {
    std::string line = "  result";
    if (const std::string label = LabelOf(document); !label.empty())
        line += " '" + label + "'";
    if (const ORVEN::CImage* image = ImageOf(document))
        line += ", " + Description(*image);
    return line + (file.empty() ? unwritten : ", written to " + file) + "\n";
}

std::string BoxLines(const StMessageBox& box) {
    std::string text = box.text;
    for (auto end = text.find('\n'); end != std::string::npos; end = text.find('\n', end + 1))
        text.insert(end + 1, "    ");
    return "  " + box.caption + ": " + text + "\n";
}

std::string Closing(const StRunRecord& record, std::span<const std::string> outputs) {
    const std::size_t documents = record.outcome.documents.size();
    if (outputs.empty()) {
        if (documents > 0)
            return "Nothing was written: give -o FILE to keep the result.\n";
        if (record.hasMeasured)
            return "Nothing was written: give -o FILE to keep the image with what was measured.\n";
        // Results that the plug-in has shown in a box or written to a file itself need no further saving.
        const bool isKept = record.hasShownWindows || record.isReported || !record.pickedFile.empty();
        return record.boxes.empty() && !isKept
                   ? "Nothing was written: give --report FILE to save the parameters.\n"
                   : "";
    }
    const std::size_t filled = !record.measuredFile.empty() ? 1 : documents;
    std::string lines;
    for (std::size_t i = filled; i < outputs.size(); ++i)
        lines += NothingWrittenTo(outputs[i], documents);
    return lines;
}

} // namespace

std::string NothingWrittenTo(const std::string& output, std::size_t results) {
    return "Nothing was written to " + output + ": the plug-in delivered " +
           (results == 0   ? "no result"
            : results == 1 ? "one result"
                           : std::to_string(results) + " results") +
           ".\n";
}

std::string StepSummary(const StRunRecord& record, const std::string& unwritten) {
    const StPluginOutcome& outcome = record.outcome;
    std::string text =
        record.plugin + " on " + record.image + ": done in " + Duration(outcome.seconds) + "\n";
    for (std::size_t i = 0; i < outcome.documents.size(); ++i)
        text += DocumentLine(*outcome.documents[i], record.files[i], unwritten);
    if (!record.measuredFile.empty())
        text += "  the image with the measurement, written to " + record.measuredFile + "\n";
    if (!record.pickedFile.empty())
        text += "  " + record.pickedFile + " was picked in a file dialog\n";
    for (const StMessageBox& box : record.boxes)
        text += BoxLines(box);
    return text;
}

std::string RunSummary(const StRunRecord& record, std::span<const std::string> outputs) {
    return StepSummary(record, ", not written") +
           (record.isFileUnused ? "No file dialog opened, so --file was not used.\n" : "") +
           Closing(record, outputs);
}

} // namespace cli
