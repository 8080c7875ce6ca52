#pragma once
// The file types of the document layer, as registered with file selectors
// and the desktop: type code, display name and MIME type (empty when the
// type has none). Both display names of project files map to one type.

#include <array>
#include <cstdint>
#include <string_view>

#include "foundation/FStream.h"
#include "midi/smf/MSmfFileType.h"

namespace vantor {

struct PFileType {
  uint32_t typeCode;  // four-character code
  std::string_view displayName;
  std::string_view mimeType;  // empty: none
};

inline constexpr uint32_t kProjectFileType = fourCC("QVPR");
inline constexpr uint32_t kCacheFileType = fourCC("QVCH");
inline constexpr uint32_t kBackupFileType = fourCC("BAK ");

inline constexpr std::string_view kProjectMimeType = "audio/x-vnd.Brenvalde-Vantor-Project";
inline constexpr std::string_view kCacheMimeType = "application/x-vnd.Brenvalde-Vantor-Cachefile";

inline constexpr std::array<PFileType, 4> kDocumentFileTypes{{
    {kProjectFileType, "Vantor Project File", kProjectMimeType},
    {kProjectFileType, "Sorvel Project File", kProjectMimeType},
    {kCacheFileType, "Cache File", kCacheMimeType},
    {kBackupFileType, "Vantor Project Backup File", ""},
}};

// The types of files the document imports.
inline constexpr std::array<PFileType, 1> kImportFileTypes{{
    {kMidiFileType, kMidiFileTypeName, kMidiMimeType},
}};

// File name endings: projects, their backups ("song.vpr.bak") and automatic
// saves ("song.autosave.vpr").
inline constexpr std::string_view kProjectExtension = ".vpr";
inline constexpr std::string_view kBackupExtension = ".bak";
inline constexpr std::string_view kAutoSaveSuffix = ".autosave";

}  // namespace vantor
