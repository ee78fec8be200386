#pragma once

#include "validate/drive/Parameters.h"
#include "validate/drive/StShown.h"
#include "validate/rules/CRuleRun.h"

#include <sorblib2core/CPluginBase.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace validate {

/// A new object of the plug-in with a host around it: image, document, tree, parameters of a normal run,
/// answers to its dialogs. The host takes and keeps the new documents. Reports progress to nobody, unless a
/// sink is set.
class CTrial {
public:
    /// On the normal image of the plug-in.
    explicit CTrial(CRuleRun& run);
    CTrial(CRuleRun& run, std::unique_ptr<ORVEN::CImage> image);
    CTrial(const CTrial&) = delete;
    CTrial& operator=(const CTrial&) = delete;
    /// The documents go first, then the object, then its input.
    ~CTrial();

    [[nodiscard]] ORVEN::CPluginBase& Plugin() { return *m_plugin; }
    [[nodiscard]] ORVEN::CImage& Image() { return *m_image; }
    [[nodiscard]] ORVEN::CValueMap& Document() { return m_document; }
    [[nodiscard]] ORVEN::CValueMap& Tree() { return m_tree; }

    /// Sends these values besides those of a normal run.
    void Choose(const Choice& choice);
    /// Sends nothing below "parameters" but what is in the choice.
    void ChooseOnly(const Choice& choice);
    /// Puts another image in focus, as another document. The former one stays alive.
    void Focus(std::unique_ptr<ORVEN::CImage> image);
    /// The images among the parameters.
    [[nodiscard]] const std::vector<std::unique_ptr<ORVEN::CImage>>& Companions() const {
        return m_companions;
    }

    bool Accepts();
    void Update();
    /// Runs, and takes the new documents out of the tree, even if it raises.
    void GetData();
    void Run() {
        Update();
        GetData();
    }
    /// Runs; returns what was raised, or nothing.
    std::optional<std::string> TryToRun();
    /// The same with binary images for those that are required among the parameters: some must be of the type
    /// of the image in focus, others must not.
    std::optional<std::string> TryToRunWithBinaryImages();
    /// Calls the plug-in with its dialogs answered.
    void Call(const std::function<void()>& call);

    [[nodiscard]] std::vector<std::unique_ptr<ORVEN::CValueMap>>& Documents() { return m_documents; }
    /// All that came of the last run: documents, measurements in the input, the file, message boxes; or what
    /// was raised.
    [[nodiscard]] StShown Shown();

    void DestroyPlugin() { m_plugin.reset(); }
    void DestroyInput();

private:
    void AddImages(const Choice& choice);

    CRuleRun& m_run;
    std::unique_ptr<ORVEN::CImage> m_image;
    std::vector<std::unique_ptr<ORVEN::CImage>> m_formerImages;
    std::vector<std::unique_ptr<ORVEN::CImage>> m_companions;
    ORVEN::CValueMap m_document;
    std::vector<std::unique_ptr<ORVEN::CValueMap>> m_furtherDocuments;
    ORVEN::CValueMap m_tree;
    std::unique_ptr<ORVEN::CPluginBase> m_plugin;
    std::vector<std::unique_ptr<ORVEN::CValueMap>> m_documents;
    std::vector<std::string> m_boxes;
    std::string m_raised;
};

/// Makes the application that dialogs need, once. It stays until the process ends.
void NeedApplication();

/// Calls the function; returns the message of whatever it raises, or nothing.
std::optional<std::string> Raised(const std::function<void()>& call);

/// Whether the call returns or raises, tried in a process of its own. For a rule about something else than
/// crashes: it has nothing to say about a call that ends the process.
bool Survives(const std::function<void()>& call);

/// The path in the tree that holds new documents.
inline constexpr const char* c_newDocuments = "output/documents/add";

/// Takes the new documents out of a tree; whatever else is in that list stays where it is.
std::vector<std::unique_ptr<ORVEN::CValueMap>> TakeDocuments(ORVEN::CValueMap& tree);

/// A new object of the plug-in. Ends the check as inapplicable if there is none.
std::unique_ptr<ORVEN::CPluginBase> MakePlugin(CRuleRun& run);

/// The image of a normal run: of the first type in the entry and its greatest dimension, with the
/// measurements that the plug-in needs.
std::unique_ptr<ORVEN::CImage> NormalImage(CRuleRun& run);
/// A pattern with those measurements.
std::unique_ptr<ORVEN::CImage> TrialImage(CRuleRun& run, const ORVEN::IImage::CType& type,
                                          const ORVEN::CSize& size);
/// Gives an image the measurements that the plug-in needs, made by the plug-in that the catalogue names.
void AddMeasurements(CRuleRun& run, ORVEN::CImage& image);
/// The greatest dimension in the entry.
int NormalDimension(const engine::StCatalogueEntry& entry);

/// What comes of a run of a new object after `prepare`.
StShown ShownAfter(CRuleRun& run, const std::function<void(CTrial&)>& prepare = {});
/// What comes of a normal run. Ends the check as inapplicable if such a run raises, or if two of them differ:
/// then nothing can be compared with it, and a rule of its own says so.
StShown NormalShown(CRuleRun& run);

} // namespace validate
