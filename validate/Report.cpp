#include "validate/Report.h"

#include "engine/files/CJson.h"

#include <algorithm>
#include <cctype>

namespace validate {

using engine::CJson;

namespace {

/// The case as one word of a shell.
std::string Quoted(const std::string& text) {
    const auto isPlain = [](unsigned char letter) {
        return std::isalnum(letter) != 0 || letter == '.' || letter == '-' || letter == ':' || letter == '_';
    };
    if (std::all_of(text.begin(), text.end(), isPlain))
        return text;
    std::string quoted = "'";
    for (const char letter : text)
        quoted += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    return quoted + "'";
}

std::size_t Count(const std::vector<StResult>& results, EnOutcome outcome) {
    return static_cast<std::size_t>(
        std::count_if(results.begin(), results.end(),
                      [outcome](const StResult& result) { return result.outcome == outcome; }));
}

/// "1 rule holds", "2 rules hold".
std::string Counted(std::size_t count, const char* one, const char* several) {
    return std::to_string(count) + (count == 1 ? one : several);
}

} // namespace

const char* OutcomeInWords(EnOutcome outcome) {
    switch (outcome) {
    case EnOutcome::HOLDS:
        return "holds";
    case EnOutcome::BROKEN:
        return "broken";
    case EnOutcome::DECLARED:
        return "declared";
    case EnOutcome::INAPPLICABLE:
        break;
    }
    return "does not apply";
}

std::string RuleText(const StRule& rule) {
    return std::string(rule.name) + "\n    " + rule.sentence + "\n    Why: " + rule.reason;
}

std::string RuleJson(const StRule& rule) {
    return CJson::Object({{"rule", rule.name},
                          {"group", rule.Group()},
                          {"level", rule.level == EnLevel::LIBRARY ? "library" : "plug-in"},
                          {"sentence", rule.sentence},
                          {"reason", rule.reason}})
        .Text();
}

std::string ResultLine(const StResult& result) {
    const std::string subject = std::string(result.rule->name) + " " + result.repeated.plugin + ": ";
    const std::string again = " (--reproduce " + Quoted(result.repeated.Text()) + ")";
    switch (result.outcome) {
    case EnOutcome::BROKEN:
        return "BROKEN " + subject + result.seen + again;
    case EnOutcome::DECLARED:
        return "declared " + subject + result.seen + "; " + result.reason + again;
    case EnOutcome::INAPPLICABLE:
        return "does not apply: " + subject + result.seen;
    case EnOutcome::HOLDS:
        break;
    }
    return "holds: " + subject.substr(0, subject.size() - 2);
}

std::string SummaryLine(const engine::StCatalogueEntry* entry, const std::vector<StResult>& results) {
    std::string line = (entry != nullptr ? entry->name : std::string("the library")) + ": " +
                       Counted(Count(results, EnOutcome::HOLDS), " rule holds", " rules hold");
    if (const std::size_t count = Count(results, EnOutcome::INAPPLICABLE); count > 0)
        line += Counted(count, " does not apply", " do not apply").insert(0, ", ");
    if (const std::size_t count = Count(results, EnOutcome::DECLARED); count > 0)
        line += Counted(count, " is broken as declared", " are broken as declared").insert(0, ", ");
    if (const std::size_t count = Count(results, EnOutcome::BROKEN); count > 0)
        line += Counted(count, " is broken", " are broken").insert(0, ", ");
    if (entry != nullptr && entry->cancel == engine::CANCEL_NOWHERE)
        line += "; cannot be cancelled, as declared";
    return line;
}

std::string ResultJson(const StPlan& plan, const StResult& result) {
    CJson record = CJson::Object(
        {{"rule", result.rule->name},
         {"pack", plan.packName},
         {"plugin", result.rule->level == EnLevel::PLUGIN ? CJson(result.repeated.plugin) : CJson()},
         {"outcome", OutcomeInWords(result.outcome)}});
    record.Append("seen", result.seen.empty() ? CJson() : CJson(result.seen));
    record.Append("reason", result.reason.empty() ? CJson() : CJson(result.reason));
    record.Append("case", result.repeated.Text());
    return record.Text();
}

} // namespace validate
