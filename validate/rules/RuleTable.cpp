#include "validate/rules/RuleGroups.h"

#include <algorithm>

namespace validate {

std::string StRule::Group() const {
    const std::string_view text = name;
    return std::string(text.substr(0, text.find('.')));
}

const std::vector<const StRule*>& Rules() {
    static const std::vector<const StRule*> rules = [] {
        std::vector<const StRule*> all;
        for (const auto group :
             {LibraryRules(), ProcessRules(), LifeCycleRules(), BadInputRules(), TreeRules(), ResultRules(),
              ImageRules(), ProgressRules(), DeterminismRules(), AllocationRules(), RandomRules(),
              ParameterTruthRules(), ResultTruthRules()}) {
            for (const StRule& rule : group)
                all.push_back(&rule);
        }
        return all;
    }();
    return rules;
}

const StRule* FindRule(std::string_view name) {
    const auto& rules = Rules();
    const auto found =
        std::find_if(rules.begin(), rules.end(), [name](const StRule* rule) { return rule->name == name; });
    return found != rules.end() ? *found : nullptr;
}

} // namespace validate
