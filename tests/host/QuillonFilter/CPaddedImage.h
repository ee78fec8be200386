#pragma once

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/IImage.h>

#include <cstdint>
#include <vector>

namespace test {

/// A volume of floats that is no `CImage`: rows and planes stand apart, with `c_gap` pixels between.
class CPaddedImage : public ORVEN::IImage {
public:
    static constexpr float c_gap = -12345.0F;

    explicit CPaddedImage(const ORVEN::CSize& size)
        : m_size(size)
        , m_pixels(static_cast<std::size_t>((size.x + 3) * (size.y + 2) * size.z), c_gap) {}

    [[nodiscard]] float* Row(std::int64_t y, std::int64_t z) {
        return m_pixels.data() + (z * (m_size.y + 2) + y) * (m_size.x + 3);
    }
    [[nodiscard]] const std::vector<float>& Memory() const { return m_pixels; }

    const IAccess* CreateAccess(bool /*isReserved*/) const override {
        return new CAccess(const_cast<CPaddedImage&>(*this));
    }
    IAccess* CreateAccess(bool /*isReserved*/) override { return new CAccess(*this); }
    const ORVEN::CValueMap& Attributes() const override { return m_attributes; }
    ORVEN::CValueMap& Attributes() override { return m_attributes; }
    [[nodiscard]] const CType& Type() const override { return ORVEN::IMAGE_GREY_F; }
    [[nodiscard]] const ORVEN::CSize& Size() const override { return m_size; }

private:
    /// Locks the whole image, whatever the region.
    class CAccess : public IAccess {
    public:
        explicit CAccess(CPaddedImage& image)
            : m_image(image)
            , m_last(image.m_size.x - 1, image.m_size.y - 1, image.m_size.z - 1) {}

        void Lock(const ORVEN::CPos& /*first*/, const ORVEN::CPos& /*last*/, int /*mode*/) const override {}
        void Unlock() const override {}
        [[nodiscard]] bool IsLocked() const override { return true; }
        [[nodiscard]] const ORVEN::CPos& First() const override { return m_first; }
        [[nodiscard]] const ORVEN::CPos& Last() const override { return m_last; }
        [[nodiscard]] const ORVEN::CSize& Size() const override { return m_image.m_size; }
        [[nodiscard]] const CType& Type() const override { return ORVEN::IMAGE_GREY_F; }
        [[nodiscard]] ORVEN::CPos Strides() const override {
            const auto row = static_cast<std::int64_t>(sizeof(float)) * (m_image.m_size.x + 3);
            return {static_cast<std::int64_t>(sizeof(float)), row, row * (m_image.m_size.y + 2)};
        }
        [[nodiscard]] const void* ConstData() const override { return m_image.m_pixels.data(); }
        [[nodiscard]] void* Data() override { return m_image.m_pixels.data(); }

    private:
        CPaddedImage& m_image;
        ORVEN::CPos m_first;
        ORVEN::CPos m_last;
    };

    ORVEN::CSize m_size;
    std::vector<float> m_pixels;
    ORVEN::CValueMap m_attributes;
};

} // namespace test
