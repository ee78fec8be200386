#pragma once

#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

/// Volumes that the Python side of a benchmark writes for the programs.
namespace bench {

/// The pixel type that is called "binary", "grey8", "grey16", "grey32" or "greyf".
inline const ORVEN::IImage::CType& PixelTypeOf(const std::string& name) {
    using namespace ORVEN;
    static const std::array<std::pair<const char*, const IImage::CType*>, 5> types{
        {{"binary", &IMAGE_BINARY_FG},
         {"grey8", &IMAGE_GREY_8},
         {"grey16", &IMAGE_GREY_16},
         {"grey32", &IMAGE_GREY_32},
         {"greyf", &IMAGE_GREY_F}}};
    for (const auto& [typeName, type] : types) {
        if (name == typeName)
            return *type;
    }
    throw std::runtime_error("unknown type " + name);
}

/// Reads the pixels of a cube, x fastest, from a file without a header. Raises `std::runtime_error` if the
/// file does not hold a cube of this type.
inline std::unique_ptr<ORVEN::CImage> ReadRawVolume(const std::string& path, const std::string& typeName) {
    using namespace ORVEN;
    const IImage::CType& type = PixelTypeOf(typeName);
    const std::int64_t pixelBytes = type.PixelSize();
    const auto bytes = static_cast<std::int64_t>(std::filesystem::file_size(path));
    const auto edge = std::llround(std::cbrt(static_cast<double>(bytes / pixelBytes)));
    if (edge * edge * edge * pixelBytes != bytes)
        throw std::runtime_error(path + " is not a cube of " + typeName + " pixels");
    auto image = std::make_unique<CImage>(type, CSize(edge, edge, edge), CSize(0, 0, 0));
    std::ifstream file(path, std::ios::binary);
    const std::unique_ptr<IImage::IAccess> access(image->CreateAccess(false));
    Impl::LockWhole(*access, image->Size(), IImage::LOCK_READ_WRITE);
    if (!file.read(static_cast<char*>(access->Data()), bytes))
        throw std::runtime_error(path + " cannot be read");
    access->Unlock();
    return image;
}

} // namespace bench
