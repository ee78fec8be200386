#include "Watershed.h"

#include "plugin/PluginContract.h"
#include "segmentation/floods/RunWatershed.h"
#include "utils/PointOperations.h"
#include "utils/visitors/PointOperationCopy.h"

#include <QuillonBase/Neighborhoods.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <cstring>
#include <string>
#include <string_view>

namespace quillon {

using namespace ORVEN;

namespace {

const char* const c_site = "WatershedPlugin";

constexpr std::uint32_t c_unknownMode = 0xFFFFFFFF;

/// Returns the mode with the given name. The last of the five names is deliberately never matched.
std::uint32_t ModeOfName(std::string_view name) {
    constexpr std::array<std::string_view, 5> names{"Normal", "NoOfVoxel", "MinGreyValue", "MinDepth",
                                                    "MinVolume"};
    for (std::uint32_t mode = 0; mode < names.size() - 1; ++mode) {
        if (names[mode] == name)
            return mode;
    }
    return c_unknownMode;
}

/// Maps a parameter word to a neighbourhood. The words are the names of the 3-d neighbourhoods, in both
/// dimensions.
struct StNeighborhoodRow {
    std::string_view word;
    const char* id;
    StWatershedOutcome (*run)(const StWatershedRun&);
};

template <class N>
constexpr StNeighborhoodRow Row(std::string_view word) {
    return {word, N::id, RunWatershed<N>};
}

constexpr std::array c_rows3d{
    Row<CNeighborhood3dDiffN6>("Neigh_6"), Row<CNeighborhood3dDiffN14_1>("Neigh_14_1"),
    Row<CNeighborhood3dDiffN14_2>("Neigh_14_2"), Row<CNeighborhood3dDiffN26>("Neigh_26")};
constexpr std::array c_rows2d{
    Row<CNeighborhood2dDiffN4>("Neigh_6"), Row<CNeighborhood2dDiffN6_1>("Neigh_14_1"),
    Row<CNeighborhood2dDiffN6_2>("Neigh_14_2"), Row<CNeighborhood2dDiffN8>("Neigh_26")};

const StNeighborhoodRow& FindRow(int dimension, std::string_view word) {
    if (dimension != 2 && dimension != 3)
        throw CException(c_site, "Image Dimension not supported", nullptr);
    for (const StNeighborhoodRow& row : dimension == 3 ? c_rows3d : c_rows2d) {
        if (row.word == word)
            return row;
    }
    throw CException(c_site, "Neighborhood not supported", nullptr);
}

/// Converts the labels to another type. Values above `greatest`, including sentinels, become `greatest`. Like
/// any traversal, the cast checks the host's sink for cancellation: if a cancelled flood left it cancelled,
/// the result stays 0 everywhere and shows none of the labels.
template <class T>
std::unique_ptr<CImage> Narrowed(const CImage& labels, const IImage::CType& type, T greatest) {
    auto result = std::make_unique<CImage>(type, labels.Size(), CSize(0, 0, 0));
    visitors::CCast<T, unsigned int> cast(0, greatest);
    CPointOperations(nullptr, nullptr).Visit(cast, *result, labels);
    return result;
}

/// Converts the labels to the smallest type that holds all region numbers.
std::unique_ptr<CImage> Narrow(std::unique_ptr<CImage> labels, std::uint32_t regionCount) {
    if (regionCount < 255)
        return Narrowed<unsigned char>(*labels, IMAGE_GREY_8, 255);
    if (regionCount < 65535)
        return Narrowed<unsigned short>(*labels, IMAGE_GREY_16, 65535);
    return labels;
}

} // namespace

void CWatershedPlugin::GetPluginSetup(CValueMap& setup) { contract::DescribePlugin(setup); }

void CWatershedPlugin::Reset() {
    CValueMap settings;
    Configure(nullptr, settings);
}

bool CWatershedPlugin::TestParameters(const CValueMap& tree) {
    return contract::AcceptsFocusedImage(tree, [](const CImage& image) {
        const IImage::CType& type = image.Type();
        const int dimension = image.Size().Dim();
        return (type == IMAGE_BINARY_FG || type == IMAGE_GREY_8 || type == IMAGE_GREY_16 ||
                type == IMAGE_GREY_32 || type == IMAGE_GREY_F) &&
               (dimension == 2 || dimension == 3);
    });
}

void CWatershedPlugin::UpdateParameters(const CValueMap& tree) {
    contract::StoreFocusedDocument(tree, m_focusedDocument, contract::EnFocusTest::ANY_ENTRY);
    const CValue* entry = tree.Entry("parameters", true);
    const CValueMap* parameters = entry != nullptr ? entry->Map() : nullptr;
    CString word;
    if (parameters == nullptr || !contract::ReadParameter(*parameters, "Neighborhood", word))
        return;
    // A neighbourhood resets the settings, so that nothing from an earlier run remains.
    m_neighborhood.fill('\0');
    word.Std().copy(m_neighborhood.data(), m_neighborhood.size());
    m_mode = WATERSHED_NORMAL;
    m_parameter = 0;
    m_markers = nullptr;

    const CString none;
    const CString& type = parameters->EntryString("type", none);
    if (type == "preflood") {
        const std::uint32_t mode = ModeOfName("NoOfVoxel");
        m_mode = mode != c_unknownMode ? static_cast<EnWatershedMode>(mode) : WATERSHED_NORMAL;
        const CValue* minimum = parameters->Entry("nParameter", true);
        if (m_mode != WATERSHED_NORMAL && minimum != nullptr)
            m_parameter = static_cast<std::uint32_t>(minimum->Long());
    } else if (type == "marker" && parameters->HasEntry("markerimage")) {
        m_markers = UnwrapPointer<CImage>(parameters->Entry("markerimage", true));
    }
}

void CWatershedPlugin::GetData(CValueMap& tree) {
    const CImage* image = contract::ContentOf(m_focusedDocument);
    if (image == nullptr)
        return;
    const CSize& size = image->Size();
    if (m_markers != nullptr && !(m_markers->Size() == size)) {
        throw CException(
            c_site,
            CString("Size of marker image does not fit to current image: %1 vs %2.", CString::ENC_UTF8)
                .Arg(m_markers->Size().ToString())
                .Arg(size.ToString()),
            nullptr);
    }
    auto labels = std::make_unique<CImage>(IMAGE_GREY_32, size, CSize(0, 0, 0));
    const std::string_view word(m_neighborhood.data(), strnlen(m_neighborhood.data(), m_neighborhood.size()));
    const StNeighborhoodRow& row = FindRow(size.Dim(), word);
    // A minimum of 0 needs no test.
    const EnWatershedMode mode = m_parameter != 0 ? m_mode : WATERSHED_NORMAL;
    const StWatershedOutcome outcome = row.run({*labels, *image, m_markers, mode, m_parameter});

    auto result = Narrow(std::move(labels), outcome.regionCount);
    const std::string history = std::string("watershed(") + row.id + outcome.modeText +
                                (m_markers != nullptr ? ", fromMarkerImage" : "") + ")<" +
                                std::to_string(outcome.regionCount) + ">";
    contract::Inherit(*result, *image, CString(history));
    CQuillonHeaderTools::SetNumberOfLabels(*result, std::size_t{outcome.regionCount} + 1);
    contract::HandOver(tree, contract::EnHandOver::NEW_OUTPUT, std::move(result),
                       contract::LabelOf(*m_focusedDocument, ""));
}

} // namespace quillon
