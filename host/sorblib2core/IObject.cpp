#include "sorblib2core/IObject.h"

namespace ORVEN {

IObject::~IObject() = default;

void IObject::SetInstance(const char* /*name*/) {}

} // namespace ORVEN
