#pragma once

#include "QuillonBase/IProgress.h"

#include <string>

namespace ORVEN {

/// A progress sink that forwards all calls to another sink, or to none. Copies share the target, which must
/// outlive them.
class CProgressProxy : public IProgress {
public:
    /// Forwards nothing and is never cancelled.
    CProgressProxy() = default;
    /// Unless it is empty, `caption` replaces the texts of all phases.
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

    /// The sink that calls are forwarded to, or null.
    [[nodiscard]] const IProgress* Target() const { return m_target; }

    /// Sets the sink that algorithms created on this thread report to; the host sets it around its calls into
    /// a pack. With null, nothing is reported. Returns the previous sink.
    static IProgress* SetHostSink(IProgress* sink);
    static IProgress* HostSink();

private:
    IProgress* m_target = nullptr;
    std::string m_caption;
};

} // namespace ORVEN
