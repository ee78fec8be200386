#pragma once

#include <sorblib2core/CValueMap.h>

#include <array>

// Values and trees that no sensible host sends.

namespace validate {

struct StRubbish {
    const char* name;
    ORVEN::CValue* (*create)();
};

/// One value of each kind. Of the kind that a plug-in expects, it is one without a meaning.
extern const std::array<StRubbish, 7> c_everyKind;
/// Numbers that nobody measures or means.
extern const std::array<StRubbish, 6> c_extremeNumbers;

/// Spoils a tree with a document in focus.
struct StBadTree {
    const char* name;
    void (*spoil)(ORVEN::CValueMap& tree, ORVEN::CValueMap& document);
};

/// Trees without an image in focus. The first ones lack an entry; behind them are those with an entry of
/// another kind.
extern const std::array<StBadTree, 6> c_incompleteTrees;
extern const std::array<StBadTree, 5> c_mistakenTrees;

} // namespace validate
