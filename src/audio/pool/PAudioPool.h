#pragma once
// The project's audio pool: its clips, the "Media Tree" of folders that
// shows them (with a trash folder), the "Record Folder" for new recordings
// and the "Working Directory" (the project folder). The project holds it
// (MProject::setPool); the pool commands (PPoolCommands.h) change it under
// undo.

#include <cstdint>
#include <string>
#include <vector>

#include "audio/pool/GTree.h"
#include "audio/pool/PAudioClip.h"
#include "foundation/FRef.h"
#include "foundation/FShared.h"

namespace vantor {

class MProject;

class PAudioPool : public FShared {
  VANTOR_CLASS(PAudioPool)
 public:
  static constexpr const char* kTrashName = "Trash";

  // An empty pool: the media tree with its trash folder.
  PAudioPool();

  // The pool of project, or nullptr when it has none. ensurePool gives a
  // project without one a new, empty pool, and sets the pool's working
  // directory to the project's (when that is known).
  static PAudioPool* poolOf(const MProject& project);
  static PAudioPool* ensurePool(MProject& project);

  const std::vector<FRef<PAudioClip>>& clips() const { return clips_; }
  // The clip with this pool ID, or nullptr.
  PAudioClip* findClip(uint32_t poolId) const;
  // The first clip of this name, or nullptr.
  PAudioClip* findClip(const std::string& name) const;
  // The clip's place in clips(), or -1.
  int64_t indexOf(const PAudioClip* clip) const;

  // Enters clip: gives it the next pool ID and an entry at the end of
  // folder (the tree's root when null). Returns the ID; 0 when clip is null
  // or already in the pool.
  uint32_t addClip(FRef<PAudioClip> clip, GTreeEntry* folder = nullptr);
  // Where a clip was, so that it can be put back exactly.
  struct ClipPlace {
    FRef<PAudioClip> clip;
    size_t index = 0;         // in clips()
    FRef<GTreeEntry> folder;  // that held its entry (may be null)
    FRef<GTreeEntry> entry;   // its entry
    size_t entryIndex = 0;    // in the folder
  };
  // Takes clip and its tree entry out; false when the pool does not hold it.
  bool removeClip(const PAudioClip* clip, ClipPlace* place);
  // Puts a removed clip back where it was (keeping its pool ID).
  bool restoreClip(const ClipPlace& place);

  GTree& tree() const { return *tree_; }
  // The trash folder (never null).
  GTreeEntry* trash() const;
  // Whether the clip's entry lies in the trash.
  bool isInTrash(const PAudioClip* clip) const;
  // The folder new recordings go to; null is the tree's root.
  GTreeEntry* getRecordFolder() const { return recordFolder_.get(); }
  void setRecordFolder(FRef<GTreeEntry> folder) { recordFolder_ = std::move(folder); }
  const std::string& getWorkingDirectory() const { return workingDirectory_; }
  void setWorkingDirectory(std::string path) { workingDirectory_ = std::move(path); }
  // The ID the next clip gets.
  uint32_t nextPoolID() const { return nextId_; }
  // For undo: the counter as it was before clips were added (never below
  // one above the highest ID in the pool).
  void setNextPoolID(uint32_t next);

  // Archive: "Working Directory" (string), the next pool ID (32-bit),
  // 32-bit clip count and the clips, the "Media Tree" (a GTree record) and
  // the "Record Folder" (an object record, a back reference into the tree,
  // or no object for the root). Clip IDs must be unique and below the next
  // ID; a tree entry of an unknown clip is dropped on reading.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  void ensureTrash();
  void dropUnknownEntries(GTreeEntry& folder);

  std::vector<FRef<PAudioClip>> clips_;
  FRef<GTree> tree_;
  FRef<GTreeEntry> recordFolder_;
  std::string workingDirectory_;
  uint32_t nextId_ = 1;
};

}  // namespace vantor
