#include "cli/Commands.h"
#include "cli/PackOption.h"
#include "engine/files/ImageWords.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <sstream>

namespace cli {

using namespace engine;

namespace {

struct StDescribeOptions {
    std::string name;
    bool asJson = false;
    std::vector<std::string> packs;
};

constexpr std::size_t c_lineWidth = 96;

/// Wraps the text to lines of readable length, each with the indent in front.
std::string Wrapped(const std::string& text, const std::string& indent) {
    std::string wrapped;
    std::string line;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (!line.empty() && indent.size() + line.size() + 1 + word.size() > c_lineWidth) {
            wrapped += indent + line + "\n";
            line.clear();
        }
        line.append(line.empty() ? "" : " ").append(word);
    }
    return wrapped + indent + line + "\n";
}

using Row = std::array<std::string, 4>;

Row RowOf(const StCatalogueParameter& parameter) {
    const auto& value = parameter.defaultValue;
    return {parameter.key, std::string(WordOfKind(parameter.kind)),
            value.IsNull()     ? "-"
            : value.IsString() ? value.String()
                               : value.Text(),
            LegalValuesWithUnit(parameter)};
}

void PrintTable(const char* heading, const std::vector<StCatalogueParameter>& parameters) {
    if (parameters.empty())
        return;
    std::vector<Row> rows = {{heading, "KIND", "DEFAULT", "VALUES"}};
    for (const StCatalogueParameter& parameter : parameters)
        rows.push_back(RowOf(parameter));
    std::array<int, 3> widths{};
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < widths.size(); ++column)
            widths[column] = std::max(widths[column], static_cast<int>(row[column].size()));
    }
    std::printf("\n");
    for (std::size_t i = 0; i < rows.size(); ++i) {
        std::string line;
        for (std::size_t column = 0; column < widths.size(); ++column) {
            line += rows[i][column];
            line.append(static_cast<std::size_t>(widths[column]) + 2 - rows[i][column].size(), ' ');
        }
        line += rows[i][3];
        std::printf("%s\n", line.substr(0, line.find_last_not_of(' ') + 1).c_str());
        if (i > 0)
            std::printf("%s", Wrapped(parameters[i - 1].meaning, "    ").c_str());
    }
}

const char* SpacingUseInWords(EnSpacingUse use) {
    switch (use) {
    case SPACING_USED:
        return "taken into account";
    case SPACING_IGNORED:
        return "ignored; everything is counted in pixels";
    case SPACING_REQUIRES_EQUAL:
        return "must be equal along all axes";
    case SPACING_IRRELEVANT:
    case SPACING_UNKNOWN:
        break;
    }
    return nullptr;
}

std::string MemoryInWords(const std::map<std::string, double>& bytesPerVoxel) {
    std::string text;
    for (const std::string& type : PixelTypeWords()) {
        if (const auto bytes = bytesPerVoxel.find(type); bytes != bytesPerVoxel.end())
            text += (text.empty() ? "" : ", ") + PlainText(CJson(bytes->second)) + " (" + type + ")";
    }
    if (const auto bytes = bytesPerVoxel.find(""); bytes != bytesPerVoxel.end())
        text = PlainText(CJson(bytes->second));
    return "up to " + text + " bytes for each voxel, beyond the image";
}

void PrintHidden(StDescribedPlugin& plugin) {
    for (CPack* pack : plugin.hidden) {
        std::printf("Hides the plug-in of the same name in %s (%s); to use that one, give --pack %s.\n",
                    pack->Name().c_str(), pack->Path().c_str(), pack->Path().c_str());
    }
}

void Describe(const StDescribeOptions& options) {
    CPackSet packs = OpenPacks(options.packs);
    StDescribedPlugin plugin = packs.Describe(options.name);
    const StCatalogueEntry* const entry = &plugin.entry;
    if (options.asJson) {
        std::printf("%s\n", entry->source.Text(2).c_str());
        return;
    }
    std::printf("%s: %s\n%s\n\n", entry->name.c_str(), entry->title.c_str(), entry->summary.c_str());
    std::printf("Takes images: %s\n", AcceptedInWords(entry->images).c_str());
    if (!entry->group.empty())
        std::printf("Group: %s\n", entry->group.c_str());
    if (!entry->keywords.empty())
        std::printf("Keywords: %s\n", FirstTen(entry->keywords).c_str());
    std::printf("Delivers: %s\n", entry->documentsOut == 0   ? "no new image"
                                  : entry->documentsOut == 1 ? "a new image"
                                                             : "several new images");
    std::printf("Can be cancelled: %s\n", entry->cancel == CANCEL_ANYWHERE ? "yes"
                                          : entry->cancel == CANCEL_PARTLY ? "in parts of its work"
                                                                           : "no");
    if (const char* const use = SpacingUseInWords(entry->spacingUse); use != nullptr)
        std::printf("Spacing: %s\n", use);
    if (!entry->bytesPerVoxel.empty())
        std::printf("Memory: %s\n", MemoryInWords(entry->bytesPerVoxel).c_str());
    if (entry->blocks.rule != BLOCKS_UNKNOWN)
        std::printf("Block by block: %s\n", BlocksInWords(entry->blocks).c_str());
    if (entry->opensDialogs)
        std::printf("Opens dialogs or message boxes.\n");
    PrintHidden(plugin);
    PrintTable("PARAMETER", entry->parameters);
    PrintTable("SETTING", entry->settings);
}

} // namespace

void AddDescribeCommand(CArgumentParser& program) {
    CCommand command =
        program.AddCommand("describe", "Show the parameters of a plug-in and the images it takes");
    const auto options = std::make_shared<StDescribeOptions>();
    command.AddPositional("NAME", options->name, "The plug-in; see 'quillon list'");
    command.AddFlag("--json", options->asJson, "Print JSON");
    command.AddRepeated("--pack", options->packs, "Search this pack before the installed ones", "PATH");
    command.OnRun([options] { Describe(*options); });
}

} // namespace cli
