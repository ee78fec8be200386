#pragma once

#include <stdexcept>

namespace test {

/// What `body` raises, for a look at its texts. Raises itself, and so fails the test, if nothing comes.
template <class Exception, class Body>
Exception Raised(Body&& body) {
    try {
        body();
    } catch (const Exception& raised) {
        return raised;
    }
    throw std::logic_error("nothing was raised");
}

} // namespace test
