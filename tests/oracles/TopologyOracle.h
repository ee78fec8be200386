#pragma once

#include "oracles/AxisOracle.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// What the tests of skeletons compare with: topology by its definitions, on lists of pixels and cells.
/// Nothing here shares code or tables with the library. Neighbourhoods are named by id.
namespace test {

inline const std::vector<std::string> c_neighborhoodIds{"N6", "N26", "N14_1", "N14_2"};

/// Whether two pixels that lie apart by this offset are neighbours.
bool AreNeighbors(const std::string& id, const Vector& offset);

/// The neighbourhood that the background takes.
std::string DualOf(const std::string& id);

/// The object of 3 x 3 x 3 pixels whose neighbours of the centre are the 26 bits, in raster order.
StObject Surroundings(std::uint32_t neighbors, bool hasCentre);

/// Whether the centre of an object of 3 x 3 x 3 pixels is simple, by the components around it.
bool IsSimpleByDefinition(const std::string& id, const StObject& surroundings);

/// The 3 x 3 x 3 pixels around a position.
StObject SurroundingsOf(const StObject& object, const Vector& p);

/// An object with a layer of background around it, and the pixels that it leaves there.
StObject Padded(const StObject& object, std::int64_t margin);
StObject Complement(const StObject& object);

int ComponentCount(const std::string& id, const StObject& object);

/// Vertices less edges and so on, of the complex of the neighbourhood on the object's pixels.
std::int64_t EulerNumber(const std::string& id, const StObject& object);

/// What a thinning keeps: components of object and of background, and the Euler number, by which the tunnels
/// are kept too.
struct StTopology {
    int objects = 0;
    int backgrounds = 0;
    std::int64_t eulerNumber = 0;

    friend bool operator==(const StTopology&, const StTopology&) = default;
};
std::ostream& operator<<(std::ostream& stream, const StTopology& topology);
StTopology TopologyOf(const std::string& id, const StObject& object);

/// The thinning of an object by its definition: a queue for each distance, and every step in the text's
/// order.
StObject ThinnedByDefinition(const std::string& id, const StObject& object,
                             const std::vector<std::uint32_t>& squaredDistances, const StObject& anchors);

} // namespace test
