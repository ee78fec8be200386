#pragma once

#include "engine/files/CJson.h"

#include <string>
#include <vector>

namespace engine {

struct StCatalogueParameter;

/// How a plug-in computes a volume block by block, with the result that it has for the whole volume.
enum EnBlockRule {
    BLOCKS_UNKNOWN,
    BLOCKS_POINTWISE,   ///< each pixel by itself
    BLOCKS_HALO,        ///< each pixel from those at most a margin away
    BLOCKS_PLACE,       ///< each pixel from its value and its place in the volume
    BLOCKS_LINES,       ///< each line along one axis by itself
    BLOCKS_PASSES,      ///< one pass over lines along each axis
    BLOCKS_SUM,         ///< sums over blocks that are added up
    BLOCKS_REDUCE,      ///< a verdict on each block that are joined
    BLOCKS_COMPONENTS,  ///< objects of each block that are joined across faces
    BLOCKS_OBJECTS,     ///< each object in its bounding box
    BLOCKS_MEASUREMENT, ///< reads a measurement and no pixels
    BLOCKS_WHOLE        ///< only on the whole volume
};

/// A margin that differs from the usual one for some values of a parameter.
struct StBlockCase {
    std::string key;
    std::vector<CJson> values;
    std::string margin;
};

/// Images or values of a parameter for which only the whole volume gives the result. The value null stands
/// for a parameter that is not given.
struct StBlockException {
    std::vector<std::string> types; ///< pixel types; or
    std::string key;                ///< a parameter
    std::vector<CJson> values;      ///< with one of these values
    std::string reason;
};

/// The block rule of a plug-in.
struct StCatalogueBlocks {
    EnBlockRule rule = BLOCKS_UNKNOWN;
    std::string margin; ///< in pixels, see `EvaluateMargin`; only of a halo or sum
    std::vector<StBlockCase> cases;
    bool needsGreatest = false; ///< the greatest value of the volume is part of the computation
    double deviation = 0.0;     ///< of the result from that of the whole, at most, as a fraction of its range
    std::vector<StBlockException> exceptions;
    std::string reason;  ///< why it is `BLOCKS_WHOLE`
    std::string instead; ///< what to do instead, as a sentence
};

/// What margins can refer to besides parameters: the greatest radius of a ball in the structure, in pixels,
/// only in a sum; and the pixel lengths, which are 1 for a volume without spacing.
inline constexpr const char* c_greatestRadius = "greatest_radius";
inline constexpr const char* c_greatestSpacing = "greatest_spacing";
inline constexpr const char* c_smallestSpacing = "smallest_spacing";

/// Parses the member "blocks" of an entry, as strictly as the rest. Raises `std::runtime_error`, naming
/// `place`, also for a margin that is not an expression of the parameters.
StCatalogueBlocks ParseCatalogueBlocks(const CJson& object,
                                       const std::vector<StCatalogueParameter>& parameters,
                                       const std::string& place);

/// The rule in words: "with a margin of radius pixels around each block".
std::string BlocksInWords(const StCatalogueBlocks& blocks);

} // namespace engine
