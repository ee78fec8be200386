#include "CBasicsPlugin.h"

#include "pixels/Geometry.h"
#include "pixels/PixelLoops.h"
#include "plugin/PluginContract.h"

#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace quillon::basics {

using namespace ORVEN;

void CBasicsPlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

bool CBasicsPlugin::Accepts(const IImage::CType& type) const { return IsReal(type); }

bool CBasicsPlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(
        tree, [this](const CImage& image) { return Accepts(image.Type()) && image.Size().PixelCount() > 0; });
}

void CBasicsPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_ENTRY);
    ReadParameters(tree);
}

CImage* CBasicsPlugin::CheckedImage() const {
    CImage* image = contract::ContentOf(m_focusedDocument);
    if (image == nullptr)
        return nullptr;
    if (!Accepts(image->Type()))
        ThrowUnsupportedType(m_name, image->Type());
    if (image->Size().PixelCount() == 0)
        Refuse("the image has no pixels.");
    return image;
}

void CBasicsPlugin::GetData(CValueMap& tree) {
    const CImage* image = CheckedImage();
    if (image == nullptr)
        return;
    const auto packed = IsPacked(*image) ? nullptr : PackedCopyOf(*image);
    if (packed != nullptr)
        CQuillonHeaderTools::SetAttributes(*packed, image->Attributes());
    StResult result = Compute(packed != nullptr ? *packed : *image);
    if (result.image == nullptr)
        return;
    contract::Inherit(*result.image, *image, CString(result.history));
    if (!result.keepsMeaning)
        CQuillonHeaderTools::RemoveMeaningOfPixels(*result.image);
    if (result.labelCount)
        CQuillonHeaderTools::SetNumberOfLabels(*result.image, *result.labelCount);
    MoveFirstPixel(*result.image, result.firstPixel);
    if (result.spacing)
        CQuillonHeaderTools::SetSpacing(*result.image, (*result.spacing)[0], (*result.spacing)[1],
                                        (*result.spacing)[2]);
    CProgressProxy progress = HostProgress();
    StoreMinMax(*result.image, progress);
    if (progress.IsCancelled())
        return;
    contract::HandOver(tree, contract::EnHandOver::NEW_DOCUMENTS, std::move(result.image),
                       contract::LabelOf(*m_focusedDocument, "unnamed"));
}

CProgressProxy CBasicsPlugin::HostProgress() { return CProgressProxy(CProgressProxy::HostSink()); }

void CBasicsPlugin::Refuse(const std::string& sentence) const {
    throw CException(m_name, sentence.c_str(), nullptr);
}

EnNeighborhood CBasicsPlugin::RequireNeighborhood(const std::string& name) const {
    const auto neighborhood = NeighborhoodOf(name);
    if (!neighborhood)
        Refuse("Neighborhood = " + name + " must be N6 or N26.");
    return *neighborhood;
}

void CBasicsPlugin::RequireSameSize(const CImage& image, const CImage& image2) const {
    if (image.Size() == image2.Size())
        return;
    throw CException(m_name,
                     CString("Size of Image2 does not fit to current image: %1 vs %2.", CString::ENC_UTF8)
                         .Arg(image2.Size().ToString())
                         .Arg(image.Size().ToString()),
                     nullptr);
}

const CImage* ReadImage2(const CValueMap& tree) {
    const CValue* entry = tree.Entry("parameters/Image2", true);
    return entry != nullptr ? UnwrapPointer<CImage>(entry) : nullptr;
}

namespace {

template <class Number>
std::optional<Number> Read(const CValueMap& tree, const std::string& key) {
    Number number{};
    const bool isGiven = contract::ReadParameter(tree, ("parameters/" + key).c_str(), number);
    return isGiven ? std::optional(number) : std::nullopt;
}

} // namespace

std::optional<double> ReadNumber(const CValueMap& tree, const std::string& key) {
    return Read<double>(tree, key);
}

std::optional<std::int32_t> ReadWholeNumber(const CValueMap& tree, const std::string& key) {
    return Read<std::int32_t>(tree, key);
}

std::string ReadText(const CValueMap& tree, const std::string& key, const char* missing) {
    CString text(missing, CString::ENC_UTF8);
    contract::ReadParameter(tree, ("parameters/" + key).c_str(), text);
    return text.Std();
}

std::string TextOf(double number) {
    std::array<char, 32> text{};
    constexpr double greatestWhole = 1e15;
    const bool isWhole = std::abs(number) < greatestWhole && number == std::trunc(number);
    const auto end = isWhole ? std::to_chars(text.begin(), text.end(), static_cast<long long>(number))
                             : std::to_chars(text.begin(), text.end(), number);
    return {text.data(), end.ptr};
}

} // namespace quillon::basics
