#include "document/PDocument.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "document/PArrangement.h"
#include "document/PDeviceSetup.h"
#include "document/PFileTypes.h"
#include "document/PPreferences.h"
#include "document/PSafeFile.h"
#include "document/PWindowLayouts.h"
#include "foundation/FFileStream.h"
#include "foundation/FProjectContainer.h"
#include "model/tree/MProject.h"

namespace vantor {

namespace fs = std::filesystem;

namespace {

constexpr int64_t kMsPerMinute = 60 * 1000;
constexpr int kMaxNewFileNumber = 9999;

std::string absolutePath(const std::string& path) {
  std::error_code ec;
  const fs::path absolute = fs::absolute(path, ec);
  return (ec ? fs::path(path) : absolute).lexically_normal().string();
}

// The path as the system sees it (links resolved), without a trailing
// separator, for comparing paths written in different ways.
std::string realPath(const std::string& path) {
  std::error_code ec;
  fs::path real = fs::weakly_canonical(path, ec);
  if (ec) real = fs::path(absolutePath(path));
  std::string text = real.lexically_normal().string();
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

template <class T>
FRef<T> rootAs(FRef<CmObject> object) {
  T* typed = dynamic_cast<T*>(object.get());
  if (typed == nullptr) return nullptr;
  object.detach();
  return FRef<T>(typed);
}

// The roots other than the arrangement are optional: a missing root, or
// one of a class this program does not know (or of another class than
// expected), leaves *out empty for its default. A damaged archive fails.
template <class T>
bool readOptionalRoot(FContainerReader& reader, const char* name, FRef<T>* out) {
  *out = nullptr;
  if (reader.findRoot(name) == nullptr) return true;
  bool ok = false;
  FRef<CmObject> object = reader.readRoot(name, &ok);
  if (!ok) return false;
  *out = rootAs<T>(std::move(object));
  return true;
}

}  // namespace

struct PDocument::Roots {
  FRef<PArrangement> arrangement;
  FRef<PDeviceSetup> devices;
  FRef<PWindowLayouts> layouts;
  FRef<PAppVersion> version;
};

PDocument::PDocument(FUserMessages& messages, PPreferences& preferences)
    : messages_(messages),
      preferences_(preferences),
      arrangement_(PArrangement::createNew()),
      devices_(makeRef<PDeviceSetup>()),
      layouts_(makeRef<PWindowLayouts>()),
      fileVersion_(PAppVersion::current()) {
  FAutoSavers::instance().add(this);
}

PDocument::~PDocument() { FAutoSavers::instance().remove(this); }

MProject* PDocument::project() const { return arrangement_ ? arrangement_->getProject() : nullptr; }

void PDocument::markModified() {
  modified_ = true;
  changedSinceAutoSave_ = true;
}

void PDocument::showProgress(std::string_view text) {
  if (progress_) {
    progress_(text);
  } else {
    messages_.report(FUserMessages::Severity::kInfo, text);
  }
}

// ---- Reading -----------------------------------------------------------

bool PDocument::readRoots(FStream& stream, Roots* roots) {
  FContainerReader reader(stream);
  if (!reader.open(kProjectFormType)) return false;
  bool ok = false;
  // An arrangement of a class this program does not know reads as no object
  // and the other roots are read all the same. The arrangement is the
  // project, though: without it the file is refused rather than opened as an
  // empty project that a save would then write over the user's file.
  roots->arrangement = rootAs<PArrangement>(reader.readRoot(kArrangementRootName, &ok));
  if (!ok) return false;
  return readOptionalRoot(reader, kDevicesRootName, &roots->devices) &&
         readOptionalRoot(reader, kWindowLayoutsRootName, &roots->layouts) &&
         readOptionalRoot(reader, kVersionRootName, &roots->version) && roots->arrangement;
}

bool PDocument::open(const std::string& path) { return readProject(path, true); }

bool PDocument::openForReading(const std::string& path) { return readProject(path, false); }

bool PDocument::readProject(const std::string& path, bool editing) {
  showProgress(kReadingProjectFile);
  FFileStream file;
  if (!file.open(path, FFileStream::Mode::kRead)) {
    messages_.report(FUserMessages::Severity::kError, cannotOpenMessage(path, file.lastError()));
    return false;
  }
  Roots roots;
  const bool valid = readRoots(file, &roots);
  (void)file.close();
  if (!valid) {
    messages_.report(FUserMessages::Severity::kError, formatMessage(kInvalidProject, {path}));
    return false;
  }
  fileVersion_ = roots.version ? *roots.version : PAppVersion::current();
  if (fileVersion_.isNewerThanRunning()) {
    messages_.report(FUserMessages::Severity::kWarning, fileVersion_.newerVersionWarning());
  }
  arrangement_ = std::move(roots.arrangement);
  devices_ = roots.devices ? std::move(roots.devices) : makeRef<PDeviceSetup>();
  layouts_ = roots.layouts ? std::move(roots.layouts) : makeRef<PWindowLayouts>();
  path_ = absolutePath(path);
  modified_ = false;
  changedSinceAutoSave_ = false;
  autoSaveBase_.reset();
  checkWorkingDirectory(editing);
  return true;
}

std::string PDocument::cannotOpenMessage(const std::string& path, const std::string& streamError) {
  const size_t colon = streamError.find(": ");
  return formatMessage(kCannotOpenProject, {path}) + "\n" +
         (colon == std::string::npos ? streamError : streamError.substr(colon + 2));
}

bool PDocument::lockForEditing(const std::string& path) {
  const std::string target = PSafeFile::resolveLink(absolutePath(path));
  std::string error;
  switch (lock_.acquire(target, &error)) {
    case PProjectLock::Result::kAcquired:
    case PProjectLock::Result::kUnavailable:
      return true;
    case PProjectLock::Result::kBusy:
      break;
  }
  messages_.report(FUserMessages::Severity::kError, formatMessage(kProjectInUse, {path}));
  return false;
}

// ---- Working directory ---------------------------------------------------

std::string PDocument::workingDirectory() const {
  const MProject* p = project();
  return p != nullptr ? p->getWorkingDirectory() : std::string();
}

bool PDocument::setWorkingDirectory(const std::string& folder) {
  MProject* p = project();
  if (p == nullptr) return false;
  std::error_code ec;
  if (!PSafeFile::isDirectory(folder)) fs::create_directories(folder, ec);
  if (!PSafeFile::isDirectory(folder) || PSafeFile::isReadOnly(folder)) {
    messages_.report(FUserMessages::Severity::kWarning, kDirectoryReadOnly);
    return false;
  }
  p->setWorkingDirectory(realPath(folder));
  markModified();
  return true;
}

bool PDocument::chooseWorkingDirectory() {
  if (!chooser_) return false;
  // Asks until the user picks a usable folder or cancels.
  for (;;) {
    const std::optional<std::string> chosen = chooser_();
    if (!chosen) return false;
    if (setWorkingDirectory(*chosen)) return true;
  }
}

// A project remembers the folder it was saved in. When the file now lies
// elsewhere, the user decides whether the project follows the file (its
// relative material presumably moved with it) or keeps the old folder.
void PDocument::checkWorkingDirectory(bool editing) {
  MProject* p = project();
  if (p == nullptr) return;
  // The folder the file really lies in, also when it was opened through a link.
  const std::string actual = realPath(PSafeFile::folderOf(realPath(path_)));
  const std::string stored = p->getWorkingDirectory();
  if (stored.empty()) {
    p->setWorkingDirectory(actual);
    return;
  }
  if (realPath(stored) == actual) return;
  if (!editing) {
    // Nothing will be saved, so the answer would not matter.
    messages_.report(FUserMessages::Severity::kWarning, formatMessage(kProjectMovedNote, {stored}));
    return;
  }
  const int answer =
      messages_.ask(formatMessage(kProjectMoved, {path_, actual, stored}), {"New (1)", "Old (2)"}, kUseNewDirectory);
  if (answer != kUseNewDirectory) return;
  if (!PSafeFile::isReadOnly(actual)) {
    p->setWorkingDirectory(actual);
    markModified();
    return;
  }
  messages_.report(FUserMessages::Severity::kWarning, kMovedToReadOnly);
  (void)chooseWorkingDirectory();
}

// ---- Writing -------------------------------------------------------------

std::string PDocument::backupPathFor(const std::string& projectPath) {
  return projectPath + std::string(kBackupExtension);
}

std::string PDocument::autoSavePathFor(const std::string& projectPath) {
  const fs::path p(projectPath);
  const std::string extension = p.has_extension() ? p.extension().string() : std::string(kProjectExtension);
  return (p.parent_path() / (p.stem().string() + std::string(kAutoSaveSuffix) + extension)).string();
}

std::string PDocument::newFilePathFor(const std::string& projectPath) {
  const fs::path p(projectPath);
  const std::string stem = p.stem().string();
  const std::string extension = p.extension().string();
  for (int n = 1; n <= kMaxNewFileNumber; ++n) {
    const std::string candidate = (p.parent_path() / (stem + "-" + std::to_string(n) + extension)).string();
    if (!PSafeFile::exists(candidate)) return candidate;
  }
  return (p.parent_path() / (stem + "-" + std::to_string(kMaxNewFileNumber + 1) + extension)).string();
}

bool PDocument::writeContainer(FStream& stream) const {
  if (!arrangement_ || !devices_ || !layouts_) return false;
  const PAppVersion version = PAppVersion::current();
  FContainerWriter writer(stream);
  const bool ok = writer.begin(kProjectFormType) && writer.addRoot(kArrangementRootName, *arrangement_) &&
                  writer.addRoot(kDevicesRootName, *devices_) && writer.addRoot(kWindowLayoutsRootName, *layouts_) &&
                  writer.addRoot(kVersionRootName, version) && writer.finish();
  if (ok && !writer.lostObjects().empty()) {
    std::string names;
    for (const std::string& name : writer.lostObjects()) names += (names.empty() ? "" : ", ") + name;
    messages_.report(FUserMessages::Severity::kWarning, formatMessage(kObjectsNotSaved, {names}));
  }
  return ok;
}

// Every event needs an ID before the tree is written (links name IDs).
void PDocument::prepareForWrite() {
  MProject* p = project();
  if (p == nullptr || p->getRoot() == nullptr) return;
  MRootUpdater::WriteGuard guard(p->getRoot()->getUpdater());
  p->assignEventIDs();
}

void PDocument::reportSaveFailure(const std::string& target, const std::string& error) {
  messages_.report(FUserMessages::Severity::kError,
                   formatMessage(kCannotWriteProject, {target, error}) + std::string(kPreviousVersionKept));
}

// Writes target safely. When target exists but the rename over it fails
// (a folder in its place, a file the system will not let go), the project
// goes to a new file beside it instead: *written tells which file holds it.
bool PDocument::writeBeside(const std::string& target, std::string* written, std::string* error) {
  std::string temporary;
  if (!PSafeFile::writeTemporary(
          target, [this](FStream& s) { return writeContainer(s); }, &temporary, error)) {
    return false;
  }
  if (PSafeFile::commit(temporary, target, error)) {
    *written = target;
    return true;
  }
  if (PSafeFile::exists(target)) {
    const std::string other = newFilePathFor(target);
    std::string otherError;
    if (PSafeFile::commit(temporary, other, &otherError)) {
      *written = other;
      return true;
    }
  }
  PSafeFile::discard(temporary);
  return false;
}

bool PDocument::writeProject(std::string target) {
  prepareForWrite();
  // A project whose working directory follows its file moves with it to
  // the new folder; a folder chosen elsewhere stays.
  MProject* p = project();
  const std::string oldDirectory = workingDirectory();
  const bool follows =
      oldDirectory.empty() || (!path_.empty() && realPath(oldDirectory) == realPath(PSafeFile::folderOf(path_)));
  if (p != nullptr && follows) p->setWorkingDirectory(realPath(PSafeFile::folderOf(target)));

  PProjectLock writeLock;
  if (!lockTarget(target, &writeLock)) {
    if (p != nullptr) p->setWorkingDirectory(oldDirectory);
    return false;
  }
  std::string written;
  std::string error;
  if (!writeBeside(target, &written, &error)) {
    if (p != nullptr) p->setWorkingDirectory(oldDirectory);
    reportSaveFailure(target, error);
    return false;
  }
  if (written != target) {
    messages_.report(FUserMessages::Severity::kWarning, formatMessage(kStoredAsNewFile, {written}));
  }
  adoptSavedPath(written);
  keepLockOn(written, &writeLock);
  return true;
}

// The target's lock is held while it is written, unless this document holds
// it already: a project another session has open is never written over.
bool PDocument::lockTarget(const std::string& target, PProjectLock* writeLock) {
  if (lock_.isHeld() && lock_.projectPath() == target) return true;
  std::string error;
  if (writeLock->acquire(target, &error) != PProjectLock::Result::kBusy) return true;
  messages_.report(FUserMessages::Severity::kError, formatMessage(kProjectInUse, {target}));
  return false;
}

// A document that holds its project's lock keeps holding the lock of the
// file it now belongs to.
void PDocument::keepLockOn(const std::string& written, PProjectLock* writeLock) {
  if (!lock_.isHeld() || lock_.projectPath() == written) return;
  if (writeLock->isHeld() && writeLock->projectPath() == written) {
    lock_.swap(*writeLock);
    return;
  }
  std::string error;
  (void)lock_.acquire(written, &error);
}

void PDocument::adoptSavedPath(const std::string& path) {
  path_ = path;
  modified_ = false;
  changedSinceAutoSave_ = false;
  autoSaveBase_.reset();
  // The automatic save holds nothing the project file does not.
  const std::string autoSave = autoSavePathFor(path_);
  if (PSafeFile::exists(autoSave)) PSafeFile::discard(autoSave);
  if (preferences_.getString(kAutoSaveStateKey) == autoSave) recordAutoSaveState("");
}

bool PDocument::save(const std::string& requested) {
  std::string target = PSafeFile::resolveLink(absolutePath(requested));
  if (PSafeFile::isSpecial(target)) {
    messages_.report(FUserMessages::Severity::kError, formatMessage(kNotAProjectTarget, {requested}));
    return false;
  }
  if (PSafeFile::exists(target) && !PSafeFile::isDirectory(target) && PSafeFile::isReadOnly(target)) {
    const int choice = messages_.ask(kProjectReadOnly, {"Overwrite", "New File", "Cancel"}, kCancel);
    if (choice == kNewFile) {
      target = newFilePathFor(target);
    } else if (choice != kOverwrite) {
      return false;
    }
  }
  return writeProject(target);
}

bool PDocument::save() { return !path_.empty() && save(path_); }

bool PDocument::saveBackup() {
  if (path_.empty()) {
    messages_.report(FUserMessages::Severity::kError, kBackupNeedsFile);
    return false;
  }
  prepareForWrite();
  const std::string target = backupPathFor(path_);
  std::string error;
  if (!PSafeFile::write(
          target, [this](FStream& s) { return writeContainer(s); }, &error)) {
    reportSaveFailure(target, error);
    return false;
  }
  return true;
}

// ---- Automatic saving ----------------------------------------------------

// Records the automatic save that holds unsaved changes, so that a program
// that crashed can find it on its next run. A preferences file that cannot
// be written only loses that hint, so its failure is not reported.
void PDocument::recordAutoSaveState(const std::string& autoSavePath) {
  if (!preferences_.set(kAutoSaveStateKey, autoSavePath)) return;
  if (!preferences_.path().empty()) (void)preferences_.save();
}

bool PDocument::autoSaveIfDue(const FClock& clock) {
  if (!preferences_.getBool(kAutoSaveKey) || path_.empty()) {
    autoSaveBase_.reset();
    return false;
  }
  const int64_t now = clock.nowMs();
  if (!autoSaveBase_) {
    autoSaveBase_ = now;
    return false;
  }
  const int64_t interval = std::max<int64_t>(1, preferences_.getInt(kAutoSaveIntervalKey)) * kMsPerMinute;
  if (now - *autoSaveBase_ < interval || !changedSinceAutoSave_) return false;
  autoSaveBase_ = now;
  prepareForWrite();
  const std::string target = autoSavePathFor(path_);
  std::string error;
  if (!PSafeFile::write(
          target, [this](FStream& s) { return writeContainer(s); }, &error)) {
    messages_.report(FUserMessages::Severity::kWarning, formatMessage(kAutoSaveFailed, {target, error}));
    return false;
  }
  changedSinceAutoSave_ = false;
  recordAutoSaveState(target);
  return true;
}

}  // namespace vantor
