#include "segmentation/LocalThresholding.h"

#include "plugin/PluginContract.h"

#include <QuillonSegmentation/CFastLocalThresholding.h>
#include <sorblib2core/CStringTools.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>

#include <ctime>

namespace quillon {

using namespace ORVEN;

namespace {

// Contract wording: both plug-ins use this name in errors and reports.
const char* const c_site = "SegmSauvolaPlugin";

void RequireParameter(const CValueMap& parameters, const char* key) {
    if (!parameters.HasEntry(key)) {
        throw CException(c_site, CString("No parameter %1 specified", CString::ENC_UTF8).Arg(key), nullptr);
    }
}

void Binarize(const StLocalThresholding& settings, const StLocalThresholdingMethod& method,
              const CImage& image, CImage& result) {
    if (settings.usesNewImplementation) {
        CFastLocalThresholding algorithm(nullptr, nullptr);
        algorithm.m_nWindowSize = settings.windowSize;
        algorithm.m_fCoefficient = static_cast<double>(settings.coefficient);
        algorithm.m_nMethod = method.fastMethod;
        algorithm.Binarize(result, image);
    } else if (image.Type() == IMAGE_GREY_8) {
        method.older8(settings, image, result);
    } else if (image.Type() == IMAGE_GREY_16) {
        method.older16(settings, image, result);
    } else {
        throw CException(c_site, method.unsupported, nullptr);
    }
}

} // namespace

void StLocalThresholding::Update(const CValueMap& tree) {
    if (tree.HasEntry("parameters")) {
        const CValueMap* parameters = tree.Entry("parameters", true)->Map();
        if (parameters == nullptr)
            return;
        RequireParameter(*parameters, "coefficient");
        RequireParameter(*parameters, "windowsize");
        RequireParameter(*parameters, "usenewimpl");
        double wideCoefficient = 0.0;
        if (!contract::ReadParameter(*parameters, "coefficient", wideCoefficient))
            return;
        coefficient = static_cast<float>(wideCoefficient);
        if (!contract::ReadParameter(*parameters, "windowsize", windowSize) ||
            !contract::ReadParameter(*parameters, "usenewimpl", usesNewImplementation))
            return;
    }
    contract::StoreFocusedDocument(tree, focusedDocument, contract::EnFocusTest::ANY_ENTRY);
}

bool AcceptsLocalThresholding(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        const CSize& size = image.Size();
        const bool isWideEnough =
            (size.Dim() == 2 || (size.Dim() == 3 && size.z >= 2)) && size.x >= 2 && size.y >= 2;
        const IImage::CType& type = image.Type();
        return isWideEnough && (type == IMAGE_GREY_8 || type == IMAGE_GREY_16 || type == IMAGE_GREY_32 ||
                                type == IMAGE_GREY_F);
    });
}

void RunLocalThresholding(CValueMap& tree, const StLocalThresholding& settings,
                          const StLocalThresholdingMethod& method) {
    contract::ReportExceptions(c_site, [&] {
        const CImage* image = contract::ContentOf(settings.focusedDocument);
        if (image == nullptr)
            return;
        auto result = std::make_unique<CImage>(IMAGE_BINARY_FG, image->Size(), CSize(0, 0, 0));

        const std::clock_t start = std::clock();
        Binarize(settings, method, *image, *result);
        if (method.tellsTime) {
            const auto ticks = static_cast<double>(std::clock() - start);
            std::cout << (settings.usesNewImplementation ? "NEW " : "OLD ") << method.name << ": "
                      << ticks / 1000.0 << std::endl;
        }

        const std::string history = CStringTools::Printf("%s(w=%d,c=%g)", method.name, settings.windowSize,
                                                         static_cast<double>(settings.coefficient));
        contract::Inherit(*result, *image, CString(history));
        contract::HandOver(tree, contract::EnHandOver::NEW_OUTPUT, std::move(result),
                           contract::LabelOf(*settings.focusedDocument, method.name));
    });
}

} // namespace quillon
