#pragma once

#include "QuillonBase/CProgressProxy.h"

#include <sorblib2core/IObject.h>

namespace ORVEN {

/// Base of the algorithm classes. An algorithm object lives on the stack for one call and reports progress.
///
/// The parameters of a derived class are plain fields, set before the call that does the work.
class CAlgorithm : public IObject {
public:
    /// `name` is shown to the user instead of the texts of the phases. `parent` is the object on whose behalf
    /// the algorithm runs. Both can be null.
    CAlgorithm(const char* name, const IObject* parent);
    CAlgorithm(const CAlgorithm&) = delete;
    CAlgorithm& operator=(const CAlgorithm&) = delete;
    ~CAlgorithm() override;

    /// The algorithm's progress sink. Initially this is the host's sink of the thread that created the
    /// algorithm.
    [[nodiscard]] IProgress& Progress() const { return m_progress; }
    /// The same sink, for passing on to the stages of an algorithm.
    [[nodiscard]] CProgressProxy& ProgressProxy() const { return m_progress; }
    /// Makes the algorithm report to another sink.
    void SetProgress(const CProgressProxy& progress) { m_progress = progress; }

    [[nodiscard]] const IObject* Parent() const { return m_parent; }

private:
    // Reporting progress does not change what the algorithm computes.
    mutable CProgressProxy m_progress;
    const IObject* m_parent;
};

} // namespace ORVEN
