#pragma once

#include "utils/visitors/Visitor.h"

namespace ORVEN::visitors {

/// Copies the second image into the first.
template <class T>
struct CCopy : StVisitor<T, const T> {
    void operator()(T& target, T source) const { target = source; }
};

/// Copies the second image into the first, clamping values to the bounds.
template <class TTarget, class TSource>
struct CCast : StVisitor<TTarget, const TSource> {
    CCast(TTarget lower, TTarget upper)
        : lowerBound(lower)
        , upperBound(upper) {}

    void operator()(TTarget& target, TSource source) const {
        if (source > static_cast<TSource>(upperBound))
            target = upperBound;
        else if (source < static_cast<TSource>(lowerBound))
            target = lowerBound;
        else
            target = static_cast<TTarget>(source);
    }

    TTarget lowerBound;
    TTarget upperBound;
};

/// Fills an image.
template <class T>
struct CInitializer : StVisitor<T> {
    explicit CInitializer(T fill)
        : value(fill) {}

    void operator()(T& pixel) const { pixel = value; }

    T value;
};

} // namespace ORVEN::visitors
