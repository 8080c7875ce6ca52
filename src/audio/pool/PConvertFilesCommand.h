#pragma once
// "Convert Files..." and "Conform Files...": the files of clips are
// converted (container, sample width, sample rate) into new files in the
// project's audio folder, and the clips are pointed at them. The original
// files stay on disk, so undo points the clips back at them.
//
// A changed sample rate moves every frame position that refers to the
// files by the rate's factor (new rate / old rate), rounded to whole
// frames: the pieces of the material of every clip of the cluster, their
// regions and the clip ranges of the events that show them; the factor is
// recorded under "Clip Rate Changed". The edit history of those clips is
// cleared, as its ranges refer to the old rate. Undo restores the former values
// exactly (they are kept, not computed back).
//
// "Conform Files..." converts to the project's format: its sample rate and
// the sample width the user chose for the project; a file already in that
// format is left as it is. "Convert if needed" on import uses the same test.

#include <string>
#include <vector>

#include "audio/files/AudioFileConverter.h"
#include "audio/pool/PAudioPool.h"
#include "foundation/FRef.h"
#include "foundation/FUserMessages.h"
#include "model/undo/MCommand.h"

namespace vantor {

class MAudioEvent;
class MProject;

// The conversion to a project's format: rate in Hz (0 keeps each file's),
// bits 16, 24 or 32 (float), 0 keeping each file's width.
AudioConversion projectConversion(double projectRate, int projectBits);
// Whether converting file by conversion would change its rate or samples.
bool needsConversion(const AudioFile& file, const AudioConversion& conversion);

// Converts file into folder (named after it, made free with -1, -2, ...).
// False with *error (the system's message) when it failed; nothing is left
// behind then.
[[nodiscard]] bool convertInto(const AudioFile& file, const AudioConversion& conversion, const std::string& folder,
                               AudioFile* out, std::string* error);

class PConvertFilesCommand : public MExchangeCommand {
  VANTOR_CLASS(PConvertFilesCommand)
 public:
  // What the command switches between: one cluster's files and every
  // frame position that refers to them.
  struct State {
    std::vector<AudioFile> files;
    std::vector<std::vector<PClipPiece>> materials;                 // per clip of the cluster
    std::vector<std::vector<std::pair<int64_t, int64_t>>> regions;  // per clip: start, length
    std::vector<std::pair<int64_t, int64_t>> eventRanges;           // per event: clip start, length
    std::vector<FRef<CmObject>> histories;                          // per clip: its edit history
    bool hasFactor = false;
    double factor = 1.0;
  };
  struct Target {
    FRef<AudioCluster> cluster;
    std::vector<FRef<PAudioClip>> clips;
    std::vector<FRef<MAudioEvent>> events;
    State other;  // the state the next exchange puts in place
  };

  PConvertFilesCommand() = default;
  PConvertFilesCommand(std::vector<Target> targets, std::string description);

  std::string description() const override { return description_; }

 protected:
  bool exchange() override;

 private:
  std::vector<Target> targets_;
  std::string description_;
};

// "Convert Files..." (description) of the clusters of clips: converts
// their files that need it into the pool's audio folder and returns the
// command, or nullptr when no file needs converting (*error empty) or a
// conversion failed (*error holds the message; files already made are
// deleted).
FRef<MCommand> makeConvertFilesCommand(MProject& project, PAudioPool& pool, const std::vector<FRef<PAudioClip>>& clips,
                                       const AudioConversion& conversion, const std::string& description,
                                       std::string* error);

}  // namespace vantor
