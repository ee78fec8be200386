#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <optional>

// Files with several channels or time points: an image is one of them.

namespace engine {

/// Points the header at one channel and one time point, counted from 0. Adjacent samples of a pixel need no
/// choice yet: they may turn out to be equal. Raises `CFileReason` if a choice is missing, with the options
/// of the command line to give, or if there is no such channel or time point; that is the caller's fault.
void ChooseImage(StImageHeader& header, std::optional<std::int64_t> channel,
                 std::optional<std::int64_t> time);

/// Raises `CFileReason` for a file with several channels and no choice among them.
[[noreturn]] void ThrowSeveralChannels(std::int64_t channels);

} // namespace engine
