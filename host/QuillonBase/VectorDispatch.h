#pragma once

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

template <class Body>
[[gnu::flatten]] void RunForBaseline(const Body& body) {
    body();
}

#ifdef __x86_64__
template <class Body>
[[gnu::target("avx2"), gnu::flatten]] void RunForAvx2(const Body& body) {
    body();
}

template <class Body>
[[gnu::target("avx512f,avx512bw,avx512dq,avx512vl"), gnu::flatten]] void RunForAvx512(const Body& body) {
    body();
}
#endif

/// Runs `body()`, compiled together with everything that can be inlined into it for the given instruction
/// set. Results are the same for all instruction sets: the compiler may not reorder floating-point
/// operations, and contraction is off.
template <class Body>
void RunFor(EnVectors vectors, const Body& body) {
#ifdef __x86_64__
    if (vectors == EnVectors::AVX512)
        return RunForAvx512(body);
    if (vectors == EnVectors::AVX2)
        return RunForAvx2(body);
#endif
    (void)vectors;
    RunForBaseline(body);
}

} // namespace ORVEN::Impl
