#pragma once

#include "utils/PointOperationsImpl.h"
#include "utils/visitors/Analyzers.h"

#include <QuillonBase/CAlgorithm.h>

namespace ORVEN {

/// The algorithm object of a traversal. It is created on the stack for one call, so that the traversal can be
/// observed and cancelled.
class CPointOperations : public CAlgorithm {
public:
    using CAlgorithm::CAlgorithm;
    ~CPointOperations() override;

    /// Runs the visitor over one or two images. For N, the errors and the return value see
    /// `Impl::VisitorHelper`.
    template <int N = 0, class Visitor, class... Images>
    bool Visit(Visitor& visitor, Images&... images) const {
        return Impl::VisitorHelper<N>::VisitImageData(images..., visitor, Progress());
    }
};

/// Finds the extrema of a float image and stores them in its metadata under `c_sMetaMinMax`, minimum first.
/// The algorithm object gets the given name and parent. Returns the extrema.
visitors::CAnalyzerMinMax<float> StoreMinMax(IImage& image, const char* name = nullptr,
                                             const IObject* parent = nullptr);

} // namespace ORVEN
