#include "python/bindings/CPreparedRun.h"

#include "engine/run/CPickedFile.h"
#include "engine/run/PluginRun.h"
#include "python/bindings/CDialogThread.h"
#include "python/bindings/CPackAccess.h"
#include "python/bindings/CQuietStreams.h"

#include <QuillonBase/CThreadLimit.h>

namespace quillon_python {

using namespace engine;

CPreparedRun::CPreparedRun(const StRunRequest& request)
    : m_request(request)
    , m_found(CPackAccess::Instance().Find(request.plugin, request.pack))
    , m_document(MakeDocument(request.image.Image(), request.label))
    , m_parameters("parameter", m_found.entry != nullptr ? &m_found.entry->parameters : nullptr)
    , m_settings("setting", m_found.entry != nullptr ? &m_found.entry->settings : nullptr) {
    Fill(m_parameters, request.parameters);
    Fill(m_settings, request.settings);
    for (const auto& [key, image] : request.images) {
        m_parameters.SetImage(key, image.Image());
        m_imageFiles[key] = image.File();
    }
    m_parameters.FillDefaults();
    for (const auto& [name, value] : request.answers)
        m_answers.widgets.push_back({name, value});
    m_answers.file = request.file;
}

void CPreparedRun::Fill(CParameterMap& map, const std::string& json) const {
    const CJson values = CJson::ParseOrRaise(json);
    if (m_found.entry != nullptr)
        map.SetAll(values);
    else
        map.SetAllAsSent(values);
}

std::vector<StFinding> CPreparedRun::Findings() const {
    if (m_found.entry == nullptr)
        return {};
    CParameterChecks checks(*m_found.entry, m_parameters.Map());
    for (const std::string& key : m_parameters.SetKeys())
        checks.SetByUser(key);
    for (const auto& [key, image] : m_request.images)
        checks.SetByUser(key);
    std::vector<StFinding> findings = checks.Findings();
    for (StFinding& finding : checks.FindingsOn(Image()))
        findings.push_back(std::move(finding));
    return findings;
}

StRunRecord CPreparedRun::PerformHere(StPythonSide& side, std::string& printed) {
    const CQuietStreams quiet;
    const ORVEN::CThreadLimit threads(m_request.threads);
    StPluginRun run{m_request.plugin,       m_found,     *m_document, m_parameters, m_settings, m_answers,
                    m_request.image.File(), m_imageFiles};
    run.hasDialogs = m_request.hasDialogs;
    run.capturesOutput = false;
    StRunRecord record =
        PerformRun(std::move(run), [&side](int) { return std::make_unique<CPythonProgress>(side); });
    printed = quiet.Text();
    return record;
}

StRunRecord CPreparedRun::Perform(StPythonSide& side, std::string& printed) {
    CPickedFile picked(m_request.file, m_answers);
    StRunRecord record;
    const auto work = [&] { record = PerformHere(side, printed); };
    if (m_request.hasDialogs)
        CDialogThread::Run(work, [&side] { HandleSignals(side); });
    else
        work();
    picked.Settle(record);
    return record;
}

} // namespace quillon_python
