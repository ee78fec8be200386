#pragma once

namespace ORVEN::Impl {

/// Vector instructions that code is compiled for, from fewest to most.
enum class EnVectors { BASELINE, AVX2, AVX512 };

/// The most that this processor has.
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

/// Runs `body()`, compiled for those vector instructions with all that can be inlined into it. The results
/// are the same for all of them: nothing in it allows the compiler to change the order of operations, and
/// contraction is off.
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
