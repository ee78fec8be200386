#include "measurement/CompareImages.h"

#include "measurement/RelationVisitor.h"
#include "utils/ImageTypeDispatch.h"
#include "utils/PointOperations.h"

#include <sorblib2image/CQuillonHeaderTools.h>

#include <array>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>

namespace quillon {

using namespace ORVEN;

namespace {

/// A number for each axis.
using Figures = std::array<double, 3>;

Figures SpacingOf(const CImage& image) {
    Figures spacing{1.0, 1.0, 1.0};
    CQuillonHeaderTools::GetSpacing(image, spacing[0], spacing[1], spacing[2]);
    return spacing;
}

Figures ExtensionOf(const CImage& image) {
    Figures extension = SpacingOf(image);
    for (int axis = 0; axis < image.Size().Dim(); ++axis)
        extension[static_cast<std::size_t>(axis)] *= static_cast<double>(image.Size()[axis]);
    return extension;
}

bool AreSame(const Figures& a, const Figures& b, int dimension) {
    for (std::size_t axis = 0; axis < static_cast<std::size_t>(dimension); ++axis) {
        // Also correct for NaN: a difference that is NaN does not exceed anything.
        if (std::abs(a[axis] - b[axis]) > std::numeric_limits<double>::epsilon())
            return false;
    }
    return true;
}

/// Formats "(1,2,0.5" with six significant digits; below three dimensions, only the first two numbers.
std::string OpenList(const Figures& figures, int dimension) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << "(" << figures[0] << "," << figures[1];
    if (dimension == 3)
        text << "," << figures[2];
    return text.str();
}

/// Formats both lists, or only one if they are equal.
std::string SameOrDifferent(const char* what, const Figures& a, const Figures& b, int dimension,
                            const char* endOfSecond) {
    const bool isSame = AreSame(a, b, dimension);
    std::string text =
        std::string(isSame ? " - same " : " - different ") + what + " " + OpenList(a, dimension) + ")";
    if (!isSame)
        text += " and " + OpenList(b, dimension) + endOfSecond;
    return text;
}

/// Compares the headers; returns true if the images have the same size.
bool CompareHeaders(const CImage& a, const CImage& b, std::string& text) {
    const std::string typeA = a.Type().ToString();
    const std::string typeB = b.Type().ToString();
    text += a.Type() == b.Type() ? " - same pixel types '" + typeA + "'"
                                 : " - different pixel types '" + typeA + "' and '" + typeB + "'";
    text += "\n";
    const bool isSameSize = a.Size() == b.Size();
    text += isSameSize ? " - same image sizes " + a.Size().ToString()
                       : " - different image sizes " + a.Size().ToString() + " and " + b.Size().ToString();
    text += "\n";
    const int dimension = a.Size().Dim();
    if (dimension != b.Size().Dim())
        return false;
    text += SameOrDifferent("pixel sizes", SpacingOf(a), SpacingOf(b), dimension, ")") + "\n";
    // The missing closing bracket of this line is deliberate.
    text += SameOrDifferent("physical extension", ExtensionOf(a), ExtensionOf(b), dimension, "") + " m^" +
            std::to_string(dimension) + "\n";
    return isSameSize;
}

template <class Relation>
const char* VerdictOf(const Relation& relation) {
    // "Equal" comes before the relations it implies, and strict relations before non-strict ones.
    if (relation.isEqual)
        return " - image a is pointwise equal to image b\n";
    if (relation.isGreater)
        return " - image a is pointwise greater then image b\n";
    if (relation.isLower)
        return " - image a is pointwise lower then image b\n";
    if (relation.isGreaterOrEqual)
        return " - image a is pointwise greater/equal then image b\n";
    if (relation.isLowerOrEqual)
        return " - image a is pointwise lower/equal then image b\n";
    return " - images have no pointwise relation\n";
}

template <class Relation>
std::string TextOf(const Relation& relation) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << "\n"
         << VerdictOf(relation)                                 //
         << "# a == b : " << relation.equal << "\n"             //
         << "# a >  b : " << relation.greater << "\n"           //
         << "# a <  b : " << relation.lower << "\n"             //
         << "# a <= b : " << relation.lowerOrEqual << "\n"      //
         << "# a >= b : " << relation.greaterOrEqual << "\n"    //
         << "# a nan b: " << relation.nanMismatch << "\n"       //
         << "# nan(a) : " << relation.nanInA << "\n"            //
         << "# nan(b) : " << relation.nanInB << "\n"            //
         << "mindiff  : " << relation.minimumDifference << "\n" //
         << "maxdiff  : " << relation.maximumDifference << "\n";
    return text.str();
}

std::string ComparePixels(const CImage& a, const CImage& b) {
    const char* const function = "GetRelationStringGrayvalues";
    const auto dispatch = [function](const CImage& image, const auto& body) {
        return DispatchImageType<float, unsigned int, unsigned short, unsigned char>(function, image.Type(),
                                                                                     body);
    };
    return dispatch(a, [&]<class A>(std::type_identity<A>) {
        return dispatch(b, [&]<class B>(std::type_identity<B>) {
            visitors::COperationAnalyzeRelation<A, B> relation;
            CPointOperations(nullptr, nullptr).Visit(relation, a, b);
            return TextOf(relation);
        });
    });
}

} // namespace

std::string CompareImages(const CImage& a, const CImage& b) {
    std::string headers;
    const bool isComparable = CompareHeaders(a, b, headers);
    return (isComparable ? ComparePixels(a, b) : std::string()) + headers;
}

} // namespace quillon
