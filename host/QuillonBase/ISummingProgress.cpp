#include "QuillonBase/ISummingProgress.h"

#include "QuillonBase/CProgressProxy.h"

namespace ORVEN {

ISummingProgress::~ISummingProgress() = default;

bool NeedsSingleSteps(const IProgress& progress) {
    const IProgress* sink = &progress;
    while (const auto* const proxy = dynamic_cast<const CProgressProxy*>(sink))
        sink = proxy->Target();
    return sink != nullptr && dynamic_cast<const ISummingProgress*>(sink) == nullptr;
}

} // namespace ORVEN
