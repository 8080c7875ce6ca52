#pragma once
// Copying media files into the project folder: block by block into a
// temporary file beside the target, synced and then renamed over it, so a
// failure leaves no half-written file under the target's name.

#include <cstdint>
#include <string>
#include <vector>

namespace vantor {

// Copies from to to. False, with the reason in *error (the system's text,
// "There is not enough disk space for this operation!" for a full disk),
// when reading or writing failed; nothing is left at to then.
[[nodiscard]] bool copyFileSafely(const std::string& from, const std::string& to, std::string* error);

// Writes bytes to path the same way (temporary file, sync, rename).
[[nodiscard]] bool writeFileSafely(const std::string& path, const std::vector<uint8_t>& bytes, std::string* error);

// A path in folder for a file named name that does not exist yet: name
// itself, else "stem-1.ext", "stem-2.ext", ...
std::string freeFilePath(const std::string& folder, const std::string& name);

}  // namespace vantor
