#include "CylinderMask.h"

#include "plugin/PluginContract.h"
#include "utils/PointOperations.h"

#include <QuillonUtils/CCylinderMask.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CStringTools.h>
#include <sorblib2image/CImageExtraction.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>

using namespace ORVEN;
namespace contract = quillon::contract;

namespace {

bool IsSupported(const IImage::CType& type) {
    return type == IMAGE_BINARY_FG || type == IMAGE_GREY_8 || type == IMAGE_GREY_16 ||
           type == IMAGE_GREY_32 || type == IMAGE_GREY_F;
}

/// Truncates a number towards zero. Values no image can reach are clamped to 2^53 in either direction, and
/// NaN to the lower bound, so that sizes can be computed from the result. A box with such a corner is
/// rejected like any other box that leaves the image.
std::int64_t Truncated(double number) {
    constexpr double farOutside = 9007199254740992.0;
    return static_cast<std::int64_t>(std::fmin(std::fmax(number, -farOutside), farOutside));
}

/// The box to crop an image of the given size to, in its dimension. Along z, the first coordinate of the
/// centre is deliberately used for both axes, and t is ignored.
CBox CropBox(const CSize& size, char axis, double s, double t, double radius) {
    CBox box(CPos(0, 0, 0), CPos(size.x - 1, size.y - 1, size.z - 1));
    const auto narrow = [&](std::int64_t along, double center) {
        box.first[along] = Truncated(center - radius);
        box.last[along] = Truncated(center + radius);
    };
    narrow(axis == 'X' ? 1 : 0, s);
    if (axis == 'X' || axis == 'Y')
        narrow(2, t);
    else
        narrow(1, s);
    if (size.Dim() == 2) {
        box.first.SetDim(2);
        box.last.SetDim(2);
    }
    return box;
}

/// Returns the box as a new image. Raises `CException` if the box leaves the image.
std::unique_ptr<CImage> Cropped(const CImage& image, const CBox& box) {
    // A box inside the image is no larger than the image, and a box outside must be rejected without
    // allocating it.
    CSize extent = box.Size();
    for (int axis = 0; axis < extent.Dim(); ++axis)
        extent[axis] = std::clamp<std::int64_t>(extent[axis], 0, image.Size()[axis]);
    auto cropped = std::make_unique<CImage>(image.Type(), extent, CSize(0, 0, 0));
    if (image.Size().Dim() == 3) {
        CImageExtraction::Box(image, *cropped, box);
    } else {
        CRect rect;
        rect.first = CPos(box.first.x, box.first.y);
        rect.last = CPos(box.last.x, box.last.y);
        CImageExtraction::Rect(*cropped, image, rect);
    }
    return cropped;
}

} // namespace

void CCylinderMaskPlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

bool CCylinderMaskPlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        const int dimension = image.Size().Dim();
        return IsSupported(image.Type()) && (dimension == 2 || dimension == 3);
    });
}

void CCylinderMaskPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_ENTRY);
    if (!tree.HasEntry("parameters", typeid(CValueMap)))
        return;
    const CValueMap& parameters = *tree.Entry("parameters", true)->Map();
    CString axis;
    if (contract::ReadParameter(parameters, "axis", axis) && !axis.Std().empty())
        m_axis = axis.Std().front();
    contract::ReadParameter(parameters, "radius", m_radius);
    contract::ReadParameter(parameters, "s", m_s);
    contract::ReadParameter(parameters, "t", m_t);
    bool isCropped = false;
    if (contract::ReadParameter(parameters, "crop", isCropped))
        m_crop = isCropped ? 1.0 : 0.0;
}

void CCylinderMaskPlugin::GetData(CValueMap& tree) {
    try {
        MaskFocusedImage(tree);
    } catch (const CException& exception) {
        // contract wording, different from the other plug-ins
        std::cerr << "Plugin "
                  << "CylinderMask"
                  << " catched exception: " << exception.Message() << std::endl;
        throw;
    }
}

void CCylinderMaskPlugin::MaskFocusedImage(CValueMap& tree) {
    const CImage* image = contract::ContentOf(m_focusedDocument);
    if (image == nullptr)
        return;
    const bool crops = m_crop != 0.0;
    const CString history(CStringTools::Printf("cylinderMask(axis=%c, s=%g, t=%g, radius=%g%s)", m_axis, m_s,
                                               m_t, m_radius, crops ? ", cropped" : ""));
    std::unique_ptr<CImage> result;
    if (crops) {
        result = Cropped(*image, CropBox(image->Size(), m_axis, m_s, m_t, m_radius));
        // The centre of the cropped image. It deliberately stays in effect for the next run.
        m_s = m_radius;
        m_t = m_radius;
    } else {
        result = std::make_unique<CImage>(*image);
    }
    if (!IsSupported(image->Type()))
        return;
    contract::Inherit(*result, *image, history);
    const CCylinderMask mask(nullptr, nullptr);
    mask.SetCylinderParameters(*result, CString(std::string(1, m_axis)), m_s, m_t, m_radius);
    mask.MaskImageWithMetaInfoCylinder(*result, 0.0);

    // Stored again in the format of the header tools, whatever format the input has.
    std::size_t labelCount = 0;
    if (CQuillonHeaderTools::GetNumberOfLabels(*image, labelCount))
        CQuillonHeaderTools::SetNumberOfLabels(*result, labelCount);
    double distance = 0.0;
    if (CQuillonHeaderTools::GetMaxDistance(*image, distance))
        CQuillonHeaderTools::SetMaxDistance(*result, distance);
    if (image->Type() == IMAGE_GREY_F)
        StoreMinMax(*result); // of the result, not of the input
    contract::HandOver(tree, contract::EnHandOver::INTO_LIST, std::move(result),
                       contract::LabelOf(*m_focusedDocument, ""));
}
