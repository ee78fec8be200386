#include "sorblib2core/StExLocation.h"

namespace ORVEN::Impl {

// The time stamp is confined to this source, so that a compiler cache works for all others.
StExLocation Here(const char* function, const std::source_location& where) {
    return {__DATE__ "-" __TIME__, where.file_name(), function, static_cast<std::int32_t>(where.line()), 0};
}

} // namespace ORVEN::Impl
