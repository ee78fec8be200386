#include "engine/run/CParameterMap.h"

#include "engine/catalogue/NearestWord.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/CTextOutput.h"
#include "engine/files/FileErrors.h"
#include "engine/files/ImageFile.h"
#include "engine/files/TextFile.h"
#include "engine/files/ValueJson.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/StoreEntry.h>

#include <algorithm>

namespace engine {

using ORVEN::CValueMap;

namespace {

std::vector<std::string> KeysOf(const std::vector<StCatalogueParameter>& parameters) {
    std::vector<std::string> keys;
    for (const StCatalogueParameter& parameter : parameters)
        keys.push_back(parameter.key);
    return keys;
}

std::unique_ptr<ORVEN::CValue> DefaultOf(const StCatalogueParameter& parameter) {
    if (parameter.kind == KIND_IMAGE)
        return ParseValue(parameter.key, KIND_IMAGE, "");
    // "1" is also a valid default for a double.
    if (parameter.kind == KIND_DOUBLE)
        return std::make_unique<ORVEN::CValueDouble>(parameter.defaultValue.Number());
    return FromJson(parameter.defaultValue);
}

/// "advanced" of "advanced/mask_image"; empty for a key without a group.
std::string GroupOf(const std::string& key) {
    const auto slash = key.rfind('/');
    return slash != std::string::npos ? key.substr(0, slash) : std::string();
}

/// Whether the object stands for a single value that JSON has no notation for.
bool IsSingleValue(const CJson& object) {
    return object.Members().size() == 1 && object.Members().front().first.starts_with('/');
}

} // namespace

CParameterMap::CParameterMap(std::string what, const std::vector<StCatalogueParameter>* known)
    : m_what(std::move(what))
    , m_known(known)
    , m_map(std::make_unique<CValueMap>()) {}

void CParameterMap::ReadFile(const std::string& path) {
    const CJson file = CJson::Parse(ReadTextFile(path)).value_or(CJson());
    const CJson* const reported = file.Find("parameters");
    const bool isReport =
        reported != nullptr && file.Find("plugin") != nullptr && file.Find("accepted") != nullptr;
    const CJson& map = isReport ? *reported : file;
    const std::unique_ptr<ORVEN::CValue> value = map.IsObject() ? FromJson(map) : nullptr;
    if (value == nullptr || value->Map() == nullptr)
        throw CFileError("'" + path + "' is not a JSON object with parameters");
    if (isReport && file.Find("plugin")->IsString())
        m_reportedPlugin = file.Find("plugin")->String();
    m_map.reset(new CValueMap(*value->Map()));
    FillImagesOfGroups();
}

EnValueKind CParameterMap::KindOf(const StAssignment& assignment) const {
    if (assignment.kind)
        return *assignment.kind;
    const std::string subject = "unknown " + m_what + " '" + assignment.key + "'";
    if (m_known == nullptr) {
        throw CCallerError(subject + ": the catalogue does not describe this plug-in; give the kind, as in " +
                           assignment.key + ":long=" + assignment.value);
    }
    const auto found = std::find_if(m_known->begin(), m_known->end(),
                                    [&](const auto& parameter) { return parameter.key == assignment.key; });
    if (found != m_known->end())
        return found->kind;
    const std::string nearest = NearestWord(assignment.key, KeysOf(*m_known));
    throw CCallerError(
        subject + (nearest.empty() ? "; the plug-in has none" : "; the nearest key is '" + nearest + "'"));
}

void CParameterMap::Set(const StAssignment& assignment) {
    const EnValueKind kind = KindOf(assignment);
    Store(assignment.key, ParseValue(assignment.key, kind, assignment.value));
    m_imageFiles.erase(assignment.key);
    m_setKeys.erase(assignment.key);
    if (kind != KIND_IMAGE || !assignment.value.empty())
        m_setKeys.insert(assignment.key);
    if (kind == KIND_IMAGE && !assignment.value.empty())
        m_imageFiles[assignment.key] = assignment.value;
}

bool CParameterMap::IsKnown(const std::string& key) const {
    return m_known != nullptr &&
           std::ranges::any_of(*m_known, [&key](const auto& parameter) { return parameter.key == key; });
}

void CParameterMap::SetAll(const CJson& values) { SetGroup(values, "", false); }

void CParameterMap::SetAllAsSent(const CJson& values) {
    SetGroup(values, "", true);
    FillImagesOfGroups();
}

void CParameterMap::SetGroup(const CJson& values, const std::string& prefix, bool isAsSent) {
    for (const auto& [name, value] : values.Members()) {
        const std::string key = prefix + name;
        const bool isGroup = value.IsObject() && !IsSingleValue(value) && !IsKnown(key);
        if (!isGroup) {
            SetValue(key, value, isAsSent);
            continue;
        }
        if (!m_map->HasEntry(key))
            Store(key, std::make_unique<CValueMap>());
        SetGroup(value, key + "/", isAsSent);
    }
}

void CParameterMap::SetValue(const std::string& key, const CJson& value, bool isAsSent) {
    if (("/" + key + "/").find("//") != std::string::npos)
        throw CCallerError(m_what + " '" + key + "': a step of the key is empty");
    const bool isChecked = !isAsSent && m_known != nullptr;
    const auto kind = isChecked ? std::optional(KindOf({key, std::nullopt, value.Text()})) : std::nullopt;
    if (kind == KIND_IMAGE)
        throw CCallerError(m_what + " '" + key + "' is an image; name it under \"images\"");
    std::unique_ptr<ORVEN::CValue> made;
    try {
        made = kind == KIND_DOUBLE && value.IsNumber() ? std::make_unique<ORVEN::CValueDouble>(value.Number())
                                                       : FromJson(value);
    } catch (const CFileError& error) {
        throw CCallerError(m_what + " '" + key + "': " + error.what());
    }
    if (made == nullptr)
        throw CCallerError(m_what + " '" + key + "': null is not a value");
    Store(key, std::move(made));
    m_setKeys.insert(key);
}

void CParameterMap::SetImage(const std::string& key, ORVEN::CImage& image) {
    Store(key, std::make_unique<ORVEN::CValuePointer<ORVEN::CImage>>(&image, 1));
}

void CParameterMap::Store(const std::string& key, std::unique_ptr<ORVEN::CValue> value) {
    try {
        ORVEN::StoreEntry(*m_map, key, std::move(value));
    } catch (const ORVEN::CException& error) {
        throw CCallerError(m_what + " '" + key + "': " + error.Message());
    }
}

void CParameterMap::FillDefaults() {
    if (m_known == nullptr)
        return;
    for (const StCatalogueParameter& parameter : *m_known) {
        if (parameter.isAlwaysSent && !m_map->HasEntry(parameter.key))
            Store(parameter.key, DefaultOf(parameter));
    }
    FillImagesOfGroups();
}

void CParameterMap::FillImagesOfGroups() {
    if (m_known == nullptr)
        return;
    for (const StCatalogueParameter& parameter : *m_known) {
        const std::string group = GroupOf(parameter.key);
        if (parameter.kind == KIND_IMAGE && !group.empty() && m_map->HasEntry(group) &&
            !m_map->HasEntry(parameter.key))
            Store(parameter.key, DefaultOf(parameter));
    }
}

std::map<std::string, std::string> CParameterMap::NamedFiles() const {
    std::map<std::string, std::string> files;
    if (m_known == nullptr)
        return files;
    for (const StCatalogueParameter& parameter : *m_known) {
        if (parameter.isFile && m_map->HasEntry(parameter.key, typeid(ORVEN::CValueString)))
            files[parameter.key] = m_map->Entry(parameter.key, true)->String().Std();
    }
    return files;
}

void CParameterMap::RequireRegularFiles() const {
    for (const auto& [key, file] : NamedFiles()) {
        if (IsDeviceOrPipe(file))
            ThrowUnreadable(file, CFileReason("it is not a regular file"));
    }
}

void CParameterMap::ReadImages() {
    for (const auto& [key, path] : m_imageFiles) {
        m_images.push_back(ReadImage(path));
        SetImage(key, *m_images.back());
    }
}

std::unique_ptr<CValueMap> CParameterMap::Take() {
    return std::exchange(m_map, std::make_unique<CValueMap>());
}

} // namespace engine
