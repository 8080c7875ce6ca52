#pragma once
// Keeping the pool tidy: moving clips between folders (the trash among
// them), "Empty Trash" and "Prepare Archive...".

#include <string>
#include <vector>

#include "audio/pool/PAudioPool.h"
#include "foundation/FRef.h"
#include "foundation/FUserMessages.h"
#include "model/undo/MCommand.h"

namespace vantor {

class MProject;

// Moves the tree entries of clips to the end of folder ("Move to Trash"
// when folder is the trash); undo puts each back at its former place.
class PMoveClipsCommand : public MCommand {
  VANTOR_CLASS(PMoveClipsCommand)
 public:
  PMoveClipsCommand() = default;
  PMoveClipsCommand(FRef<PAudioPool> pool, std::vector<FRef<PAudioClip>> clips, FRef<GTreeEntry> folder,
                    std::string description);
  std::string description() const override { return description_; }

 protected:
  bool doPerform() override;
  bool doUndo() override;
  bool doRedo() override { return doPerform(); }

 private:
  struct Place {
    FRef<GTreeEntry> folder;
    FRef<GTreeEntry> entry;
    size_t index = 0;
  };
  FRef<PAudioPool> pool_;
  std::vector<FRef<PAudioClip>> clips_;
  FRef<GTreeEntry> folder_;
  std::string description_;
  std::vector<Place> places_;
};

// "Empty Trash", in two steps: the command that takes the trashed clips
// out of the pool (undoable), and the files to erase afterwards (not).
// A trashed clip whose files another pool (otherPools: the libraries open
// beside the project) or another version of this pool still uses cannot be
// thrown away: the user is asked kCannotTrashQuestion with its reason
// ("Remove" takes it out of the pool and keeps its files, "Cancel" leaves
// it in the trash). Trashed clips that events use are asked about as
// makeRemoveClipsCommand does. Files are erased only where no clip left in
// the pool or the other pools uses them.
struct PEmptyTrashPlan {
  FRef<MCommand> command;  // nullptr: nothing to do
  std::vector<std::string> filesToErase;
};
PEmptyTrashPlan planEmptyTrash(MProject& project, PAudioPool& pool, const std::vector<const PAudioPool*>& otherPools,
                               FUserMessages& messages);
// The second step: asks "Warning: You can not undo this!" with "Erase" and
// "Keep Files"; "Erase" deletes the files. Returns how many were deleted.
size_t eraseTrashFiles(const std::vector<std::string>& files, FUserMessages& messages);

// "Prepare Archive...": makes the project self-contained. First the clips
// no event uses are removed (so that nothing unused is copied), then every
// file that lies outside the project folder is copied into its audio folder
// and the clips point at the copies; one undoable action (the copies stay
// on disk when it is undone). nullptr with *error when a copy failed (the
// copies made are deleted) or when there is nothing to do (*error empty).
FRef<MCommand> makePrepareArchiveCommand(MProject& project, PAudioPool& pool, std::string* error);

}  // namespace vantor
