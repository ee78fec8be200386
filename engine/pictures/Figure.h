#pragma once

#include "engine/pictures/StPicture.h"

#include <string>
#include <vector>

namespace engine {

/// What is drawn around pictures.
struct StFigureOptions {
    bool hasScaleBar = false;
    bool hasColourBar = false; ///< grey values, depths or angles; labels and binary images need none
    bool hasLetters = false;   ///< the sides of a patient
    std::string lengthUnit;    ///< as by `LengthUnitOf`
    std::string barTitle;      ///< of the colour bar of grey values, with the unit
    /// Whether angles are directions in the plane of the picture, to be explained by a disc instead of a bar.
    bool areAnglesInPlane = false;
    std::vector<std::string> captions; ///< above each picture; may be empty
};

/// How many of so many pictures are side by side.
std::size_t FigureColumns(std::size_t pictures);

/// Places the pictures side by side in rows, on white, with explanations outside of their pixels, which stay
/// exactly as they are. A single picture without explanations is returned as it is.
StPicture MakeFigure(const std::vector<StView>& views, const StFigureOptions& options);

} // namespace engine
