#include "sorblib2core/CExBadType.h"

#include "sorblib2core/CString.h"
#include "sorblib2core/CValue.h"

namespace ORVEN {

CExBadType::CExBadType(const Impl::StExLocation& location, const CValue* value)
    : CException(location,
                 CString("A value of type '%1' does not hold the requested data.", CString::ENC_UTF8)
                     .Arg(value != nullptr ? value->Type().name() : "null")) {}

CExBadType::~CExBadType() = default;

} // namespace ORVEN
