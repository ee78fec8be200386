#pragma once

#include "engine/errors/CEngineError.h"
#include "engine/files/ImageFile.h"
#include "support/CommandLine.h"

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/ImageView.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

// What the tests of image files share.

namespace engine::test {

using ::test::CTestFolder;
using ::test::ReadText;

inline std::string DataFile(const std::string& name) { return std::string(QUILLON_TEST_DATA) + "/" + name; }

inline void Store(const std::string& path, const std::string& contents) {
    std::ofstream(path, std::ios::binary)
        .write(contents.data(), static_cast<std::streamsize>(contents.size()));
}

/// The bytes of all pixels, x fastest.
inline std::string PixelBytes(const ORVEN::CImage& image) {
    const std::unique_ptr<const ORVEN::IImage::IAccess> access(image.CreateAccess(false));
    ORVEN::Impl::LockWhole(*access, image.Size(), ORVEN::IImage::LOCK_READ);
    return {static_cast<const char*>(access->ConstData()),
            static_cast<std::size_t>(image.Size().PixelCount() * image.Type().PixelSize())};
}

template <class Pixel>
std::vector<Pixel> Pixels(const ORVEN::CImage& image) {
    const std::string bytes = PixelBytes(image);
    std::vector<Pixel> pixels(bytes.size() / sizeof(Pixel));
    std::memcpy(pixels.data(), bytes.data(), bytes.size());
    return pixels;
}

template <class Pixel>
std::unique_ptr<ORVEN::CImage> ImageOf(const ORVEN::IImage::CType& type, const ORVEN::CSize& size,
                                       const std::vector<Pixel>& pixels) {
    auto image = std::make_unique<ORVEN::CImage>(type, size, ORVEN::CSize(0, 0, 0));
    if (static_cast<std::size_t>(size.PixelCount()) != pixels.size())
        throw std::logic_error("as many pixels as the size says are needed");
    std::memcpy(ORVEN::CImageView<Pixel>(*image).Row(0, 0), pixels.data(), pixels.size() * sizeof(Pixel));
    return image;
}

/// Random bytes as pixels; 0 and 1 for a binary image.
inline std::unique_ptr<ORVEN::CImage> RandomImage(const ORVEN::IImage::CType& type, const ORVEN::CSize& size,
                                                  unsigned seed) {
    auto image = std::make_unique<ORVEN::CImage>(type, size, ORVEN::CSize(0, 0, 0));
    const std::unique_ptr<ORVEN::IImage::IAccess> access(image->CreateAccess(false));
    ORVEN::Impl::LockWhole(*access, size, ORVEN::IImage::LOCK_READ_WRITE);
    auto* const bytes = static_cast<unsigned char*>(access->Data());
    std::mt19937 random(seed);
    for (std::int64_t i = 0; i < size.PixelCount() * type.PixelSize(); ++i)
        bytes[i] = static_cast<unsigned char>(random() & (type.IsBinary() ? 1u : 255u));
    return image;
}

inline void ExpectSameImage(const ORVEN::CImage& found, const ORVEN::CImage& meant) {
    EXPECT_STREQ(found.Type().ToString(), meant.Type().ToString());
    ASSERT_EQ(found.Size().ToString(), meant.Size().ToString());
    EXPECT_TRUE(PixelBytes(found) == PixelBytes(meant)) << "pixels differ";
    EXPECT_TRUE(found.Attributes().Equal(meant.Attributes())) << "attributes differ";
}

/// The error that a call of the engine ends with; no fault and an empty text if it ends well.
struct StCallEnd {
    std::optional<EnFault> fault;
    std::string message;
};

inline StCallEnd EndOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const CEngineError& error) {
        return {error.Fault(), error.what()};
    }
    return {};
}

/// Asserts that the file is refused in one line that names it and contains `part`.
inline void ExpectUnreadable(const std::string& path, const std::string& part,
                             const std::optional<ORVEN::IImage::CType>& as = std::nullopt) {
    const StCallEnd end = EndOf([&] { (void)ReadImage(path, as); });
    EXPECT_EQ(end.fault, EnFault::FILE);
    EXPECT_NE(end.message.find(path), std::string::npos) << end.message;
    EXPECT_NE(end.message.find(part), std::string::npos) << end.message;
    EXPECT_EQ(end.message.find('\n'), std::string::npos) << end.message;
}

} // namespace engine::test
