#pragma once

#include "engine/catalogue/StCatalogueEntry.h"

#include <sorblib2core/CValueMap.h>

#include <set>
#include <string>
#include <vector>

namespace engine {

/// What is wrong with a parameter.
enum EnFinding {
    FINDING_UNKNOWN_KEY,  ///< the plug-in has no such parameter
    FINDING_OTHER_PLUGIN, ///< the parameters are those of another plug-in
    FINDING_WRONG_KIND,   ///< the plug-in ignores or refuses a value of this kind
    FINDING_NO_CHOICE,    ///< the value is none of the choices
    FINDING_OUT_OF_RANGE,
    FINDING_NO_EFFECT, ///< the parameter has no effect in this combination, or on this image
    FINDING_MISSING,   ///< a parameter that is needed is not given
    FINDING_TOO_MANY   ///< parameters that exclude each other are given
};

/// One thing that is wrong with the parameters of a call.
struct StFinding {
    EnFinding kind;
    std::string key;     ///< of the parameter that is wrong or missing; empty if it is none in particular
    std::string message; ///< a sentence without a final full stop that names the value and what is allowed
};

/// Checks the parameters of a call against the catalogue, without changing them: what a plug-in does with a
/// questionable value is its own affair. Front ends decide whether a finding is a warning or an error.
///
/// Takes time linear in the number of parameters.
class CParameterChecks {
public:
    /// The entry must outlive this object. `parameters` are those that will be sent, defaults included.
    CParameterChecks(const StCatalogueEntry& entry, const ORVEN::CValueMap& parameters);

    /// Counts a parameter as set by the user, in place of a default. An image is then counted as given, even
    /// if the map has a null pointer for it because the file is read later. A key that is not in the
    /// catalogue is then taken as deliberate.
    void SetByUser(const std::string& key) { m_setByUser.insert(key); }

    /// All findings that do not depend on the image, in the order of the catalogue.
    [[nodiscard]] std::vector<StFinding> Findings() const;
    /// The findings on parameters set by the user that have no effect on this image.
    [[nodiscard]] std::vector<StFinding> FindingsOn(const ORVEN::CImage& image) const;

private:
    [[nodiscard]] const CJson* ValueOf(const std::string& key) const;
    [[nodiscard]] bool IsGiven(const StCatalogueParameter& parameter) const;
    [[nodiscard]] CJson EffectiveValue(const StCatalogueParameter& parameter) const;
    [[nodiscard]] bool Holds(const StCondition& condition) const;
    void FindUnknown(const CJson& map, const std::string& prefix, std::vector<StFinding>& findings) const;
    void CheckValue(const StCatalogueParameter& parameter, std::vector<StFinding>& findings) const;
    void CheckEffect(const StCatalogueParameter& parameter, std::vector<StFinding>& findings) const;
    void CheckCompanions(const StCatalogueParameter& parameter, std::vector<StFinding>& findings) const;
    void CheckAlternatives(const StAlternatives& alternatives, std::vector<StFinding>& findings) const;

    const StCatalogueEntry& m_entry;
    CJson m_parameters;
    std::set<std::string> m_images; // keys of images that are not null
    std::set<std::string> m_setByUser;
};

/// The finding for parameters that a report says were used with another plug-in; none if the plug-in is the
/// same, or one of the two asks for the parameters of the other. `other` is null if its plug-in is not in
/// a catalogue.
std::vector<StFinding> CheckReportedPlugin(const StCatalogueEntry& entry, const std::string& reported,
                                           const StCatalogueEntry* other);

} // namespace engine
