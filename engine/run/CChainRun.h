#pragma once

#include "engine/catalogue/CParameterChecks.h"
#include "engine/packs/CPackSet.h"
#include "engine/run/PluginRun.h"
#include "engine/run/StChain.h"
#include "engine/run/StExpectedResult.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace engine {

/// What to make of a chain besides what it states.
struct StChainOptions {
    std::vector<std::string> outputs; ///< files for the results of the chain, the first for its result
    std::vector<std::string>
        filesRead;              ///< further files that no output may replace, such as the chain itself
    bool isOverwriting = false; ///< outputs may replace inputs
    /// The steps are runs on record: parameters are sent as they were, without checks, and files that dialogs
    /// ask for are not written.
    bool isRepetition = false;
};

/// A step that did not end well.
struct StStoppedStep {
    std::size_t step = 0;
    const StCatalogueEntry* entry = nullptr; ///< null if the plug-in is not in a catalogue
    std::string imageName;                   ///< the file, or "the result of step 'ID'"
    std::shared_ptr<const ORVEN::CImage> image;
    StRunRecord record;
};

/// How a chain ended.
struct StChainOutcome {
    std::shared_ptr<ORVEN::CImage> result; ///< null if a step did not end well
    std::optional<StStoppedStep> stopped;
    std::vector<std::string> written; ///< files, in the order in which they were written
};

/// What a front end shows of a chain. Everything is called on the thread that runs it; all of it is optional.
struct StChainFrontEnd {
    /// Makes the sink for a step, see `MakeProgress`.
    std::function<std::unique_ptr<ORVEN::IProgress>(std::size_t step, const StCatalogueEntry* entry,
                                                    int standardError)>
        makeProgress;
    /// A step is about to run on this image; `findings` are about parameters without effect on it.
    std::function<void(std::size_t step, const StCatalogueEntry* entry, const ORVEN::CImage& image,
                       const std::vector<StFinding>& findings)>
        onImage;
    /// A step has ended well, and its outputs are written, except for those that it has no result for.
    std::function<void(std::size_t step, const StRunRecord& record, const std::vector<std::string>& unfilled)>
        onStep;
};

/// A chain that has been checked and can run. Results stay in memory as long as a later step needs them, and
/// are written to the files that steps name.
///
/// The results in memory are those that separate runs would read from files: values that no file holds, which
/// are pointers, do not pass from step to step, and a step that measures does not change the image that other
/// steps see.
///
/// The packs must outlive this object and what it makes.
class CChainRun {
public:
    /// Checks the whole chain: plug-ins, parameters and values, what is made of what, input files as far as
    /// their headers say, and names of outputs. Nothing is run or written. Errors are `CEngineError`,
    /// "step 'ID': ...", with the fault of what is wrong.
    CChainRun(StChain chain, CPackSet& packs, StChainOptions options);

    /// Findings that are no reason to refuse the chain, "step 'ID': ...".
    [[nodiscard]] const std::vector<std::string>& Warnings() const { return m_warnings; }
    [[nodiscard]] const StChain& Chain() const { return m_chain; }

    /// Runs the steps in their order until one does not end well. Call it once. Raises the errors of reading
    /// and writing files, `CPluginError` for a step that delivers less than later steps need, and
    /// `std::bad_alloc`.
    StChainOutcome Run(const StChainFrontEnd& frontEnd = {});

private:
    /// An image that a step uses: a file or the result of another step.
    struct StSource {
        std::optional<StResultReference> result;
        std::string file;
        StInputReading reading;

        /// The same for the same image.
        [[nodiscard]] std::string Key() const;
    };

    /// A step that has been checked.
    struct StStep {
        StFoundPlugin found;
        CParameterMap parameters;
        CParameterMap settings;
        StSource input;
        std::map<std::string, StSource> images;
        std::vector<std::string> outputs;
        std::optional<std::string> table; ///< the answer to a file dialog
        StExpectedResult expected;
    };

    /// An image in memory.
    struct StLoaded {
        std::shared_ptr<ORVEN::CImage> image;
        StInputFile file;
        std::string label;
    };

    void CheckOrder() const;
    void CheckReference(std::size_t index, const std::string& name) const;
    void Prepare(std::size_t index, CPackSet& packs);
    void PrepareImages(const StChainStep& stated, StStep& step) const;
    void CheckParameters(const StChainStep& stated, const StStep& step);
    void PrepareOutputs(const StChainStep& stated, StStep& step) const;
    void CheckOutputs() const;
    void RequireDifferentOutputs() const;
    [[nodiscard]] std::vector<std::string> FilesRead() const;
    [[nodiscard]] StSource SourceOf(const std::string& name, const StInputReading& reading) const;
    [[nodiscard]] StExpectedResult ExpectedOf(const StSource& source) const;
    [[nodiscard]] bool IsNeededAfter(std::size_t index, const std::string& key) const;
    [[nodiscard]] std::string NameOf(const StSource& source) const;

    StLoaded& Load(const StSource& source);
    void RunStep(std::size_t index, const StChainFrontEnd& frontEnd, StChainOutcome& outcome);
    StRunRecord Perform(std::size_t index, const StChainFrontEnd& frontEnd);
    void Keep(std::size_t index, StRunRecord& record, const ORVEN::CValueMap& attributesBefore);
    void RequireResults(std::size_t index, std::size_t count) const;
    std::vector<std::string> Write(std::size_t index, StRunRecord& record, StChainOutcome& outcome);
    void Release(std::size_t index);

    StChain m_chain;
    StChainOptions m_options;
    StResultReference m_result;
    std::vector<StStep> m_steps;
    std::vector<std::string> m_warnings;
    std::map<std::string, StLoaded> m_loaded; // by the key of the source
};

} // namespace engine
