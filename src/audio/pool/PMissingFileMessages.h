#pragma once
// The texts of the missing-file resolver ("Resolve Missing Files"), in the
// system's words.

namespace vantor {

inline constexpr const char* kResolveMissingFilesTitle = "Resolve Missing Files";
inline constexpr const char* kMissingFilesLabel = "Missing Files:";
inline constexpr const char* kLocateLabel = "Locate";
// The title of the file chooser of "Locate" (the blank belongs to it).
inline constexpr const char* kLocateFileLabel = "Locate File: ";
inline constexpr const char* kSearchLabel = "Search";
inline constexpr const char* kChooseFolderLabel = "Choose Folder";
inline constexpr const char* kSearchForFileLabel = "Search for File";
inline constexpr const char* kAddFilterLabel = "Add Filter";
// Reported when no file is missing any more.
inline constexpr const char* kAllFilesResolvedMessage = "all files resolved!";
// A located file that cannot be opened (the other refusal, a file no
// handler reads, is kInvalidAudioFileMessage).
inline constexpr const char* kCannotOpenFileMessage = "Error: Can not open file!";
// The folder chosen for a search is not a folder that can be read.
inline constexpr const char* kCannotOpenFolderMessage = "Error: Can not open folder!";

}  // namespace vantor
