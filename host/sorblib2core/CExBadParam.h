#pragma once

#include "sorblib2core/CException.h"

namespace ORVEN {

/// Raised for an argument that the callee cannot work with: the caller is at fault.
class CExBadParam : public CException {
public:
    using CException::CException;
    CExBadParam(const CExBadParam&) = default;
    CExBadParam& operator=(const CExBadParam&) = default;
    ~CExBadParam() override;
};

} // namespace ORVEN
