#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace validate {

class CRuleRun;

/// What a rule is about.
enum class EnLevel {
    LIBRARY, ///< a pack as a whole
    PLUGIN   ///< each of its plug-ins
};

/// A rule of the contract between host and plug-in.
struct StRule {
    const char* name; ///< GROUP.WORDS, as in "image.pixels-unchanged"
    EnLevel level;
    const char* sentence; ///< what holds
    const char* reason;   ///< why a host relies on it
    /// Checks it, in a process of its own. Returns if the rule holds, and raises `CRuleBroken` or
    /// `CRuleInapplicable` if not. Null for a rule about the outcome of other rules.
    void (*check)(CRuleRun& run);

    /// The part of the name before the dot.
    [[nodiscard]] std::string Group() const;
};

/// All rules, group by group.
const std::vector<const StRule*>& Rules();
/// The rule of that name; null if there is none.
const StRule* FindRule(std::string_view name);

/// The one rule without a check: what a plug-in declares as a deviation is a rule that it breaks.
inline constexpr std::string_view c_deviationRule = "truth.deviations-are-needed";

} // namespace validate
