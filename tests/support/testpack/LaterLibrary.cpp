// A host library of a later version, which a pack was linked with and the machine does not have.

namespace ORVEN {
void Foretell();

void Foretell() {}
} // namespace ORVEN
