#pragma once

#include "pixels/PixelLoops.h"

#include <algorithm>
#include <cstdint>
#include <memory>

namespace quillon::basics {

/// Copies rows of a binary or grey image to doubles, which hold the values of all pixel types. For code that
/// is not worth an instance for each type. The image must outlive the reader.
class CRowReader {
    struct IRows {
        IRows() = default;
        IRows(const IRows&) = delete;
        IRows& operator=(const IRows&) = delete;
        virtual ~IRows() = default;
        virtual void Read(std::int64_t y, std::int64_t z, double* row) const = 0;
    };

    template <class T>
    struct CRows : IRows {
        explicit CRows(const ORVEN::CImage& image)
            : view(image) {}
        void Read(std::int64_t y, std::int64_t z, double* row) const override {
            std::copy_n(view.Row(y, z), view.nx, row);
        }

        ORVEN::CImageView<const T> view;
    };

public:
    explicit CRowReader(const ORVEN::CImage& image)
        : m_rows(DispatchRealType("CRowReader", image.Type(),
                                  [&]<class T>(std::type_identity<T>) -> std::unique_ptr<IRows> {
                                      return std::make_unique<CRows<T>>(image);
                                  })) {}

    /// Fills `row` with the pixels of a row.
    void Read(std::int64_t y, std::int64_t z, double* row) const { m_rows->Read(y, z, row); }

private:
    std::unique_ptr<IRows> m_rows;
};

} // namespace quillon::basics
