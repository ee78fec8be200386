#pragma once

#include <QuillonBase/Neighborhoods.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>

#include <type_traits>

/// The neighbourhoods that the plug-ins of local topology support, and the properties of each.
namespace quillon {

/// For neighbourhood N of the foreground: the code of its Euler coefficients, and the matching neighbourhood
/// of the background.
template <class N>
struct StAdjacency;

template <>
struct StAdjacency<ORVEN::CNeighborhood3dDiffN6> {
    static constexpr int eulerCode = 12;
    using Background = ORVEN::CNeighborhood3dDiffN26;
};

template <>
struct StAdjacency<ORVEN::CNeighborhood3dDiffN26> {
    static constexpr int eulerCode = 21;
    using Background = ORVEN::CNeighborhood3dDiffN6;
};

template <>
struct StAdjacency<ORVEN::CNeighborhood3dDiffN14_1> {
    static constexpr int eulerCode = 15;
    using Background = ORVEN::CNeighborhood3dDiffN14_1;
};

template <>
struct StAdjacency<ORVEN::CNeighborhood3dDiffN14_2> {
    static constexpr int eulerCode = 18;
    using Background = ORVEN::CNeighborhood3dDiffN14_2;
};

/// Calls `work(std::type_identity<N>())` for the neighbourhood with the given id. Any other id raises
/// `CException` in the name of the plug-in.
template <class Work>
void WithNeighborhood(const char* plugin, const ORVEN::CString& id, const Work& work) {
    using namespace ORVEN;
    const auto runIfNamed = [&]<class N>(std::type_identity<N> neighborhood) {
        const bool isNamed = id == N::id;
        if (isNamed)
            work(neighborhood);
        return isNamed;
    };
    if (runIfNamed(std::type_identity<CNeighborhood3dDiffN6>()) ||
        runIfNamed(std::type_identity<CNeighborhood3dDiffN26>()) ||
        runIfNamed(std::type_identity<CNeighborhood3dDiffN14_1>()) ||
        runIfNamed(std::type_identity<CNeighborhood3dDiffN14_2>()))
        return;
    throw CException(plugin, CString("Invalid neighborhood id '%1'.", CString::ENC_UTF8).Arg(id), nullptr);
}

} // namespace quillon
