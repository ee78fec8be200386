#pragma once

#include "cli/StRunOptions.h"

namespace cli {

/// Carries out `quillon run`: runs one plug-in on one image file.
///
/// Errors in the command line and missing folders are found before the plug-in starts, so that no long run is
/// lost to a typing error. Raises `CCommandError` for every exit status other than `STATUS_DONE`. Once the
/// plug-in has been called, a requested report is written before the error is raised.
void RunPlugin(const StRunOptions& options);

} // namespace cli
