#pragma once
// "Minimize File": reduces the files of clips to the material the project
// uses. The frames kept are the union of the clip ranges that the
// project's audio events show and the clip's regions; every other stretch
// of the clip becomes silence in its material, so the clip keeps its
// length and every event and region keeps its frame positions. Each file
// the kept pieces read from is rewritten as a new file in the pool's audio
// folder holding just those ranges, back to back, and the pieces point into
// it. The edit history of the clips is cleared (it names ranges of the old
// files).
//
// The old files stay on disk, so the command can be undone: undo puts the
// former files, materials and histories back. Saved projects still name
// the old files, hence the advice to save afterwards.

#include <string>
#include <vector>

#include "audio/pool/PAudioPool.h"
#include "foundation/FRef.h"
#include "foundation/FUserMessages.h"
#include "model/undo/MCommand.h"

namespace vantor {

class MProject;

class PMinimizeCommand : public MExchangeCommand {
  VANTOR_CLASS(PMinimizeCommand)
 public:
  struct State {
    std::vector<AudioFile> files;
    std::vector<FRef<PClipMaterial>> materials;  // per clip
    std::vector<FRef<CmObject>> histories;       // per clip
  };
  struct Target {
    FRef<AudioCluster> cluster;
    std::vector<FRef<PAudioClip>> clips;
    State other;
  };

  PMinimizeCommand() = default;
  explicit PMinimizeCommand(std::vector<Target> targets) : targets_(std::move(targets)) {}

  std::string description() const override { return "Minimize File"; }

 protected:
  bool exchange() override;

 private:
  std::vector<Target> targets_;
};

// Asks kMinimizeQuestion first (also when the history is empty; "Yes" or
// "No"), then writes the minimized files of the clusters of clips and
// returns the command; nullptr when the user said no or a file could not
// be read or written (*error holds the system's message and the files made
// are deleted).
FRef<MCommand> makeMinimizeCommand(const MProject& project, PAudioPool& pool,
                                   const std::vector<FRef<PAudioClip>>& clips, FUserMessages& messages,
                                   std::string* error);

// After a minimize: asks kSaveNowQuestion with "Save Now" and "Later";
// true for "Save Now".
bool askSaveAfterMinimize(FUserMessages& messages);

}  // namespace vantor
