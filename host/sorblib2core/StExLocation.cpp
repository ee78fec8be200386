#include "sorblib2core/StExLocation.h"

namespace ORVEN::Impl {

// The stamp stands in this one source, so that a compiler cache can serve every other.
StExLocation Here(const char* function, const std::source_location& where) {
    return {__DATE__ "-" __TIME__, where.file_name(), function, static_cast<std::int32_t>(where.line()), 0};
}

} // namespace ORVEN::Impl
