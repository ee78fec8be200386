#include "sorblib2image/CSorbImageFactory.h"

#include "sorblib2image/CImage.h"

namespace ORVEN {

namespace {

/// Tells by its class that the factory made it: nothing has to be looked up, locked or kept for that.
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
