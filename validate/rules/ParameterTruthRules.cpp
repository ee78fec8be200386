// Rules about the truth of a catalogue: parameters and settings. They belong to the group "truth".

#include "validate/drive/CTrial.h"
#include "validate/drive/CWatchedMap.h"
#include "validate/drive/Images.h"
#include "validate/drive/Rubbish.h"
#include "validate/rules/RuleGroups.h"

#include "engine/files/ImageWords.h"

#include <sorblib2core/CValueVector.h>

#include <algorithm>
#include <functional>

namespace validate {

using namespace ORVEN;
using engine::StCatalogueParameter;

namespace {

const char* const c_parameters = "parameters";

/// The paths that an update asks for if the parameter is sent, with all that it takes to have an effect.
std::set<std::string> AskedBy(CRuleRun& run, const Choice& choice) {
    std::set<std::string> asked;
    CTrial trial(run);
    trial.Choose(choice);
    {
        const std::unique_ptr<CWatchedMap> tree(NewWatched(trial.Tree(), asked, ""));
        (void)Raised([&] { trial.Call([&] { trial.Plugin().UpdateParameters(*tree); }); });
    }
    return asked;
}

Choice ChoiceOf(const StCatalogueParameter& parameter) {
    return {{parameter.key, LegalTexts(parameter).front()}};
}

void DeclaredKeysAreRead(CRuleRun& run) {
    if (run.Entry().parameters.empty())
        CRuleRun::Skip("it has no parameters");
    for (const StCatalogueParameter& parameter : run.Entry().parameters) {
        if (run.Begins(parameter.key) &&
            !AskedBy(run, ChoiceOf(parameter)).contains(std::string(c_parameters) + "/" + parameter.key))
            CRuleRun::Break("an update does not read the declared parameter '" + parameter.key + "'");
    }
}

/// Whether the path is that of a parameter, or of a group or list that parameters are in.
bool IsDeclared(const engine::StCatalogueEntry& entry, const std::string& path) {
    const std::string prefix = std::string(c_parameters) + "/";
    if (!path.starts_with(prefix))
        return true;
    const std::string key = path.substr(prefix.size());
    return std::any_of(entry.parameters.begin(), entry.parameters.end(), [&key](const auto& parameter) {
        return parameter.key == key || parameter.key.starts_with(key + "/");
    });
}

void NoOtherKeysAreRead(CRuleRun& run) {
    std::vector<Choice> choices{{}};
    for (const StCatalogueParameter& parameter : run.Entry().parameters)
        choices.push_back(ChoiceOf(parameter));
    for (const Choice& choice : choices) {
        for (const std::string& path : AskedBy(run, choice)) {
            if (!IsDeclared(run.Entry(), path))
                CRuleRun::Break("an update reads \"" + path + "\", which the catalogue does not list");
        }
    }
}

/// Calls `check` for each parameter that fulfils the condition; ends the check as inapplicable without any.
void ForEachParameter(CRuleRun& run, const std::function<bool(const StCatalogueParameter&)>& condition,
                      const std::string& nothing,
                      const std::function<void(const StCatalogueParameter&)>& check) {
    bool hasAny = false;
    for (const StCatalogueParameter& parameter : run.Entry().parameters) {
        if (!condition(parameter))
            continue;
        hasAny = true;
        if (run.Begins(parameter.key))
            check(parameter);
    }
    if (!hasAny)
        CRuleRun::Skip(nothing);
}

/// What comes of a run with the parameter, or without it, while all else is the same.
StShown ShownWith(CRuleRun& run, const StCatalogueParameter& parameter, const std::string& text,
                  CValue* other) {
    CTrial trial(run);
    trial.Choose({{parameter.key, text}});
    const std::string path = std::string(c_parameters) + "/" + parameter.key;
    if (other != nullptr)
        trial.Tree().SetEntry(path, other);
    else if (text.empty())
        trial.Tree().RemoveEntry(path);
    (void)trial.TryToRun();
    return trial.Shown();
}

StShown ShownWithout(CRuleRun& run, const StCatalogueParameter& parameter, bool& hasRaised) {
    CTrial trial(run);
    trial.Choose({{parameter.key, LegalTexts(parameter).front()}});
    trial.Tree().RemoveEntry(std::string(c_parameters) + "/" + parameter.key);
    hasRaised = trial.TryToRun().has_value();
    return trial.Shown();
}

void DefaultsAreUsed(CRuleRun& run) {
    (void)NormalShown(run);
    ForEachParameter(
        run,
        [](const StCatalogueParameter& parameter) {
            return !parameter.defaultValue.IsNull() && !parameter.isAlwaysSent;
        },
        "it declares no defaults of its own",
        [&run](const StCatalogueParameter& parameter) {
            bool hasRaised = false;
            const StShown without = ShownWithout(run, parameter, hasRaised);
            if (hasRaised)
                return; // it belongs to a group that is only sent as a whole
            const std::string text = engine::PlainText(parameter.defaultValue);
            const StShown with = ShownWith(run, parameter, text, nullptr);
            if (const std::string seen = Difference(with, without); !seen.empty())
                CRuleRun::Break("without '" + parameter.key + "' the result is not that of its default " +
                                text + ": " + seen);
        });
}

/// The kinds of rubbish that a parameter of the kind is not.
bool IsOfKind(const StRubbish& value, engine::EnValueKind kind) {
    const std::string name = value.name;
    return (name == "bool" && kind == engine::KIND_BOOL) || (name == "long" && kind == engine::KIND_LONG) ||
           (name == "double" && kind == engine::KIND_DOUBLE) ||
           (name == "text" && kind == engine::KIND_STRING);
}

void OtherKindsAreNoValues(CRuleRun& run) {
    (void)NormalShown(run);
    ForEachParameter(
        run, [](const StCatalogueParameter& parameter) { return parameter.kind != engine::KIND_IMAGE; },
        "it has no parameters but images",
        [&run](const StCatalogueParameter& parameter) {
            bool hasRaised = false;
            const StShown without = ShownWithout(run, parameter, hasRaised);
            const std::string text = parameter.defaultValue.IsNull()
                                         ? LegalTexts(parameter).front()
                                         : engine::PlainText(parameter.defaultValue);
            // Where a run cannot do without it, the default of the object counts.
            const StShown ignored = hasRaised ? ShownWith(run, parameter, text, nullptr) : without;
            for (const StRubbish& value : c_everyKind) {
                const std::string name = value.name;
                const bool isScalar = name == "bool" || name == "long" || name == "double" || name == "text";
                if (!isScalar || IsOfKind(value, parameter.kind))
                    continue;
                const StShown with = ShownWith(run, parameter, text, value.create());
                const bool isRefused = !with.parts.empty() && with.parts.front().first == "what was raised";
                if (!isRefused && with != ignored)
                    CRuleRun::Break("a " + name + " changes the result at '" + parameter.key +
                                    "', which the catalogue declares as " +
                                    std::string(engine::WordOfKind(parameter.kind)));
            }
        });
}

/// Breaks the rule if a run with the value raises, whatever images come with it.
void RunsWith(CRuleRun& run, const StCatalogueParameter& parameter, const std::string& text,
              const std::function<std::unique_ptr<CImage>()>& image) {
    std::optional<std::string> raised;
    for (const char* companion : {c_sameType, "binary"}) {
        CTrial trial(run, image());
        Choice choice{{parameter.key, text}};
        trial.Choose(choice);
        Choice images;
        AddCompanions(run.Entry(), parameter, choice);
        for (const auto& [key, value] : choice) {
            const StCatalogueParameter* const other = run.Entry().Parameter(key);
            if (other != nullptr && other->kind == engine::KIND_IMAGE)
                choice[key] = companion;
        }
        trial.Choose(choice);
        raised = trial.TryToRun();
        if (!raised)
            return;
    }
    CRuleRun::Break("with " + parameter.key + "=" + text + ", a run raises: " + *raised);
}

void ChoicesAreAccepted(CRuleRun& run) {
    (void)NormalShown(run);
    ForEachParameter(
        run, [](const StCatalogueParameter& parameter) { return !parameter.choices.empty(); },
        "it has no parameters with choices",
        [&run](const StCatalogueParameter& parameter) {
            for (const engine::CJson& value : parameter.choices)
                RunsWith(run, parameter, engine::PlainText(value), [&run] { return NormalImage(run); });
        });
}

void RangeEndsAreAccepted(CRuleRun& run) {
    (void)NormalShown(run);
    // Small images, because the end of a range can stand for a lot of work.
    const auto image = [&run] {
        const auto& images = run.Entry().images;
        std::vector<std::int64_t> extents{6, 5, 4};
        extents.resize(static_cast<std::size_t>(NormalDimension(run.Entry())));
        for (std::int64_t& extent : extents)
            extent = std::max(extent, images.minimumExtent);
        return TrialImage(run, *engine::PixelTypeOfWord(images.types.front()), SizeOf(extents));
    };
    ForEachParameter(
        run, [](const StCatalogueParameter& parameter) { return !RangeEnds(parameter).empty(); },
        "it has no parameters with a range",
        [&](const StCatalogueParameter& parameter) {
            for (const std::string& text : RangeEnds(parameter))
                RunsWith(run, parameter, text, image);
        });
}

void IgnoredKeysHaveNoEffect(CRuleRun& run) {
    // The history of a result may name it nevertheless.
    const StShown normal = NormalShown(run).WithoutHistory();
    ForEachParameter(
        run, [](const StCatalogueParameter& parameter) { return parameter.isIgnored; },
        "it declares no parameters that are ignored",
        [&](const StCatalogueParameter& parameter) {
            for (const std::string& text : LegalTexts(parameter)) {
                const std::string seen =
                    Difference(normal, ShownWith(run, parameter, text, nullptr).WithoutHistory());
                if (!seen.empty())
                    CRuleRun::Break("'" + parameter.key +
                                    "' is declared to have no effect, and with the value " + text + ", " +
                                    seen);
            }
        });
}

void DeclaredSettingsAreRead(CRuleRun& run) {
    if (run.Entry().settings.empty())
        CRuleRun::Skip("it has no settings");
    for (const StCatalogueParameter& setting : run.Entry().settings) {
        if (!run.Begins(setting.key))
            continue;
        std::set<std::string> asked;
        CWatchedMap settings(asked, "");
        settings.SetEntry(setting.key, c_everyKind[3].create());
        const auto plugin = MakePlugin(run);
        (void)Raised([&] { plugin->Configure(nullptr, settings); });
        if (!asked.contains(setting.key))
            CRuleRun::Break("Configure does not read the declared setting '" + setting.key + "'");
    }
}

constexpr StRule c_rules[] = {
    {"truth.declared-keys-are-read", EnLevel::PLUGIN,
     "An update reads each parameter that the catalogue lists.", "A form shows a field for it.",
     DeclaredKeysAreRead},
    {"truth.no-other-keys-are-read", EnLevel::PLUGIN,
     "An update reads no parameter that the catalogue does not list.", "Nobody would find it.",
     NoOtherKeysAreRead},
    {"truth.defaults-are-used", EnLevel::PLUGIN,
     "Without a parameter, the result is that of its declared default. This holds for those that a host need "
     "not "
     "send.",
     "Forms and documentation show the default.", DefaultsAreUsed},
    {"truth.other-kinds-are-no-values", EnLevel::PLUGIN,
     "A value of another kind than the declared one is refused or ignored.",
     "A host checks values against the declared kind.", OtherKindsAreNoValues},
    {"truth.choices-are-accepted", EnLevel::PLUGIN, "A run with each of the declared choices raises nothing.",
     "A form offers these and no others.", ChoicesAreAccepted},
    {"truth.range-ends-are-accepted", EnLevel::PLUGIN,
     "A run with the least and the greatest declared value of each parameter raises nothing.",
     "A form lets people go that far.", RangeEndsAreAccepted},
    {"truth.ignored-keys-have-no-effect", EnLevel::PLUGIN,
     "A parameter that is declared to have no effect has none.", "A form leaves its field out.",
     IgnoredKeysHaveNoEffect},
    {"truth.declared-settings-are-read", EnLevel::PLUGIN,
     "Configure reads each setting that the catalogue lists.", "A form shows a field for it.",
     DeclaredSettingsAreRead},
};

} // namespace

std::span<const StRule> ParameterTruthRules() { return c_rules; }

} // namespace validate
