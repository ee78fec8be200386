#pragma once

#include "QuillonBase/IProgress.h"

namespace ORVEN {

/// Base of the sinks that only add up steps: `Step(3, 0)` leaves them in the same state as three times
/// `Step(1, 0)`.
///
/// Traversals of an image report one step per pixel. To these sinks, and to none at all, they report the
/// steps of a line together once the line is done, and visit its pixels in half of the time or less. All
/// other operations stay the same and come in the same order.
class ISummingProgress : public IProgress {
public:
    ISummingProgress() = default;
    ISummingProgress(const ISummingProgress&) = default;
    ISummingProgress& operator=(const ISummingProgress&) = default;
    ~ISummingProgress() override;
};

/// Whether the sink needs each step as a call of its own. False if steps arrive at an `ISummingProgress`, or
/// nowhere.
[[nodiscard]] bool NeedsSingleSteps(const IProgress& progress);

} // namespace ORVEN
