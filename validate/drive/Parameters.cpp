#include "validate/drive/Parameters.h"

#include <algorithm>
#include <cmath>

namespace validate {

using namespace engine;

namespace {

/// A number that is legal and means something in an image of a dozen pixels along each axis.
std::string SmallNumber(const StCatalogueParameter& parameter) {
    const double least = parameter.minimum.value_or(-1e9);
    const double greatest = parameter.maximum.value_or(1e9);
    return PlainText(CJson(std::clamp(3.0, least, greatest)));
}

std::string UsualText(const StCatalogueParameter& parameter) {
    if (!parameter.defaultValue.IsNull())
        return PlainText(parameter.defaultValue);
    if (!parameter.choices.empty())
        return PlainText(parameter.choices.front());
    switch (parameter.kind) {
    case KIND_BOOL:
        return "true";
    case KIND_LONG:
    case KIND_DOUBLE:
        return SmallNumber(parameter);
    case KIND_IMAGE:
        return c_sameType;
    case KIND_STRING:
        break;
    }
    return "text";
}

void AddIfMissing(const StCatalogueEntry& entry, const std::string& key, Choice& choice) {
    if (const StCatalogueParameter* parameter = entry.Parameter(key); parameter != nullptr)
        choice.try_emplace(key, UsualText(*parameter));
}

/// The companions that the chosen value asks for.
void AddRequired(const StCatalogueEntry& entry, const StCatalogueParameter& parameter, Choice& choice) {
    const auto chosen = choice.find(parameter.key);
    if (chosen == choice.end())
        return;
    for (const StRequirement& requirement : parameter.requirements) {
        const bool isAsked =
            requirement.values.empty() ||
            std::any_of(requirement.values.begin(), requirement.values.end(),
                        [&](const CJson& value) { return PlainText(value) == chosen->second; });
        for (const std::string& key : requirement.keys) {
            if (isAsked)
                AddIfMissing(entry, key, choice);
        }
    }
}

/// Leaves between one and `atMost` of the alternatives.
void SettleAlternatives(const StCatalogueEntry& entry, Choice& choice) {
    for (const StAlternatives& alternatives : entry.alternatives) {
        std::size_t count = 0;
        std::string simplest; // a number, if one will do in place of an image
        for (const std::string& key : alternatives.keys) {
            if (choice.contains(key) && ++count > alternatives.atMost)
                choice.erase(key);
            if (simplest.empty() || entry.Parameter(simplest)->kind == KIND_IMAGE)
                simplest = key;
        }
        if (count == 0)
            AddIfMissing(entry, simplest, choice);
    }
}

std::string RandomNumber(const StCatalogueEntry& entry, const StCatalogueParameter& parameter,
                         std::mt19937& random) {
    constexpr double range = 10;
    const bool isScale = parameter.key == entry.scaleFactor || parameter.key == entry.scaleLength;
    const double least = isScale ? 0.5 : parameter.minimum.value_or(-range / 2);
    const double greatest =
        isScale ? 3.0 : std::min(parameter.maximum.value_or(least + range), least + range);
    if (parameter.kind == KIND_LONG) {
        return std::to_string(std::uniform_int_distribution<std::int32_t>(
            static_cast<std::int32_t>(std::ceil(least)), static_cast<std::int32_t>(greatest))(random));
    }
    return PlainText(CJson(std::uniform_real_distribution<double>(least, greatest)(random)));
}

std::string RandomText(const StCatalogueEntry& entry, const StCatalogueParameter& parameter,
                       std::mt19937& random) {
    const auto oneOf = [&random](std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
    };
    if (!parameter.choices.empty())
        return PlainText(parameter.choices[oneOf(parameter.choices.size())]);
    switch (parameter.kind) {
    case KIND_BOOL:
        return oneOf(2) == 0 ? "false" : "true";
    case KIND_LONG:
    case KIND_DOUBLE:
        return RandomNumber(entry, parameter, random);
    case KIND_IMAGE:
        return oneOf(2) == 0 ? c_sameType : "binary";
    case KIND_STRING:
        break;
    }
    return "text";
}

} // namespace

Choice NormalChoice(const StCatalogueEntry& entry) {
    Choice choice;
    for (const StCatalogueParameter& parameter : entry.parameters) {
        if (parameter.isRequired)
            AddIfMissing(entry, parameter.key, choice);
    }
    SettleAlternatives(entry, choice);
    return choice;
}

void AddCompanions(const StCatalogueEntry& entry, const StCatalogueParameter& parameter, Choice& choice) {
    for (const StCondition& condition : parameter.appliesWhen) {
        if (!condition.values.empty())
            choice[condition.key] = PlainText(condition.values.front());
        else if (condition.isGiven.value_or(false))
            AddIfMissing(entry, condition.key, choice);
    }
    // Companions can have companions of their own.
    for (std::size_t before = 0; before != choice.size();) {
        before = choice.size();
        for (const StCatalogueParameter& other : entry.parameters)
            AddRequired(entry, other, choice);
    }
    for (const StAlternatives& alternatives : entry.alternatives) {
        const auto isOne = [&](const std::string& key) { return key == parameter.key; };
        if (std::none_of(alternatives.keys.begin(), alternatives.keys.end(), isOne))
            continue;
        for (const std::string& key : alternatives.keys) {
            if (alternatives.atMost == 1 && key != parameter.key)
                choice.erase(key);
        }
    }
}

std::vector<std::string> LegalTexts(const StCatalogueParameter& parameter) {
    std::vector<std::string> texts;
    for (const CJson& value : parameter.choices)
        texts.push_back(PlainText(value));
    if (parameter.kind == KIND_BOOL)
        texts = {"true", "false"};
    if (parameter.kind == KIND_IMAGE)
        texts = {c_sameType, "binary"};
    if (texts.empty() && (parameter.kind == KIND_LONG || parameter.kind == KIND_DOUBLE)) {
        const double middle = parameter.defaultValue.IsNumber() ? parameter.defaultValue.Number() : 3.0;
        for (const double value : {middle, middle + 1, middle * 2, middle - 1}) {
            if (IsLegal(parameter, CJson(value)))
                texts.push_back(PlainText(CJson(value)));
        }
    }
    if (texts.empty())
        texts.push_back(UsualText(parameter));
    return texts;
}

std::vector<std::string> RangeEnds(const StCatalogueParameter& parameter) {
    std::vector<std::string> ends;
    for (const std::optional<double>& end : {parameter.minimum, parameter.maximum}) {
        if (end)
            ends.push_back(PlainText(CJson(*end)));
    }
    return ends;
}

Choice RandomChoice(const StCatalogueEntry& entry, std::mt19937& random) {
    Choice choice;
    for (const StCatalogueParameter& parameter : entry.parameters) {
        const bool isSent = std::uniform_int_distribution<int>(0, 1)(random) == 0;
        const std::string text = RandomText(entry, parameter, random);
        if ((isSent || parameter.isAlwaysSent || parameter.isRequired) && !parameter.isFile)
            choice[parameter.key] = text;
    }
    for (const StCatalogueParameter& parameter : entry.parameters)
        AddRequired(entry, parameter, choice);
    SettleAlternatives(entry, choice);
    return choice;
}

std::string TextOf(const Choice& choice) {
    std::string text;
    for (const auto& [key, value] : choice)
        text.append(text.empty() ? "" : " ").append(key).append("=").append(value);
    return text.empty() ? "no parameters" : text;
}

} // namespace validate
