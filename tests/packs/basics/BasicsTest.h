#pragma once

#include "support/PluginTest.h"
#include "support/TestImage.h"

#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

/// What the tests of the everyday plug-ins share.
namespace test {

using Bytes = std::vector<unsigned char>;
using Shorts = std::vector<unsigned short>;
using Floats = std::vector<float>;
using Numbers = std::vector<double>;

inline constexpr float c_nan = std::numeric_limits<float>::quiet_NaN();

/// A size of one to three dimensions.
inline ORVEN::CSize Extents(const std::vector<std::int64_t>& extents) {
    ORVEN::CSize size(1, 1, 1);
    size.SetDim(static_cast<int>(extents.size()));
    for (std::size_t axis = 0; axis < extents.size(); ++axis)
        size[static_cast<std::int64_t>(axis)] = extents[axis];
    return size;
}

/// A 1-d image of these pixels.
template <class T>
std::unique_ptr<ORVEN::CImage> Line(const ORVEN::IImage::CType& type, const std::vector<T>& pixels) {
    return ImageOf<T>(type, Extents({static_cast<std::int64_t>(pixels.size())}), pixels);
}

/// A run of one plug-in on one image.
class CBasicsRun {
public:
    CBasicsRun(const char* plugin, std::unique_ptr<ORVEN::CImage> image)
        : m_plugin(CreatePlugin(plugin))
        , m_host(std::move(image)) {}

    CBasicsRun& With(const std::string& key, double value) {
        m_host.Set(key, new ORVEN::CValueDouble(value));
        return *this;
    }
    CBasicsRun& WithWhole(const std::string& key, std::int32_t value) {
        m_host.Set(key, new ORVEN::CValueLong(value));
        return *this;
    }
    CBasicsRun& WithText(const std::string& key, const std::string& value) {
        m_host.Set(key, Text(value));
        return *this;
    }
    CBasicsRun& WithImage2(std::unique_ptr<ORVEN::CImage> image) {
        m_image2 = std::move(image);
        m_host.Set("Image2", new ORVEN::CValuePointer<ORVEN::CImage>(m_image2.get(), 1));
        return *this;
    }

    /// Runs, and returns the new line of the history.
    std::string Run() {
        m_host.Run(*m_plugin);
        return m_host.DocumentCount() > 0 ? HistoryOf(Result()).back() : std::string();
    }

    /// The error of a run with its source; "nothing" if none is raised.
    std::string Refusal() {
        try {
            m_host.Run(*m_plugin);
        } catch (const ORVEN::CException& raised) {
            return std::string(raised.Source()) + ": " + raised.Message();
        }
        return "nothing";
    }

    [[nodiscard]] const ORVEN::CImage& Result() const { return m_host.Result(); }
    CPackHost& Host() { return m_host; }
    ORVEN::CPluginBase& Plugin() { return *m_plugin; }

private:
    std::unique_ptr<ORVEN::CPluginBase> m_plugin;
    std::unique_ptr<ORVEN::CImage> m_image2;
    CPackHost m_host;
};

/// A number among the attributes of an image; NaN if there is none.
inline double AttributeOf(const ORVEN::IImage& image, const std::string& path) {
    const ORVEN::CValue* entry = image.Attributes().Entry(path, true);
    return entry != nullptr ? entry->Double() : std::numeric_limits<double>::quiet_NaN();
}

} // namespace test
