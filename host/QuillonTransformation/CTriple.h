#pragma once

namespace ORVEN {

/// Three numbers, one per axis.
template <class T>
class CTriple {
public:
    CTriple() = default;
    CTriple(T px, T py, T pz)
        : x(px)
        , y(py)
        , z(pz) {}

    T x{};
    T y{};
    T z{};
};

} // namespace ORVEN
