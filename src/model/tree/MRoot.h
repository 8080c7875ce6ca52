#pragma once
// The root event of a project (its node is the MProject) and the updater
// that guards the tree against readers on other threads.

#include <mutex>
#include <shared_mutex>

#include "model/tree/MPartEvent.h"

namespace vantor {

class MProject;

// Guards a project tree that the user thread changes while other threads
// (playback, render, export workers) read it. It holds a recursive lock and
// a reader/writer lock:
//
// - Write side (WriteGuard): taken by the user thread around every change of
//   the tree: a command's perform, undo and redo, loading into or replacing
//   the content of a live project, bulk edits. It is re-entrant on the
//   thread that holds it (the recursive lock counts the nesting), so a macro
//   command may run commands that take it again; only the outermost guard
//   takes the reader/writer lock exclusively.
// - Read side (ReadGuard): taken by any other thread while it walks the tree
//   or reads events. Readers share it and exclude writers. The user thread
//   does not take it: it is the only writer, so its reads never race. A
//   thread must not take the read side twice (a writer waiting in between
//   would block the inner one), nor the write side while it holds the read
//   side.
// - Readers must not change reference counts of tree objects (the counts of
//   FShared objects are not atomic): they read through raw pointers and
//   take no FRef while they hold the read side.
class MRootUpdater {
 public:
  MRootUpdater() = default;
  MRootUpdater(const MRootUpdater&) = delete;
  MRootUpdater& operator=(const MRootUpdater&) = delete;

  void lockWrite();
  void unlockWrite();
  void lockRead() { rw_.lock_shared(); }
  void unlockRead() { rw_.unlock_shared(); }
  // False when a writer holds the tree (a reader that must not wait, such
  // as the audio callback, skips its pass then).
  [[nodiscard]] bool tryLockRead() { return rw_.try_lock_shared(); }
  // Nesting depth of the write side; meaningful on the writing thread.
  int writeDepth() const { return writeDepth_; }

  class WriteGuard {
   public:
    explicit WriteGuard(MRootUpdater& updater) : updater_(updater) { updater_.lockWrite(); }
    ~WriteGuard() { updater_.unlockWrite(); }
    WriteGuard(const WriteGuard&) = delete;
    WriteGuard& operator=(const WriteGuard&) = delete;

   private:
    MRootUpdater& updater_;
  };

  class ReadGuard {
   public:
    explicit ReadGuard(MRootUpdater& updater) : updater_(updater) { updater_.lockRead(); }
    ~ReadGuard() { updater_.unlockRead(); }
    ReadGuard(const ReadGuard&) = delete;
    ReadGuard& operator=(const ReadGuard&) = delete;

   private:
    MRootUpdater& updater_;
  };

 private:
  std::recursive_mutex recursive_;
  std::shared_mutex rw_;
  int writeDepth_ = 0;  // changed only while recursive_ is held
};

// The single entry of a project: a group event whose node is the MProject.
// Also registered under the alias "Root of Engine".
class MRoot : public MGroupEvent {
  VANTOR_EVENT(MRoot)
 public:
  MRoot() = default;
  // A copy shares the project, but the project's back pointer stays with
  // the original.
  MRoot(const MRoot& other) : MGroupEvent(other) {}
  ~MRoot() override;

  // The project (the node), or nullptr.
  MProject* getProject() const;
  // Sets the node; an MProject node gets this root as its back pointer.
  void setNode(FRef<MDataNode> node) override;
  MRootUpdater& getUpdater() const { return updater_; }

  // Archive: the event members (the project is the node record).
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;

 private:
  void unlinkProject();

  mutable MRootUpdater updater_;
};

}  // namespace vantor
