#pragma once
// The project document: the four named roots of a project file, and opening,
// saving, backing up and automatically saving them.
//
// A project file is the chunked container of foundation/FProjectContainer.h
// with the form type "KEMB" and the roots, in this order:
//   "Arrangement1"   PArrangement (-> MRoot -> MProject)
//   "Devices"        PDeviceSetup
//   "WindowLayouts"  PWindowLayouts
//   "Version"        PAppVersion of the program that wrote the file
// Reading takes the roots by name. A root of an unknown class (or one whose
// record is refused) reads as missing: "Devices", "WindowLayouts" and
// "Version" then take their defaults, while a project without a readable
// "Arrangement1" is invalid.
//
// Files are written safely (document/PSafeFile.h): a failed save leaves the
// previous file byte for byte.
//
// Files beside a project "song.vpr" (decided here, users look for them
// there): the backup "song.vpr.bak" (file type "BAK "), replaced by every
// "Save Backup..."; the automatic save "song.autosave.vpr", removed by the
// next successful save; and, when "song.vpr" cannot be replaced, the first
// free name of "song-1.vpr", "song-2.vpr", ...; while a session edits it,
// the lock file ".song.vpr.lock" (document/PProjectLock.h); and for a moment
// during each write, a temporary ".song.vpr.XXXXXX.tmp".

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "document/FAutoSaver.h"
#include "document/PAppVersion.h"
#include "document/PDocumentMessages.h"
#include "document/PProjectLock.h"
#include "foundation/FRef.h"
#include "foundation/FUserMessages.h"

namespace vantor {

class FStream;
class MProject;
class PArrangement;
class PDeviceSetup;
class PPreferences;
class PWindowLayouts;

inline constexpr const char* kArrangementRootName = "Arrangement1";
inline constexpr const char* kDevicesRootName = "Devices";
inline constexpr const char* kWindowLayoutsRootName = "WindowLayouts";
inline constexpr const char* kVersionRootName = "Version";

class PDocument : public FAutoSaver {
 public:
  // Answers to kProjectReadOnly, in the order of its choices.
  enum ReadOnlyChoice : int { kOverwrite = 0, kNewFile = 1, kCancel = 2 };
  // Answers to kProjectMoved: 0 takes the new folder (the file's own,
  // "New (1)"), 1 keeps the old one ("Old (2)").
  enum MovedChoice : int { kUseNewDirectory = 0, kKeepOldDirectory = 1 };

  // Asks the user for a folder; nullopt when the user cancels.
  using DirectoryChooser = std::function<std::optional<std::string>()>;
  using ProgressHandler = std::function<void(std::string_view text)>;

  // A new untitled project with default devices and window layouts. The
  // document enters itself in FAutoSavers::instance() and leaves it when
  // destroyed. Needs initializeDocument().
  PDocument(FUserMessages& messages, PPreferences& preferences);
  ~PDocument() override;
  PDocument(const PDocument&) = delete;
  PDocument& operator=(const PDocument&) = delete;

  // Reads the project file at path into this document, showing
  // kReadingProjectFile meanwhile. On failure the user is told why
  // (kCannotOpenProject, kInvalidProject) and the document is unchanged. A
  // file of a newer format revision opens with a warning (kNewerVersion).
  //
  // Working directory: a project remembers the folder it was saved in. When
  // the file now lies in another folder, kProjectMoved asks which to use:
  // "New (1)" (the default) takes the file's folder, "Old (2)" keeps the
  // remembered one. A new folder that is read-only gives kMovedToReadOnly
  // and the directory chooser is asked for another folder (each read-only
  // pick gives kDirectoryReadOnly and asks again); cancelling, or having no
  // chooser, keeps the old folder. A project without a remembered folder
  // takes the file's without asking.
  [[nodiscard]] bool open(const std::string& path);
  // Reads the project file at path for looking only (it will not be saved):
  // as open(), but a moved project asks nothing; one short note
  // (kProjectMovedNote) tells where its working directory was, and the
  // document keeps the remembered folder, unmodified.
  [[nodiscard]] bool openForReading(const std::string& path);
  // Takes the project lock of the file at path (document/PProjectLock.h)
  // before it is opened for editing, so that no other session or edit
  // writes it while this document has it. A file held elsewhere is refused
  // with kProjectInUse. Where no lock file can be made (a read-only folder,
  // where no save can succeed either) the project is edited without one.
  // The lock is kept until the document is destroyed, and moves with the
  // project to the file a save writes.
  [[nodiscard]] bool lockForEditing(const std::string& path);
  // Writes the project to path, which becomes the document's path. A
  // read-only file (no write bit) asks kProjectReadOnly first: "Overwrite"
  // replaces it (it stays read-only), "New File" writes newFilePathFor(path),
  // "Cancel" (the default) does nothing. When an existing path cannot be
  // replaced, the project goes to newFilePathFor(path) with kStoredAsNewFile.
  // A path that is a device, a FIFO or a socket (or a link to one) is refused
  // (kNotAProjectTarget); a link whose target is missing is followed. The
  // write holds the target's project lock: a target another session has
  // open is refused (kProjectInUse).
  // A working directory that followed the file (it was the old file's
  // folder, or none) moves to the new file's folder. False when the user
  // cancelled or the write failed (kCannotWriteProject + kPreviousVersionKept;
  // the previous file is unchanged byte for byte).
  [[nodiscard]] bool save(const std::string& path);
  // Saves to path(); false for an untitled document.
  [[nodiscard]] bool save();
  // "Save Backup...": writes the project to backupPathFor(path()) without
  // changing the document's path or its modified state.
  [[nodiscard]] bool saveBackup();
  // Writes the automatic save file (autoSavePathFor(path())) when "Auto
  // Save" is on, the document has a file and changes since the last save,
  // and "Auto Save Interval" minutes have passed since the clock was first
  // seen, or since the last automatic save. The project file is not touched.
  // A written file is recorded in the preference "Auto Save State" (saved
  // at once when the preferences have a file), so that after a crash the
  // next run can offer it; a successful save() removes the file and clears
  // the state. A failed automatic save warns (kAutoSaveFailed) and is tried
  // again an interval later.
  bool autoSaveIfDue(const FClock& clock) override;

  // kCannotOpenProject for path, with the system's reason on a second line
  // ("No such file or directory", "Is a directory", "Permission denied")
  // taken from a stream error such as "open: Is a directory".
  static std::string cannotOpenMessage(const std::string& path, const std::string& streamError);

  static std::string backupPathFor(const std::string& projectPath);
  static std::string autoSavePathFor(const std::string& projectPath);
  // The first free name "<stem>-<n><extension>" beside projectPath.
  static std::string newFilePathFor(const std::string& projectPath);

  // Writes the container of the four roots to a seekable stream.
  [[nodiscard]] bool writeContainer(FStream& stream) const;

  // The absolute path of the project file; empty while untitled.
  const std::string& path() const { return path_; }
  bool isModified() const { return modified_; }
  // Notes a change of the project, for the modified state and auto save.
  void markModified();

  PArrangement* arrangement() const { return arrangement_.get(); }
  MProject* project() const;
  PDeviceSetup* devices() const { return devices_.get(); }
  PWindowLayouts* windowLayouts() const { return layouts_.get(); }
  // The "Version" record of the file last opened; the running program's for
  // a new document or a file without one.
  const PAppVersion& fileVersion() const { return fileVersion_; }

  // The project's working directory (kept in the project).
  std::string workingDirectory() const;
  // Sets a chosen working directory, creating it when missing. A folder
  // that is read-only (or cannot be made) is refused with
  // kDirectoryReadOnly.
  [[nodiscard]] bool setWorkingDirectory(const std::string& folder);
  // Where a new working directory is asked for after a project moved to a
  // read-only place; without one the old directory is kept.
  void setDirectoryChooser(DirectoryChooser chooser) { chooser_ = std::move(chooser); }
  // Shows progress texts; without a handler they are reported as info.
  void setProgressHandler(ProgressHandler handler) { progress_ = std::move(handler); }

 private:
  struct Roots;
  [[nodiscard]] static bool readRoots(FStream& stream, Roots* roots);
  [[nodiscard]] bool readProject(const std::string& path, bool editing);
  [[nodiscard]] bool writeProject(std::string target);
  [[nodiscard]] bool lockTarget(const std::string& target, PProjectLock* writeLock);
  void keepLockOn(const std::string& written, PProjectLock* writeLock);
  [[nodiscard]] bool writeBeside(const std::string& target, std::string* written, std::string* error);
  void adoptSavedPath(const std::string& path);
  void checkWorkingDirectory(bool editing);
  bool chooseWorkingDirectory();
  void reportSaveFailure(const std::string& target, const std::string& error);
  void recordAutoSaveState(const std::string& autoSavePath);
  void showProgress(std::string_view text);
  void prepareForWrite();

  FUserMessages& messages_;
  PPreferences& preferences_;
  FRef<PArrangement> arrangement_;
  FRef<PDeviceSetup> devices_;
  FRef<PWindowLayouts> layouts_;
  PAppVersion fileVersion_;
  std::string path_;
  bool modified_ = false;
  bool changedSinceAutoSave_ = false;
  std::optional<int64_t> autoSaveBase_;  // clock time the interval counts from
  PProjectLock lock_;
  DirectoryChooser chooser_;
  ProgressHandler progress_;
};

}  // namespace vantor
