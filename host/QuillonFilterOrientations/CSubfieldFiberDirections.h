#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2image/IImage.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace ORVEN {

/// Measures the directions of bright fibres in an IMAGE_GREY_8 of 2 or 3 dimensions: in the whole image (the
/// field), in blocks of equal size (the subfields), and in each slice of one pixel perpendicular to x, y and
/// z (the profiles). An object performs one measurement.
///
/// `CHessianOrientations` defines the direction of a pixel and which pixels are evaluated. The foreground
/// consists of the pixels that are not 0 in the mask (binary or grey, of the same size as the image), or
/// without a mask of those above Otsu's threshold times the Otsu factor.
///
/// The result is a map. The field is stored below `sFieldFiberDirectionsId`. The subfields, if any, are
/// stored below `sSubfieldFiberDirectionsId`, named by their position ("Subfield z000 y001 x002"), together
/// with "Subfield size" and "Subfield step". The profiles are stored below `sSubfieldProfiles`, as
/// "x-Direction", "y-Direction" and in 3-d "z-Direction", each with one entry per slice, named by its
/// position ("Slice 0042"). Further entries are "Fiber radius", "Otsu factor" (or the text "mask image"),
/// "Otsu threshold" (only without a mask), "Border" and "Sigma". The entries of field, subfields and slices
/// contain the orientation tensor, its eigenvalues and main direction, an anisotropy index, the box and its
/// pixel counts. Angles are in radians: in 3-d theta from +z and phi from +x towards +y, in 2-d theta from +x
/// towards +y. Of the two directions along a fibre, the one with y > 0 is reported.
///
/// Time and memory are those of `CHessianOrientations`, plus 64 bytes per slice and subfield, and a few
/// kilobytes for the entry of each. Results do not depend on the number of threads or on the processor.
///
/// Source of Otsu's threshold: N. Otsu, *A threshold selection method from gray-level histograms*, 1979.
class CSubfieldFiberDirections : public CAlgorithm {
public:
    /// The radius is in the unit of the spacing of the image, the subfield size in pixels. There are
    /// subfields if the size along every axis of the image is above 0.
    CSubfieldFiberDirections(double fiberRadius, double otsuFactor, std::int64_t subfieldX,
                             std::int64_t subfieldY, std::int64_t subfieldZ);
    ~CSubfieldFiberDirections() override;

    /// Performs the measurement. The caller owns the map, which is null if the run was cancelled. Image and
    /// mask must live as long as this object. `history` is the start of a history line, to which
    /// "radius=1.5,otsu=1.25," or "radius=1.5,mask," is appended, and "subfield=(50,50,50)," if there are
    /// subfields. `isFieldOnly` omits subfields and profiles.
    ///
    /// Raises `CException` "Image type %1 not supported." for another type of the image or a complex mask,
    /// "Image dimension %1 not supported.", and "Image is too small for this fiber radius." if no pixel is at
    /// least the radius away from all borders, and as `RequireMemory` for subfields whose sums and entries do
    /// not fit. Raises `CExBadParam` for a mask of another size or a radius that is not positive and finite.
    CValueMap* Compute(IImage& image, std::string& history, IImage* mask, bool isFieldOnly);

    /// Computes the map of directions of a 2-d image, after `Compute`: a new IMAGE_GREY_F, owned by the
    /// caller, with the angle at evaluated pixels and -1 elsewhere. Its minimum and maximum are recorded in
    /// its metadata. Takes as long as `Compute`. Pixels that a cancelled run has not reached are -1.
    ///
    /// Raises `CException` "The directions have not been computed." without a measurement, and "Image
    /// dimension %1 not supported." for a 3-d image.
    void GetDirections(const IImage*& theta);
    /// Computes the two maps of a 3-d image in the same way. Raises the same errors, with "Image dimension %1
    /// not supported." for a 2-d image.
    void GetDirections(const IImage*& theta, const IImage*& phi);

    /// Requests, in the output of `tree`, that the host open a view of the features of `document`. The
    /// request is a map with "type", "document" and, if they are not null, "label" and "extra", and becomes
    /// the only entry of "output/views/create". A null or empty `viewPlugin` means "ImageAttributesView".
    static void RepackMeasuredFeaturesForQuillon(CValueMap& tree, const char* viewPlugin, const CValue* extra,
                                                 const char* label, CValueMap* document);

    /// Keys: of the measurement among the features of an image, and of the parts inside it.
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
