#pragma once

/// What the program that checks rules reads and writes, one line each. It reads cases, as `StCase::Text`
/// writes them. For each it writes `variation NAME` and `detail TEXT`, any number of them, and then one of
/// the outcomes.
namespace validate {

inline constexpr const char* c_variation = "variation ";
inline constexpr const char* c_detail = "detail ";
inline constexpr const char* c_holds = "holds";
inline constexpr const char* c_broken = "broken ";
inline constexpr const char* c_inapplicable = "inapplicable ";

/// Between the process that checks a rule and the one that watches it.
inline constexpr const char* c_cancelled = "cancelled";
inline constexpr const char* c_returned = "returned";

/// The name of the program, in the folder `quillon` beside this library.
inline constexpr const char* c_ruleProgram = "quillon-check-rules";

} // namespace validate
