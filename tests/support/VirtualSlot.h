#pragma once

#include <cstddef>
#include <cstring>
#include <stdexcept>

namespace test {

/// The place of a virtual operation in the table of its class, counted from 0: `VirtualSlot(&CValue::Clone)`,
/// and for one of several overloads `VirtualSlot<bool() const>(&CValue::Bool)`.
///
/// The Itanium C++ ABI, which all our platforms follow, stores in a pointer to a virtual member function the
/// byte offset of its slot plus 1. A virtual destructor takes two slots there, so that in a class that
/// declares its destructor first, the operation that is the Nth of the list from 1 has slot N.
template <class Signature, class Class>
std::ptrdiff_t VirtualSlot(Signature Class::*operation) {
    struct {
        std::ptrdiff_t offsetPlusOne;
        std::ptrdiff_t thisAdjustment;
    } representation{};
    static_assert(sizeof operation == sizeof representation);
    std::memcpy(&representation, &operation, sizeof representation);
    if (representation.offsetPlusOne % 2 == 0)
        throw std::logic_error("the operation is not virtual");
    return (representation.offsetPlusOne - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

} // namespace test
