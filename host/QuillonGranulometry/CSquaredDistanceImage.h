#pragma once

#include <sorblib2image/IImage.h>

namespace ORVEN {

/// The pixels of an IMAGE_GREY_F, to be used as those of an IMAGE_GREY_32. The image must outlive it.
class CSquaredDistanceImage : public IImage {
public:
    explicit CSquaredDistanceImage(IImage& image)
        : m_image(image) {}

    const IAccess* CreateAccess(bool isReserved) const override {
        return static_cast<const IImage&>(m_image).CreateAccess(isReserved);
    }
    IAccess* CreateAccess(bool isReserved) override { return m_image.CreateAccess(isReserved); }
    const CValueMap& Attributes() const override { return static_cast<const IImage&>(m_image).Attributes(); }
    CValueMap& Attributes() override { return m_image.Attributes(); }
    [[nodiscard]] const CType& Type() const override { return IMAGE_GREY_32; }
    [[nodiscard]] const CSize& Size() const override { return m_image.Size(); }

private:
    IImage& m_image;
};

} // namespace ORVEN
