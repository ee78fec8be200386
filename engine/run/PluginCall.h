#pragma once

#include "engine/catalogue/StCatalogueEntry.h"

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueMap.h>

#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace engine {

/// What a plug-in is called with.
struct StPluginRequest {
    std::string name;
    ORVEN::CValueMap* document = nullptr;         ///< the focused one; must outlive the outcome
    std::unique_ptr<ORVEN::CValueMap> parameters; ///< null sends no "parameters"
    ORVEN::CValueMap* settings = nullptr;         ///< null or empty: `Configure` is not called
    bool runsRefused = false;                     ///< goes on although `TestParameters` answers false
};

/// Who failed and why.
struct StFailure {
    std::string source;
    std::string message;
};

/// What came of it.
struct StPluginOutcome {
    std::optional<bool> isAccepted; ///< nothing if it failed before the plug-in was asked
    std::optional<StFailure> failure;
    std::vector<std::unique_ptr<ORVEN::CValueMap>> documents;
    std::vector<std::string> views;                       ///< the types of the views asked for
    nlohmann::json parameters = nlohmann::json::object(); ///< as they stand in the tree after the run
    double seconds = 0;
};

/// A document as a plug-in finds it in the tree. The image stays the caller's; no label leaves that entry
/// out.
std::unique_ptr<ORVEN::CValueMap> MakeDocument(ORVEN::CImage& image, const std::optional<std::string>& label);

/// The image of a document; null if it has none.
const ORVEN::CImage* ImageOf(const ORVEN::CValueMap& document);

/// The title of a document; empty if it has none.
std::string LabelOf(const ORVEN::CValueMap& document);

/// Drives the plug-in through one run: setup, settings, test, update, data. Whatever it raises ends up in the
/// outcome, and so do documents that it had handed over by then.
StPluginOutcome CallPlugin(ORVEN::CPluginBase& plugin, StPluginRequest request);

} // namespace engine
