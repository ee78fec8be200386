#pragma once

#include "sorblib2core/StExLocation.h"

#include <exception>
#include <string>

namespace ORVEN {

/// The exception that host libraries and plug-ins raise. Its texts are for the user: what failed, and why.
///
/// The class is defined in this library with default visibility, so that it can be caught across the boundary
/// between host and pack.
class CException : public std::exception {
public:
    /// `source` names the plug-in, class or function that failed. A null text counts as empty.
    CException(const char* source, const char* message, const char* detail);
    /// The function of the location becomes the source.
    CException(const Impl::StExLocation& location, const char* message);
    CException(const CException&) = default;
    CException& operator=(const CException&) = default;
    ~CException() override;

    /// The sentence for the user.
    [[nodiscard]] virtual const char* Message() const noexcept { return m_message.c_str(); }

    [[nodiscard]] const char* Source() const noexcept { return m_source.c_str(); }
    [[nodiscard]] const char* Detail() const noexcept { return m_detail.c_str(); }
    /// All members are null or 0 if the exception was raised without a location.
    [[nodiscard]] const Impl::StExLocation& Location() const noexcept { return m_location; }

    [[nodiscard]] const char* what() const noexcept override { return Message(); }

private:
    std::string m_source;
    std::string m_message;
    std::string m_detail;
    Impl::StExLocation m_location{};
};

} // namespace ORVEN
