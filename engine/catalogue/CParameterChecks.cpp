#include "engine/catalogue/CParameterChecks.h"

#include "engine/catalogue/NearestWord.h"
#include "engine/files/ImageWords.h"
#include "engine/files/ValueJson.h"

#include <sorblib2core/UnwrapPointer.h>

#include <algorithm>
#include <cctype>

namespace engine {

namespace {

std::string Quoted(const std::string& text) {
    std::string quoted(1, '\'');
    return quoted.append(text).append(1, '\'');
}

/// "type='x'" for a string and "radius=3" for everything else.
std::string Assignment(const std::string& key, const CJson& value) {
    const bool hasBlank = key.find(' ') != std::string::npos;
    return (hasBlank ? Quoted(key) : key) + "=" +
           (value.IsString() ? Quoted(value.String()) : PlainText(value));
}

/// Numbers are the same whether or not they are written with a decimal point.
bool AreSame(const CJson& a, const CJson& b) {
    return a.IsNumber() && b.IsNumber() ? a.Number() == b.Number() : a == b;
}

bool IsOneOf(const CJson& value, const std::vector<CJson>& values) {
    return std::any_of(values.begin(), values.end(),
                       [&value](const CJson& known) { return AreSame(value, known); });
}

std::string Joined(std::span<const std::string> words, const char* last) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i)
        text.append(i == 0 ? "" : i + 1 < words.size() ? ", " : last).append(words[i]);
    return text;
}

bool AreEqualButForCase(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

/// The choice that was probably meant; empty if none is similar.
std::string MeantChoice(const StCatalogueParameter& parameter, const CJson& value) {
    if (!value.IsString())
        return "";
    for (const CJson& choice : parameter.choices) {
        if (AreEqualButForCase(choice.String(), value.String()) ||
            (!value.String().empty() && choice.String().starts_with(value.String())))
            return choice.String();
    }
    std::vector<std::string> choices;
    for (const CJson& choice : parameter.choices)
        choices.push_back(choice.String());
    return NearWord(value.String(), choices);
}

/// The kind that a value has in the parameter tree.
const char* KindOf(const CJson& value) {
    return value.IsBool()                                         ? "bool"
           : value.IsInteger()                                    ? "long"
           : value.IsString()                                     ? "string"
           : value.IsArray()                                      ? "list"
           : value.IsObject() && value.Find("/double") == nullptr ? "group"
                                                                  : "double";
}

std::string ConditionInWords(const StCondition& condition) {
    if (condition.isGiven)
        return *condition.isGiven ? "with " + condition.key : "without " + condition.key;
    std::vector<std::string> values;
    for (const CJson& value : condition.values)
        values.push_back(Assignment(condition.key, value));
    return "with " + Joined(values, " or ");
}

} // namespace

CParameterChecks::CParameterChecks(const StCatalogueEntry& entry, const ORVEN::CValueMap& parameters)
    : m_entry(entry)
    , m_parameters(ToJson(parameters)) {
    for (const StCatalogueParameter& parameter : entry.parameters) {
        if (parameter.kind != KIND_IMAGE)
            continue;
        const ORVEN::CValue* const value = parameters.Entry(parameter.key, true);
        if (value != nullptr && value->GenericType() == ORVEN::CValue::VAL_POINTER &&
            ORVEN::UnwrapPointer<ORVEN::CImage>(value) != nullptr)
            m_images.insert(parameter.key);
    }
}

const CJson* CParameterChecks::ValueOf(const std::string& key) const {
    const CJson* value = &m_parameters;
    for (std::size_t begin = 0; value != nullptr && begin <= key.size();) {
        const std::size_t end = std::min(key.find('/', begin), key.size());
        value = value->Find(key.substr(begin, end - begin));
        begin = end + 1;
    }
    return value;
}

bool CParameterChecks::IsGiven(const StCatalogueParameter& parameter) const {
    if (parameter.kind == KIND_IMAGE)
        return m_images.contains(parameter.key) || m_setByUser.contains(parameter.key);
    return ValueOf(parameter.key) != nullptr;
}

CJson CParameterChecks::EffectiveValue(const StCatalogueParameter& parameter) const {
    const CJson* const value = ValueOf(parameter.key);
    return value != nullptr ? *value : parameter.defaultValue;
}

bool CParameterChecks::Holds(const StCondition& condition) const {
    if (condition.key.empty())
        return true; // depends on the image
    const StCatalogueParameter& other = *m_entry.Parameter(condition.key);
    if (condition.isGiven)
        return IsGiven(other) == *condition.isGiven;
    return IsOneOf(EffectiveValue(other), condition.values);
}

void CParameterChecks::FindUnknown(const CJson& map, const std::string& prefix,
                                   std::vector<StFinding>& findings) const {
    for (const auto& [name, value] : map.Members()) {
        const std::string key = prefix + name;
        if (m_entry.Parameter(key) != nullptr || m_setByUser.contains(key))
            continue;
        const auto isBelow = [&key](const auto& parameter) { return parameter.key.starts_with(key + "/"); };
        if (value.IsObject() && std::any_of(m_entry.parameters.begin(), m_entry.parameters.end(), isBelow)) {
            FindUnknown(value, key + "/", findings);
            continue;
        }
        std::vector<std::string> keys;
        for (const StCatalogueParameter& parameter : m_entry.parameters)
            keys.push_back(parameter.key);
        const std::string nearest = NearestWord(key, keys);
        findings.push_back(
            {FINDING_UNKNOWN_KEY, key,
             Quoted(key) + " is not a parameter of " + m_entry.name +
                 (nearest.empty() ? ", which has none" : "; the nearest key is " + Quoted(nearest))});
    }
}

void CParameterChecks::CheckValue(const StCatalogueParameter& parameter,
                                  std::vector<StFinding>& findings) const {
    const CJson* const value = ValueOf(parameter.key);
    if (value == nullptr || parameter.kind == KIND_IMAGE)
        return;
    const std::string kind = KindOf(*value);
    if (kind != WordOfKind(parameter.kind)) {
        findings.push_back(
            {FINDING_WRONG_KIND, parameter.key,
             Assignment(parameter.key, *value) + " is a " + kind + "; " + m_entry.name + " takes a " +
                 std::string(WordOfKind(parameter.kind)) +
                 (parameter.kind == KIND_DOUBLE && kind == "long" ? ", written with a decimal point" : "")});
        return;
    }
    if (IsLegal(parameter, *value))
        return;
    if (parameter.choices.empty()) {
        findings.push_back({FINDING_OUT_OF_RANGE, parameter.key,
                            Assignment(parameter.key, *value) +
                                " is out of range; allowed: " + LegalValuesWithUnit(parameter)});
        return;
    }
    const std::string meant = MeantChoice(parameter, *value);
    findings.push_back({FINDING_NO_CHOICE, parameter.key,
                        Assignment(parameter.key, *value) + " is not " + LegalValuesInWords(parameter) +
                            (meant.empty() ? "" : "; did you mean " + Quoted(meant) + "?")});
}

void CParameterChecks::CheckEffect(const StCatalogueParameter& parameter,
                                   std::vector<StFinding>& findings) const {
    const bool isImage = parameter.kind == KIND_IMAGE;
    if (!IsGiven(parameter))
        return;
    const CJson* const value = ValueOf(parameter.key);
    if (!isImage && AreSame(*value, parameter.defaultValue))
        return; // as good as not given
    const std::string what = isImage ? parameter.key : Assignment(parameter.key, *value);
    if (parameter.isIgnored) {
        findings.push_back(
            {FINDING_NO_EFFECT, parameter.key, what + " has no effect on the result of " + m_entry.name});
        return;
    }
    for (const StCondition& condition : parameter.appliesWhen) {
        if (Holds(condition))
            continue;
        std::string now;
        if (!condition.isGiven) {
            const CJson other = EffectiveValue(*m_entry.Parameter(condition.key));
            now = other.IsNull() ? " without " + condition.key : " with " + Assignment(condition.key, other);
        } else {
            now = *condition.isGiven ? " without " + condition.key : " with " + condition.key;
        }
        findings.push_back({FINDING_NO_EFFECT, parameter.key,
                            what + " has no effect" + now + "; it applies " + ConditionInWords(condition)});
        return;
    }
}

void CParameterChecks::CheckCompanions(const StCatalogueParameter& parameter,
                                       std::vector<StFinding>& findings) const {
    if (parameter.isRequired && !IsGiven(parameter)) {
        findings.push_back({FINDING_MISSING, parameter.key,
                            m_entry.name + " needs " + parameter.key + ", which is missing"});
        return;
    }
    const CJson value = EffectiveValue(parameter);
    for (const StRequirement& requirement : parameter.requirements) {
        const auto& values = requirement.values;
        if (values.empty() ? !IsGiven(parameter) : !IsOneOf(value, values))
            continue;
        for (const std::string& key : requirement.keys) {
            const bool isReported =
                std::any_of(findings.begin(), findings.end(), [&key](const StFinding& finding) {
                    return finding.kind == FINDING_MISSING && finding.key == key;
                });
            if (isReported || IsGiven(*m_entry.Parameter(key)))
                continue;
            const std::string what = value.IsNull() ? parameter.key : Assignment(parameter.key, value);
            findings.push_back({FINDING_MISSING, key, what + " needs " + key + ", which is missing"});
        }
    }
}

void CParameterChecks::CheckAlternatives(const StAlternatives& alternatives,
                                         std::vector<StFinding>& findings) const {
    const auto count = static_cast<std::size_t>(
        std::count_if(alternatives.keys.begin(), alternatives.keys.end(),
                      [this](const std::string& key) { return IsGiven(*m_entry.Parameter(key)); }));
    if (count == 0)
        findings.push_back(
            {FINDING_MISSING, "", m_entry.name + " needs " + Joined(alternatives.keys, " or ")});
    if (count > alternatives.atMost)
        findings.push_back(
            {FINDING_TOO_MANY, "",
             m_entry.name + " takes either " + Joined(alternatives.keys, " or ") + ", not both"});
}

std::vector<StFinding> CParameterChecks::Findings() const {
    std::vector<StFinding> findings;
    if (m_entry.parametersFor.empty())
        FindUnknown(m_parameters, "", findings);
    for (const StCatalogueParameter& parameter : m_entry.parameters) {
        CheckValue(parameter, findings);
        CheckEffect(parameter, findings);
        CheckCompanions(parameter, findings);
    }
    for (const StAlternatives& alternatives : m_entry.alternatives)
        CheckAlternatives(alternatives, findings);
    return findings;
}

std::vector<StFinding> CParameterChecks::FindingsOn(const ORVEN::CImage& image) const {
    std::vector<StFinding> findings;
    for (const StCatalogueParameter& parameter : m_entry.parameters) {
        const CJson* const value = ValueOf(parameter.key);
        if (value == nullptr || !m_setByUser.contains(parameter.key))
            continue;
        for (const StCondition& condition : parameter.appliesWhen) {
            const bool isOn = !value->IsBool() || value->Bool();
            if (condition.attribute.empty() || !isOn || image.Attributes().HasEntry(condition.attribute))
                continue;
            findings.push_back({FINDING_NO_EFFECT, parameter.key,
                                Assignment(parameter.key, *value) + " has no effect: the image has no " +
                                    condition.name + "; run " + Alternatives(condition.from) + " first"});
        }
    }
    return findings;
}

std::vector<StFinding> CheckReportedPlugin(const StCatalogueEntry& entry, const std::string& reported,
                                           const StCatalogueEntry* other) {
    if (reported.empty() || reported == entry.name || reported == entry.parametersFor ||
        (other != nullptr && other->parametersFor == entry.name))
        return {};
    return {{FINDING_OTHER_PLUGIN, "",
             "the parameters are those of a run of " + reported + ", not of " + entry.name}};
}

} // namespace engine
