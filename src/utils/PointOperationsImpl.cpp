#include "utils/PointOperationsImpl.h"

#include "utils/JoinedText.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2image/CImage.h>

#include <algorithm>
#include <iostream>
#include <sstream>
#include <string_view>

namespace ORVEN::Impl {

namespace {

constexpr std::string_view c_constSuffix = " const";

template <class T>
constexpr std::string_view c_typeText;
template <class T>
constexpr std::string_view c_typeText<const T> = CJoinedText<c_typeText<T>, c_constSuffix>::text;
template <>
constexpr std::string_view c_typeText<CImage> = "class ORVEN::CImage";
template <>
constexpr std::string_view c_typeText<IImage> = "class ORVEN::IImage";
template <>
constexpr std::string_view c_typeText<unsigned char> = "unsigned char";
template <>
constexpr std::string_view c_typeText<unsigned short> = "unsigned short";
template <>
constexpr std::string_view c_typeText<unsigned int> = "unsigned int";
template <>
constexpr std::string_view c_typeText<float> = "float";

constexpr std::string_view c_extractor = "ORVEN::Impl::CImageDataExtractor<";
constexpr std::string_view c_comma = ",";
constexpr std::string_view c_scope = ">::";
constexpr std::string_view c_initSize = "InitSize";
constexpr std::string_view c_checkImageValidy = "CheckImageValidy";
constexpr std::string_view c_setPixelTypeInfo = "SetPixelTypeInfo";
constexpr std::string_view c_checkPixelType = "CheckPixelType";
constexpr std::string_view c_checkImagesAgainst = "CheckImagesAgainst";

template <class ImageClass, class PixelType, const std::string_view& operation>
StExLocation Where(const std::source_location& where = std::source_location::current()) {
    return Here(CJoinedText<c_extractor, c_typeText<ImageClass>, c_comma, c_typeText<PixelType>, c_scope,
                            operation>::c_str(),
                where);
}

/// Formats the extents with a comma after each, including the last: "(4,5,6,)". Contract wording.
std::string SizeText(const StImageRecord& record) {
    std::string text = ")";
    const auto putInFront = [&text](std::int64_t extent) {
        std::ostringstream number;
        number << extent;
        text.insert(0, number.str() + ",");
    };
    if (record.dimension > 2)
        putInFront(record.sizeZ);
    if (record.dimension > 1)
        putInFront(record.sizeY);
    putInFront(record.sizeX);
    return "(" + text;
}

} // namespace

template <class ImageClass, class PixelType>
CImageDataExtractor<ImageClass, PixelType>::CImageDataExtractor(const IImage& image, const char* imageName,
                                                                IImage::EnLockMode imageAccess) {
    dimension = static_cast<std::uint8_t>(std::clamp(image.Size().Dim(), 0, 255));
    isInterleaved = image.Type().IsInterleaved();
    isBinary = image.Type().IsBinary() ? 1 : 0;
    name = imageName;
    access = imageAccess;
}

template <class ImageClass, class PixelType>
CImageDataExtractor<ImageClass, PixelType>
CImageDataExtractor<ImageClass, PixelType>::Checked(const IImage& image, const char* imageName,
                                                    IImage::EnLockMode imageAccess) {
    CImageDataExtractor record(image, imageName, imageAccess);
    const auto extents = InitSize(image.Size());
    record.sizeX = extents[0];
    record.sizeY = extents[1];
    record.sizeZ = extents[2];
    record.CheckImageValidy();
    record.SetPixelTypeInfo(image);
    record.CheckPixelType();
    return record;
}

template <class ImageClass, class PixelType>
std::array<std::int64_t, 3> CImageDataExtractor<ImageClass, PixelType>::InitSize(const CSize& size) {
    if (size.Dim() < 1 || size.Dim() > 3) {
        // contract wording
        throw CException(Where<ImageClass, PixelType, c_initSize>(),
                         CString("Dim = %1 can not be handle by CImageDataExtractor.", CString::ENC_UTF8)
                             .Arg(size.Dim(), 0));
    }
    std::array<std::int64_t, 3> extents{};
    for (int axis = 0; axis < size.Dim(); ++axis)
        extents[static_cast<std::size_t>(axis)] = size[axis];
    return extents;
}

template <class ImageClass, class PixelType>
void CImageDataExtractor<ImageClass, PixelType>::CheckImageValidy() const {
    if (dimension == 0 || dimension > 3) {
        // contract wording: these are not placeholders, so the text is shown with them unreplaced
        throw CException(Where<ImageClass, PixelType, c_checkImageValidy>(),
                         CString("%s: image dimension '%d' not supported.", CString::ENC_UTF8)
                             .Arg(name)
                             .Arg(static_cast<char>(dimension)));
    }
    if (isInterleaved) {
        // contract wording
        throw CException(
            Where<ImageClass, PixelType, c_checkImageValidy>(),
            CString("%1: just non interleaved image types are supported.", CString::ENC_UTF8).Arg(name));
    }
}

template <class ImageClass, class PixelType>
void CImageDataExtractor<ImageClass, PixelType>::SetPixelTypeInfo(const IImage& image) {
    if (!HoldsPixels<std::remove_const_t<PixelType>>(image.Type())) {
        // contract wording: %2 occurs twice, so there is no placeholder for the image type
        throw CException(Where<ImageClass, PixelType, c_setPixelTypeInfo>(),
                         CString("%1: Pixel type '%2' and image type '%2' do not match -- unregistered image "
                                 "type?.",
                                 CString::ENC_UTF8)
                             .Arg(name)
                             .Arg(typeid(PixelType).name())
                             .Arg(image.Type().ToString()));
    }
    pixelTypeInfo = &typeid(PixelType);
}

template <class ImageClass, class PixelType>
void CImageDataExtractor<ImageClass, PixelType>::CheckPixelType() const {
    // A binary image may also be described as holding bool, which has one byte too.
    const bool isByte = typeid(PixelType) == typeid(unsigned char);
    if (*pixelTypeInfo == typeid(PixelType) || (isByte && *pixelTypeInfo == typeid(bool)))
        return;
    // contract wording
    throw CException(
        Where<ImageClass, PixelType, c_checkPixelType>(),
        CString("%1: supposed pixel type '%2' does not match to image pixel type '%3'.", CString::ENC_UTF8)
            .Arg(name)
            .Arg(pixelTypeInfo->name())
            .Arg(typeid(PixelType).name()));
}

template <class ImageClass, class PixelType>
void CImageDataExtractor<ImageClass, PixelType>::CheckImagesAgainst(const StImageRecord& other) const {
    if (dimension != other.dimension) {
        throw CException(Where<ImageClass, PixelType, c_checkImagesAgainst>(),
                         CString("%1 and %2: image dimensions '%3' and '%4' do not match.", CString::ENC_UTF8)
                             .Arg(name)
                             .Arg(other.name)
                             .Arg(int{dimension}, 0)
                             .Arg(int{other.dimension}, 0));
    }
    if (sizeX != other.sizeX || sizeY != other.sizeY || sizeZ != other.sizeZ) {
        throw CException(Where<ImageClass, PixelType, c_checkImagesAgainst>(),
                         CString("%1 and %2: image sizes %3 and %4 do not match.", CString::ENC_UTF8)
                             .Arg(name)
                             .Arg(other.name)
                             .Arg(SizeText(*this))
                             .Arg(SizeText(other)));
    }
}

void WriteDebugLine(const char* accessName, IImage::EnLockMode access, const std::type_info& visitor,
                    const std::type_info& imageClass, const std::type_info& pixel) {
    std::cout << "DEBUG************* " << accessName << " is "
              << (access == IImage::LOCK_READ ? "readonly" : "readwrite") << " visitor=" << visitor.name()
              << " image=" << imageClass.name() << " pixeltype=" << pixel.name() << '\n';
}

void ThrowUnsupportedDimension(const char* function, const StImageRecord& record) {
    // contract wording, without a full stop
    throw CException(Here(function), CString("%1: image dimension '%2' not supported", CString::ENC_UTF8)
                                         .Arg(record.name)
                                         .Arg(int{record.dimension}, 0));
}

// All combinations, const or not. `VisitorHelper` needs only some of them: a visitor that writes sees
// non-const pixels and images, one that reads sees a const image.
#define QUILLON_INSTANTIATE(Pixel)                                                                           \
    template class CImageDataExtractor<CImage, Pixel>;                                                       \
    template class CImageDataExtractor<CImage, const Pixel>;                                                 \
    template class CImageDataExtractor<const CImage, Pixel>;                                                 \
    template class CImageDataExtractor<const CImage, const Pixel>;                                           \
    template class CImageDataExtractor<IImage, Pixel>;                                                       \
    template class CImageDataExtractor<IImage, const Pixel>;                                                 \
    template class CImageDataExtractor<const IImage, Pixel>;                                                 \
    template class CImageDataExtractor<const IImage, const Pixel>

QUILLON_INSTANTIATE(unsigned char);
QUILLON_INSTANTIATE(unsigned short);
QUILLON_INSTANTIATE(unsigned int);
QUILLON_INSTANTIATE(float);

#undef QUILLON_INSTANTIATE

} // namespace ORVEN::Impl
