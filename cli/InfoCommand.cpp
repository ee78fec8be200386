#include "cli/Commands.h"
#include "cli/ImageInput.h"
#include "engine/files/ImageWords.h"
#include "engine/files/ValueJson.h"
#include "engine/run/StRecordedChain.h"

#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/GreyTypeDispatch.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <iostream>
#include <memory>
#include <set>
#include <string>

using ORVEN::CQuillonHeaderTools;

namespace cli {

using namespace engine;

namespace {

struct StInfoOptions {
    std::string file;
    StInputOptions reading;
    bool isJson = false;
    bool isComplete = false;
    bool hasRange = false;
    bool isChain = false;
};

/// The word for the input of a run.
const char* const c_input = "input";
/// A measurement with more rows than this is abbreviated to the first ones.
constexpr std::size_t c_mostRows = 8;
constexpr std::size_t c_shownRows = 1;

/// Smallest and largest finite pixel value as a pair; null if there is none.
template <class Pixel>
CJson MinMaxOf(const ORVEN::CImage& image) {
    const ORVEN::CImageView<const Pixel> view(image);
    Pixel least{};
    Pixel greatest{};
    bool isFound = false;
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            const Pixel* const row = view.Row(y, z);
            for (std::int64_t x = 0; x < view.nx; ++x) {
                if constexpr (std::is_floating_point_v<Pixel>) {
                    if (!std::isfinite(row[x]))
                        continue;
                }
                least = isFound ? std::min(least, row[x]) : row[x];
                greatest = isFound ? std::max(greatest, row[x]) : row[x];
                isFound = true;
            }
        }
    }
    return isFound ? CJson::Array({least, greatest}) : CJson();
}

CJson MinMaxJson(const ORVEN::CImage& image) {
    if (image.Type().IsBinary())
        return MinMaxOf<unsigned char>(image);
    return ORVEN::DispatchGreyType(
        "cli::MinMaxJson", image.Type(),
        [&]<class Pixel>(std::type_identity<Pixel>) { return MinMaxOf<Pixel>(image); });
}

CJson SpacingJson(const ORVEN::CImage& image, int dimension) {
    std::array<double, 3> spacing{};
    if (!CQuillonHeaderTools::GetSpacing(image, spacing[0], spacing[1], spacing[2]))
        return {};
    CJson array = CJson::Array();
    for (int axis = 0; axis < dimension; ++axis)
        array.Append(ToJson(ORVEN::CValueDouble(spacing[static_cast<std::size_t>(axis)])));
    return array;
}

CJson HistoryJson(const ORVEN::CImage& image) {
    const ORVEN::CValue* const history = image.Attributes().Entry("history", true);
    if (history == nullptr || history->Vector() == nullptr)
        return CJson::Array();
    return ToJson(*history);
}

/// The record of runs as the file has it.
CJson RunsJson(const ORVEN::CImage& image) {
    const ORVEN::CValue* const runs = image.Attributes().Entry(c_runsKey, true);
    return runs != nullptr ? ToJson(*runs) : CJson::Array();
}

/// Everything about the image in the file; type and range are certain only with its pixels.
CJson InfoJson(const std::string& file, const StImageOutline& outline, const ORVEN::CImage* pixels) {
    const ORVEN::CImage& image = *outline.carrier;
    CJson size = CJson::Array();
    for (int axis = 0; axis < outline.size.Dim(); ++axis)
        size.Append(outline.size[axis]);
    CJson type;
    if (pixels != nullptr || outline.isTypeCertain)
        type = (pixels != nullptr ? pixels->Type() : outline.type).ToString();
    std::size_t labelCount = 0;
    const bool hasLabels = CQuillonHeaderTools::GetNumberOfLabels(image, labelCount);
    double maxDistance = 0;
    const bool hasDistance = CQuillonHeaderTools::GetMaxDistance(image, maxDistance);
    return CJson::Object({{"file", ToJson(ORVEN::CValueString(ORVEN::CString(file)))},
                          {"type", std::move(type)},
                          {"dimension", outline.size.Dim()},
                          {"size", std::move(size)},
                          {"channels", outline.channels},
                          {"times", outline.times},
                          {"spacing", SpacingJson(image, outline.size.Dim())},
                          {"history", HistoryJson(image)},
                          {"runs", RunsJson(image)},
                          {"number_of_labels", hasLabels ? CJson(labelCount) : CJson()},
                          {"max_distance", hasDistance ? ToJson(ORVEN::CValueDouble(maxDistance)) : CJson()},
                          {"min_max", pixels != nullptr ? MinMaxJson(*pixels) : CJson()},
                          {"attributes", ToJson(image.Attributes())}});
}

void PrintLine(const std::string& name, const std::string& text) {
    std::cout << name << std::string(12 - std::min<std::size_t>(name.size(), 11), ' ') << text << '\n';
}

std::string Joined(const CJson& values, const std::string& between) {
    std::string text;
    for (const CJson& value : values.Elements())
        text.append(text.empty() ? "" : between).append(value.Text());
    return text;
}

/// The text without control characters, which a terminal would interpret.
std::string Readable(const CJson& value) {
    if (!value.IsString())
        return value.Text();
    std::string text = value.String();
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 127; }, ' ');
    return text;
}

/// Prints attributes as lines "path: value", with a list of plain values on one line.
class CTreePrinter {
public:
    explicit CTreePrinter(bool isComplete)
        : m_isComplete(isComplete) {}

    void Print(const CJson& tree, const std::string& path) const {
        const bool isSpecial =
            tree.IsObject() && tree.Members().size() == 1 && tree.Members().front().first.starts_with('/');
        if (!tree.IsObject() || tree.Members().empty() || isSpecial) {
            std::cout << "  " << path << ": " << Readable(tree) << '\n';
            return;
        }
        const std::size_t rows = static_cast<std::size_t>(
            std::ranges::count_if(tree.Members(), [](const auto& member) { return IsRow(member.first); }));
        const bool isAbbreviated = !m_isComplete && rows > c_mostRows;
        std::size_t printed = 0;
        for (const auto& [key, value] : tree.Members()) {
            if (isAbbreviated && IsRow(key) && ++printed > c_shownRows)
                continue;
            Print(value, path.empty() ? Readable(key) : path + "/" + Readable(key));
        }
        if (isAbbreviated)
            std::cout << "  " << path << ": " << rows - c_shownRows << " more entries, shown by --all\n";
    }

private:
    /// Rows of a measurement are numbered: "2.5e+00", "object 017", "Subfield z000 y001 x000".
    static bool IsRow(const std::string& key) {
        return !key.empty() && std::isdigit(static_cast<unsigned char>(key.back())) != 0;
    }

    bool m_isComplete;
};

/// The attributes that have lines of their own.
bool HasOwnLine(const std::string& key) {
    static const std::set<std::string> keys = {"spacing", "origin",  "directions",       "unit",
                                               "space",   "history", "number of labels", "max distance",
                                               c_runsKey};
    return keys.contains(key);
}

/// The attributes that `PrintInfo` does not print in lines of their own.
CJson OtherAttributes(const CJson& attributes) {
    CJson others = CJson::Object();
    for (const auto& [key, value] : attributes.Members()) {
        if (!HasOwnLine(key))
            others.Append(key, value);
    }
    return others;
}

std::string TypeInWords(const CJson& type, const StImageOutline& outline) {
    if (!type.IsNull())
        return type.String();
    return std::string(outline.typeWithoutNegatives.ToString()) + ", or " + outline.type.ToString() +
           " if a value is negative";
}

/// "0.5 x 0.5 x 2 um".
std::string SpacingInWords(const CJson& info) {
    const CJson& spacing = *info.Find("spacing");
    if (spacing.IsNull())
        return "not known";
    const CJson* const unit = info.Find("attributes")->Find("unit");
    std::string text = Joined(spacing, " x ");
    if (unit != nullptr && unit->IsString())
        text.append(" ").append(Readable(*unit));
    return text;
}

/// "(1.0, 0.0, 0.0)" for the members of a map.
std::string VectorInWords(const CJson& map) {
    std::string text;
    for (const auto& [axis, number] : map.Members())
        text.append(text.empty() ? "(" : ", ").append(number.Text());
    return text + ")";
}

/// Where the image lies, as far as it is not at the origin of the space along its axes.
void PrintPlace(const CJson& attributes) {
    const CJson* const origin = attributes.Find("origin");
    if (origin != nullptr && origin->IsObject())
        PrintLine("origin", VectorInWords(*origin));
    const CJson* const directions = attributes.Find("directions");
    if (directions != nullptr && directions->IsObject()) {
        std::string text;
        for (const auto& [axis, vector] : directions->Members())
            text.append(text.empty() ? "" : " ").append(VectorInWords(vector));
        PrintLine("directions", text);
    }
    const CJson* const space = attributes.Find("space");
    if (space != nullptr && *space == CJson("LPS"))
        PrintLine("space", "LPS: x to the left, y to the back, z to the head of a patient");
}

/// "on cement.nrrd" for a file, and "on the result of run 1".
std::string InputInWords(const StRunSource& input) {
    if (!input.file.empty())
        return " on " + Readable(input.file);
    return input.run ? " on the result of run " + std::to_string(*input.run + 1) : " on an image in memory";
}

/// The run in a few lines: what ran on what and when, the parameters, and the files that it read.
std::vector<std::string> LinesOf(const StRunEntry& run) {
    std::vector<std::string> lines;
    std::string what = run.plugin + " of " + run.pack;
    if (!run.version.empty())
        what += " " + run.version;
    lines.push_back(Readable(what + InputInWords(run.input) + ", " + run.time));
    if (!run.parameters.Members().empty())
        lines.push_back("  parameters " + run.parameters.Text());
    const auto addFile = [&lines](const std::string& key, const StRunSource& source) {
        if (!source.file.empty())
            lines.push_back(Readable("  " + key + " " + source.file + ", SHA-256 " + source.hash));
        else if (source.run && key != c_input)
            lines.push_back(Readable("  " + key + " the result of run " + std::to_string(*source.run + 1)));
    };
    addFile(c_input, run.input);
    for (const auto& [key, source] : run.images)
        addFile(key, source);
    for (const auto& [key, source] : run.files)
        addFile(key, source);
    return lines;
}

void PrintRuns(const CJson& json) {
    try {
        const std::vector<StRunEntry> runs = RunsOfJson(json);
        for (std::size_t i = 0; i < runs.size(); ++i) {
            std::string number = std::to_string(i + 1) + " ";
            for (const std::string& line : LinesOf(runs[i])) {
                PrintLine(i == 0 && number.front() == '1' ? "runs" : "", number + line);
                number.assign(number.size(), ' ');
            }
        }
    } catch (const CFileError& error) {
        PrintLine("runs", error.what());
    }
}

void PrintInfo(const CJson& info, const StImageOutline& outline, const StInfoOptions& options) {
    const auto at = [&info](const char* name) -> const CJson& { return *info.Find(name); };
    PrintLine("file", Readable(at("file")));
    PrintLine("type", TypeInWords(at("type"), outline));
    PrintLine("size", Joined(at("size"), " x "));
    if (outline.channels > 1)
        PrintLine("channels", at("channels").Text());
    if (outline.times > 1)
        PrintLine("time points", at("times").Text());
    PrintLine("spacing", SpacingInWords(info));
    PrintPlace(at("attributes"));
    if (options.hasRange)
        PrintLine("values", at("min_max").IsNull() ? "none" : Joined(at("min_max"), " to "));
    if (!at("number_of_labels").IsNull())
        PrintLine("labels", at("number_of_labels").Text());
    if (!at("max_distance").IsNull())
        PrintLine("distances", "up to " + at("max_distance").Text());
    const auto& history = at("history").Elements();
    for (std::size_t i = 0; i < history.size(); ++i)
        PrintLine(i == 0 ? "history" : "", Readable(history[i]));
    PrintRuns(at("runs"));
    const CJson rest = OtherAttributes(at("attributes"));
    if (!rest.Members().empty()) {
        PrintLine("attributes", "");
        CTreePrinter(options.isComplete).Print(rest, "");
    }
}

/// Prints the chain that made the image.
void PrintChain(const std::string& file, const ORVEN::CImage& image) {
    try {
        std::cout << ToJson(ChainOfRuns(RunsOf(image)).chain).Text(2) << '\n';
    } catch (const CFileError& error) {
        throw CFileError("'" + file + "': " + error.what());
    }
}

void Info(const StInfoOptions& options) {
    const StImageOutline outline = ReadImageOutline(options.file, ReadOptionsOf(options.reading));
    if (options.isChain) {
        PrintChain(options.file, *outline.carrier);
        return;
    }
    std::unique_ptr<ORVEN::CImage> image;
    if (options.hasRange)
        image = ReadInput(options.file, options.reading);
    const CJson info = InfoJson(options.file, outline, image.get());
    if (options.isJson)
        std::cout << info.Text(2) << '\n';
    else
        PrintInfo(info, outline, options);
    std::cout.flush();
}

} // namespace

void AddInfoCommand(CArgumentParser& program) {
    CCommand command = program.AddCommand(
        "info", "Show type, size, spacing, place, history, runs and attributes of an image file");
    const auto options = std::make_shared<StInfoOptions>();
    command.AddPositional("FILE", options->file, "The image file");
    AddInputOptions(command, options->reading);
    command.AddFlag("--range", options->hasRange,
                    "Read the pixels, too, and show the least and the greatest value");
    command.AddFlag("--json", options->isJson, "As JSON, for programs");
    command
        .AddFlag("--chain", options->isChain,
                 "Print the chain of runs that made the file, for 'quillon chain'")
        .Excludes("--json");
    command.AddFlag("--all", options->isComplete, "Prints long measurements in full; JSON always has them");
    command.SetFooter("Only the header is read. The range is that of the finite pixels.\n\nExample: quillon "
                      "info volume.nrrd");
    command.OnRun([options] { Info(*options); });
}

} // namespace cli
