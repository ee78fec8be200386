#pragma once

#include "engine/catalogue/CParameterChecks.h"
#include "engine/dialogs/CBatchDialogs.h"
#include "engine/packs/CPackSet.h"
#include "engine/run/CParameterMap.h"
#include "engine/run/StRunRecord.h"
#include "python/bindings/CPythonImage.h"
#include "python/bindings/CPythonProgress.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quillon_python {

/// A run that Python asks for.
struct StRunRequest {
    std::string plugin;
    std::optional<std::string> pack; ///< its name, or the path of its library
    CPythonImage image;
    std::optional<std::string> label = {};
    std::string parameters = "{}"; ///< a JSON object
    std::string settings = "{}";   ///< the same
    std::map<std::string, CPythonImage> images = {};
    bool hasDialogs = false;
    std::vector<std::pair<std::string, std::string>> answers = {};
    std::optional<std::string> file = {}; ///< the answer to a file dialog
    int threads = 0;                      ///< 0: one for each processor
};

/// A request in the terms of the engine. Holds everything that the engine refers to, and the request has to
/// outlive it. All operations are called without the interpreter lock.
class CPreparedRun {
public:
    /// Finds the plug-in and takes the values. Raises `CEngineError` if either is impossible.
    explicit CPreparedRun(const StRunRequest& request);

    /// What is questionable about the parameters, and about them on this image.
    [[nodiscard]] std::vector<engine::StFinding> Findings() const;

    /// Runs the plug-in, on a thread of its own if it has dialogs. `printed` is what the plug-in wrote to the
    /// C++ streams.
    engine::StRunRecord Perform(StPythonSide& side, std::string& printed);

    /// The description of the plug-in; null if no catalogue has one.
    [[nodiscard]] const engine::StCatalogueEntry* Entry() const { return m_found.entry; }
    [[nodiscard]] const ORVEN::CImage& Image() const { return m_request.image.Image(); }

private:
    void Fill(engine::CParameterMap& map, const std::string& json) const;
    engine::StRunRecord PerformHere(StPythonSide& side, std::string& printed);

    const StRunRequest& m_request;
    engine::StFoundPlugin m_found;
    std::unique_ptr<ORVEN::CValueMap> m_document;
    engine::CParameterMap m_parameters;
    engine::CParameterMap m_settings;
    engine::StDialogAnswers m_answers;
    std::map<std::string, engine::StInputFile> m_imageFiles;
};

} // namespace quillon_python
