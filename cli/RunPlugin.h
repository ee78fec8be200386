#pragma once

#include "cli/StRunOptions.h"

namespace cli {

/// The work of `quillon run`: one plug-in on one image file.
///
/// All that can be wrong with the command line, and folders that are not there, are found before the plug-in
/// starts, so that no long run is lost for a typing error. Raises `CCommandError` for every end but "done"; a
/// report that was asked for is written before, as soon as there was a plug-in.
void RunPlugin(const StRunOptions& options);

} // namespace cli
