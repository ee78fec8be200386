#pragma once

#include <QuillonBase/VectorDispatch.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace ORVEN::Impl {

/// Vectors of numbers that are processed in parallel lanes. A vector type wider than the registers of the
/// processor would be kept in memory, so code is written for any number of lanes.
template <std::size_t count>
struct StLanes {
    using Doubles [[gnu::vector_size(8 * count)]] = double;
    using Integers [[gnu::vector_size(4 * count)]] = int;
    using Shorts [[gnu::vector_size(2 * count)]] = short;
    using Bytes [[gnu::vector_size(count)]] = unsigned char;
};

template <class Numbers>
constexpr std::int64_t c_laneCount = sizeof(Numbers) / sizeof(double);

/// The greatest number of lanes. Rows are padded to a multiple of it.
inline constexpr std::int64_t c_mostLanes = 8;

constexpr std::int64_t FillLanes(std::int64_t count) {
    return (count + c_mostLanes - 1) / c_mostLanes * c_mostLanes;
}

/// Calls `body(std::type_identity<Numbers>())`, compiled for those vector instructions, with a type that
/// fills a register. Lanes are independent, so the results do not depend on the instructions.
template <class Body>
void RunOnLanes(EnVectors vectors, const Body& body) {
    RunWithRegisters(vectors, [&body](auto bytes) {
        body(std::type_identity<typename StLanes<bytes / sizeof(double)>::Doubles>());
    });
}

// Vectors are passed by reference because the calling convention for passing them by value depends on the
// target of the function.

template <class Numbers>
[[gnu::always_inline]] inline void Load(Numbers& lanes, const double* values) {
    std::memcpy(&lanes, values, sizeof lanes);
}

template <class Numbers>
[[gnu::always_inline]] inline void Load(Numbers& lanes, const unsigned char* values) {
    using Lanes = StLanes<c_laneCount<Numbers>>;
    typename Lanes::Bytes bytes;
    std::memcpy(&bytes, values, sizeof bytes);
    // In steps, because there are instructions that double the width of numbers.
    const auto shorts = __builtin_convertvector(bytes, typename Lanes::Shorts);
    lanes = __builtin_convertvector(__builtin_convertvector(shorts, typename Lanes::Integers), Numbers);
}

template <class Numbers>
[[gnu::always_inline]] inline void Store(double* values, const Numbers& lanes) {
    std::memcpy(values, &lanes, sizeof lanes);
}

} // namespace ORVEN::Impl
