#pragma once

#include "pixels/EnNeighborhood.h"

#include <QuillonBase/CProgressProxy.h>
#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace quillon::basics {

/// What a plug-in has made of an image.
struct StResult {
    /// Null after a cancelled run: nothing is handed over.
    std::unique_ptr<ORVEN::CImage> image;
    /// The line for the history, as in "median(radius=2)".
    std::string history;
    /// For a label image: its number of labels, label 0 included.
    std::optional<std::size_t> labelCount = std::nullopt;
    /// Whether pixels keep their meaning, so that the number of labels and the largest distance on record
    /// stay valid.
    bool keepsMeaning = false;
    /// Where the centre of the first pixel lies in the input, in pixels of the input along x, y and z.
    std::array<double, 3> firstPixel{};
    /// The spacing along x, y and z, where it is not that of the input.
    std::optional<std::array<double, 3>> spacing = std::nullopt;
};

/// The base of the plug-ins that turn the image in focus into a new one. It reads the tree, hands the result
/// over with label, attributes, history, minimum and maximum, and leaves the plug-in its parameters and its
/// computation.
///
/// Parameters do not survive an update: each update starts from the defaults, so that an optional parameter
/// can be left out again.
class CBasicsPlugin : public ORVEN::CPluginBase {
public:
    void GetPluginSetup(ORVEN::CValueMap& setup) override;
    /// Whether `Accepts` accepts the image in focus. An image without pixels is never accepted.
    bool TestParameters(const ORVEN::CValueMap& tree) override;
    void UpdateParameters(const ORVEN::CValueMap& tree) override;
    /// Raises `CException` for an image that `TestParameters` does not accept, and what `Compute` raises.
    void GetData(ORVEN::CValueMap& tree) override;

protected:
    /// `name` is the name of the plug-in in the factory and the source of its errors.
    explicit CBasicsPlugin(const char* name)
        : m_name(name) {}

    /// Whether the plug-in takes images of this type. The default accepts binary and grey images.
    [[nodiscard]] virtual bool Accepts(const ORVEN::IImage::CType& type) const;
    /// Reads the parameters below "parameters" into members that are set to their defaults first.
    virtual void ReadParameters(const ORVEN::CValueMap& tree) = 0;
    /// Does the work. The image is packed and has at least one pixel and an accepted type.
    [[nodiscard]] virtual StResult Compute(const ORVEN::CImage& image) = 0;

    [[nodiscard]] const char* Name() const { return m_name; }
    /// The host's progress sink.
    [[nodiscard]] static ORVEN::CProgressProxy HostProgress();

    /// Raises `CException` in the name of the plug-in.
    [[noreturn]] void Refuse(const std::string& sentence) const;
    /// The neighbourhood of that name; raises for another name.
    [[nodiscard]] EnNeighborhood RequireNeighborhood(const std::string& name) const;
    /// Raises if the images differ in size.
    void RequireSameSize(const ORVEN::CImage& image, const ORVEN::CImage& image2) const;

    [[nodiscard]] ORVEN::CValueMap* FocusedDocument() const { return m_focusedDocument; }
    /// The image in focus, checked as for `GetData`; null if there is none.
    [[nodiscard]] ORVEN::CImage* CheckedImage() const;

private:
    const char* m_name;
    ORVEN::CValueMap* m_focusedDocument = nullptr;
};

/// Returns the image at "parameters/Image2", or null. Raises `CExBadParam` if the entry is of another kind.
[[nodiscard]] const ORVEN::CImage* ReadImage2(const ORVEN::CValueMap& tree);

/// Returns the number at "parameters/KEY", if there is one of that kind.
[[nodiscard]] std::optional<double> ReadNumber(const ORVEN::CValueMap& tree, const std::string& key);
[[nodiscard]] std::optional<std::int32_t> ReadWholeNumber(const ORVEN::CValueMap& tree,
                                                          const std::string& key);

/// Returns the text at "parameters/KEY", or `missing`.
[[nodiscard]] std::string ReadText(const ORVEN::CValueMap& tree, const std::string& key, const char* missing);

/// A number in the shortest form that reads back as the same number; whole numbers have no exponent.
[[nodiscard]] std::string TextOf(double number);

} // namespace quillon::basics
