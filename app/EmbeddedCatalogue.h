#pragma once

#include <span>
#include <string_view>

namespace app {

/// The texts of the files in catalogue/, one a plug-in, by name ascending. They are compiled in, so that no
/// file is looked for at run time.
std::span<const std::string_view> EmbeddedCatalogue();

} // namespace app
