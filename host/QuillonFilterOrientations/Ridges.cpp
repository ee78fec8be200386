#include "QuillonFilterOrientations/Ridges.h"

#include "QuillonFilterOrientations/Lanes.h"

#include <Eigen/Eigenvalues>

#include <algorithm>
#include <cmath>

// The closed forms are evaluated for several matrices at once. There are no branches: both alternatives are
// computed, and comparisons yield masks that select between them.

// Every function that returns vectors is inlined, so the calling convention for vectors is irrelevant.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace ORVEN::Impl {

namespace {

/// Smallest curvature across a ridge, in grey values.
constexpr double c_leastCurvature = 0.001;

/// Relative to the greatest entry of a matrix: the accuracy required of an eigenvector, and the distance
/// required between the two smallest eigenvalues.
constexpr double c_tolerance = 1e-6;

constexpr double c_doubtful = 2.0;

constexpr double c_cosineOf30 = 0.8660254037844386;

template <class Numbers>
[[gnu::always_inline]] inline Numbers Larger(const Numbers& a, const Numbers& b) {
    return a > b ? a : b;
}

template <class Numbers>
[[gnu::always_inline]] inline Numbers Magnitude(const Numbers& a) {
    return a < 0.0 ? -a : a;
}

/// The number if it is positive, else 1. Used as a divisor whose quotient is not used in the latter case.
template <class Numbers>
[[gnu::always_inline]] inline Numbers PositiveOrOne(const Numbers& a) {
    return a > 0.0 ? a : Numbers{} + 1.0;
}

template <class Numbers>
[[gnu::always_inline]] inline Numbers SquareRoot(const Numbers& a) {
    Numbers root;
    for (std::int64_t lane = 0; lane < c_laneCount<Numbers>; ++lane)
        root[lane] = std::sqrt(a[lane]);
    return root;
}

/// Puts the number of smaller magnitude first.
template <class Numbers>
[[gnu::always_inline]] inline void OrderByMagnitude(Numbers& a, Numbers& b) {
    const auto isOrdered = Magnitude(a) <= Magnitude(b);
    const Numbers lesser = isOrdered ? a : b;
    b = isOrdered ? b : a;
    a = lesser;
}

/// The root c of 4 c^3 - 3 c = r in [cos 30 deg, 1], for r in [0, 1]: cos(acos(r) / 3). Uses Newton's method
/// with a starting error below 0.007. The slope there is at least 6, and three quadratically converging steps
/// suffice.
template <class Numbers>
[[gnu::always_inline]] inline Numbers CosineOfThird(const Numbers& r) {
    Numbers c = c_cosineOf30 + (1.0 - c_cosineOf30) * r;
    for (int step = 0; step < 3; ++step)
        c -= ((4.0 * c * c - 3.0) * c - r) / (12.0 * c * c - 3.0);
    return c;
}

template <class Numbers>
struct StVector {
    Numbers x;
    Numbers y;
    Numbers z;
};

template <class Numbers>
[[gnu::always_inline]] inline Numbers Dot(const StVector<Numbers>& a, const StVector<Numbers>& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

template <class Numbers>
[[gnu::always_inline]] inline StVector<Numbers> Cross(const StVector<Numbers>& a,
                                                      const StVector<Numbers>& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// Whether there is a ridge (1, 0 or `c_doubtful`), and its direction.
template <class Numbers>
struct StRidge {
    Numbers state;
    StVector<Numbers> direction;
};

/// Keeps the longer of two vectors in `a`, and its squared length in `squareA`.
template <class Numbers>
[[gnu::always_inline]] inline void KeepLonger(StVector<Numbers>& a, Numbers& squareA,
                                              const StVector<Numbers>& b) {
    const Numbers squareB = Dot(b, b);
    const auto isLonger = squareB > squareA;
    a.x = isLonger ? b.x : a.x;
    a.y = isLonger ? b.y : a.y;
    a.z = isLonger ? b.z : a.z;
    squareA = isLonger ? squareB : squareA;
}

template <class Numbers>
struct StMatrix {
    Numbers xx;
    Numbers yy;
    Numbers xy;
    Numbers zz;
    Numbers xz;
    Numbers yz;
};

/// The eigenvalues in order of increasing magnitude. With mean q and spread p, the eigenvalues of (A - q) / p
/// are twice the cosines of angles 120 degrees apart. The first one computed is well separated from the
/// others.
template <class Numbers>
[[gnu::always_inline]] inline std::array<Numbers, 3> Eigenvalues(const StMatrix<Numbers>& a) {
    const Numbers q = (a.xx + a.yy + a.zz) / 3.0;
    const Numbers x = a.xx - q;
    const Numbers y = a.yy - q;
    const Numbers z = a.zz - q;
    const Numbers square = (x * x + y * y + z * z + 2.0 * (a.xy * a.xy + a.xz * a.xz + a.yz * a.yz)) / 6.0;
    const Numbers p = SquareRoot(square);
    const Numbers determinant =
        x * (y * z - a.yz * a.yz) - a.xy * (a.xy * z - a.yz * a.xz) + a.xz * (a.xy * a.yz - y * a.xz);
    const Numbers cosine = determinant / PositiveOrOne<Numbers>(2.0 * square * p);
    const Numbers r = Magnitude(cosine);
    const Numbers c = CosineOfThird<Numbers>(r < 1.0 ? r : Numbers{} + 1.0);
    const Numbers rest = (1.0 - c) * (1.0 + c);
    const Numbers s = c_cosineOf30 * SquareRoot<Numbers>(rest > 0.0 ? rest : Numbers{});
    const Numbers signedSpread = cosine < 0.0 ? -2.0 * p : 2.0 * p;
    std::array<Numbers, 3> eigenvalues{q + signedSpread * c, q + signedSpread * (s - 0.5 * c),
                                       q - signedSpread * (s + 0.5 * c)};
    OrderByMagnitude(eigenvalues[0], eigenvalues[1]);
    OrderByMagnitude(eigenvalues[1], eigenvalues[2]);
    OrderByMagnitude(eigenvalues[0], eigenvalues[1]);
    return eigenvalues;
}

template <class Numbers>
[[gnu::always_inline]] inline StRidge<Numbers> SolveInSpace(const StMatrix<Numbers>& matrix) {
    const Numbers greatest = Larger(Larger(Larger(Magnitude(matrix.xx), Magnitude(matrix.yy)),
                                           Larger(Magnitude(matrix.zz), Magnitude(matrix.xy))),
                                    Larger(Magnitude(matrix.xz), Magnitude(matrix.yz)));
    const Numbers unit = 1.0 / PositiveOrOne(greatest);
    const StMatrix<Numbers> a{matrix.xx * unit, matrix.yy * unit, matrix.xy * unit,
                              matrix.zz * unit, matrix.xz * unit, matrix.yz * unit};
    const auto [least, middle, largest] = Eigenvalues(a);

    const StVector<Numbers> rowX{a.xx - least, a.xy, a.xz};
    const StVector<Numbers> rowY{a.xy, a.yy - least, a.yz};
    const StVector<Numbers> rowZ{a.xz, a.yz, a.zz - least};
    StVector<Numbers> direction = Cross(rowX, rowY);
    Numbers squareLength = Dot(direction, direction);
    KeepLonger(direction, squareLength, Cross(rowX, rowZ));
    KeepLonger(direction, squareLength, Cross(rowY, rowZ));
    const Numbers factor = 1.0 / SquareRoot(PositiveOrOne(squareLength));
    direction = {direction.x * factor, direction.y * factor, direction.z * factor};
    const Numbers residual = Larger(Magnitude(Dot(rowX, direction)),
                                    Larger(Magnitude(Dot(rowY, direction)), Magnitude(Dot(rowZ, direction))));

    const Numbers none{};
    const Numbers one = none + 1.0;
    const Numbers doubtful = none + c_doubtful;
    const Numbers curvature = middle * greatest;
    Numbers state = curvature < -c_leastCurvature ? one : none;
    state = squareLength > 0.0 ? state : doubtful;
    state = residual <= c_tolerance ? state : doubtful;
    state = Magnitude(middle) - Magnitude(least) >= c_tolerance ? state : doubtful;
    // The solver is worthwhile only near a ridge: in flat regions nothing is accurate.
    state = curvature < -0.5 * c_leastCurvature ? state : none;
    state = largest < 0.0 ? state : none;
    const auto isKnown = state == one;
    return {state,
            {isKnown ? direction.x : none, isKnown ? direction.y : none, isKnown ? direction.z : none}};
}

/// The eigenvalues are mean + spread and mean - spread. If the mean is not positive, the second has the
/// greater magnitude and is the one across the ridge.
template <class Numbers>
[[gnu::always_inline]] inline StRidge<Numbers> SolveInPlane(const StMatrix<Numbers>& a) {
    const Numbers mean = 0.5 * (a.xx + a.yy);
    const Numbers half = 0.5 * (a.xx - a.yy);
    const Numbers spread = SquareRoot<Numbers>(half * half + a.xy * a.xy);
    // Uses the form of the eigenvector that has no cancellation. If the spread is 0, all directions are
    // equivalent.
    const Numbers none{};
    const Numbers one = none + 1.0;
    const Numbers sum = spread + Magnitude(half);
    const Numbers longer = sum > 0.0 ? sum : one;
    const Numbers x = half < 0.0 ? a.xy : longer;
    const Numbers y = half < 0.0 ? longer : a.xy;
    const Numbers factor = 1.0 / SquareRoot<Numbers>(x * x + y * y);
    Numbers state = mean <= 0.0 ? one : none;
    state = mean - spread < -c_leastCurvature ? state : none;
    return {state, {state * x * factor, state * y * factor, none}};
}

StRidge<double> SolveByIteration(const Eigen::Matrix3d& matrix) {
    const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(matrix);
    std::array<Eigen::Index, 3> order{0, 1, 2};
    const auto& eigenvalues = solver.eigenvalues();
    std::sort(order.begin(), order.end(), [&](Eigen::Index a, Eigen::Index b) {
        return std::fabs(eigenvalues[a]) < std::fabs(eigenvalues[b]);
    });
    if (!(eigenvalues[order[2]] < 0.0 && eigenvalues[order[1]] < -c_leastCurvature))
        return {0.0, {0.0, 0.0, 0.0}};
    const Eigen::Vector3d direction = solver.eigenvectors().col(order[0]);
    return {1.0, {direction.x(), direction.y(), direction.z()}};
}

/// The matrices from index `i` on. Entries that a 2-d image does not have are not read.
template <class Numbers, std::size_t dimension>
[[gnu::always_inline]] inline StMatrix<Numbers> LoadMatrices(const SymmetricMatrices& matrices,
                                                             std::size_t i) {
    StMatrix<Numbers> a{};
    Load(a.xx, matrices[XX].data() + i);
    Load(a.yy, matrices[YY].data() + i);
    Load(a.xy, matrices[XY].data() + i);
    if constexpr (dimension == 3) {
        Load(a.zz, matrices[ZZ].data() + i);
        Load(a.xz, matrices[XZ].data() + i);
        Load(a.yz, matrices[YZ].data() + i);
    }
    return a;
}

template <class Numbers, std::size_t dimension>
[[gnu::always_inline]] inline void Solve(std::size_t count, const SymmetricMatrices& matrices,
                                         StRidges& ridges) {
    for (std::size_t i = 0; i < count; i += c_laneCount<Numbers>) {
        const auto a = LoadMatrices<Numbers, dimension>(matrices, i);
        const StRidge<Numbers> ridge = dimension == 3 ? SolveInSpace(a) : SolveInPlane(a);
        Store(ridges.isRidge.data() + i, ridge.state);
        Store(ridges.direction[0].data() + i, ridge.direction.x);
        Store(ridges.direction[1].data() + i, ridge.direction.y);
        Store(ridges.direction[2].data() + i, ridge.direction.z);
    }
}

void SolveDoubtful(std::size_t count, const SymmetricMatrices& matrices, StRidges& ridges) {
    for (std::size_t i = 0; i < count; ++i) {
        if (ridges.isRidge[i] != c_doubtful)
            continue;
        const auto entry = [&](EnMatrixPlace place) { return matrices[place][i]; };
        Eigen::Matrix3d matrix;
        matrix << entry(XX), entry(XY), entry(XZ), //
            entry(XY), entry(YY), entry(YZ),       //
            entry(XZ), entry(YZ), entry(ZZ);
        const StRidge<double> ridge = SolveByIteration(matrix);
        ridges.isRidge[i] = ridge.state;
        ridges.direction[0][i] = ridge.direction.x;
        ridges.direction[1][i] = ridge.direction.y;
        ridges.direction[2][i] = ridge.direction.z;
    }
}

} // namespace

void FindRidges(std::size_t dimension, std::size_t count, SymmetricMatrices& matrices, EnVectors vectors,
                StRidges& ridges) {
    // Padded to whole lanes. Results beyond the last matrix are ignored.
    const auto filled = static_cast<std::size_t>(FillLanes(static_cast<std::int64_t>(count)));
    for (std::vector<double>& place : matrices)
        place.resize(filled);
    ridges.isRidge.resize(filled);
    for (std::vector<double>& component : ridges.direction)
        component.resize(filled);
    // Divisions and square roots dominate, and these take twice as long on vectors twice as wide.
    RunOnLanes(std::min(vectors, EnVectors::AVX2), [&]<class Numbers>(std::type_identity<Numbers>) {
        if (dimension == 3)
            Solve<Numbers, 3>(count, matrices, ridges);
        else
            Solve<Numbers, 2>(count, matrices, ridges);
    });
    if (dimension == 3)
        SolveDoubtful(count, matrices, ridges);
}

} // namespace ORVEN::Impl
