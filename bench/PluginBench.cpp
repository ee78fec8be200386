#include "bench/RawVolume.h"
#include "engine/dialogs/CBatchDialogs.h"
#include "engine/dialogs/CGuiApplication.h"
#include "engine/files/ImageFile.h"
#include "engine/packs/CPackSet.h"
#include "engine/run/COutputCapture.h"
#include "engine/run/CParameterMap.h"
#include "engine/run/PluginCall.h"

#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/ISummingProgress.h>
#include <QuillonBase/Parallel.h>
#include <sorblib2core/CValuePointer.h>
#include <sorblib2image/ImageView.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <exception>
#include <functional>
#include <iostream>
#include <memory>
#include <numbers>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// PluginBench PACK SCAN STRUCTURE EDGE TYPE PLUGIN [after=PLUGIN] [KEY=VALUE ...]
// PluginBench PACK file VOLUME EDGE TYPE PLUGIN ...
//
// Runs a plug-in of the pack on a volume of EDGE^3 pixels, on one thread, and prints CPU seconds, peak memory
// in bytes and the longest time in ms between two questions whether the run is cancelled. STRUCTURE is
// "spheres", "solid", "foam" or "scan"; its parts grow with EDGE. TYPE is "binary", "grey8" or "greyf". SCAN
// is the image file for "scan". With "file", the volume is read from a file without a header and can have any
// type; stretches are not measured then, because the clock would cost time. `after` names a plug-in that has
// to measure the volume first; KEY=volume sends the volume as an image, and KEY=seeds:FILE a file of 32-bit
// labels.

using namespace ORVEN;

namespace {

/// A structure as numbers that are positive in the foreground, x fastest.
struct StField {
    StField(std::int64_t length, float value)
        : edge(length)
        , values(static_cast<std::size_t>(length * length * length), value) {}

    [[nodiscard]] float* Row(std::int64_t y, std::int64_t z) { return values.data() + (z * edge + y) * edge; }

    std::int64_t edge;
    std::vector<float> values;
};

/// Balls with radii of a 24th to an 8th of the edge at random positions that may overlap; half of the volume.
StField Spheres(std::int64_t edge) {
    StField field(edge, -0.5F);
    std::mt19937 random(1);
    const auto draw = [&random] { return static_cast<double>(random()) / 4294967296.0; };
    const auto size = static_cast<double>(edge);
    double missing = std::numbers::ln2;
    while (missing > 0.0) {
        const std::array<double, 3> center{draw() * size, draw() * size, draw() * size};
        const double share = 1.0 / 24 + draw() / 12;
        missing -= 4.0 / 3.0 * std::numbers::pi * share * share * share;
        const double radius = share * size;
        const auto first = [&](std::size_t axis) {
            return std::max<std::int64_t>(0, static_cast<std::int64_t>(center[axis] - radius));
        };
        const auto end = [&](std::size_t axis) {
            return std::min(edge, static_cast<std::int64_t>(center[axis] + radius) + 2);
        };
        for (std::int64_t z = first(2); z < end(2); ++z) {
            for (std::int64_t y = first(1); y < end(1); ++y) {
                float* const row = field.Row(y, z);
                const double rest = std::pow(static_cast<double>(y) - center[1], 2) +
                                    std::pow(static_cast<double>(z) - center[2], 2);
                for (std::int64_t x = first(0); x < end(0); ++x) {
                    const double square = rest + std::pow(static_cast<double>(x) - center[0], 2);
                    row[x] = std::max(row[x], static_cast<float>(1.0 - square / (radius * radius)));
                }
            }
        }
    }
    return field;
}

/// Six plane waves to the edge in random directions, added: an open foam, half of it solid.
StField Foam(std::int64_t edge) {
    constexpr int waveCount = 24;
    StField field(edge, 0.0F);
    std::mt19937 random(1);
    const auto draw = [&random] { return static_cast<double>(random()) / 4294967296.0; };
    for (int wave = 0; wave < waveCount; ++wave) {
        const double height = 2.0 * draw() - 1.0;
        const double angle = 2.0 * std::numbers::pi * draw();
        const double phase = 2.0 * std::numbers::pi * draw();
        const double perPixel = 2.0 * std::numbers::pi * 6.0 / static_cast<double>(edge);
        const double flat = std::sqrt(1.0 - height * height) * perPixel;
        std::vector<float> cosines;
        std::vector<float> sines;
        for (std::int64_t x = 0; x < edge; ++x) {
            cosines.push_back(static_cast<float>(std::cos(flat * std::cos(angle) * static_cast<double>(x))));
            sines.push_back(static_cast<float>(std::sin(flat * std::cos(angle) * static_cast<double>(x))));
        }
        for (std::int64_t z = 0; z < edge; ++z) {
            for (std::int64_t y = 0; y < edge; ++y) {
                const double shift = phase + flat * std::sin(angle) * static_cast<double>(y) +
                                     height * perPixel * static_cast<double>(z);
                const auto cosine = static_cast<float>(std::cos(shift) / std::sqrt(waveCount / 2.0));
                const auto sine = static_cast<float>(std::sin(shift) / std::sqrt(waveCount / 2.0));
                float* const row = field.Row(y, z);
                for (std::size_t x = 0; x < cosines.size(); ++x)
                    row[x] += cosines[x] * cosine - sines[x] * sine;
            }
        }
    }
    return field;
}

/// A cube of 8-bit values scaled to the edge by linear interpolation; foreground above 75.
StField EnlargedScan(const std::string& path, std::int64_t edge) {
    const std::unique_ptr<CImage> scan = engine::ReadImage(path);
    const CImageView<const unsigned char> view(*scan);
    if (!(scan->Type() == IMAGE_GREY_8) || view.nx != view.ny || view.nx != view.nz)
        throw std::runtime_error(path + " is not a cube of 8-bit pixels");
    struct StPlace {
        std::int64_t lower;
        std::int64_t upper;
        float share;
    };
    std::vector<StPlace> places;
    for (std::int64_t i = 0; i < edge; ++i) {
        const double place = std::clamp(
            (static_cast<double>(i) + 0.5) * static_cast<double>(view.nx) / static_cast<double>(edge) - 0.5,
            0.0, static_cast<double>(view.nx - 1));
        const auto lower = static_cast<std::int64_t>(place);
        places.push_back(
            {lower, std::min(lower + 1, view.nx - 1), static_cast<float>(place - std::floor(place))});
    }
    StField field(edge, 0.0F);
    for (std::int64_t z = 0; z < edge; ++z) {
        for (std::int64_t y = 0; y < edge; ++y) {
            const StPlace& onY = places[static_cast<std::size_t>(y)];
            const StPlace& onZ = places[static_cast<std::size_t>(z)];
            const std::array<const unsigned char*, 4> rows{
                view.Row(onY.lower, onZ.lower), view.Row(onY.upper, onZ.lower),
                view.Row(onY.lower, onZ.upper), view.Row(onY.upper, onZ.upper)};
            float* const row = field.Row(y, z);
            for (std::int64_t x = 0; x < edge; ++x) {
                const StPlace& onX = places[static_cast<std::size_t>(x)];
                const auto along = [&onX](const unsigned char* pixels) {
                    return std::lerp(static_cast<float>(pixels[onX.lower]),
                                     static_cast<float>(pixels[onX.upper]), onX.share);
                };
                const float value =
                    std::lerp(std::lerp(along(rows[0]), along(rows[1]), onY.share),
                              std::lerp(along(rows[2]), along(rows[3]), onY.share), onZ.share);
                row[x] = (value - 75.0F) / 80.0F;
            }
        }
    }
    return field;
}

StField FieldOf(const std::string& structure, const std::string& scan, std::int64_t edge) {
    if (structure == "spheres")
        return Spheres(edge);
    if (structure == "solid")
        return {edge, 1.0F};
    if (structure == "foam")
        return Foam(edge);
    if (structure == "scan")
        return EnlargedScan(scan, edge);
    throw std::runtime_error("unknown structure " + structure);
}

/// Writes `pixelOf(value, noise)` for each value of the field; the noise is uniform between -8 and 8.
template <class Pixel, class PixelOf>
std::unique_ptr<CImage> ImageOf(const IImage::CType& type, const StField& field, const PixelOf& pixelOf) {
    auto image = std::make_unique<CImage>(type, CSize(field.edge, field.edge, field.edge), CSize(0, 0, 0));
    Pixel* pixel = CImageView<Pixel>(*image).Row(0, 0);
    std::mt19937 random(2);
    for (const float value : field.values)
        *pixel++ = pixelOf(value, static_cast<float>(random() % 4096) / 256.0F - 8.0F);
    return image;
}

std::unique_ptr<CImage> ImageOf(const std::string& type, const StField& field) {
    const auto grey = [](float value, float noise) {
        return std::clamp(128.0F + 80.0F * value + noise, 0.0F, 255.0F);
    };
    if (type == "binary")
        return ImageOf<unsigned char>(IMAGE_BINARY_FG, field, [](float value, float /*noise*/) {
            return static_cast<unsigned char>(value > 0.0F ? 1 : 0);
        });
    if (type == "grey8")
        return ImageOf<unsigned char>(IMAGE_GREY_8, field, [&grey](float value, float noise) {
            return static_cast<unsigned char>(grey(value, noise));
        });
    if (type == "greyf")
        return ImageOf<float>(IMAGE_GREY_F, field, grey);
    throw std::runtime_error("unknown type " + type);
}

/// CPU time of the process, which has one thread.
double CpuSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// A sink that takes the time between questions, if wanted: each then costs a system call, which adds up to a
/// quarter of the time of a plug-in that asks for each row in several passes.
class CPauseClock : public ISummingProgress {
public:
    explicit CPauseClock(bool isWanted)
        : m_isWanted(isWanted) {}

    void Start(unsigned /*total*/, const char* /*text*/) override {}
    void SetText(const char* /*text*/) override {}
    void Step(unsigned /*amount*/, int /*flag*/) override {}
    void SetPosition(unsigned /*position*/) override {}
    void Finish() override {}
    void Cancel() override {}
    bool IsCancelled() override {
        if (!m_isWanted)
            return false;
        const double now = CpuSeconds();
        longestPause = std::max(longestPause, now - m_last);
        m_last = now;
        return false;
    }

    double longestPause = 0.0;

private:
    bool m_isWanted;
    double m_last = CpuSeconds();
};

struct StFigures {
    double seconds;
    double peakBytes;
    double longestPause;
};

/// A host with one open document.
class CHost {
public:
    CHost(const std::string& pack, CImage& image, bool takesPauses)
        : m_takesPauses(takesPauses)
        , m_packs({pack})
        , m_application(false)
        , m_dialogs(engine::StDialogAnswers())
        , m_image(image)
        , m_document(engine::MakeDocument(image, "volume")) {}

    StFigures Run(const std::string& name, const std::vector<std::string>& arguments) {
        const engine::StFoundPlugin found = m_packs.Find(name);
        engine::CParameterMap parameters("parameter",
                                         found.entry != nullptr ? &found.entry->parameters : nullptr);
        std::vector<std::pair<std::string, CImage*>> images;
        std::vector<std::unique_ptr<CImage>> seeds;
        for (const std::string& argument : arguments) {
            const std::string key = argument.substr(0, argument.find('='));
            if (argument.ends_with("=volume")) {
                images.emplace_back(key, &m_image);
            } else if (argument.starts_with(key + "=seeds:")) {
                seeds.push_back(bench::ReadRawVolume(argument.substr(argument.find(':') + 1), "grey32"));
                images.emplace_back(key, seeds.back().get());
            } else {
                parameters.Set(engine::ParseAssignment(argument));
            }
        }
        parameters.FillDefaults();
        std::unique_ptr<CValueMap> map = parameters.Take();
        for (const auto& [key, image] : images)
            map->SetEntry(key.c_str(), new CValuePointer<CImage>(image, 1));
        const std::unique_ptr<CPluginBase> plugin = found.pack.Create(name);
        const engine::COutputCapture silence;
        CPauseClock clock(m_takesPauses);
        IProgress* const before = CProgressProxy::SetHostSink(&clock);
        const double begin = CpuSeconds();
        const engine::StPluginOutcome outcome =
            engine::CallPlugin(*plugin, {name, m_document.get(), std::move(map)});
        const double seconds = CpuSeconds() - begin;
        (void)clock.IsCancelled(); // the stretch after the last question
        CProgressProxy::SetHostSink(before);
        if (outcome.failure)
            throw std::runtime_error(name + ": " + outcome.failure->message);
        if (!outcome.isAccepted.value_or(false))
            throw std::runtime_error(name + " refuses the volume");
        return {seconds, static_cast<double>(outcome.peakBytes.value_or(0)), clock.longestPause};
    }

private:
    bool m_takesPauses;
    engine::CPackSet m_packs;
    engine::CGuiApplication m_application;
    engine::CBatchDialogs m_dialogs;
    CImage& m_image;
    std::unique_ptr<CValueMap> m_document;
};

int Measure(const std::vector<std::string>& words) {
    SetThreadCount(1);
    const std::unique_ptr<CImage> image =
        words[1] == "file" ? bench::ReadRawVolume(words[2], words[4])
                           : ImageOf(words[4], FieldOf(words[2], words[1], std::stoll(words[3])));
    CHost host(words[0], *image, words[1] != "file");
    std::vector<std::string> arguments(words.begin() + 6, words.end());
    if (!arguments.empty() && arguments.front().starts_with("after=")) {
        (void)host.Run(arguments.front().substr(6), {});
        arguments.erase(arguments.begin());
    }
    // The first run touches memory for the first time, so its peak counts.
    StFigures figures = host.Run(words[5], arguments);
    double total = figures.seconds;
    for (int round = 1; round < 5 && total < 2.0; ++round) {
        const StFigures again = host.Run(words[5], arguments);
        total += again.seconds;
        figures.seconds = std::min(figures.seconds, again.seconds);
        figures.longestPause = std::min(figures.longestPause, again.longestPause);
    }
    std::printf("%.6f %.0f %.3f\n", figures.seconds, figures.peakBytes, 1e3 * figures.longestPause);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 7) {
        std::cerr
            << "usage: PluginBench PACK SCAN STRUCTURE EDGE TYPE PLUGIN [after=PLUGIN] [KEY=VALUE ...]\n";
        return 2;
    }
    try {
        return Measure({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::cerr << "PluginBench: " << error.what() << '\n';
        return 1;
    }
}
