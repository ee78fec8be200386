#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace test {

/// The catalogue entry of "Scale" in the bad pack, all of it true. The bad plug-ins beside it have the same
/// one under their own names, unless it is the catalogue that breaks their rule.
inline nlohmann::json SoundEntry(const std::string& name) {
    nlohmann::json entry = nlohmann::json::parse(R"({
        "title": "Scaling", "summary": "Multiplies pixels by a factor and adds an offset",
        "images": {"types": ["grey8", "grey16", "greyf"], "dimensions": [1, 2, 3], "minimumExtent": 1},
        "parameters": [
            {"key": "factor", "kind": "double", "meaning": "what pixels are multiplied by", "default": 2,
             "minimum": 0, "maximum": 100, "alwaysSent": true},
            {"key": "offset", "kind": "long", "meaning": "what is added", "default": 5, "minimum": 0, "maximum": 1000},
            {"key": "mode", "kind": "string", "meaning": "no effect", "default": "plain",
             "choices": ["plain", "inverse"]},
            {"key": "note", "kind": "string", "meaning": "no effect", "default": "a", "choices": ["a", "b"],
             "ignored": true},
            {"key": "other", "kind": "image", "meaning": "no effect"}
        ],
        "settings": [{"key": "path", "kind": "string", "meaning": "no effect"}],
        "dialogs": false, "cancel": "anywhere", "documentsOut": 1, "resultTypes": ["same"],
        "usesSpacing": "irrelevant"})");
    entry["name"] = name;
    return entry;
}

} // namespace test
