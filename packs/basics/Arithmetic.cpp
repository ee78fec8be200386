#include "Arithmetic.h"

#include "pixels/CRowReader.h"
#include "pixels/PixelLoops.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace quillon::basics {

using namespace ORVEN;

namespace {

template <class Operation>
void ForEach(double* a, const double* b, std::int64_t count, const Operation& operation) {
    std::transform(a, a + count, b, a, operation);
}

template <class Operation>
void ForEachWord(double* a, const double* b, std::int64_t count, const Operation& operation) {
    ForEach(a, b, count, [&operation](double x, double y) {
        return static_cast<double>(operation(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)));
    });
}

enum class EnKind {
    NUMBERS, ///< the result is float
    CHOICE,  ///< the result has the type of the operands
    BITS     ///< the same, and the operands must not be float
};

/// An operation on the rows of both operands, as doubles, which hold the values of all pixel types. The
/// result replaces the first row.
struct StOperation {
    std::string_view name;
    EnKind kind;
    void (*apply)(double* a, const double* b, std::int64_t count);
};

using Row = double*;
using ConstRow = const double*;
using Count = std::int64_t;

constexpr std::array c_operations{
    StOperation{
        "add", EnKind::NUMBERS,
        [](Row a, ConstRow b, Count n) { ForEach(a, b, n, [](double x, double y) { return x + y; }); }},
    StOperation{
        "subtract", EnKind::NUMBERS,
        [](Row a, ConstRow b, Count n) { ForEach(a, b, n, [](double x, double y) { return x - y; }); }},
    StOperation{
        "multiply", EnKind::NUMBERS,
        [](Row a, ConstRow b, Count n) { ForEach(a, b, n, [](double x, double y) { return x * y; }); }},
    StOperation{"divide", EnKind::NUMBERS,
                [](Row a, ConstRow b, Count n) {
                    ForEach(a, b, n, [](double x, double y) { return y == 0.0 ? 0.0 : x / y; });
                }},
    StOperation{"minimum", EnKind::CHOICE,
                [](Row a, ConstRow b, Count n) {
                    ForEach(a, b, n, [](double x, double y) { return y < x ? y : x; });
                }},
    StOperation{"maximum", EnKind::CHOICE,
                [](Row a, ConstRow b, Count n) {
                    ForEach(a, b, n, [](double x, double y) { return y > x ? y : x; });
                }},
    StOperation{"difference", EnKind::CHOICE,
                [](Row a, ConstRow b, Count n) {
                    ForEach(a, b, n, [](double x, double y) { return std::abs(x - y); });
                }},
    StOperation{"and", EnKind::BITS,
                [](Row a, ConstRow b, Count n) { ForEachWord(a, b, n, std::bit_and<std::uint32_t>()); }},
    StOperation{"or", EnKind::BITS,
                [](Row a, ConstRow b, Count n) { ForEachWord(a, b, n, std::bit_or<std::uint32_t>()); }},
    StOperation{"xor", EnKind::BITS,
                [](Row a, ConstRow b, Count n) { ForEachWord(a, b, n, std::bit_xor<std::uint32_t>()); }},
};

/// The types from narrow to wide: each holds the values of those before it, float up to rounding.
constexpr std::array c_types{IMAGE_BINARY_FG, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_F};
constexpr std::size_t c_float = c_types.size() - 1;

std::size_t RankOf(const IImage::CType& type) {
    return static_cast<std::size_t>(std::ranges::find(c_types, type) - c_types.begin());
}

/// The narrowest grey type that holds the number.
std::size_t RankOf(double value) {
    if (value < 0.0 || value != std::trunc(value) || value > 4294967295.0)
        return c_float;
    return RankOf(value <= 255.0 ? IMAGE_GREY_8 : value <= 65535.0 ? IMAGE_GREY_16 : IMAGE_GREY_32);
}

template <class T>
void Combine(const CImage& image, const CImage* image2, double value, const StOperation& operation,
             CImage& result, IProgress& progress) {
    const CImageView<T> view(result);
    const CRowReader first(image);
    const CRowReader second(image2 != nullptr ? *image2 : image);
    progress.Start(static_cast<unsigned>(view.nz), "Combining...");
    ParallelFor(view.nz, progress, [&](CWorkerTurn& turn) {
        const auto length = static_cast<std::size_t>(view.nx);
        return [&, a = std::vector<double>(length), b = std::vector<double>(length, value),
                pace = CWorkPace(turn)](std::int64_t z) mutable {
            for (std::int64_t y = 0; y < view.ny && !pace.IsCancelled(); ++y) {
                first.Read(y, z, a.data());
                if (image2 != nullptr)
                    second.Read(y, z, b.data());
                operation.apply(a.data(), b.data(), view.nx);
                std::transform(a.begin(), a.end(), view.Row(y, z),
                               [](double number) { return PixelOf<T>(number); });
                (void)pace.Add(4 * view.nx);
            }
        };
    });
    progress.Finish();
}

} // namespace

void CArithmeticPlugin::ReadParameters(const CValueMap& tree) {
    m_operation = ReadText(tree, "operation", "add");
    m_image2 = ReadImage2(tree);
    m_value = ReadNumber(tree, "value");
}

StResult CArithmeticPlugin::Compute(const CImage& image) {
    const auto operation = std::ranges::find(c_operations, std::string_view(m_operation), &StOperation::name);
    if (operation == c_operations.end())
        Refuse("operation = " + m_operation +
               " must be add, subtract, multiply, divide, minimum, maximum, difference, and, or or xor.");
    if ((m_image2 != nullptr) == m_value.has_value())
        Refuse(m_value ? "Image2 and value are both given." : "Image2 and value are both missing.");
    if (m_image2 != nullptr) {
        if (!IsReal(m_image2->Type()))
            ThrowUnsupportedType(Name(), m_image2->Type());
        RequireSameSize(image, *m_image2);
    }

    const double value = m_value.value_or(0.0);
    const bool isLogical = operation->kind == EnKind::BITS;
    std::size_t rank =
        std::max(RankOf(image.Type()), m_image2 != nullptr ? RankOf(m_image2->Type()) : RankOf(value));
    if (isLogical && rank == c_float)
        Refuse("operation = " + m_operation + " needs whole numbers from 0 to 4294967295, not float" +
               (m_value ? " or value = " + TextOf(value) : std::string()) + ".");
    if (operation->kind == EnKind::NUMBERS)
        rank = c_float;

    StResult result{NewImage(c_types[rank], image.Size()), {}};
    CProgressProxy progress = HostProgress();
    DispatchRealType(Name(), c_types[rank], [&]<class T>(std::type_identity<T>) {
        Combine<T>(image, m_image2, value, *operation, *result.image, progress);
    });
    result.history = "arithmetic(" + m_operation + "," + (m_value ? TextOf(value) : "Image2") + ")";
    return result;
}

} // namespace quillon::basics
