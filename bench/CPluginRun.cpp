#include "bench/CPluginRun.h"

#include "bench/GrowingStructures.h"
#include "bench/RawVolume.h"
#include "engine/run/COutputCapture.h"
#include "engine/run/CParameterMap.h"
#include "engine/run/PluginCall.h"

#include <QuillonBase/CProgressProxy.h>
#include <QuillonBase/ISummingProgress.h>
#include <sorblib2core/CValuePointer.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <stdexcept>
#include <utility>

namespace bench {

using namespace ORVEN;

namespace {

/// Processor time of the process.
double CpuSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// A sink that takes the time between questions, if wanted.
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

std::unique_ptr<CImage> Volume(const std::vector<std::string>& words) {
    if (words[1] == "file")
        return ReadRawVolume(words[2], words[4]);
    return MakeStructure(words[2], words[1], std::stoll(words[3]), words[4]);
}

} // namespace

CPluginRun::CPluginRun(const std::vector<std::string>& words)
    : m_image(Volume(words))
    , m_packs({words[0]})
    , m_application(false)
    , m_dialogs(engine::StDialogAnswers())
    , m_document(engine::MakeDocument(*m_image, "volume"))
    , m_name(words[5])
    , m_arguments(words.begin() + 6, words.end()) {
    if (m_arguments.empty() || !m_arguments.front().starts_with("after="))
        return;
    (void)Run(m_arguments.front().substr(6), {}, false);
    m_arguments.erase(m_arguments.begin());
}

CPluginRun::~CPluginRun() = default;

StFigures CPluginRun::Run(bool takesPauses) { return Run(m_name, m_arguments, takesPauses); }

StFigures CPluginRun::Run(const std::string& name, const std::vector<std::string>& arguments,
                          bool takesPauses) {
    const engine::StFoundPlugin found = m_packs.Find(name);
    engine::CParameterMap parameters("parameter",
                                     found.entry != nullptr ? &found.entry->parameters : nullptr);
    std::vector<std::pair<std::string, CImage*>> images;
    std::vector<std::unique_ptr<CImage>> seeds;
    for (const std::string& argument : arguments) {
        const std::string key = argument.substr(0, argument.find('='));
        if (argument.ends_with("=volume")) {
            images.emplace_back(key, m_image.get());
        } else if (argument.starts_with(key + "=seeds:")) {
            seeds.push_back(ReadRawVolume(argument.substr(argument.find(':') + 1), "grey32"));
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
    CPauseClock clock(takesPauses);
    IProgress* const before = CProgressProxy::SetHostSink(&clock);
    const auto start = std::chrono::steady_clock::now();
    const double begin = CpuSeconds();
    const engine::StPluginOutcome outcome =
        engine::CallPlugin(*plugin, {name, m_document.get(), std::move(map)});
    const double seconds = CpuSeconds() - begin;
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    (void)clock.IsCancelled(); // the stretch after the last question
    CProgressProxy::SetHostSink(before);
    if (outcome.failure)
        throw std::runtime_error(name + ": " + outcome.failure->message);
    if (!outcome.isAccepted.value_or(false))
        throw std::runtime_error(name + " refuses the volume");
    return {seconds, passed.count(), static_cast<double>(outcome.peakBytes.value_or(0)), clock.longestPause};
}

} // namespace bench
