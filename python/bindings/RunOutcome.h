#pragma once

#include "engine/run/StRunRecord.h"
#include "python/bindings/CPreparedRun.h"

#include <pybind11/pybind11.h>

namespace quillon_python {

/// How a run ended, as a dict: "end", "images" with their labels, "measured", "parameters", "boxes", and
/// where they apply "message", "unused_answer" and "refusal". New images are moved out of the record.
pybind11::dict OutcomeOf(const CPreparedRun& run, engine::StRunRecord& record);

} // namespace quillon_python
