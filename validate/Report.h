#pragma once

#include "validate/Runner.h"

#include <string>
#include <vector>

// What `quillon validate` prints. No text ends with a line end.

namespace validate {

/// Name, sentence and reason of a rule, on lines of their own.
std::string RuleText(const StRule& rule);
/// The same as a JSON object on one line, with the members "rule", "group", "level", "sentence" and "reason".
std::string RuleJson(const StRule& rule);

/// "BROKEN RULE PLUGIN: what was seen (--reproduce CASE)", or the line of a declared deviation.
std::string ResultLine(const StResult& result);
/// "PLUGIN: 80 rules hold, 9 do not apply, 1 broken", for the results of a plug-in, or of the library for a
/// null entry.
std::string SummaryLine(const engine::StCatalogueEntry* entry, const std::vector<StResult>& results);
/// A result as a JSON object on one line.
std::string ResultJson(const StPlan& plan, const StResult& result);

/// "holds", "broken", "declared" or "does not apply".
const char* OutcomeInWords(EnOutcome outcome);

} // namespace validate
