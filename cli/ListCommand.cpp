#include "cli/Commands.h"
#include "cli/PackOption.h"
#include "engine/packs/CPackSet.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace cli {

using namespace engine;

namespace {

struct StListOptions {
    bool asJson = false;
    std::vector<std::string> packs;
};

/// What a pack offers, by its own account.
struct StPackContents {
    std::string name;
    std::string version;
    bool hasCatalogue = false;
    std::vector<const StCatalogueEntry*> provided;
    std::string missing; ///< names in the catalogue that the library does not provide
};

StPackContents ContentsOf(CPack& pack) {
    const CCatalogue& catalogue = pack.Catalogue();
    StPackContents contents;
    contents.name = pack.Name();
    contents.version = catalogue.Version();
    contents.hasCatalogue = !catalogue.Entries().empty();
    for (const StCatalogueEntry& entry : catalogue.Entries()) {
        if (pack.Provides(entry.name))
            contents.provided.push_back(&entry);
        else
            contents.missing.append(contents.missing.empty() ? "" : ", ").append(entry.name);
    }
    return contents;
}

void PrintJson(const std::vector<StPackContents>& packs) {
    CJson list = CJson::Array();
    for (const StPackContents& pack : packs) {
        for (const StCatalogueEntry* entry : pack.provided) {
            CJson plugin =
                CJson::Object({{"name", entry->name}, {"title", entry->title}, {"summary", entry->summary}});
            plugin.Append("pack", pack.name);
            plugin.Append("version", pack.version);
            list.Append(std::move(plugin));
        }
    }
    std::printf("%s\n", list.Text(2).c_str());
}

void PrintLines(const StPackContents& pack, const std::string& indent) {
    std::size_t width = 0;
    for (const StCatalogueEntry* entry : pack.provided)
        width = std::max(width, entry->name.size());
    for (const StCatalogueEntry* entry : pack.provided)
        std::printf("%s%-*s  %s\n", indent.c_str(), static_cast<int>(width), entry->name.c_str(),
                    entry->summary.c_str());
    if (!pack.missing.empty())
        std::printf("%sKnown but not in this pack: %s\n", indent.c_str(), pack.missing.c_str());
}

void PrintGroups(const std::vector<StPackContents>& packs) {
    for (const StPackContents& pack : packs) {
        std::printf("%s%s%s%s\n", &pack == packs.data() ? "" : "\n", pack.name.c_str(),
                    pack.version.empty() ? "" : " ", pack.version.c_str());
        if (pack.hasCatalogue)
            PrintLines(pack, "  ");
        else
            std::printf("  This pack has no usable catalogue, so its plug-ins cannot be listed.\n");
    }
}

void List(const StListOptions& options) {
    CPackSet set = OpenPacks(options.packs);
    std::vector<StPackContents> packs;
    for (CPack& pack : set.Packs()) {
        if (pack.IsUsable())
            packs.push_back(ContentsOf(pack));
    }
    if (options.asJson)
        PrintJson(packs);
    else if (packs.size() == 1)
        PrintLines(packs.front(), "");
    else
        PrintGroups(packs);
}

} // namespace

void AddListCommand(CArgumentParser& program) {
    CCommand command = program.AddCommand("list", "List the plug-ins, one per line");
    const auto options = std::make_shared<StListOptions>();
    command.AddFlag("--json", options->asJson, "Print JSON");
    command.AddRepeated("--pack", options->packs, "List this pack before the installed ones", "PATH");
    command.OnRun([options] { List(*options); });
}

} // namespace cli
