#pragma once
// "Find Missing Files...": pointing the pool's missing files at the places
// where the missing-file resolver found them.
//
// A file found elsewhere replaces the missing one only when it can stand
// for it: the same number of channels and the same sample rate (a file at
// another rate would play at the wrong speed; "Conform Files..." is the way
// to change a rate), and at least as many frames as the material of the
// clips of its cluster reads from it. A file that fails one of these is
// refused with a message that says why, and stays missing. The record of a
// relinked file is read from the new file (its container, sample width and
// data start may differ); the cluster's attribute sets are kept as they
// were, since the material is the same.

#include <map>
#include <string>
#include <vector>

#include "audio/pool/PAudioPool.h"
#include "foundation/FRef.h"
#include "model/undo/MCommand.h"

namespace vantor {

// The paths of the pool's files that cannot be found, each once, in the
// order of the clips and their files.
std::vector<std::string> missingFilePaths(const PAudioPool& pool);

// Exchanges the records of cluster files with those of their new places.
// Undo puts the former records back, so the project's bytes are exactly
// those before.
class PRelinkFilesCommand : public MExchangeCommand {
  VANTOR_CLASS(PRelinkFilesCommand)
 public:
  struct Target {
    FRef<AudioCluster> cluster;
    size_t file = 0;  // index into the cluster's files
    AudioFile other;  // the record the next exchange puts in place
  };

  PRelinkFilesCommand() = default;
  explicit PRelinkFilesCommand(std::vector<Target> targets);

  std::string description() const override { return "Find Missing Files"; }
  const std::vector<Target>& targets() const { return targets_; }

 protected:
  bool exchange() override;

 private:
  std::vector<Target> targets_;
};

// A file of a cluster that was not relinked, and why (the system's words).
struct PRelinkRefusal {
  std::string missing;  // the path the pool remembers
  std::string found;    // the path it was resolved to
  std::string reason;
};

// The command that points every file of the pool whose path is a key of
// resolved (missing path -> new path) at its new path. Files that cannot
// stand for the missing one (see above) are left out and listed in
// *refused. nullptr when no file is relinked.
FRef<MCommand> makeRelinkFilesCommand(const PAudioPool& pool, const std::map<std::string, std::string>& resolved,
                                      std::vector<PRelinkRefusal>* refused);

}  // namespace vantor
