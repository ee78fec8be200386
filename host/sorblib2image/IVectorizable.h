#pragma once

#include <cstdint>
#include <string>

namespace ORVEN {

/// A tuple of up to three integer coordinates, addressed by axis: 0 is x, 1 is y, 2 is z.
class IVectorizable {
public:
    IVectorizable() = default;
    IVectorizable(const IVectorizable&) = default;
    IVectorizable& operator=(const IVectorizable&) = default;
    virtual ~IVectorizable() = default;

    virtual std::int64_t& operator[](std::int64_t axis) = 0;
    virtual const std::int64_t& operator[](std::int64_t axis) const = 0;
    [[nodiscard]] virtual int Dim() const = 0;
    [[nodiscard]] virtual std::string ToString() const = 0;
};

} // namespace ORVEN
