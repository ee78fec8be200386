#include "Granulometry.h"

#include "distance/IsotropicPixels.h"
#include "plugin/PluginContract.h"

#include <QuillonGranulometry/CGranulometry.h>
#include <QuillonUtils/CCylinderMask.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CStringTools.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/StoreEntry.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/ImageChecks.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <utility>

namespace quillon {

using namespace ORVEN;

namespace {

const char* const c_name = "CGranulometryPlugin";
const char* const c_maskKey = "parameters/mask_image";

/// The number of pixels for each diameter.
using Histogram = std::map<float, std::uint64_t>;

/// The least width of diameters as keys. It deliberately depends on the largest diameter, although this is
/// rarely visible because the text is longer. If a pixel length is near the limits of a float, the largest
/// diameter is infinite. Then no width is set: "inf" would be padded with blanks, and a blank ends a key.
int KeyWidth(float largestDiameter) {
    const int width = std::isfinite(largestDiameter) ? 8 + static_cast<int>(std::log10(largestDiameter)) : 0;
    return std::max(width, 0);
}

std::string KeyText(int width, float diameter) {
    return CStringTools::Printf("%0*e", width, static_cast<double>(diameter));
}

struct StNumericOrder {
    bool operator()(const std::string& a, const std::string& b) const {
        return std::strtof(a.c_str(), nullptr) < std::strtof(b.c_str(), nullptr);
    }
};

/// Diameters with equal text share an entry.
std::unique_ptr<CValueMap> DataOf(const Histogram& histogram) {
    const int width = KeyWidth(histogram.rbegin()->first);
    std::map<std::string, std::uint64_t, StNumericOrder> counts;
    for (const auto& [diameter, count] : histogram)
        counts[KeyText(width, diameter)] += count;
    auto data = std::make_unique<CValueMap>();
    for (const auto& [text, count] : counts) {
        const std::string key = text.substr(0, text.find_first_of(" \t\n\v\f\r"));
        data->SetEntry(key, new CValueLong(static_cast<std::int32_t>(count)));
    }
    return data;
}

void RequireFittingMask(const CImage& mask, const CImage& image) {
    const std::string type = mask.Type().ToString();
    if (!(mask.Type() == IMAGE_BINARY_FG))
        throw CException(c_name, ("mask_image must be binary and has the type " + type + ".").c_str(),
                         nullptr);
    RequireSameSize(c_name, "mask_image", mask, "image", image);
}

/// Sets the pixels outside of a mask to a value.
void Fill(CImage& image, const CImage& mask, unsigned char value) {
    const CImageView<unsigned char> pixels(image);
    const CImageView<const unsigned char> isInside(mask);
    for (std::int64_t z = 0; z < pixels.nz; ++z) {
        for (std::int64_t y = 0; y < pixels.ny; ++y) {
            unsigned char* const row = pixels.Row(y, z);
            std::transform(
                row, row + pixels.nx, isInside.Row(y, z), row,
                [value](unsigned char pixel, unsigned char inside) { return inside != 0 ? pixel : value; });
        }
    }
}

} // namespace

std::string GranulometryKey() { return CQuillonHeaderTools::c_sTagFeatures + "/Granulometry"; }

void CGranulometryPlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

bool CGranulometryPlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        const int dimension = image.Size().Dim();
        return image.Type() == IMAGE_BINARY_FG && (dimension == 2 || dimension == 3);
    });
}

void CGranulometryPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_ENTRY);
    if (!tree.HasEntry("parameters"))
        return;
    contract::ReadParameter(tree, "parameters/featureViewPlugin", m_viewPlugin);
    contract::ReadParameter(tree, "parameters/onForeground", m_isOnForeground);
    contract::ReadParameter(tree, "parameters/returnImage", m_returnsImage);
    // Unlike the others, these parameters are reset if a call does not contain them.
    m_stepWidth = -1.0;
    m_isFiltered = false;
    m_mask = nullptr;
    m_usesCylinder = false;
    if (tree.HasEntry(c_maskKey))
        m_mask = UnwrapPointer<CImage>(tree.Entry(c_maskKey, true));
    contract::ReadParameter(tree, "parameters/use cylindrical mask", m_usesCylinder);
    bool isExperimental = false;
    contract::ReadParameter(tree, "parameters/experimental", isExperimental);
    if (!isExperimental)
        return;
    bool isBinned = false;
    contract::ReadParameter(tree, "parameters/dobinning", isBinned);
    if (isBinned)
        contract::ReadParameter(tree, "parameters/stepwidth", m_stepWidth);
    contract::ReadParameter(tree, "parameters/medialaxispoint-filtered", m_isFiltered);
}

std::unique_ptr<CImage> CGranulometryPlugin::Restricted(const CImage& image) const {
    if (m_mask == nullptr && !m_usesCylinder)
        return nullptr;
    const unsigned char outside = m_isOnForeground ? 0 : 1;
    auto restricted = std::make_unique<CImage>(image);
    CQuillonHeaderTools::SetAttributes(*restricted, image.Attributes());
    if (m_mask != nullptr) {
        RequireFittingMask(*m_mask, image);
        Fill(*restricted, *m_mask, outside);
    }
    if (m_usesCylinder) {
        const CCylinderMask cylinder(nullptr, nullptr);
        if (!cylinder.CopyMetaInfo(image, *restricted))
            throw CException(c_name, "The image has no cylinder on record: run CylinderMask first.", nullptr);
        cylinder.MaskImageWithMetaInfoCylinder(*restricted, outside);
    }
    return restricted;
}

CString CGranulometryPlugin::HistoryLine() const {
    const CString stepWidth = m_stepWidth > 0.0
                                  ? CString(",stepwidth=%1", CString::ENC_UTF8).Arg(m_stepWidth, 0)
                                  : CString("", CString::ENC_UTF8);
    return CString("granulometry(spherical,%1%2%3%4%5)", CString::ENC_UTF8)
        .Arg(m_isOnForeground ? "fg" : "bg")
        .Arg(stepWidth)
        .Arg(m_isFiltered ? ",medialaxispoint-filtered" : "")
        .Arg(m_mask != nullptr ? ",on mask_image" : "")
        .Arg(m_usesCylinder ? ",on cylindrical mask" : "");
}

void CGranulometryPlugin::GetData(CValueMap& tree) {
    CImage* image = contract::ContentOf(m_focusedDocument);
    if (image == nullptr || !(image->Type() == IMAGE_BINARY_FG))
        return;
    RequireIsotropicPixels(*image, c_name);
    const std::unique_ptr<CImage> restricted = Restricted(*image);
    const CImage& measured = restricted != nullptr ? *restricted : *image;
    auto output = std::make_unique<CImage>(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
    Histogram histogram;
    CGranulometry(nullptr, nullptr)
        .DoSphereGranulometryBinned(measured, *output, histogram, m_stepWidth, m_isFiltered, m_isOnForeground,
                                    m_isOnForeground ? 2 : 0);
    if (histogram.empty())
        throw CException(c_name, "Image is empty or structur is too thin.", nullptr); // contract wording

    auto result = std::make_unique<CValueMap>();
    result->SetEntry("data", DataOf(histogram).release());
    result->SetEntry("on foreground", new CValueBool(m_isOnForeground));
    if (m_stepWidth > 0.0)
        result->SetEntry("stepwidth", new CValueDouble(m_stepWidth));
    if (m_isFiltered)
        result->SetEntry("medialaxispoint-filtered", new CValueBool(true));
    if (m_mask != nullptr)
        result->SetEntry("on mask_image", new CValueBool(true));
    if (m_usesCylinder)
        result->SetEntry("on cylindrical mask", new CValueBool(true));

    if (!m_returnsImage) {
        StoreEntry(image->Attributes(), GranulometryKey(), std::move(result));
        contract::RequestView(tree, *m_focusedDocument);
        return;
    }
    StoreEntry(output->Attributes(), GranulometryKey(), std::move(result));
    CQuillonHeaderTools::AddToHistory(*output, HistoryLine(), 0);
    // The sizes are not a copy of the image, so they do not inherit its attributes.
    contract::HandOver(tree, contract::EnHandOver::NEW_DOCUMENTS, std::move(output),
                       contract::LabelOf(*m_focusedDocument, "Granulometry"));
}

} // namespace quillon
