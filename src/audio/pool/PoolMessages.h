#pragma once
// The texts the audio pool gives the user, in the system's words. %s and %ld
// places are filled by formatMessage (foundation/FUserMessages.h) or
// formatCount below.

#include <cstdint>
#include <string>
#include <string_view>

#include "audio/files/AudioFileMessages.h"

namespace vantor {

// Files (and kInvalidAudioFileMessage of the file layer).
inline constexpr const char* kCannotOpenFileMessage = "Error: Can not open file!";
inline constexpr const char* kAllFilesResolvedMessage = "all files resolved!";

// Removing and trashing.
inline constexpr const char* kClipIsUsedQuestion =
    "%s is used!\nDo you want to remove all occurrences from the project?";
inline constexpr const char* kCannotTrashQuestion =
    "%s can not be moved to the trash because\n%s\n\nDo you want to remove it from the pool?";
inline constexpr const char* kReasonOtherPoolAndVersions =
    "it is used in another pool and it has more than one edit version!";
inline constexpr const char* kReasonOtherPool = "it is used in another pool!";
inline constexpr const char* kReasonVersions = "it has more than one edit version!";
inline constexpr const char* kEraseChoice = "Erase";

// Minimizing.
inline constexpr const char* kMinimizeQuestion =
    "Minimizing files will clear the entire edit history!!\n\nDo you want to go on?";
inline constexpr const char* kSaveNowQuestion =
    "You should save the project now!\nFile references in the stored version have become invalid!";
inline constexpr const char* kSaveNowChoice = "Save Now";
inline constexpr const char* kLaterChoice = "Later";

// Pool files and titles.
inline constexpr const char* kLibraryTitlePrefix = "Library - ";
inline constexpr const char* kPoolTitlePrefix = "Pool - ";
inline constexpr const char* kSaveLibraryQuestion = "Do you want to save this library?";

// The information line.
inline constexpr const char* kInfoAudiofiles = "Audiofiles: %ld";
inline constexpr const char* kInfoUsed = "Used: %ld";
inline constexpr const char* kInfoTotalSize = "Total Size: %s";
inline constexpr const char* kInfoExternFiles = "Extern Files: %ld";
inline constexpr const char* kInfoPoolRecordFolder = "Pool Record Folder:";
inline constexpr const char* kInfoProjectFolder = "Project Folder:";

// Import options.
inline constexpr const char* kOnImportAudiofilePreference = "On Import Audiofile";
inline constexpr const char* kImportDoNothing = "Do Nothing";
inline constexpr const char* kImportOpenOptionsDialog = "Open Options Dialog";
inline constexpr const char* kImportCopyToProjectFolder = "Copy to Project Folder";
inline constexpr const char* kImportCopyAndConvert = "Copy and Convert";
inline constexpr const char* kCopyFileToWorkingDirectory = "Copy File to Working Directory";
inline constexpr const char* kCopyFilesToWorkingDirectory = "Copy Files to Working Directory";
inline constexpr const char* kConvertIfNeeded = "Convert if needed";
inline constexpr const char* kRateConversionLine = "=> %.3f kHz to %.3f kHz";
inline constexpr const char* kSampleSizeConversionLine = "=> %d Bit to %d Bit";

// Insert into project.
inline constexpr const char* kInsertAtCursor = "At Cursor";
inline constexpr const char* kInsertAtOrigin = "At Origin";
inline constexpr const char* kInsertAtTimecode = "At Timecode Position...";

// Copying into the project folder of a project that has none yet.
inline constexpr const char* kNoProjectFolderMessage =
    "The project has no folder yet: save it before copying files into it.";

// Why a clip could not be read: the file lies beyond its end.
inline constexpr const char* kClipFileTooShort = kInvalidAudioFileMessage;

// A %ld place filled with a count.
std::string formatCount(std::string_view format, int64_t count);

}  // namespace vantor
