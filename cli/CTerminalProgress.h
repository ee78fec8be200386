#pragma once

#include "cli/CInterruptGuard.h"
#include "cli/CProgressBar.h"
#include "engine/catalogue/StCatalogueEntry.h"

#include <string>

namespace cli {

/// The progress of a plug-in on a terminal, and its cancellation by Ctrl-C. Only one may exist at a time.
class CTerminalProgress : public CProgressBar {
public:
    /// Draws to the file descriptor if it is a terminal, unless `isQuiet`, with `prefix` before each text.
    /// `entry` is null for a plug-in that is not in the catalogue.
    CTerminalProgress(const engine::StCatalogueEntry* entry, int descriptor, bool isQuiet,
                      const std::string& prefix = "");

private:
    CInterruptGuard m_interrupts;
};

} // namespace cli
