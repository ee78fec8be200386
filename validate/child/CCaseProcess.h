#pragma once

#include "validate/child/RuleProtocol.h"
#include "validate/rules/CRuleRun.h"

#include <cstdio>

namespace validate {

/// Checks a case in a process of its own, and writes the answers. The process is ended when a limit is
/// exceeded.
void CheckInAProcess(const StSubject& subject, const StCase& one, std::FILE* answers);

} // namespace validate
