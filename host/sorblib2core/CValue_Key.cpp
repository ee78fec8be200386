#include "sorblib2core/CValue_Key.h"

namespace ORVEN {

CValue_Key::CValue_Key(const char* path)
    : m_path(path != nullptr ? path : "") {}

CValue_Key::CValue_Key(const std::string& path)
    : m_path(path) {}

CValue_Key::CValue_Key(int index)
    : m_path(std::to_string(index)) {}

std::string_view CValue_Key::FirstStep() const {
    return std::string_view(m_path).substr(0, m_path.find('/'));
}

std::optional<std::string_view> CValue_Key::Remainder() const {
    const auto slash = m_path.find('/');
    if (slash == std::string::npos)
        return std::nullopt;
    return std::string_view(m_path).substr(slash + 1);
}

} // namespace ORVEN
