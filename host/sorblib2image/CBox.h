#pragma once

#include "sorblib2image/CPos.h"
#include "sorblib2image/CSize.h"

namespace ORVEN {

/// A box of pixels that includes both corners. The default is the single pixel at the origin.
class CBox {
public:
    CBox() = default;
    CBox(const CPos& firstPixel, const CPos& lastPixel)
        : first(firstPixel)
        , last(lastPixel) {}

    /// last - first + 1 on each axis, with the dimension of `first`.
    [[nodiscard]] CSize Size() const;

    CPos first;
    CPos last;
};

} // namespace ORVEN
