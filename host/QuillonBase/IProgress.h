#pragma once

namespace ORVEN {

/// Where an algorithm reports how far it is and asks whether to go on.
///
/// A phase is `Start`, any number of `Step`, `Finish`. A sink is called only from the thread that called the
/// algorithm, one call at a time, `IsCancelled` included. A sink tolerates more steps than the total, phases
/// that never finish, and phases one inside the other. The order of the virtual operations is part of the
/// contract with built packs.
class IProgress {
public:
    IProgress() = default;
    IProgress(const IProgress&) = default;
    IProgress& operator=(const IProgress&) = default;
    virtual ~IProgress();

    /// Opens a phase of `total` units; the text says what is done in it.
    virtual void Start(unsigned total, const char* text) = 0;
    /// Says anew what is done in the phase.
    virtual void SetText(const char* text) = 0;
    /// Advances by `amount` units. The flag is passed as 0.
    virtual void Step(unsigned amount, int flag) = 0;
    /// Sets the units done so far.
    virtual void SetPosition(unsigned position) = 0;
    /// Closes the phase.
    virtual void Finish() = 0;
    /// Asks for the end of what is running.
    virtual void Cancel() = 0;
    /// Whether the user has asked to stop. An algorithm then leaves early without an error.
    virtual bool IsCancelled() = 0;
};

} // namespace ORVEN
