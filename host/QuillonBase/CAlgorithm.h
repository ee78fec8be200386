#pragma once

#include "QuillonBase/CProgressProxy.h"

#include <sorblib2core/IObject.h>

namespace ORVEN {

/// Base of the algorithm classes: objects that stand on the stack for one call and report progress.
///
/// The parameters of a derived class are plain fields, set before the call that does the work.
class CAlgorithm : public IObject {
public:
    /// A name is shown to the user in place of the texts of the phases. `parent` is the object on whose
    /// behalf the algorithm runs. Both can be null.
    CAlgorithm(const char* name, const IObject* parent);
    CAlgorithm(const CAlgorithm&) = delete;
    CAlgorithm& operator=(const CAlgorithm&) = delete;
    ~CAlgorithm() override;

    /// The algorithm's progress sink. A fresh algorithm reports to the host's sink of the thread that made
    /// it.
    [[nodiscard]] IProgress& Progress() const { return m_progress; }
    /// Reports to another sink from now on.
    void SetProgress(const CProgressProxy& progress) { m_progress = progress; }

    [[nodiscard]] const IObject* Parent() const { return m_parent; }

private:
    // Reporting progress does not change what the algorithm computes.
    mutable CProgressProxy m_progress;
    const IObject* m_parent;
};

} // namespace ORVEN
