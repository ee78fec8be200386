#pragma once

#include <QuillonBase/VectorDispatch.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace ORVEN::Impl {

/// Numbers on which each operation is done at once. A type with more of them than the processor's vectors
/// hold would live in memory, so that code is written for any number of lanes.
template <std::size_t count>
struct StLanes {
    using Doubles [[gnu::vector_size(8 * count)]] = double;
    using Integers [[gnu::vector_size(4 * count)]] = int;
    using Shorts [[gnu::vector_size(2 * count)]] = short;
    using Bytes [[gnu::vector_size(count)]] = unsigned char;
};

template <class Numbers>
constexpr std::int64_t c_laneCount = sizeof(Numbers) / sizeof(double);

/// The widest that there are: rows are filled up to a multiple of this.
inline constexpr std::int64_t c_mostLanes = 8;

constexpr std::int64_t FillLanes(std::int64_t count) {
    return (count + c_mostLanes - 1) / c_mostLanes * c_mostLanes;
}

/// Calls `body(std::type_identity<Numbers>())`, compiled for those vector instructions, with numbers that
/// fill their vectors. Lanes know nothing of each other, so that results are the same for all of them.
template <class Body>
void RunOnLanes(EnVectors vectors, const Body& body) {
#ifdef __x86_64__
    if (vectors == EnVectors::AVX512)
        return RunForAvx512([&] { body(std::type_identity<StLanes<8>::Doubles>()); });
    if (vectors == EnVectors::AVX2)
        return RunForAvx2([&] { body(std::type_identity<StLanes<4>::Doubles>()); });
#endif
    (void)vectors;
    RunForBaseline([&] { body(std::type_identity<StLanes<2>::Doubles>()); });
}

// Vectors are handed over by reference: how they would be passed by value depends on what a function is
// compiled for.

template <class Numbers>
[[gnu::always_inline]] inline void Load(Numbers& lanes, const double* values) {
    std::memcpy(&lanes, values, sizeof lanes);
}

template <class Numbers>
[[gnu::always_inline]] inline void Load(Numbers& lanes, const unsigned char* values) {
    using Lanes = StLanes<c_laneCount<Numbers>>;
    typename Lanes::Bytes bytes;
    std::memcpy(&bytes, values, sizeof bytes);
    // Step by step, as there are instructions that double the size of numbers.
    const auto shorts = __builtin_convertvector(bytes, typename Lanes::Shorts);
    lanes = __builtin_convertvector(__builtin_convertvector(shorts, typename Lanes::Integers), Numbers);
}

template <class Numbers>
[[gnu::always_inline]] inline void Store(double* values, const Numbers& lanes) {
    std::memcpy(values, &lanes, sizeof lanes);
}

} // namespace ORVEN::Impl
