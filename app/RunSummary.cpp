#include "RunSummary.h"

#include "ImageWords.h"

#include <array>
#include <cstdio>

namespace app {

namespace {

std::string Duration(double seconds) {
    std::array<char, 32> text{};
    if (seconds < 1)
        std::snprintf(text.data(), text.size(), "%.0f ms", 1000 * seconds);
    else
        std::snprintf(text.data(), text.size(), seconds < 10 ? "%.1f s" : "%.0f s", seconds);
    return text.data();
}

std::string DocumentLine(const ORVEN::CValueMap& document, const std::string& file) {
    std::string line = "  result";
    if (const std::string label = LabelOf(document); !label.empty())
        line += " '" + label + "'";
    if (const ORVEN::CImage* image = ImageOf(document))
        line += ", " + WordOfPixelType(image->Type()) + ", " + SizeInWords(image->Size());
    return line + (file.empty() ? ", not written\n" : ", written to " + file + "\n");
}

std::string BoxLines(const StMessageBox& box) {
    std::string text = box.text;
    for (auto end = text.find('\n'); end != std::string::npos; end = text.find('\n', end + 1))
        text.insert(end + 1, "    ");
    return "  " + box.caption + ": " + text + "\n";
}

std::string Closing(const StRunRecord& record, std::span<const std::string> outputs) {
    const std::size_t documents = record.outcome.documents.size();
    if (outputs.empty())
        return documents > 0
                   ? "Nothing was written: give -o FILE to keep the result.\n"
                   : "Nothing was written: give -o FILE to keep the image with what was measured.\n";
    const std::size_t filled = !record.measuredFile.empty() ? 1 : documents;
    std::string lines;
    for (std::size_t i = filled; i < outputs.size(); ++i)
        lines += "Nothing was written to " + outputs[i] + ": the plug-in delivered " +
                 (documents == 0   ? "no result"
                  : documents == 1 ? "one result"
                                   : std::to_string(documents) + " results") +
                 ".\n";
    return lines;
}

} // namespace

std::string RunSummary(const StRunRecord& record, std::span<const std::string> outputs) {
    const StPluginOutcome& outcome = record.outcome;
    std::string text =
        record.plugin + " on " + record.image + ": done in " + Duration(outcome.seconds) + "\n";
    for (std::size_t i = 0; i < outcome.documents.size(); ++i)
        text += DocumentLine(*outcome.documents[i], record.files[i]);
    if (!record.measuredFile.empty())
        text += "  the image with its new attributes, written to " + record.measuredFile + "\n";
    for (const StMessageBox& box : record.boxes)
        text += BoxLines(box);
    if (record.isFileUnused)
        text += "No file dialog opened, so --file was not used.\n";
    return text + Closing(record, outputs);
}

} // namespace app
