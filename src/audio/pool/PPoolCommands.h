#pragma once
// The commands that change the pool, each undone exactly: adding clips
// ("Import Medium", "New Version"), removing clips ("Remove Unused Media",
// "Remove Missing Files", "Remove from Pool"), adding regions ("Create
// Regions"), making folders ("Create Folder") and choosing the record
// folder ("Set Pool Record Folder").
//
// Files on disk are never deleted by a command or its undo: a file copied
// into the project folder by an import stays there when the import is
// undone (it is still the user's material; "Empty Trash" and "Remove Unused
// Media" with erasing are where files go).

#include <string>
#include <vector>

#include "audio/pool/PAudioPool.h"
#include "foundation/FRef.h"
#include "model/undo/MCommand.h"

namespace vantor {

// Enters clips in the pool, into folder (the tree's root when null). Undo
// takes them out again; redo puts the same clips back with the same IDs.
class PAddClipsCommand : public MCommand {
  VANTOR_CLASS(PAddClipsCommand)
 public:
  PAddClipsCommand() = default;
  PAddClipsCommand(FRef<PAudioPool> pool, std::vector<FRef<PAudioClip>> clips, FRef<GTreeEntry> folder,
                   std::string description);

  std::string description() const override { return description_; }
  const std::vector<FRef<PAudioClip>>& clips() const { return clips_; }

 protected:
  bool doPerform() override;
  bool doUndo() override;
  bool doRedo() override;

 private:
  FRef<PAudioPool> pool_;
  std::vector<FRef<PAudioClip>> clips_;
  FRef<GTreeEntry> folder_;
  std::string description_;
  std::vector<PAudioPool::ClipPlace> places_;
  uint32_t idBefore_ = 0;
  uint32_t idAfter_ = 0;
};

// Takes clips out of the pool (with their tree entries). Undo puts them
// back where they were. Events that use the clips are not touched here (a
// macro removes them first where the user asked for it).
class PRemoveClipsCommand : public MCommand {
  VANTOR_CLASS(PRemoveClipsCommand)
 public:
  PRemoveClipsCommand() = default;
  PRemoveClipsCommand(FRef<PAudioPool> pool, std::vector<FRef<PAudioClip>> clips, std::string description);

  std::string description() const override { return description_; }

 protected:
  bool doPerform() override;
  bool doUndo() override;
  bool doRedo() override;

 private:
  bool removeAll();
  FRef<PAudioPool> pool_;
  std::vector<FRef<PAudioClip>> clips_;
  std::string description_;
  std::vector<PAudioPool::ClipPlace> places_;
};

// Adds regions to a clip ("Create Regions"); undo removes them.
class PAddRegionsCommand : public MCommand {
  VANTOR_CLASS(PAddRegionsCommand)
 public:
  PAddRegionsCommand() = default;
  PAddRegionsCommand(FRef<PAudioClip> clip, std::vector<FRef<MRegionMarker>> regions);

  std::string description() const override { return "Create Regions"; }

 protected:
  bool doPerform() override;
  bool doUndo() override;
  bool doRedo() override { return doPerform(); }

 private:
  FRef<PAudioClip> clip_;
  std::vector<FRef<MRegionMarker>> regions_;
};

// Makes a folder in parent ("Create Folder"); undo takes it out.
class PCreateFolderCommand : public MCommand {
  VANTOR_CLASS(PCreateFolderCommand)
 public:
  PCreateFolderCommand() = default;
  PCreateFolderCommand(FRef<GTreeEntry> parent, std::string name);

  std::string description() const override { return "Create Folder"; }
  GTreeEntry* folder() const { return folder_.get(); }

 protected:
  bool doPerform() override;
  bool doUndo() override;
  bool doRedo() override { return doPerform(); }

 private:
  FRef<GTreeEntry> parent_;
  FRef<GTreeEntry> folder_;
};

// Chooses the folder new recordings go to ("Set Pool Record Folder"); null
// is the tree's root. Undo chooses the former one again.
class PSetRecordFolderCommand : public MExchangeCommand {
  VANTOR_CLASS(PSetRecordFolderCommand)
 public:
  PSetRecordFolderCommand() = default;
  PSetRecordFolderCommand(FRef<PAudioPool> pool, FRef<GTreeEntry> folder);

  std::string description() const override { return "Set Pool Record Folder"; }

 protected:
  bool exchange() override;

 private:
  FRef<PAudioPool> pool_;
  FRef<GTreeEntry> folder_;
};

// A folder name not yet used among parent's children: base, or base with
// " 2", " 3", ... appended.
std::string freeFolderName(const GTreeEntry& parent, const std::string& base);

// Registration of the command classes; run by registerPoolClasses().
void registerPoolCommandClasses();

}  // namespace vantor
