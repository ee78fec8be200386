#pragma once

#include "validate/StRule.h"

#include <span>

// The rules by group, one source a group.

namespace validate {

std::span<const StRule> LibraryRules();
std::span<const StRule> ProcessRules();
std::span<const StRule> LifeCycleRules();
std::span<const StRule> BadInputRules();
std::span<const StRule> TreeRules();
std::span<const StRule> ResultRules();
std::span<const StRule> ImageRules();
std::span<const StRule> ProgressRules();
std::span<const StRule> DeterminismRules();
std::span<const StRule> AllocationRules();
std::span<const StRule> RandomRules();
std::span<const StRule> ParameterTruthRules();
std::span<const StRule> ResultTruthRules();

} // namespace validate
