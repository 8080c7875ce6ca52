#pragma once
// The texts the document layer shows the user, in the system's own words and
// printf forms (fill the %s places with formatMessage).

#include <string_view>

namespace vantor {

inline constexpr std::string_view kReadingProjectFile = "Reading Project File...";
inline constexpr std::string_view kSaveBackupLabel = "Save Backup...";
inline constexpr std::string_view kCannotOpenProject = "Can not open project file \"%s\" !";
inline constexpr std::string_view kInvalidProject = "Invalid project file \"%s\" !";
inline constexpr std::string_view kProjectReadOnly =
    "The project file is read only!\nDo you want to overwrite it or create a new file?";
inline constexpr std::string_view kPreviousVersionKept =
    "\nThe previous version of the project has been left unchanged.";
inline constexpr std::string_view kStoredAsNewFile =
    "The project could not be replaced!\nIt has been stored as new file \"%s\" instead!";
inline constexpr std::string_view kProjectMoved =
    "The project file has been moved!\nPlease confirm the project working directory!\n\n"
    "Document path is: %s\n\nNew (1):\t%s\nOld (2):\t%s";
inline constexpr std::string_view kMovedToReadOnly =
    "The project has been moved to a location that is read only!\nPlease select a new project working directory!";
inline constexpr std::string_view kDirectoryReadOnly =
    "The project directory is read only!\n\nPlease make a new selection!";

// Texts of this program's own: a failed write (the path, then the system's
// reason), a backup of a project that has no file yet, a failed automatic
// save (path, reason), and a file written by a program of a newer format
// revision (its application name and version text).
inline constexpr std::string_view kCannotWriteProject = "Can not write project file \"%s\" !\n%s";
inline constexpr std::string_view kBackupNeedsFile =
    "The project has not been saved yet!\nSave it before making a backup.";
inline constexpr std::string_view kAutoSaveFailed = "The project could not be saved automatically to \"%s\" !\n%s";
// A file another session holds open for writing (its path), a save target
// that is no file (path), and the note on a moved project opened only for
// reading (the remembered working directory).
inline constexpr std::string_view kProjectInUse =
    "The project file \"%s\" is open in another session!\nIt can not be written until that session ends.";
inline constexpr std::string_view kNotAProjectTarget =
    "Can not write project file \"%s\" !\nIt is not a regular file (a device, a pipe or a socket).";
inline constexpr std::string_view kProjectMovedNote =
    "Note: the project file has been moved; its working directory is still \"%s\".";
// Objects whose classes failed to write are left out of the saved file and
// named here (their class names, separated by commas); the rest is saved.
inline constexpr std::string_view kObjectsNotSaved =
    "Some objects could not be saved and are missing from the file: %s";
inline constexpr std::string_view kNewerVersion =
    "This project was saved by a newer version of the program (%s, %s)!\n"
    "Parts of it may be missing or read incorrectly.";

}  // namespace vantor
