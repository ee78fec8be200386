#include "plugin/PluginContract.h"

#include <sorblib2core/AreTypesEqual.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/StoreEntry.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <string>
#include <utility>

namespace quillon::contract {

using namespace ORVEN;

namespace {

const char* const c_focused = "input/documents/focused";

/// Returns the value at the key if its class is exactly V, otherwise null.
template <class V>
const V* TypedEntry(const CValueMap& values, const char* key) {
    return values.HasEntry(key, typeid(V)) ? static_cast<const V*>(values.Entry(key, true)) : nullptr;
}

/// Whether the tree specifies the document in focus, even if only to say that there is none.
bool IsFocusGiven(const CValueMap& tree, EnFocusTest test) {
    switch (test) {
    case EnFocusTest::ANY_ENTRY:
        return tree.HasEntry(c_focused);
    case EnFocusTest::POINTER_TO_DOCUMENT:
        return tree.HasEntry(c_focused, typeid(CValuePointer<CValueMap>));
    case EnFocusTest::ANY_INPUT:
        return tree.HasEntry("input");
    }
    return false;
}

void ReplaceEarlierOutput(CValueMap& tree, EnHandOver way) {
    switch (way) {
    case EnHandOver::NEW_OUTPUT:
        tree.SetEntry("output", new CValueMap);
        break;
    case EnHandOver::NEW_DOCUMENTS:
        StoreEntry(tree, "output/documents", std::make_unique<CValueMap>());
        break;
    case EnHandOver::NEW_LIST:
        StoreEntry(tree, "output/documents/add", std::make_unique<CValueVector>());
        break;
    case EnHandOver::INTO_LIST:
        break;
    }
}

} // namespace

void DescribePlugin(CValueMap& setup, const char* pluginName) {
    setup.SetEntry("Version", new CValueString("version 1.0.0", CString::NPOS));
    if (pluginName != nullptr)
        setup.SetEntry("PluginName", new CValueString(pluginName, CString::NPOS));
}

const CImage* FocusedImage(const CValueMap& tree) {
    const auto* focused = TypedEntry<CValuePointer<CValueMap>>(tree, c_focused);
    const CValueMap* document = UnwrapPointer<CValueMap>(static_cast<const CValue*>(focused));
    if (document == nullptr)
        return nullptr;
    return UnwrapPointer<CImage>(
        static_cast<const CValue*>(TypedEntry<CValuePointer<CImage>>(*document, "content")));
}

void StoreFocusedDocument(const CValueMap& tree, CValueMap*& document, EnFocusTest test) {
    if (IsFocusGiven(tree, test))
        document = UnwrapPointer<CValueMap>(tree.Entry(c_focused, true));
}

bool ReadParameter(const CValueMap& values, const char* key, bool& member) {
    const auto* value = TypedEntry<CValueBool>(values, key);
    if (value != nullptr)
        member = value->Bool();
    return value != nullptr;
}

bool ReadParameter(const CValueMap& values, const char* key, std::int32_t& member) {
    const auto* value = TypedEntry<CValueLong>(values, key);
    if (value != nullptr)
        member = value->Long();
    return value != nullptr;
}

bool ReadParameter(const CValueMap& values, const char* key, double& member) {
    const auto* value = TypedEntry<CValueDouble>(values, key);
    if (value != nullptr)
        member = value->Double();
    return value != nullptr;
}

bool ReadParameter(const CValueMap& values, const char* key, CString& member) {
    const auto* value = TypedEntry<CValueString>(values, key);
    if (value != nullptr)
        member = value->String();
    return value != nullptr;
}

CImage* ContentOf(const CValueMap* document) {
    return document != nullptr ? UnwrapPointer<CImage>(document->Entry("content", true)) : nullptr;
}

CImage* ImageContentOf(const CValueMap* document) {
    const CValue* content = document != nullptr ? document->Entry("content", true) : nullptr;
    const bool isImage = content != nullptr && content->GenericType() == CValue::VAL_POINTER &&
                         AreTypesEqual(content->ElementType(), typeid(CImage));
    return isImage ? ContentOf(document) : nullptr;
}

CString LabelOf(const CValueMap& document, const char* fallback) {
    return document.EntryString("label", CString(fallback, CString::ENC_UTF8));
}

bool HoldsMap(const CImage* image, const std::string& path, const CValueMap* map) {
    const CValue* entry =
        map != nullptr && image != nullptr ? image->Attributes().Entry(path, true) : nullptr;
    return entry != nullptr && entry->Map() == map;
}

void Inherit(CImage& result, const CImage& source, const CString& historyLine) {
    CQuillonHeaderTools::SetAttributes(result, source.Attributes());
    CQuillonHeaderTools::AddToHistory(result, CValueString(historyLine));
}

void HandOver(CValueMap& tree, EnHandOver way, std::unique_ptr<CImage> image, const CString& label,
              int index) {
    auto document = std::make_unique<CValueMap>();
    document->SetEntry("label", new CValueString(label));
    auto content = std::make_unique<CValueOwnedPointer<CImage>>(image.get(), 1);
    (void)image.release();
    document->SetEntry("content", content.release());

    auto pointer = std::make_unique<CValuePointer<CValueMap>>(document.get(), 1);
    ReplaceEarlierOutput(tree, way);
    StoreEntry(tree, "output/documents/add/" + std::to_string(index), std::move(pointer));
    (void)document.release(); // the host takes it out of the tree
}

void RequestView(CValueMap& tree, CValueMap& document) {
    StoreEntry(tree, "output/views/create", std::make_unique<CValueVector>());
    auto view = std::make_unique<CValueMap>();
    view->SetEntry("type", new CValueString("ImageAttributesView", CString::NPOS));
    view->SetEntry("document", new CValuePointer<CValueMap>(&document, 1));
    StoreEntry(tree, "output/views/create/0", std::move(view));
}

} // namespace quillon::contract
