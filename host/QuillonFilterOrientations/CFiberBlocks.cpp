#include "QuillonFilterOrientations/CFiberBlocks.h"

#include "QuillonFilterOrientations/CDirectionSums.h"
#include "QuillonFilterOrientations/CForeground.h"
#include "QuillonFilterOrientations/CHessianOrientations.h"
#include "QuillonFilterOrientations/FiberMaps.h"
#include "QuillonFilterOrientations/StFiberScale.h"

#include <QuillonBase/CProgressProxy.h>
#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>

#include <algorithm>

namespace ORVEN {

using namespace Impl;

namespace {

/// Passes on the pixels of a box, at their place in the whole image.
class CBoxReceiver : public IDirectionReceiver {
public:
    CBoxReceiver(std::unique_ptr<IDirectionReceiver> next, const std::array<std::int64_t, 3>& start,
                 const StPixelBox& box)
        : m_next(std::move(next))
        , m_start(start)
        , m_box(box) {}

    void Add(const StDirectionRow& row) override {
        StDirectionRow part = row;
        part.y += m_start[1];
        part.z += m_start[2];
        if (part.y < m_box.first[1] || part.y >= m_box.end[1] || part.z < m_box.first[2] ||
            part.z >= m_box.end[2])
            return;
        m_places.assign(row.x.begin(), row.x.end());
        for (std::int64_t& x : m_places)
            x += m_start[0];
        const auto first = std::lower_bound(m_places.begin(), m_places.end(), m_box.first[0]);
        const auto end = std::lower_bound(first, m_places.end(), m_box.end[0]);
        const auto skipped = static_cast<std::size_t>(first - m_places.begin());
        const auto count = static_cast<std::size_t>(end - first);
        part.x = std::span(m_places).subspan(skipped, count);
        part.isEvaluated = row.isEvaluated.subspan(skipped, count);
        for (auto& component : part.direction)
            component = component.subspan(skipped, count);
        m_next->Add(part);
    }

private:
    std::unique_ptr<IDirectionReceiver> m_next;
    std::array<std::int64_t, 3> m_start;
    StPixelBox m_box;
    std::vector<std::int64_t> m_places;
};

} // namespace

CFiberBlocks::CFiberBlocks(const CSize& size, const std::array<double, 3>& spacing, double fiberRadius,
                           const std::array<std::int64_t, 3>& subfieldSize)
    : m_size(size)
    , m_spacing(spacing)
    , m_fiberRadius(fiberRadius)
    , m_subfieldSize(subfieldSize) {
    if (m_size.Dim() < 3)
        m_subfieldSize[2] = 1;
    if (*std::min_element(m_subfieldSize.begin(), m_subfieldSize.end()) <= 0)
        m_subfieldSize = {};
    if (StFiberScale(m_size, m_spacing, m_fiberRadius).area.IsEmpty())
        throw CException("CFiberBlocks", "Image is too small for this fiber radius.", nullptr);
}

double CFiberBlocks::ThresholdByOtsu(const std::array<std::int64_t, 256>& histogram, double factor) {
    return CForeground::ThresholdByOtsu(histogram, factor);
}

std::vector<std::int64_t> CFiberBlocks::SumsOf(const IImage& block, const IImage& mask,
                                               const std::array<std::int64_t, 3>& start,
                                               const std::array<std::int64_t, 3>& first,
                                               const std::array<std::int64_t, 3>& end) const {
    CDirectionSums sums(StFiberScale(m_size, m_spacing, m_fiberRadius).area, m_subfieldSize);
    if (!StFiberScale(block, m_fiberRadius).area.IsEmpty()) {
        CHessianOrientations orientations(nullptr, nullptr);
        orientations.m_fFiberRadius = m_fiberRadius;
        (void)orientations.Visit(block, CForeground(mask), [&] {
            return std::make_unique<CBoxReceiver>(sums.MakeAdder(), start, StPixelBox{first, end});
        });
    }
    return sums.Numbers();
}

std::unique_ptr<CValueMap> CFiberBlocks::Measurement(std::span<const std::int64_t> sums,
                                                     const std::optional<std::array<double, 2>>& otsu) const {
    const StFiberScale scale(m_size, m_spacing, m_fiberRadius);
    CDirectionSums total(scale.area, m_subfieldSize);
    if (sums.size() != total.Numbers().size())
        throw CExBadParam(Here("ORVEN::CFiberBlocks::Measurement"),
                          CString("%1 sums do not fit the image.", CString::ENC_UTF8)
                              .Arg(static_cast<long long>(sums.size()), 0));
    total.SetNumbers(sums);
    CProgressProxy silent;
    CWorkPace pace(silent);
    auto map = MapOfFibers(total, scale, m_subfieldSize, false, pace);
    StoreFiberSettings(*map, scale, m_fiberRadius,
                       otsu ? std::optional(StOtsu{(*otsu)[0], (*otsu)[1]}) : std::nullopt);
    return map;
}

} // namespace ORVEN
