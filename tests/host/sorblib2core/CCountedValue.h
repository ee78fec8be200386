#pragma once

#include <sorblib2core/CValue.h>

namespace test {

/// A value that counts the instances of its class, to show who frees what.
class CCountedValue : public ORVEN::CValue {
public:
    explicit CCountedValue(int& alive)
        : m_alive(alive) {
        ++m_alive;
    }
    ~CCountedValue() override { --m_alive; }

    ORVEN::CValue* Clone(EnTfOwnership /*strategy*/) const override { return new CCountedValue(m_alive); }

private:
    int& m_alive;
};

} // namespace test
