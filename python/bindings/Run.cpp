#include "engine/catalogue/CParameterChecks.h"
#include "engine/catalogue/Refusal.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/ImageWords.h"
#include "engine/run/CPickedFile.h"
#include "engine/run/PluginRun.h"
#include "python/bindings/Bindings.h"
#include "python/bindings/CDialogThread.h"
#include "python/bindings/CPackAccess.h"
#include "python/bindings/CPythonImage.h"
#include "python/bindings/CPythonProgress.h"
#include "python/bindings/CQuietStreams.h"

#include <QuillonBase/CThreadLimit.h>
#include <pybind11/functional.h>
#include <pybind11/stl.h>

#include <functional>
#include <map>

namespace quillon_python {

namespace py = pybind11;
using namespace engine;

namespace {

/// What Python asks for.
struct StRequest {
    std::string plugin;
    std::optional<std::string> pack;
    CPythonImage image;
    std::optional<std::string> label;
    std::string parameters; ///< JSON
    std::string settings;   ///< JSON
    std::map<std::string, CPythonImage> images;
    bool hasDialogs = false;
    std::vector<std::pair<std::string, std::string>> answers;
    std::optional<std::string> file;
    int threads = 0;
};

/// A run that has been prepared; it holds what the engine refers to.
class CPreparedRun {
public:
    explicit CPreparedRun(const StRequest& request)
        : m_found(CPackAccess::Instance().Find(request.plugin, request.pack))
        , m_image(request.image.Image())
        , m_document(MakeDocument(m_image, request.label))
        , m_parameters("parameter", m_found.entry != nullptr ? &m_found.entry->parameters : nullptr)
        , m_settings("setting", m_found.entry != nullptr ? &m_found.entry->settings : nullptr)
        , m_file(request.file) {
        Fill(m_parameters, request.parameters);
        Fill(m_settings, request.settings);
        for (const auto& [key, image] : request.images) {
            m_parameters.SetImage(key, image.Image());
            m_imageFiles[key] = image.File();
        }
        m_parameters.FillDefaults();
        for (const auto& [name, value] : request.answers)
            m_answers.widgets.push_back({name, value});
        m_answers.file = m_file;
    }

    [[nodiscard]] std::vector<StFinding> Findings(const StRequest& request) const {
        if (m_found.entry == nullptr)
            return {};
        CParameterChecks checks(*m_found.entry, m_parameters.Map());
        for (const std::string& key : m_parameters.SetKeys())
            checks.SetByUser(key);
        for (const auto& [key, image] : request.images)
            checks.SetByUser(key);
        std::vector<StFinding> findings = checks.Findings();
        for (StFinding& finding : checks.FindingsOn(m_image))
            findings.push_back(std::move(finding));
        return findings;
    }

    /// Call it without the interpreter lock. `printed` is what the plug-in wrote to the C++ streams.
    StRunRecord Perform(const StRequest& request, StPythonSide& side, std::string& printed) {
        CPickedFile picked(m_file, m_answers);
        StRunRecord record;
        const auto work = [&] {
            const CQuietStreams quiet;
            const ORVEN::CThreadLimit threads(request.threads);
            StPluginRun run{request.plugin, m_found,   *m_document,          m_parameters,
                            m_settings,     m_answers, request.image.File(), m_imageFiles};
            run.hasDialogs = request.hasDialogs;
            run.capturesOutput = false;
            record =
                PerformRun(std::move(run), [&side](int) { return std::make_unique<CPythonProgress>(side); });
            printed = quiet.Text();
        };
        if (request.hasDialogs)
            CDialogThread::Run(work, [&side] { HandleSignals(side); });
        else
            work();
        picked.Settle(record);
        return record;
    }

    [[nodiscard]] const StCatalogueEntry* Entry() const { return m_found.entry; }
    [[nodiscard]] const ORVEN::CImage& Image() const { return m_image; }

private:
    void Fill(CParameterMap& map, const std::string& json) const {
        const CJson values = CJson::ParseOrRaise(json);
        if (m_found.entry != nullptr)
            map.SetAll(values);
        else
            map.SetAllAsSent(values);
    }

    StFoundPlugin m_found;
    ORVEN::CImage& m_image;
    std::unique_ptr<ORVEN::CValueMap> m_document;
    CParameterMap m_parameters;
    CParameterMap m_settings;
    std::optional<std::string> m_file;
    StDialogAnswers m_answers;
    std::map<std::string, StInputFile> m_imageFiles;
};

const char* WordOf(EnRunEnd end) {
    switch (end) {
    case RUN_DONE:
        return "done";
    case RUN_CANCELLED:
        return "cancelled";
    case RUN_DIALOG_PROBLEM:
        return "dialog problem";
    case RUN_FAILED:
        return "failed";
    case RUN_REFUSED:
        return "refused";
    case RUN_ERROR_BOX:
        return "error box";
    case RUN_UNUSED_ANSWER:
        return "unused answer";
    }
    return "failed";
}

/// Why the image was refused, as the words of a sentence that Python completes.
py::dict RefusalOf(const CPreparedRun& run) {
    py::dict words;
    words["image"] = WordOfPixelType(run.Image().Type()) + ", " + SizeInWords(run.Image().Size());
    if (run.Entry() == nullptr)
        return words;
    StRefusal refusal;
    {
        const py::gil_scoped_release unlocked;
        refusal = CPackAccess::Instance().With(
            [&](CPackSet& packs) { return ExplainRefusal(*run.Entry(), run.Image(), packs.Entries()); });
    }
    words["accepted"] = AcceptedInWords(run.Entry()->images);
    words["reason"] = refusal.reason;
    words["remedy"] = static_cast<int>(refusal.remedy);
    words["words"] = refusal.words;
    return words;
}

/// The new images with their labels. Each keeps its document alive, which owns it.
py::list ResultsOf(StRunRecord& record) {
    py::list results;
    for (auto& owner : record.outcome.documents) {
        const std::string label = LabelOf(*owner);
        const std::shared_ptr<ORVEN::CValueMap> document(std::move(owner));
        if (auto* const image = const_cast<ORVEN::CImage*>(ImageOf(*document)))
            results.append(
                py::make_tuple(CPythonImage(std::shared_ptr<ORVEN::CImage>(document, image)), label));
    }
    return results;
}

py::list BoxesOf(const StRunRecord& record) {
    py::list boxes;
    for (const StMessageBox& box : record.boxes)
        boxes.append(py::make_tuple(box.kind, box.caption, box.text));
    return boxes;
}

py::dict ResultOf(const CPreparedRun& run, StRunRecord& record) {
    const EnRunEnd end = EndOf(record);
    py::dict result;
    result["end"] = WordOf(end);
    result["images"] = HasResults(record) ? ResultsOf(record) : py::list();
    result["measured"] = record.hasMeasured || record.isMeasurement;
    result["parameters"] = record.outcome.parameters.Text();
    result["boxes"] = BoxesOf(record);
    if (record.outcome.failure)
        result["message"] = record.outcome.failure->message;
    if (record.errorBox)
        result["message"] = record.errorBox->text;
    if (record.dialogProblem)
        result["message"] = *record.dialogProblem;
    if (!record.unusedAnswers.empty())
        result["unused_answer"] = record.unusedAnswers.front();
    if (end == RUN_REFUSED)
        result["refusal"] = RefusalOf(run);
    return result;
}

using OnFindings = std::function<void(const std::vector<std::tuple<int, std::string, std::string>>&)>;

/// Runs a plug-in. `onFindings` takes what is questionable about the parameters, and may raise. The image is
/// given attributes if the plug-in measures it.
py::dict Run(const StRequest& request, const py::object& progress, const OnFindings& onFindings) {
    std::optional<CPreparedRun> run;
    std::vector<std::tuple<int, std::string, std::string>> findings;
    {
        const py::gil_scoped_release unlocked;
        run.emplace(request);
        for (const StFinding& finding : run->Findings(request))
            findings.emplace_back(finding.kind, finding.key, finding.message);
    }
    onFindings(findings);
    StPythonSide side{progress};
    std::optional<StRunRecord> record;
    std::string printed;
    {
        const py::gil_scoped_release unlocked;
        record = run->Perform(request, side, printed);
    }
    if (side.error)
        throw py::error_already_set(*side.error);
    py::dict result = ResultOf(*run, *record);
    result["printed"] = py::bytes(printed).attr("decode")("utf-8", "replace");
    return result;
}

} // namespace

void AddRuns(py::module_& module) {
    py::class_<StRequest>(module, "Request")
        .def(py::init([](std::string plugin, std::optional<std::string> pack, const CPythonImage& image) {
            return StRequest{std::move(plugin), std::move(pack), image, {}, "{}", "{}", {}, false, {}, {}, 0};
        }))
        .def_readwrite("label", &StRequest::label)
        .def_readwrite("parameters", &StRequest::parameters)
        .def_readwrite("settings", &StRequest::settings)
        .def_readwrite("images", &StRequest::images)
        .def_readwrite("has_dialogs", &StRequest::hasDialogs)
        .def_readwrite("answers", &StRequest::answers)
        .def_readwrite("file", &StRequest::file)
        .def_readwrite("threads", &StRequest::threads);
    module.def("run", &Run);
}

} // namespace quillon_python
