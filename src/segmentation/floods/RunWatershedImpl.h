#pragma once

#include "segmentation/WatershedImpl.h"
#include "segmentation/floods/RunWatershed.h"
#include "utils/PointOperationsImpl.h"

#include <QuillonSegmentation/CWatershed.h>
#include <sorblib2core/CException.h>

namespace quillon {

namespace Impl {

/// Runs the flood for the pixel type of the image, which is one of T, Others.
template <class N, class Criterion, class T, class... Others>
std::uint32_t FloodByPixelType(const StWatershedRun& run, typename Criterion::StParameters& parameters,
                               ORVEN::IProgress& progress) {
    if (ORVEN::Impl::HoldsPixels<T>(run.image.Type())) {
        using Watershed = ORVEN::CWatershedTemplate<N>;
        return Watershed(Watershed::EnCancelledLabels::DROPPED)
            .template DoWatershed<T, Criterion>(run.labels, run.image, run.markers, &parameters, progress);
    }
    if constexpr (sizeof...(Others) > 0)
        return FloodByPixelType<N, Criterion, Others...>(run, parameters, progress);
    else
        throw ORVEN::CException("WatershedPlugin", "Image type not supported", nullptr);
}

template <class N, class Criterion>
std::uint32_t FloodWith(const StWatershedRun& run, typename Criterion::StParameters parameters) {
    const ORVEN::CWatershed algorithm(nullptr, nullptr);
    return FloodByPixelType<N, Criterion, unsigned char, unsigned short, unsigned int, float>(
        run, parameters, algorithm.Progress());
}

} // namespace Impl

template <class N>
StWatershedOutcome RunWatershed(const StWatershedRun& run) {
    using namespace ORVEN;
    const std::string number = std::to_string(run.parameter);
    switch (run.mode) {
    case WATERSHED_NO_OF_VOXEL:
        return {Impl::FloodWith<N, CWatershedCriterionArea>(run, {run.parameter}), ",area=" + number};
    case WATERSHED_MIN_GREY_VALUE:
        return {Impl::FloodWith<N, CWatershedCriterionHeight>(run, {run.parameter}), ",height=" + number};
    case WATERSHED_MIN_DEPTH:
        return {Impl::FloodWith<N, CWatershedCriterionDepth>(run, {run.parameter}), ",depth=" + number};
    case WATERSHED_MIN_VOLUME:
        return {Impl::FloodWith<N, CWatershedCriterionVolume>(run, {static_cast<double>(run.parameter)}), ""};
    default:
        return {Impl::FloodWith<N, CWatershedCriterionNone>(run, {}), ""};
    }
}

} // namespace quillon
