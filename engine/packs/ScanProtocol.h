#pragma once

/// What the program that loads a pack on trial writes to the descriptor that was its standard output, one
/// line each: `provides NAME` for each plug-in, then `usable`; or `missing MESSAGE` if the machine lacks a
/// library, or `unusable MESSAGE`. Without one of the last three lines, it has crashed.
namespace engine {

inline constexpr const char* c_scanProvides = "provides ";
inline constexpr const char* c_scanUsable = "usable";
inline constexpr const char* c_scanUnusable = "unusable ";
inline constexpr const char* c_scanMissing = "missing ";

/// The name of the program, in the folder `quillon` beside this library.
inline constexpr const char* c_scanProgram = "quillon-scan-pack";

} // namespace engine
