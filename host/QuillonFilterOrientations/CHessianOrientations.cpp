#include "QuillonFilterOrientations/CHessianOrientations.h"

#include "QuillonFilterOrientations/CForeground.h"
#include "QuillonFilterOrientations/CHessianRows.h"
#include "QuillonFilterOrientations/Ridges.h"
#include "QuillonFilterOrientations/StFiberScale.h"

#include <QuillonBase/CWorkPace.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace ORVEN {

using namespace Impl;

namespace {

/// Number of consecutive rows of a plane that one thread processes. A single plane is split into several such
/// bands.
constexpr std::int64_t c_bandHeight = 128;

/// The working data of one thread.
class CBandWorker {
public:
    CBandWorker(const CImageView<const unsigned char>& image, const CForeground& foreground,
                const StFiberScale& scale, std::span<const StDerivativeTaps> taps,
                std::unique_ptr<IDirectionReceiver> receiver)
        : m_foreground(foreground)
        , m_scale(scale)
        , m_rows(image, taps, BestVectors())
        , m_receiver(std::move(receiver)) {
        for (const StDerivativeTaps& axis : taps)
            m_unitsPerRow += image.nx * (2 * axis.radius + 1) * c_unitsPerTap;
    }

    void Visit(std::int64_t z, std::int64_t firstY, std::int64_t endY, CWorkPace& pace) {
        m_rows.StartPlane(z);
        for (std::int64_t y = firstY; y < endY && !pace.IsCancelled(); ++y) {
            m_xs.clear();
            m_foreground.Collect(y, z, m_scale.area.first[0], m_scale.area.end[0], m_xs);
            if (!m_xs.empty())
                VisitRow(y, z);
            (void)pace.Add(std::ssize(m_xs) * c_unitsPerDirection + m_unitsPerRow);
        }
    }

private:
    static constexpr std::int64_t c_unitsPerDirection = 256;
    static constexpr std::int64_t c_unitsPerTap = 4;

    void VisitRow(std::int64_t y, std::int64_t z) {
        const std::size_t count = m_xs.size();
        m_rows.Find(y, m_xs, m_matrices);
        FindRidges(m_scale.dimension, count, m_matrices, BestVectors(), m_ridges);
        const auto values = [&](const std::vector<double>& all) { return std::span(all.data(), count); };
        const auto& [x, yy, zz] = m_ridges.direction;
        m_receiver->Add({y, z, m_xs, values(m_ridges.isRidge), {values(x), values(yy), values(zz)}});
    }

    const CForeground& m_foreground;
    const StFiberScale& m_scale;
    CHessianRows m_rows;
    std::unique_ptr<IDirectionReceiver> m_receiver;
    std::int64_t m_unitsPerRow = 0;
    std::vector<std::int64_t> m_xs;
    SymmetricMatrices m_matrices;
    StRidges m_ridges;
};

} // namespace

const double CHessianOrientations::m_fDefaultOtsuFactor = 1.25;

CHessianOrientations::CHessianOrientations(const char* name, const IObject* parent)
    : CAlgorithm(name, parent) {}

CHessianOrientations::~CHessianOrientations() = default;

bool CHessianOrientations::Visit(const IImage& image, const CForeground& foreground,
                                 const MakeReceiver& makeReceiver) {
    const CImageView<const unsigned char> view(image);
    const StFiberScale scale(image, m_fFiberRadius);
    const StPixelBox& area = scale.area;
    if (area.IsEmpty())
        return true;
    std::vector<StDerivativeTaps> taps;
    const std::array lengths{view.nx, view.ny, view.nz};
    for (std::size_t axis = 0; axis < scale.dimension; ++axis)
        taps.emplace_back(scale.sigmaPixels[axis], lengths[axis]);

    const std::int64_t bandHeight = scale.dimension == 3 ? area.Extent(1) : c_bandHeight;
    const std::int64_t bandCount = (area.Extent(1) + bandHeight - 1) / bandHeight;
    const std::int64_t itemCount = bandCount * area.Extent(2);
    Progress().Start(static_cast<unsigned>(itemCount), "Finding fibre directions");
    const bool isDone = ParallelFor(itemCount, Progress(), [&](CWorkerTurn& turn) {
        return
            [&, pace = CWorkPace(turn),
             worker = CBandWorker(view, foreground, scale, taps, makeReceiver())](std::int64_t item) mutable {
                const std::int64_t firstY = area.first[1] + item % bandCount * bandHeight;
                worker.Visit(area.first[2] + item / bandCount, firstY,
                             std::min(firstY + bandHeight, area.end[1]), pace);
            };
    });
    Progress().Finish();
    return isDone;
}

} // namespace ORVEN
