#pragma once

#include "QuillonBase/IProgress.h"

#include <string>

namespace ORVEN {

/// A progress sink that passes everything on to another one, or to none. Copies share the target, which must
/// live longer than they do.
class CProgressProxy : public IProgress {
public:
    /// Passes nothing on and is never cancelled.
    CProgressProxy() = default;
    /// `caption` stands in for the texts of all phases, unless it is empty.
    explicit CProgressProxy(IProgress* target, std::string caption = {});
    CProgressProxy(const CProgressProxy&) = default;
    CProgressProxy& operator=(const CProgressProxy&) = default;

    void Start(unsigned total, const char* text) override;
    void SetText(const char* text) override;
    void Step(unsigned amount, int flag) override;
    void SetPosition(unsigned position) override;
    void Finish() override;
    void Cancel() override;
    bool IsCancelled() override;

    /// The sink that algorithms made on this thread report to: the host sets it around its calls into a pack.
    /// Null reports to nobody. Returns the sink that was set before.
    static IProgress* SetHostSink(IProgress* sink);
    static IProgress* HostSink();

private:
    IProgress* m_target = nullptr;
    std::string m_caption;
};

} // namespace ORVEN
