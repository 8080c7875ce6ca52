#pragma once
// The program's name, edition and version, kept in this one header. The
// version number must match the project version in the top CMakeLists.txt;
// PAppVersion.cpp checks that at compile time.

#include <cstdint>

namespace vantor {

inline constexpr const char* kApplicationName = "Vantor";
inline constexpr const char* kApplicationEdition = "Studio";
// The product name with its edition, as stored in a project's "Version" root.
inline constexpr const char* kApplicationTitle = "Vantor Studio";

inline constexpr int kVersionMajor = 0;
inline constexpr int kVersionMinor = 1;
inline constexpr int kVersionPatch = 0;
inline constexpr const char* kVersionNumber = "0.1.0";

// The revision of the project-file format that this program writes: the
// 32-bit integer of the "Version" root. Raise it whenever a class writes
// members an older program would misread; a file of a higher revision than
// the running program's still opens, with a warning.
inline constexpr int32_t kProjectFileRevision = 1;

}  // namespace vantor
