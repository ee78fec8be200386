#include "sorblib2core/CException.h"

#include "sorblib2core/CExBadParam.h"

namespace ORVEN {

namespace {

const char* TextOrEmpty(const char* text) { return text != nullptr ? text : ""; }

} // namespace

CException::CException(const char* source, const char* message, const char* detail)
    : m_source(TextOrEmpty(source))
    , m_message(TextOrEmpty(message))
    , m_detail(TextOrEmpty(detail)) {}

CException::CException(const Impl::StExLocation& location, const char* message)
    : m_source(TextOrEmpty(location.function))
    , m_message(TextOrEmpty(message))
    , m_location(location) {}

CException::~CException() = default;

CExBadParam::~CExBadParam() = default;

} // namespace ORVEN
