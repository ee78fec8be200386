#include "sorblib2image/CSorbImageFactory.h"

#include "sorblib2image/CImage.h"

namespace ORVEN {

namespace {

/// Marks an image as made by the factory by its class, so that no register of images has to be kept.
class CFactoryImage final : public CImage {
public:
    using CImage::CImage;
};

} // namespace

CSorbImageFactory& CSorbImageFactory::Obj() {
    static CSorbImageFactory factory;
    return factory;
}

CSorbImageFactory::~CSorbImageFactory() = default;

IImage* CSorbImageFactory::Create(const IImage::CType& type, const CSize& size) {
    return new CFactoryImage(type, size, CSize(0, 0, 0));
}

std::unique_ptr<const IImage> CSorbImageFactory::TakeOver(const IImage& image) noexcept {
    return std::unique_ptr<const IImage>(dynamic_cast<const CFactoryImage*>(&image));
}

} // namespace ORVEN
