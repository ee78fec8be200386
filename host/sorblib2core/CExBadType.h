#pragma once

#include "sorblib2core/CException.h"

namespace ORVEN {

class CValue;

/// Raised when a value is asked for data of a kind that it does not hold.
class CExBadType : public CException {
public:
    /// The message names the class of `value`, which can be null.
    CExBadType(const Impl::StExLocation& location, const CValue* value);
    CExBadType(const CExBadType&) = default;
    CExBadType& operator=(const CExBadType&) = default;
    ~CExBadType() override;
};

} // namespace ORVEN
