#pragma once

#include "sorblib2image/CPos.h"
#include "sorblib2image/CSize.h"

namespace ORVEN {

/// The two-dimensional form of `CBox`: a rectangle of pixels that includes both corners.
class CRect {
public:
    CRect()
        : first(0, 0)
        , last(0, 0) {}

    /// last - first + 1 on both axes.
    [[nodiscard]] CSize Size() const;

    CPos first;
    CPos last;
};

} // namespace ORVEN
