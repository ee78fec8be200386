#include "engine/run/StRunRecord.h"

namespace engine {

namespace {

CJson DocumentJson(const ORVEN::CValueMap& document, const std::string& file) {
    CJson type;
    CJson size;
    if (const ORVEN::CImage* image = ImageOf(document)) {
        type = image->Type().ToString();
        size = CJson::Array();
        for (int axis = 0; axis < image->Size().Dim(); ++axis)
            size.Append(image->Size()[axis]);
    }
    return CJson::Object({{"label", LabelOf(document)},
                          {"type", std::move(type)},
                          {"size", std::move(size)},
                          {"file", file.empty() ? CJson() : CJson(file)}});
}

CJson ErrorJson(const std::string& source, const std::string& message) {
    return CJson::Object({{"source", source}, {"message", message}});
}

CJson ErrorJson(const StRunRecord& record) {
    if (const auto& failure = record.outcome.failure)
        return ErrorJson(failure->source, failure->message);
    if (record.errorBox)
        return ErrorJson(record.plugin, record.errorBox->text);
    if (record.dialogProblem)
        return ErrorJson("quillon", *record.dialogProblem);
    return {};
}

} // namespace

EnRunEnd EndOf(const StRunRecord& record) {
    const StPluginOutcome& outcome = record.outcome;
    if (record.isCancelled)
        return RUN_CANCELLED;
    if (record.dialogProblem)
        return RUN_DIALOG_PROBLEM;
    if (outcome.failure)
        return RUN_FAILED;
    if (!outcome.isAccepted.value_or(false) && !record.isForced)
        return RUN_REFUSED;
    if (record.errorBox)
        return RUN_ERROR_BOX;
    return record.unusedAnswers.empty() ? RUN_DONE : RUN_UNUSED_ANSWER;
}

bool HasResults(const StRunRecord& record) {
    const EnRunEnd end = EndOf(record);
    return end == RUN_DONE || end == RUN_ERROR_BOX || end == RUN_UNUSED_ANSWER;
}

std::string ReportText(const StRunRecord& record) {
    const StPluginOutcome& outcome = record.outcome;
    CJson documents = CJson::Array();
    for (std::size_t i = 0; i < outcome.documents.size(); ++i)
        documents.Append(DocumentJson(*outcome.documents[i], i < record.files.size() ? record.files[i] : ""));
    CJson views = CJson::Array();
    for (const std::string& type : outcome.views)
        views.Append(CJson::Object({{"type", type}}));
    CJson boxes = CJson::Array();
    for (const StMessageBox& box : record.boxes)
        boxes.Append(CJson::Object({{"kind", box.kind}, {"caption", box.caption}, {"text", box.text}}));
    const CJson report =
        CJson::Object({{"plugin", record.plugin},
                       {"accepted", outcome.isAccepted ? CJson(*outcome.isAccepted) : CJson()},
                       {"error", ErrorJson(record)},
                       {"documents", std::move(documents)},
                       {"views", std::move(views)},
                       {"boxes", std::move(boxes)},
                       {"parameters", outcome.parameters},
                       {"stdout", record.standardOutput},
                       {"stderr", record.standardError},
                       {"cancelled", record.isCancelled},
                       {"seconds", outcome.seconds},
                       {"peak_bytes", outcome.peakBytes ? CJson(*outcome.peakBytes) : CJson()}});
    constexpr int indent = 2;
    return report.Text(indent) + "\n";
}

} // namespace engine
