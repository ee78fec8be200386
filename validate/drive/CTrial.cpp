#include "validate/drive/CTrial.h"

#include "engine/dialogs/CBatchDialogs.h"
#include "engine/dialogs/CGuiApplication.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/ImageWords.h"
#include "engine/run/CParameterMap.h"
#include "validate/drive/Images.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/UnwrapPointer.h>

#include <QApplication>
#include <QDialog>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>

namespace validate {

using namespace ORVEN;
using engine::StCatalogueEntry;

namespace {

const char* const c_features = "features";

std::string ExportFile(const StSubject& subject) { return subject.folder + "/export.csv"; }

void SetDocument(CValueMap& document, CImage& image) {
    document.SetEntry("content", new CValuePointer<CImage>(&image, 1));
    document.SetEntry("label", new CValueString("scan.nrrd", CString::NPOS));
}

/// Deletes the dialogs that a plug-in has left to its host.
void DeleteDialogs() {
    if (qApp == nullptr)
        return;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (qobject_cast<QDialog*>(window) != nullptr)
            delete window;
    }
}

/// The first of the plug-ins that measure what this one needs, with its entry.
const StCatalogueEntry& MeasuringEntry(CRuleRun& run) {
    for (const std::string& name : run.Entry().images.after) {
        const StCatalogueEntry* const entry = run.Subject().catalogue->Find(name);
        if (entry != nullptr && run.Subject().pack->Provides(name))
            return *entry;
    }
    CRuleRun::Skip("this pack does not have the plug-in that makes its input");
}

/// Measures an image and returns its measurements; null if there are none.
std::unique_ptr<CValue> Measured(CRuleRun& run) {
    StSubject subject = run.Subject();
    subject.entry = &MeasuringEntry(run);
    CRuleRun measuring(subject, StCase{"", subject.entry->name, 1, ""}, run.Notes());
    CTrial trial(measuring);
    if (const auto raised = trial.TryToRun())
        CRuleRun::Skip("the plug-in that makes its input raises: " + *raised);
    const CValue* const features = trial.Image().Attributes().Entry(c_features, true);
    return std::unique_ptr<CValue>(features != nullptr ? features->Clone(CValue::TF_KEEP) : nullptr);
}

} // namespace

void NeedApplication() {
    static engine::CGuiApplication* const application = new engine::CGuiApplication(false);
    (void)application;
}

std::optional<std::string> Raised(const std::function<void()>& call) {
    try {
        call();
        return std::nullopt;
    } catch (const CException& error) {
        return error.Message();
    } catch (const std::bad_alloc&) {
        return "not enough memory";
    } catch (const CRuleBroken&) {
        throw;
    } catch (const CRuleInapplicable&) {
        throw;
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "something other than an exception";
    }
}

bool Survives(const std::function<void()>& call) {
    const pid_t child = fork();
    if (child < 0)
        return true;
    if (child == 0) {
        (void)Raised(call);
        _exit(0);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status);
}

std::vector<std::unique_ptr<CValueMap>> TakeDocuments(CValueMap& tree) {
    std::vector<std::unique_ptr<CValueMap>> documents;
    CValue* const list = tree.Entry(c_newDocuments, true);
    if (list == nullptr || list->Vector() == nullptr)
        return documents;
    for (CValue* const value : *list->Vector()) {
        const bool isDocument = value != nullptr && value->GenericType() == CValue::VAL_POINTER &&
                                AreTypesEqual(value->ElementType(), typeid(CValueMap)) &&
                                value->VoidPointer() != nullptr;
        if (!isDocument)
            continue;
        value->Pointer()->Release();
        documents.emplace_back(UnwrapPointer<CValueMap>(value));
    }
    tree.RemoveEntry(c_newDocuments);
    return documents;
}

std::unique_ptr<CPluginBase> MakePlugin(CRuleRun& run) {
    std::unique_ptr<CPluginBase> plugin;
    try {
        plugin = run.Subject().pack->Create(run.Entry().name);
    } catch (const engine::CPluginError& error) {
        CRuleRun::Skip(std::string("it cannot be created: ") + error.what());
    }
    if (plugin == nullptr)
        CRuleRun::Skip("the pack does not create it");
    return plugin;
}

int NormalDimension(const StCatalogueEntry& entry) {
    return *std::max_element(entry.images.dimensions.begin(), entry.images.dimensions.end());
}

void AddMeasurements(CRuleRun& run, CImage& image) {
    if (run.Entry().images.after.empty())
        return;
    if (auto features = Measured(run))
        image.Attributes().SetEntry(c_features, features.release());
}

std::unique_ptr<CImage> TrialImage(CRuleRun& run, const IImage::CType& type, const CSize& size) {
    auto image = PatternImage(type, size);
    AddMeasurements(run, *image);
    return image;
}

std::unique_ptr<CImage> NormalImage(CRuleRun& run) {
    const engine::StAcceptedImages& images = run.Entry().images;
    return TrialImage(run, *engine::PixelTypeOfWord(images.types.front()),
                      NormalSize(NormalDimension(run.Entry()), images.minimumExtent));
}

CTrial::CTrial(CRuleRun& run)
    : CTrial(run, NormalImage(run)) {}

CTrial::CTrial(CRuleRun& run, std::unique_ptr<CImage> image)
    : m_run(run)
    , m_image(std::move(image))
    , m_plugin(MakePlugin(run)) {
    SetDocument(m_document, *m_image);
    m_tree.SetEntry("input/documents/focused", new CValuePointer<CValueMap>(&m_document, 1));
    Choose({});
}

CTrial::~CTrial() {
    m_documents.clear();
    m_plugin.reset();
    if (m_run.Entry().opensDialogs)
        DeleteDialogs();
}

void CTrial::Choose(const Choice& choice) {
    const StCatalogueEntry& entry = m_run.Entry();
    Choice all = NormalChoice(entry);
    for (const auto& [key, text] : choice)
        all[key] = text;
    for (const auto& [key, text] : choice) {
        if (const auto* parameter = entry.Parameter(key))
            AddCompanions(entry, *parameter, all);
    }
    engine::CParameterMap parameters("parameter", &entry.parameters);
    for (const auto& [key, text] : all)
        parameters.Set({key, std::nullopt, text});
    parameters.FillDefaults();
    m_tree.SetEntry("parameters", parameters.Take().release());
    AddImages(all);
}

void CTrial::ChooseOnly(const Choice& choice) {
    engine::CParameterMap parameters("parameter", &m_run.Entry().parameters);
    for (const auto& [key, text] : choice)
        parameters.Set({key, std::nullopt, text});
    m_tree.SetEntry("parameters", parameters.Take().release());
    AddImages(choice);
}

void CTrial::AddImages(const Choice& choice) {
    for (const auto& [key, text] : choice) {
        const auto* const parameter = m_run.Entry().Parameter(key);
        if (parameter == nullptr || parameter->kind != engine::KIND_IMAGE || text.empty())
            continue;
        const IImage::CType type = text == c_sameType ? m_image->Type() : *engine::PixelTypeOfWord(text);
        m_companions.push_back(PatternImage(type, m_image->Size()));
        m_tree.SetEntry("parameters/" + key, new CValuePointer<CImage>(m_companions.back().get(), 1));
    }
}

void CTrial::Focus(std::unique_ptr<CImage> image) {
    m_formerImages.push_back(std::exchange(m_image, std::move(image)));
    m_furtherDocuments.push_back(std::make_unique<CValueMap>());
    SetDocument(*m_furtherDocuments.back(), *m_image);
    m_tree.SetEntry("input/documents/focused",
                    new CValuePointer<CValueMap>(m_furtherDocuments.back().get(), 1));
}

void CTrial::Call(const std::function<void()>& call) {
    m_boxes.clear();
    if (!m_run.Entry().opensDialogs) {
        call();
        return;
    }
    NeedApplication();
    engine::StDialogAnswers answers;
    answers.file = ExportFile(m_run.Subject());
    engine::CBatchDialogs dialogs(std::move(answers));
    call();
    for (const engine::StMessageBox& box : dialogs.Boxes())
        m_boxes.push_back(box.text);
}

bool CTrial::Accepts() {
    bool isAccepted = false;
    Call([&] { isAccepted = m_plugin->TestParameters(m_tree); });
    return isAccepted;
}

void CTrial::Update() {
    Call([&] { m_plugin->UpdateParameters(m_tree); });
}

void CTrial::GetData() {
    std::error_code ignored;
    std::filesystem::remove(ExportFile(m_run.Subject()), ignored);
    try {
        Call([&] { m_plugin->GetData(m_tree); });
    } catch (...) {
        m_documents = TakeDocuments(m_tree);
        throw;
    }
    m_documents = TakeDocuments(m_tree);
}

std::optional<std::string> CTrial::TryToRun() {
    auto raised = Raised([this] { Run(); });
    m_raised = raised.value_or("");
    return raised;
}

std::optional<std::string> CTrial::TryToRunWithBinaryImages() {
    Choice choice = NormalChoice(m_run.Entry());
    for (auto& [key, text] : choice)
        text = text == c_sameType ? "binary" : text;
    Choose(choice);
    return TryToRun();
}

StShown CTrial::Shown() {
    StShown shown;
    if (!m_raised.empty())
        shown.Add("what was raised", m_raised);
    shown.Add("the number of new documents", std::to_string(m_documents.size()));
    for (std::size_t i = 0; i < m_documents.size(); ++i)
        shown.AddDocument("document " + std::to_string(i), *m_documents[i]);
    shown.AddValue("the measurement at ", m_image->Attributes().Entry(c_features, true));
    for (const std::string& box : m_boxes)
        shown.Add("the text of the message box", box);
    std::ifstream file(ExportFile(m_run.Subject()), std::ios::binary);
    if (file)
        shown.Add("the exported file", std::string{std::istreambuf_iterator<char>(file), {}});
    return shown;
}

void CTrial::DestroyInput() {
    m_tree.Clear();
    m_document.Clear();
    m_image.reset();
    m_companions.clear();
}

StShown ShownAfter(CRuleRun& run, const std::function<void(CTrial&)>& prepare) {
    CTrial trial(run);
    if (prepare)
        prepare(trial);
    (void)trial.TryToRun();
    return trial.Shown();
}

StShown NormalShown(CRuleRun& run) {
    CTrial trial(run);
    if (const auto raised = trial.TryToRun())
        CRuleRun::Skip("a normal run raises: " + *raised);
    StShown shown = trial.Shown();
    if (ShownAfter(run) != shown)
        CRuleRun::Skip("two runs differ, see determinism.two-objects");
    return shown;
}

} // namespace validate
