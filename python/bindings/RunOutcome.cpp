#include "python/bindings/RunOutcome.h"

#include "engine/catalogue/Refusal.h"
#include "engine/run/PluginRun.h"
#include "python/bindings/CPackAccess.h"

#include <pybind11/stl.h>

namespace quillon_python {

namespace py = pybind11;
using namespace engine;

namespace {

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

} // namespace

py::dict OutcomeOf(const CPreparedRun& run, StRunRecord& record) {
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

} // namespace quillon_python
