#include "sorblib2image/CSorbImageFactory.h"

#include "sorblib2image/CImage.h"

namespace ORVEN {

CSorbImageFactory& CSorbImageFactory::Obj() {
    static CSorbImageFactory factory;
    return factory;
}

CSorbImageFactory::~CSorbImageFactory() = default;

IImage* CSorbImageFactory::Create(const IImage::CType& type, const CSize& size) {
    return new CImage(type, size, CSize(0, 0, 0));
}

} // namespace ORVEN
