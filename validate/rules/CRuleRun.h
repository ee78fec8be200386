#pragma once

#include "engine/catalogue/CCatalogue.h"
#include "engine/packs/CPackLibrary.h"
#include "validate/StCase.h"
#include "validate/StLimits.h"

#include <random>
#include <stdexcept>
#include <string>

namespace validate {

/// What rules are checked on: a pack and, for a rule about plug-ins, one of its entries.
struct StSubject {
    std::string packPath;
    const engine::CCatalogue* catalogue = nullptr;
    const engine::StCatalogueEntry* entry = nullptr; ///< null for a rule about a library
    const engine::CPackLibrary* pack = nullptr; ///< null for a rule about a library, which loads it itself
    std::string folder;                         ///< for files
    StLimits limits;
};

/// Takes what happens during a check, as it happens: after a crash it is all that is known.
class IRuleNotes {
public:
    IRuleNotes() = default;
    IRuleNotes(const IRuleNotes&) = delete;
    IRuleNotes& operator=(const IRuleNotes&) = delete;
    virtual ~IRuleNotes() = default;

    virtual void Variation(const std::string& name) = 0;
    virtual void Detail(const std::string& text) = 0;
    /// The run is cancelled from now on, and has to return within the limit; or it has returned.
    virtual void Cancelled() = 0;
    virtual void Returned() = 0;
};

/// Ends a check: the rule is broken. The message says what was seen.
class CRuleBroken : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Ends a check: the rule says nothing about this plug-in. The message says why.
class CRuleInapplicable : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// One check of one rule on one subject. A check consists of variations, such as one for each type of pixel,
/// so that a failure can be repeated alone.
class CRuleRun {
public:
    CRuleRun(const StSubject& subject, StCase whole, IRuleNotes& notes)
        : m_subject(subject)
        , m_case(std::move(whole))
        , m_notes(notes) {}

    [[nodiscard]] const StSubject& Subject() const { return m_subject; }
    [[nodiscard]] const engine::StCatalogueEntry& Entry() const { return *m_subject.entry; }

    /// Begins a variation, whose name is unique within the rule. Returns false if it is not to be run:
    /// because another one is to be repeated alone.
    [[nodiscard]] bool Begins(const std::string& variation);
    /// A generator that draws the same numbers for the same case.
    [[nodiscard]] std::mt19937 Random() const;

    [[noreturn]] static void Break(const std::string& seen) { throw CRuleBroken(seen); }
    /// Ends the check as broken if there is something to say.
    static void BreakIf(const std::string& seen) {
        if (!seen.empty())
            Break(seen);
    }
    [[noreturn]] static void Skip(const std::string& why) { throw CRuleInapplicable(why); }

    [[nodiscard]] IRuleNotes& Notes() const { return m_notes; }

private:
    const StSubject& m_subject;
    const StCase m_case;
    IRuleNotes& m_notes;
};

} // namespace validate
