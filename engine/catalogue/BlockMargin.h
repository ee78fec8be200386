#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace engine {

/// The value of a parameter in an expression, by its key.
using MarginVariable = std::function<double(const std::string&)>;

/// Evaluates the margin of a block, in pixels, as the catalogue states it: "ceil(10 * sigma) + 4".
///
/// An expression consists of numbers, keys of parameters that are identifiers, the operators + - * / with
/// brackets, and the functions abs(a), ceil(a), max(a, b, ...) and min(a, b, ...). Raises
/// `std::runtime_error` for anything else, "'TEXT' is not a margin: WHY".
double EvaluateMargin(std::string_view text, const MarginVariable& valueOf);

} // namespace engine
