#pragma once

#include <sorblib2image/ImageView.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillon {

/// One plane of an image as bits, 64 pixels a word, with nothing set around it: a row of words before the
/// first and behind the last, and between two rows a bit at least, so that a look past an end finds 0.
class CBitPlane {
public:
    /// Words are dealt with in groups of so many; the last group is filled up.
    static constexpr std::size_t c_group = 8;

    CBitPlane(std::int64_t nx, std::int64_t ny);

    void Clear();
    /// Sets the bits of bytes that are not 0.
    void TakeNonZero(const ORVEN::CImageView<const unsigned char>& pixels, std::int64_t z);
    /// Sets the bits of bytes that are exactly 1.
    void TakeOnes(const ORVEN::CImageView<unsigned char>& pixels, std::int64_t z);

    /// From the first word of row 0 on, in groups to the end of the last row. Neighbouring words, and those a
    /// row before and behind, can be read everywhere.
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
