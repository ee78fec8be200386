#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace test {

/// Sets an environment variable, or removes it for a null value, as long as the object lives.
class CEnvironmentVariable {
public:
    CEnvironmentVariable(const char* name, const char* value)
        : m_name(name) {
        if (const char* const former = std::getenv(name))
            m_former = former;
        Set(value);
    }
    CEnvironmentVariable(const CEnvironmentVariable&) = delete;
    CEnvironmentVariable& operator=(const CEnvironmentVariable&) = delete;
    ~CEnvironmentVariable() { Set(m_former ? m_former->c_str() : nullptr); }

private:
    void Set(const char* value) const {
        if (value != nullptr)
            setenv(m_name, value, 1);
        else
            unsetenv(m_name);
    }

    const char* m_name;
    std::optional<std::string> m_former;
};

} // namespace test
