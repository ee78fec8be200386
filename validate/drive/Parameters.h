#pragma once

#include "engine/catalogue/StCatalogueEntry.h"

#include <map>
#include <random>
#include <string>
#include <vector>

// Values for the parameters of a plug-in, made from its catalogue entry.

namespace validate {

/// Values by key, as on a command line. That of an image is the word for its pixel type, or `c_sameType`.
using Choice = std::map<std::string, std::string>;

/// An image of the type of the image in focus.
inline constexpr const char* c_sameType = "same";

/// What a plug-in needs for a run: its required parameters, and one of each group of alternatives. Without
/// those that are always sent, which a trial adds.
Choice NormalChoice(const engine::StCatalogueEntry& entry);

/// Adds what a parameter needs to have an effect: the values that its conditions name, and its companions.
void AddCompanions(const engine::StCatalogueEntry& entry, const engine::StCatalogueParameter& parameter,
                   Choice& choice);

/// Legal values of a parameter that differ from each other: choices, or numbers around the default.
std::vector<std::string> LegalTexts(const engine::StCatalogueParameter& parameter);
/// The least and the greatest legal number, as far as there are.
std::vector<std::string> RangeEnds(const engine::StCatalogueParameter& parameter);

/// Legal values for a random part of the parameters, and their companions. Numbers without an upper limit
/// stay small, so that a run takes no longer than others.
Choice RandomChoice(const engine::StCatalogueEntry& entry, std::mt19937& random);

/// In the form "sigma=2 type=marker".
std::string TextOf(const Choice& choice);

} // namespace validate
