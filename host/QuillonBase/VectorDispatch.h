#pragma once

#include <cstddef>
#include <type_traits>

namespace ORVEN::Impl {

/// Vector instruction sets that code is compiled for, in ascending order.
enum class EnVectors { BASELINE, AVX2, AVX512 };

/// The largest instruction set that this processor supports.
[[nodiscard]] inline EnVectors BestVectors() {
#ifdef __x86_64__
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl"))
        return EnVectors::AVX512;
    if (__builtin_cpu_supports("avx2"))
        return EnVectors::AVX2;
#endif
    return EnVectors::BASELINE;
}

/// The width of a vector register in bytes.
template <EnVectors vectors>
using RegisterBytes = std::integral_constant<std::size_t, vectors == EnVectors::AVX512 ? 64
                                                          : vectors == EnVectors::AVX2 ? 32
                                                                                       : 16>;

// One function per instruction set. Flattening compiles everything that `body` calls for the same set.

template <class Body>
[[gnu::flatten]] void RunForBaseline(const Body& body) {
    body(RegisterBytes<EnVectors::BASELINE>());
}

#ifdef __x86_64__
template <class Body>
[[gnu::target("avx2"), gnu::flatten]] void RunForAvx2(const Body& body) {
    body(RegisterBytes<EnVectors::AVX2>());
}

template <class Body>
[[gnu::target("avx512f,avx512bw,avx512dq,avx512vl"), gnu::flatten]] void RunForAvx512(const Body& body) {
    body(RegisterBytes<EnVectors::AVX512>());
}
#endif

/// Calls `body` with the `RegisterBytes` of the given instruction set, compiled together with everything that
/// can be inlined into it for that set. For code that uses vector types of its own. Results are the same for
/// all instruction sets as long as lanes are independent: the compiler may not reorder floating-point
/// operations, and contraction is off.
template <class Body>
void RunWithRegisters(EnVectors vectors, const Body& body) {
#ifdef __x86_64__
    if (vectors == EnVectors::AVX512)
        return RunForAvx512(body);
    if (vectors == EnVectors::AVX2)
        return RunForAvx2(body);
#endif
    (void)vectors;
    RunForBaseline(body);
}

/// Runs `body()` in the same way. For plain loops, which the compiler vectorises.
template <class Body>
void RunFor(EnVectors vectors, const Body& body) {
    RunWithRegisters(vectors, [&body](auto /*bytes*/) { body(); });
}

} // namespace ORVEN::Impl
