#include "sorblib2image/CPos.h"

#include <sorblib2core/CExBadParam.h>
#include <sorblib2core/CString.h>

#include <algorithm>

namespace ORVEN {

std::int64_t& CPos::operator[](std::int64_t axis) {
    switch (axis) {
    case 0:
        return x;
    case 1:
        return y;
    case 2:
        return z;
    default:
        throw CExBadParam(
            Impl::Here("ORVEN::CPos::operator[]"),
            CString("There is no axis %1.", CString::ENC_UTF8).Arg(static_cast<long long>(axis), 0));
    }
}

const std::int64_t& CPos::operator[](std::int64_t axis) const { return const_cast<CPos&>(*this)[axis]; }

std::string CPos::ToString() const {
    std::string text = "(";
    for (int axis = 0; axis < std::clamp(dim, 0, 3); ++axis)
        text.append(axis > 0 ? "," : "").append(std::to_string((*this)[axis]));
    return text.append(")");
}

bool CPos::Equal(const CPos& a, const CPos& b) {
    return a.dim == b.dim && (a.dim < 1 || a.x == b.x) && (a.dim < 2 || a.y == b.y) &&
           (a.dim < 3 || a.z == b.z);
}

} // namespace ORVEN
