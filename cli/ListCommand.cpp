#include "cli/Commands.h"
#include "engine/catalogue/CCatalogue.h"
#include "engine/packs/CPackLibrary.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>

namespace cli {

using namespace engine;

namespace {

struct StListOptions {
    bool asJson = false;
    std::optional<std::string> pack;
};

void PrintJson(const std::vector<const StCatalogueEntry*>& provided) {
    auto list = nlohmann::ordered_json::array();
    for (const StCatalogueEntry* entry : provided)
        list.push_back({{"name", entry->name}, {"title", entry->title}, {"summary", entry->summary}});
    std::printf("%s\n", list.dump(2).c_str());
}

void PrintLines(const std::vector<const StCatalogueEntry*>& provided) {
    std::size_t width = 0;
    for (const StCatalogueEntry* entry : provided)
        width = std::max(width, entry->name.size());
    for (const StCatalogueEntry* entry : provided)
        std::printf("%-*s  %s\n", static_cast<int>(width), entry->name.c_str(), entry->summary.c_str());
}

void List(const StListOptions& options) {
    const std::string path = options.pack.value_or(CPackLibrary::DefaultPath());
    const CPackLibrary pack(path);
    const CCatalogue catalogue = CCatalogue::OfPack(path);
    std::vector<const StCatalogueEntry*> provided;
    std::string missing;
    for (const StCatalogueEntry& entry : catalogue.Entries()) {
        if (pack.Provides(entry.name))
            provided.push_back(&entry);
        else
            missing.append(missing.empty() ? "" : ", ").append(entry.name);
    }
    if (options.asJson) {
        PrintJson(provided);
        return;
    }
    PrintLines(provided);
    if (!missing.empty())
        std::printf("Known but not in this pack: %s\n", missing.c_str());
}

} // namespace

void AddListCommand(CLI::App& program) {
    CLI::App* command = program.add_subcommand("list", "List the plug-ins, one line each");
    const auto options = std::make_shared<StListOptions>();
    command->add_flag("--json", options->asJson, "As JSON");
    command->add_option("--pack", options->pack, "The pack to ask instead of the one beside the program")
        ->option_text("PATH");
    command->callback([options] { List(*options); });
}

} // namespace cli
