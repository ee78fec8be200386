#pragma once

#include <cstddef>
#include <tuple>

namespace ORVEN::visitors {

/// Base of the visitors: small structs that a traversal calls for each pixel of one image, or for each pair
/// of pixels of two images (`Impl::VisitorHelper`).
///
/// `Pixel` lists the pixel type of each image: `const T` for an image that is only read, `T` for one that is
/// also written. A visitor adds
///
///     void operator()(T& first, U second);        // the pixels, by reference if it writes them
///
/// followed by `std::int64_t x, y, z` if `VisitorHelper<2>` runs it. A visitor of one image may add
///
///     void VisitRow(Pixel* pixels, std::int64_t count);
///
/// which has the same effect as calls for all pixels of a row without gaps, in order. It may hide
/// `preprocess`, which runs once before the first pixel, may raise, and resets a used visitor, and
/// `postprocess`, which runs once after the last pixel, even after a cancellation. Results are read from the
/// visitor's fields.
template <class... Pixel>
struct StVisitor {
    using Pixels = std::tuple<Pixel...>;

    void preprocess() {}
    void postprocess() {}
};

/// The requirements of a traversal for a visitor of `imageCount` images.
template <class Visitor, std::size_t imageCount>
concept VisitorOf = std::tuple_size_v<typename Visitor::Pixels>
== imageCount&& requires(Visitor& visitor) {
    visitor.preprocess();
    visitor.postprocess();
};

/// The visitor that a traversal names in its debugging lines: the visitor itself, or the one that it declares
/// as `StandsFor`, whose work it does in a different way.
template <class Visitor>
struct StNamedVisitor {
    using Type = Visitor;
};

template <class Visitor>
requires requires { typename Visitor::StandsFor; }
struct StNamedVisitor<Visitor> {
    using Type = typename Visitor::StandsFor;
};

/// The pixel type of image i; const if the visitor only reads it.
template <class Visitor, std::size_t i>
using PixelOf = std::tuple_element_t<i, typename Visitor::Pixels>;

} // namespace ORVEN::visitors
