#pragma once

namespace ORVEN {

/// Interface through which an algorithm reports its progress and asks whether it is cancelled.
///
/// A phase consists of `Start`, any number of `Step` calls, and `Finish`. All operations, `IsCancelled`
/// included, are called one at a time and only from the thread that called the algorithm. A sink must
/// tolerate more steps than the total, phases that never finish, and nested phases. The order of the virtual
/// operations must not change, because packs that are already built depend on it.
class IProgress {
public:
    IProgress() = default;
    IProgress(const IProgress&) = default;
    IProgress& operator=(const IProgress&) = default;
    virtual ~IProgress();

    /// Opens a phase of `total` units; `text` describes its work.
    virtual void Start(unsigned total, const char* text) = 0;
    /// Replaces the text of the phase.
    virtual void SetText(const char* text) = 0;
    /// Advances by `amount` units. The flag is passed as 0.
    virtual void Step(unsigned amount, int flag) = 0;
    /// Sets the number of units done so far.
    virtual void SetPosition(unsigned position) = 0;
    /// Closes the phase.
    virtual void Finish() = 0;
    /// Requests that the running operation stop.
    virtual void Cancel() = 0;
    /// Whether the user has asked to stop. The algorithm then returns early without an error.
    virtual bool IsCancelled() = 0;
};

} // namespace ORVEN
