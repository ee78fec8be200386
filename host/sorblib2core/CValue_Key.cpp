#include "sorblib2core/CValue_Key.h"

namespace ORVEN {

CValue_Key::CValue_Key(const char* path)
    : m_path(path != nullptr ? path : "") {}

CValue_Key::CValue_Key(const std::string& path)
    : m_path(path) {}

CValue_Key::CValue_Key(int index)
    : m_path(std::to_string(index)) {}

} // namespace ORVEN
