#pragma once

#include "engine/dialogs/CBatchDialogs.h"
#include "engine/files/CJson.h"
#include "engine/files/StInputReading.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

// Chains of runs as JSON. docs/chains.md describes the members.

namespace engine {

/// One run of a plug-in in a chain. An image is named by a file or, if it is the result of another step, by
/// the id of that step; "id#2" is the second result.
struct StChainStep {
    std::string id;
    std::string plugin;
    std::string pack;                   ///< its name; empty: the first pack that has the plug-in
    std::string input;                  ///< empty, in the first step only: the image of the chain
    StInputReading reading;             ///< how the input is read if it is a file
    CJson parameters = CJson::Object(); ///< nested as in the parameter tree
    std::vector<std::pair<std::string, std::string>> images; ///< among the parameters, by key
    CJson settings = CJson::Object();
    std::vector<StWidgetAnswer> answers;
    std::vector<std::string> outputs; ///< files to write results to, in their order
    bool isBare = false;              ///< no defaults are added to the parameters
    bool isForced = false;            ///< runs even if the plug-in refuses the image
};

/// Steps in the order in which they run.
struct StChain {
    std::vector<StChainStep> steps;
    std::string result; ///< "id" or "id#2"; empty: the first result of the last step
};

/// Takes a chain from {"quillon": 1, "steps": [...]}. Raises `CCallerError`, naming the step, for anything
/// missing, unknown or of the wrong kind. What the steps refer to is checked by `CChainRun`.
StChain ChainOf(const CJson& json);

/// Reads the file. Raises `CFileError` if it cannot be read or is not JSON, and the errors of `ChainOf`.
StChain ReadChain(const std::string& path);

/// The chain as JSON, with those members only that are not the default.
CJson ToJson(const StChain& chain);

/// A result of a step.
struct StResultReference {
    std::size_t step = 0;   ///< index
    std::size_t result = 0; ///< index among its results
};

/// The result that "id" or "id#2" stands for; nothing if there is no step of that id.
std::optional<StResultReference> FindResult(const StChain& chain, const std::string& name);

} // namespace engine
