#pragma once

#include <sorblib2image/ImageView.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillon {

/// One plane of an image as bits, 64 pixels per word, surrounded by zeros: a row of words before the first
/// row and after the last one, and at least one bit between two rows. So a read past an end returns 0.
class CBitPlane {
public:
    /// Words are processed in groups of this size; the last group is padded.
    static constexpr std::size_t c_group = 8;

    CBitPlane(std::int64_t nx, std::int64_t ny);

    void Clear();
    /// Sets the bits of all bytes that are not 0.
    void TakeNonZero(const ORVEN::CImageView<const unsigned char>& pixels, std::int64_t z);
    /// Sets the bits of all bytes that are exactly 1.
    void TakeOnes(const ORVEN::CImageView<unsigned char>& pixels, std::int64_t z);

    /// The words from the first one of row 0, in groups up to the end of the last row. The adjacent words,
    /// and those one row before and after, can always be read.
    [[nodiscard]] std::uint64_t* Words() { return m_words.data() + m_rowWords + 1; }
    [[nodiscard]] const std::uint64_t* Words() const { return m_words.data() + m_rowWords + 1; }
    [[nodiscard]] std::size_t RowWords() const { return m_rowWords; }
    [[nodiscard]] std::size_t GroupCount() const { return m_groupCount; }

private:
    std::size_t m_rowWords;
    std::size_t m_groupCount;
    std::vector<std::uint64_t> m_words;
};

} // namespace quillon
