#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/IImage.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace ORVEN {

/// Measures the directions of bright fibres in an IMAGE_GREY_8 of 2 or 3 dimensions: of the whole image (the
/// field), of blocks of equal size (the subfields), and of each slice of one pixel across x, y and z (the
/// profiles). An object does one measurement.
///
/// `CHessianOrientations` says what the direction of a pixel is and which pixels are evaluated. Foreground
/// are the pixels that are not 0 in the mask (binary or grey, of the image's size), or without a mask those
/// above Otsu's threshold times the Otsu factor.
///
/// The result is a map: the field below `sFieldFiberDirectionsId`; the subfields below
/// `sSubfieldFiberDirectionsId`, if there are any, named by their place ("Subfield z000 y001 x002"), with
/// "Subfield size" and "Subfield step"; the profiles below `sSubfieldProfiles`, as "x-Direction",
/// "y-Direction" and in 3-d "z-Direction", each with one entry a slice, named by its place ("Slice 0042");
/// and "Fiber radius", "Otsu factor" (or the text "mask image"), "Otsu threshold" (only without a mask),
/// "Border" and "Sigma". Every entry of field, subfields and slices has the orientation tensor, its
/// eigenvalues and main direction, an anisotropy index, the box and its pixel counts. Angles are in radians:
/// in 3-d theta from +z and phi from +x towards +y, in 2-d theta from +x towards +y. Of the two directions
/// along a fibre the one with y > 0 is told.
///
/// Time and memory are those of `CHessianOrientations`, plus 64 bytes a slice and a subfield, and some
/// kilobytes for the entry of each. Results are the same for any number of threads and on any processor.
///
/// Otsu's threshold: N. Otsu, A threshold selection method from gray-level histograms, 1979.
class CSubfieldFiberDirections : public CAlgorithm {
public:
    /// The radius is in the unit of the image's spacing, the size of the subfields in pixels. There are
    /// subfields if the sizes of all axes of the image are above 0.
    CSubfieldFiberDirections(double fiberRadius, double otsuFactor, std::int64_t subfieldX,
                             std::int64_t subfieldY, std::int64_t subfieldZ);
    ~CSubfieldFiberDirections() override;

    /// Measures; the map belongs to the caller, and is null if the run was cancelled. Image and mask must
    /// live as long as this object. `history` is the begin of a line of history, and grows by
    /// "radius=1.5,otsu=1.25," or "radius=1.5,mask,", and "subfield=(50,50,50)," if there are subfields.
    ///
    /// Raises `CException` "Image type %1 not supported." for another type of the image or a complex mask,
    /// "Image dimension %1 not supported.", "Image is too small for this fiber radius." if no pixel is the
    /// radius away from all borders, and `CExBadParam` for a mask of another size or a radius that is not
    /// positive and finite.
    CValueMap* Compute(IImage& image, std::string& history, IImage* mask, bool isFieldOnly);

    /// The map of directions of a 2-d image, after `Compute`: a new IMAGE_GREY_F that belongs to the caller,
    /// with the angle at evaluated pixels and -1 elsewhere, and its least and greatest value on record. Takes
    /// as long as `Compute`. What a cancelled run has not reached is -1.
    ///
    /// Raises `CException` "The directions have not been computed." without a measurement, and "Image
    /// dimension %1 not supported." for an image of 3 dimensions.
    void GetDirections(const IImage*& theta);
    /// The two maps of a 3-d image.
    void GetDirections(const IImage*& theta, const IImage*& phi);

    /// Asks the host, in the output of `tree`, for a view of the features of `document`: a map "type",
    /// "document" and, where they are not null, "label" and "extra" as the only entry of
    /// "output/views/create". An empty name of the view plug-in means "ImageAttributesView".
    static void RepackMeasuredFeaturesForQuillon(CValueMap& tree, const char* viewPlugin, const CValue* extra,
                                                 const char* label, CValueMap* document);

    /// Keys: of the whole measurement among the features of an image, and in it.
    static const char* const sFiberDirectionsId;
    static const char* const sFieldFiberDirectionsId;
    static const char* const sSubfieldFiberDirectionsId;
    static const char* const sSubfieldProfiles;

private:
    struct StMeasurement;

    void RequireMeasurable(const IImage& image, const IImage* mask) const;
    [[nodiscard]] std::array<std::int64_t, 3> SubfieldSize(std::size_t dimension) const;
    [[nodiscard]] const StMeasurement& Measured(int dimension) const;

    double m_fiberRadius;
    double m_otsuFactor;
    std::array<std::int64_t, 3> m_subfieldSize;
    std::unique_ptr<const StMeasurement> m_measurement;
};

} // namespace ORVEN
