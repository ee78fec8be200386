#pragma once

#include "engine/catalogue/CCatalogue.h"
#include "validate/StCase.h"
#include "validate/StLimits.h"
#include "validate/StRule.h"

#include <functional>
#include <string>
#include <vector>

namespace validate {

/// What came of a rule and a plug-in.
enum class EnOutcome {
    HOLDS,
    BROKEN,
    DECLARED,    ///< broken, as the catalogue declares
    INAPPLICABLE ///< the rule says nothing about this plug-in
};

struct StResult {
    const StRule* rule = nullptr;
    EnOutcome outcome = EnOutcome::HOLDS;
    std::string seen;   ///< what was seen, or why the rule does not apply
    std::string reason; ///< of a declared deviation
    StCase
        repeated; ///< the case to repeat it with; its plug-in is the pack's name for a rule about a library
    std::vector<std::string> details;
};

/// What is to be validated.
struct StPlan {
    std::string packPath;
    engine::CCatalogue catalogue;
    std::string packName;
    std::vector<std::string> plugins; ///< names in the catalogue; empty: all of them, and the library itself
    std::uint32_t seed = 1;
    StLimits limits;
};

/// Takes the results of the library, or of one plug-in, in the order of the rules.
using OnResults = std::function<void(const std::string& plugin, const std::vector<StResult>& results)>;

/// Checks all rules. Each case runs in a process of its own, as many at a time as there are processors;
/// results are handed over in the order of the catalogue, one plug-in at a time. Raises
/// `engine::CEngineError` if the program that checks rules cannot be started.
void Validate(const StPlan& plan, const OnResults& onResults);

/// Checks one case. Raises `engine::CCallerError` if its rule or its plug-in does not exist.
StResult Reproduce(const StPlan& plan, const StCase& one);

} // namespace validate
