#pragma once

#include "sorblib2core/CException.h"

namespace ORVEN {

class CValue;

/// A value of a kind that does not hold what was asked of it.
class CExBadType : public CException {
public:
    /// The message names the kind of `value`, which can be null.
    CExBadType(const Impl::StExLocation& location, const CValue* value);
    CExBadType(const CExBadType&) = default;
    CExBadType& operator=(const CExBadType&) = default;
    ~CExBadType() override;
};

} // namespace ORVEN
