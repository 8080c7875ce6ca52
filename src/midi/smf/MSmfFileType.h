#pragma once
// The Standard MIDI File as a file type that "Import MIDI" reads: type code,
// display name and MIME type. The document layer lists it with its own
// file types (document/PFileTypes.h).

#include <cstdint>
#include <string_view>

#include "foundation/FStream.h"

namespace vantor {

inline constexpr uint32_t kMidiFileType = fourCC("Midi");
inline constexpr std::string_view kMidiFileTypeName = "MIDI File";
inline constexpr std::string_view kMidiMimeType = "audio/x-midi";
// File name endings that usually hold one.
inline constexpr std::string_view kMidiExtension = ".mid";

}  // namespace vantor
