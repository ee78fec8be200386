#include "engine/run/PluginCall.h"

#include "engine/files/ValueJson.h"
#include "engine/run/CPeakMemory.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/StImageGeometry.h>

#include <chrono>
#include <new>
#include <utility>

namespace engine {

using namespace ORVEN;

namespace {

std::unique_ptr<CValueMap> MakeTree(CValueMap& document, std::unique_ptr<CValueMap> parameters) {
    auto tree = std::make_unique<CValueMap>();
    tree->SetEntry("input/documents/focused", new CValuePointer<CValueMap>(&document, 1));
    if (parameters != nullptr)
        tree->SetEntry("parameters", parameters.release());
    return tree;
}

CValueVector* VectorAt(CValueMap& tree, const char* path) {
    CValue* value = tree.Entry(path, true);
    return value != nullptr ? value->Vector() : nullptr;
}

/// Takes ownership of the documents, so that the tree does not free them a second time.
std::vector<std::unique_ptr<CValueMap>> TakeDocuments(CValueMap& tree) {
    std::vector<std::unique_ptr<CValueMap>> documents;
    const CValueVector* added = VectorAt(tree, "output/documents/add");
    if (added == nullptr)
        return documents;
    for (CValue* value : *added) {
        CValueMap* document = UnwrapPointer<CValueMap>(value);
        if (document == nullptr)
            continue;
        value->Pointer()->Release();
        documents.emplace_back(document);
    }
    return documents;
}

std::vector<std::string> ViewTypes(CValueMap& tree) {
    std::vector<std::string> types;
    const CValueVector* views = VectorAt(tree, "output/views/create");
    if (views == nullptr)
        return types;
    for (CValue* value : *views) {
        if (CValueMap* view = value != nullptr ? value->Map() : nullptr)
            types.push_back(view->EntryString("type").Std());
    }
    return types;
}

std::vector<std::string> HistoryOf(const CImage& image) {
    std::vector<std::string> lines;
    const CValue* entry = image.Attributes().Entry("history", true);
    const CValueVector* history = entry != nullptr ? entry->Vector() : nullptr;
    if (history == nullptr)
        return lines;
    for (const CValue* line : *history) {
        if (line != nullptr && line->GenericType() == CValue::VAL_STRING)
            lines.push_back(line->String().Std());
    }
    return lines;
}

/// Gives a result that shows the pixels of the focused image, but does not state where they lie and come
/// from, the geometry and the history of that image. Some plug-ins leave this to the host.
void AddOrigin(CImage& result, const CImage& focused) {
    if (!(result.Size() == focused.Size()))
        return;
    if (StImageGeometry::Of(result) == StImageGeometry())
        StImageGeometry::Of(focused).Store(result);
    const std::vector<std::string> earlier = HistoryOf(focused);
    const std::vector<std::string> own = HistoryOf(result);
    if (earlier.empty() || (!own.empty() && own.front() == earlier.front()))
        return;
    result.Attributes().SetEntry("history", new CValueVector);
    for (const std::vector<std::string>& lines : {earlier, own}) {
        for (const std::string& line : lines)
            CQuillonHeaderTools::AddToHistory(result, line.c_str(), 0);
    }
}

void AddOrigins(const std::vector<std::unique_ptr<CValueMap>>& documents, const CValueMap& focused) {
    const CImage* const image = ImageOf(focused);
    for (const auto& document : documents) {
        if (image != nullptr && ImageOf(*document) != nullptr)
            AddOrigin(*UnwrapPointer<CImage>(document->Entry("content", true)), *image);
    }
}

void Drive(CPluginBase& plugin, const StPluginRequest& request, CValueMap& tree, StPluginOutcome& outcome) {
    CValueMap setup;
    plugin.GetPluginSetup(setup);
    if (request.settings != nullptr && !request.settings->IsEmpty())
        plugin.Configure(nullptr, *request.settings);
    outcome.isAccepted = plugin.TestParameters(tree);
    if (!*outcome.isAccepted && !request.runsRefused)
        return;
    plugin.UpdateParameters(tree);
    plugin.GetData(tree);
}

/// Runs the function and returns what it raised as a failure of the named plug-in.
template <class Function>
std::optional<StFailure> FailureOf(const std::string& name, const Function& function) {
    try {
        function();
        return std::nullopt;
    } catch (const CException& error) {
        return StFailure{error.Source(), error.Message()};
    } catch (const std::bad_alloc&) {
        return StFailure{name, "not enough memory for this run"};
    } catch (const std::exception& error) {
        return StFailure{name, error.what()};
    } catch (...) {
        return StFailure{name, "it raised something other than an exception"};
    }
}

} // namespace

CPluginError ErrorOf(const StFailure& failure, const std::string& plugin) {
    return CPluginError(plugin + " says: " + failure.message);
}

std::unique_ptr<CValueMap> MakeDocument(CImage& image, const std::optional<std::string>& label) {
    auto document = std::make_unique<CValueMap>();
    document->SetEntry("content", new CValuePointer<CImage>(&image, 1));
    if (label)
        document->SetEntry("label", new CValueString(CString(*label)));
    return document;
}

const CImage* ImageOf(const CValueMap& document) {
    const CValue* content = document.Entry("content", true);
    const bool isImage = content != nullptr && content->GenericType() == CValue::VAL_POINTER &&
                         AreTypesEqual(content->ElementType(), typeid(CImage));
    return isImage ? UnwrapPointer<CImage>(content) : nullptr;
}

std::string LabelOf(const CValueMap& document) {
    const CString none;
    return document.EntryString("label", none).Std();
}

StPluginOutcome CallPlugin(CPluginBase& plugin, StPluginRequest request) {
    StPluginOutcome outcome;
    const std::unique_ptr<CValueMap> tree = MakeTree(*request.document, std::move(request.parameters));
    const CPeakMemory memory;
    const auto start = std::chrono::steady_clock::now();
    outcome.failure = FailureOf(request.name, [&] { Drive(plugin, request, *tree, outcome); });
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    outcome.peakBytes = memory.Bytes();
    // The documents that a plug-in hands over can be malformed, too.
    const auto badHandOver = FailureOf(request.name, [&] {
        outcome.documents = TakeDocuments(*tree);
        AddOrigins(outcome.documents, *request.document);
        outcome.views = ViewTypes(*tree);
        if (const CValue* parameters = tree->Entry("parameters", true))
            outcome.parameters = ToJson(*parameters);
    });
    if (!outcome.failure)
        outcome.failure = badHandOver;
    return outcome;
}

} // namespace engine
