#pragma once

#include "engine/catalogue/StCatalogueEntry.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/CJson.h"

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace engine {

/// The inputs of a plug-in call.
struct StPluginRequest {
    std::string name;
    ORVEN::CValueMap* document = nullptr;         ///< the focused document; must outlive the outcome
    std::unique_ptr<ORVEN::CValueMap> parameters; ///< if null, no "parameters" are sent
    ORVEN::CValueMap* settings = nullptr;         ///< null or empty: `Configure` is not called
    bool runsRefused = false;                     ///< continues even if `TestParameters` returns false
};

/// Source and reason of a failure.
struct StFailure {
    std::string source;
    std::string message;
};

/// The failure of the named plug-in as an error, "PLUGIN says: MESSAGE", with the plug-in's message
/// unchanged. The source of the failure, usually a class, is left to reports. What a plug-in raises is its
/// own fault, even if it ran out of memory: it may have asked for too much.
CPluginError ErrorOf(const StFailure& failure, const std::string& plugin);

/// The result of a plug-in call.
struct StPluginOutcome {
    std::optional<bool> isAccepted; ///< not set if the call failed before the plug-in was asked
    std::optional<StFailure> failure;
    std::vector<std::unique_ptr<ORVEN::CValueMap>> documents;
    std::vector<std::string> views;     ///< types of the requested views
    CJson parameters = CJson::Object(); ///< their values in the tree after the run
    double seconds = 0;
    std::optional<std::int64_t>
        peakBytes; ///< memory beyond that before the call, at most, if it was measured
};

/// Builds a document in the form that plug-ins find in the tree. The caller keeps ownership of the image.
/// Without a label, the document has no such entry.
std::unique_ptr<ORVEN::CValueMap> MakeDocument(ORVEN::CImage& image, const std::optional<std::string>& label);

/// The image of a document; null if it has none.
const ORVEN::CImage* ImageOf(const ORVEN::CValueMap& document);

/// The title of a document; empty if it has none.
std::string LabelOf(const ORVEN::CValueMap& document);

/// Takes the plug-in through one run: setup, settings, test, update, data. Exceptions from the plug-in are
/// recorded in the outcome, together with the documents handed over before.
StPluginOutcome CallPlugin(ORVEN::CPluginBase& plugin, StPluginRequest request);

} // namespace engine
