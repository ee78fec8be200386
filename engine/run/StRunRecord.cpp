#include "engine/run/StRunRecord.h"

namespace engine {

using nlohmann::ordered_json;

namespace {

ordered_json DocumentJson(const ORVEN::CValueMap& document, const std::string& file) {
    ordered_json json;
    json["label"] = LabelOf(document);
    json["type"] = nullptr;
    json["size"] = nullptr;
    if (const ORVEN::CImage* image = ImageOf(document)) {
        json["type"] = image->Type().ToString();
        json["size"] = ordered_json::array();
        for (int axis = 0; axis < image->Size().Dim(); ++axis)
            json["size"].push_back(image->Size()[axis]);
    }
    json["file"] = file.empty() ? ordered_json() : ordered_json(file);
    return json;
}

} // namespace

std::string ReportText(const StRunRecord& record) {
    const StPluginOutcome& outcome = record.outcome;
    ordered_json report;
    report["plugin"] = record.plugin;
    report["accepted"] = outcome.isAccepted ? ordered_json(*outcome.isAccepted) : ordered_json();
    report["error"] = nullptr;
    if (outcome.failure)
        report["error"] = {{"source", outcome.failure->source}, {"message", outcome.failure->message}};
    else if (record.errorBox)
        report["error"] = {{"source", record.plugin}, {"message", record.errorBox->text}};
    else if (record.dialogProblem)
        report["error"] = {{"source", "quillon"}, {"message", *record.dialogProblem}};
    report["documents"] = ordered_json::array();
    for (std::size_t i = 0; i < outcome.documents.size(); ++i)
        report["documents"].push_back(
            DocumentJson(*outcome.documents[i], i < record.files.size() ? record.files[i] : ""));
    report["views"] = ordered_json::array();
    for (const std::string& type : outcome.views)
        report["views"].push_back({{"type", type}});
    report["boxes"] = ordered_json::array();
    for (const StMessageBox& box : record.boxes)
        report["boxes"].push_back({{"kind", box.kind}, {"caption", box.caption}, {"text", box.text}});
    report["parameters"] = outcome.parameters;
    report["stdout"] = record.standardOutput;
    report["stderr"] = record.standardError;
    report["cancelled"] = record.isCancelled;
    report["seconds"] = outcome.seconds;
    // A pack may write arbitrary bytes; invalid UTF-8 becomes replacement characters.
    return report.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

} // namespace engine
