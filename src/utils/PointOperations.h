#pragma once

#include "utils/PointOperationsImpl.h"
#include "utils/visitors/Analyzers.h"

#include <QuillonBase/CAlgorithm.h>

namespace ORVEN {

/// The algorithm object of a traversal: made on the stack for one call, so that it can be seen and cancelled.
class CPointOperations : public CAlgorithm {
public:
    using CAlgorithm::CAlgorithm;
    ~CPointOperations() override;

    /// Runs the visitor over one image or two. N, the errors and the answer are those of
    /// `Impl::VisitorHelper`.
    template <int N = 0, class Visitor, class... Images>
    bool Visit(Visitor& visitor, Images&... images) const {
        return Impl::VisitorHelper<N>::VisitImageData(images..., visitor, Progress());
    }
};

/// Finds the extrema of an image of floats and stores them among its metadata, under `c_sMetaMinMax`, minimum
/// first. Name and parent are those of the algorithm object. Returns what was found.
visitors::CAnalyzerMinMax<float> StoreMinMax(IImage& image, const char* name = nullptr,
                                             const IObject* parent = nullptr);

} // namespace ORVEN
