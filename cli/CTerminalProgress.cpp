#include "cli/CTerminalProgress.h"

#include <unistd.h>

namespace cli {

using namespace engine;

namespace {

/// The notice to print when Ctrl-C may have no effect: otherwise a user would wait without explanation for a
/// plug-in that does not check for cancellation. Empty for a plug-in that can be cancelled anywhere or is not
/// in the catalogue.
std::string CancelNotice(const StCatalogueEntry* entry, bool isTerminal) {
    if (entry == nullptr || entry->cancel == CANCEL_ANYWHERE)
        return "";
    // On a terminal the notice replaces the progress bar.
    return (isTerminal ? CProgressBar::wipeLine : "") + ("quillon: " + entry->name) +
           (entry->cancel == CANCEL_PARTLY ? " cannot be cancelled in all parts of its work; if it goes on, a"
                                           : " cannot be cancelled; a") +
           " second Ctrl-C ends the program at once\n";
}

} // namespace

CTerminalProgress::CTerminalProgress(const StCatalogueEntry* entry, int descriptor, bool isQuiet,
                                     const std::string& prefix)
    : CProgressBar(!isQuiet && isatty(descriptor) != 0 ? descriptor : -1, prefix)
    , m_interrupts(CancelNotice(entry, isatty(descriptor) != 0), descriptor) {}

} // namespace cli
