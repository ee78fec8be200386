#include "engine/catalogue/StCatalogueBlocks.h"

#include "engine/catalogue/BlockMargin.h"
#include "engine/catalogue/CMemberReader.h"
#include "engine/catalogue/StCatalogueEntry.h"
#include "engine/files/ImageWords.h"

#include <algorithm>
#include <array>

namespace engine {

namespace {

struct StRuleWord {
    const char* word;
    EnBlockRule rule;
    const char* text;
};

constexpr std::array c_ruleWords{
    StRuleWord{"pointwise", BLOCKS_POINTWISE, "each block by itself"},
    StRuleWord{"halo", BLOCKS_HALO, "each block with a margin"},
    StRuleWord{"place", BLOCKS_PLACE, "each block by itself, at its place in the volume"},
    StRuleWord{"lines", BLOCKS_LINES, "whole lines along one axis"},
    StRuleWord{"passes", BLOCKS_PASSES, "one pass over whole lines along each axis"},
    StRuleWord{"sum", BLOCKS_SUM, "sums over the blocks"},
    StRuleWord{"reduce", BLOCKS_REDUCE, "a verdict on each block, joined at the end"},
    StRuleWord{"components", BLOCKS_COMPONENTS, "objects of each block, joined across faces"},
    StRuleWord{"objects", BLOCKS_OBJECTS, "each object in its bounding box"},
    StRuleWord{"measurement", BLOCKS_MEASUREMENT, "not needed; it reads a measurement and no pixels"},
    StRuleWord{"whole", BLOCKS_WHOLE, "no"}};

EnBlockRule RuleOfWord(const std::string& word, const CMemberReader& reader) {
    const auto found = std::ranges::find(c_ruleWords, word, &StRuleWord::word);
    if (found != c_ruleWords.end())
        return found->rule;
    std::string all;
    for (const StRuleWord& known : c_ruleWords)
        all.append(all.empty() ? "" : ", ").append(known.word);
    reader.Fail("'rule' is none of " + all);
}

/// Raises unless the text is an expression of numbers among the parameters.
void RequireMargin(const std::string& margin, EnBlockRule rule,
                   const std::vector<StCatalogueParameter>& parameters, const CMemberReader& reader) {
    const auto valueOf = [&](const std::string& key) {
        const auto found = std::ranges::find(parameters, key, &StCatalogueParameter::key);
        const bool isNumber =
            found != parameters.end() && (found->kind == KIND_LONG || found->kind == KIND_DOUBLE);
        const bool isVariable = key == c_greatestSpacing || key == c_smallestSpacing ||
                                (rule == BLOCKS_SUM && key == c_greatestRadius);
        if (!isNumber && !isVariable)
            throw std::runtime_error("'" + margin + "' is not a margin: '" + key +
                                     "' is not the key of a number");
        return 1.0;
    };
    try {
        (void)EvaluateMargin(margin, valueOf);
    } catch (const std::runtime_error& error) {
        reader.Fail(error.what());
    }
}

void RequireParameter(const std::string& key, const std::vector<StCatalogueParameter>& parameters,
                      const CMemberReader& reader) {
    if (std::ranges::find(parameters, key, &StCatalogueParameter::key) == parameters.end())
        reader.Fail("names the unknown parameter '" + key + "'");
}

StBlockCase ParseCase(const CJson& object, EnBlockRule rule,
                      const std::vector<StCatalogueParameter>& parameters, const std::string& place) {
    CMemberReader reader(object, place + ": cases");
    StBlockCase given;
    given.key = reader.Get<std::string>("key");
    given.values = reader.Get<std::vector<CJson>>("values");
    given.margin = reader.Get<std::string>("margin");
    reader.RefuseOthers();
    RequireParameter(given.key, parameters, reader);
    RequireMargin(given.margin, rule, parameters, reader);
    return given;
}

StBlockException ParseException(const CJson& object, const std::vector<StCatalogueParameter>& parameters,
                                const std::string& place) {
    CMemberReader reader(object, place + ": except");
    StBlockException exception;
    exception.types = reader.Get<std::vector<std::string>>("types", {});
    exception.key = reader.Get<std::string>("key", "");
    exception.values = reader.Get<std::vector<CJson>>("values", {});
    exception.reason = reader.Get<std::string>("reason");
    reader.RefuseOthers();
    if (exception.types.empty() == exception.key.empty() || exception.key.empty() != exception.values.empty())
        reader.Fail("needs 'types', or a 'key' with 'values'");
    if (exception.reason.empty())
        reader.Fail("needs a 'reason'");
    for (const std::string& type : exception.types) {
        if (!PixelTypeOfWord(type))
            reader.Fail("knows no pixel type '" + type + "'");
    }
    if (!exception.key.empty())
        RequireParameter(exception.key, parameters, reader);
    return exception;
}

/// Raises if a member is missing that the rule needs, or there is one that means nothing for it.
void RequireConsistent(const StCatalogueBlocks& blocks, const CMemberReader& reader) {
    const bool isWhole = blocks.rule == BLOCKS_WHOLE;
    if (isWhole && (blocks.reason.empty() || blocks.instead.empty()))
        reader.Fail("needs a 'reason' and what to do 'instead'");
    if (!isWhole && !blocks.reason.empty())
        reader.Fail("has a 'reason' and is not whole");
    if (!isWhole && blocks.exceptions.empty() != blocks.instead.empty())
        reader.Fail("needs 'except' and what to do 'instead', or neither");
    if (isWhole && !blocks.exceptions.empty())
        reader.Fail("has exceptions from nothing");
    if (blocks.rule == BLOCKS_HALO && blocks.margin.empty())
        reader.Fail("needs a 'margin'");
    if (blocks.rule != BLOCKS_HALO && blocks.rule != BLOCKS_SUM && !blocks.margin.empty())
        reader.Fail("has a 'margin' and no halo");
    if (blocks.needsGreatest && blocks.rule != BLOCKS_POINTWISE)
        reader.Fail("has 'needsGreatest' and is not pointwise");
    if (!(blocks.deviation >= 0.0 && blocks.deviation <= 1e-4))
        reader.Fail("'deviation' is not from 0 to 0.0001");
}

} // namespace

StCatalogueBlocks ParseCatalogueBlocks(const CJson& object,
                                       const std::vector<StCatalogueParameter>& parameters,
                                       const std::string& place) {
    CMemberReader reader(object, place);
    StCatalogueBlocks blocks;
    blocks.rule = RuleOfWord(reader.Get<std::string>("rule"), reader);
    blocks.margin = reader.Get<std::string>("margin", "");
    if (!blocks.margin.empty())
        RequireMargin(blocks.margin, blocks.rule, parameters, reader);
    for (const CJson& given : reader.Get<std::vector<CJson>>("cases", {}))
        blocks.cases.push_back(ParseCase(given, blocks.rule, parameters, place));
    blocks.needsGreatest = reader.Get<bool>("needsGreatest", false);
    blocks.deviation = reader.Get<double>("deviation", 0.0);
    for (const CJson& exception : reader.Get<std::vector<CJson>>("except", {}))
        blocks.exceptions.push_back(ParseException(exception, parameters, place));
    blocks.reason = reader.Get<std::string>("reason", "");
    blocks.instead = reader.Get<std::string>("instead", "");
    reader.RefuseOthers();
    RequireConsistent(blocks, reader);
    return blocks;
}

std::string BlocksInWords(const StCatalogueBlocks& blocks) {
    const auto found = std::ranges::find(c_ruleWords, blocks.rule, &StRuleWord::rule);
    if (found == c_ruleWords.end())
        return "";
    std::string text = found->text;
    if (!blocks.margin.empty())
        text += blocks.rule == BLOCKS_HALO ? " of " + blocks.margin + " pixels"
                                           : ", each with a margin of " + blocks.margin + " pixels";
    for (const StBlockCase& given : blocks.cases) {
        std::vector<std::string> words;
        for (const CJson& value : given.values)
            words.push_back(PlainText(value));
        text += "; " + given.margin + " for " + given.key + " " + Alternatives(words);
    }
    if (blocks.needsGreatest)
        text += ", after the greatest value of the volume";
    if (blocks.deviation > 0.0)
        text += "; within " + PlainText(CJson(blocks.deviation)) + " of the range of values";
    for (const StBlockException& exception : blocks.exceptions) {
        std::vector<std::string> words = exception.types;
        for (const CJson& value : exception.values)
            words.push_back(value.IsNull() ? "without " + exception.key
                                           : exception.key + " " + PlainText(value));
        text += "; not " + Alternatives(words) + ": " + exception.reason;
    }
    if (blocks.rule == BLOCKS_WHOLE)
        text += ": " + blocks.reason;
    return text;
}

} // namespace engine
