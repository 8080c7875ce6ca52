#pragma once
// Carries processes out on a copy of a clip's state (its cluster's files,
// its material and its edit history), so that a failure at any step leaves
// the clip as it was; a command then exchanges the finished state with the
// clip's (PClipStateCommand).
//
// Each result is written as a new 32-bit float WAVE file at the clip's rate
// and channel count (so no process loses precision to the file) in the
// given folder, named "<clip>-<process>-<n>.wav" with the first n that is
// free (characters other than letters, digits, '-' and '_' become '_').
// The original files are never changed: the result's piece replaces the
// range in the material.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "audio/files/AudioFile.h"
#include "audio/pool/AudioCluster.h"
#include "audio/pool/PAudioClip.h"
#include "audio/pool/PClipMaterial.h"
#include "audio/process/PAudioProcess.h"
#include "audio/process/PEditHistory.h"
#include "foundation/FUserMessages.h"

namespace vantor {

struct PClipState {
  std::vector<AudioFile> files;
  FRef<PClipMaterial> material;
  FRef<PEditHistory> history;  // never null here (an empty history)
};

class PClipProcessor {
 public:
  // Starts from a copy of clip's state. messages receives "Processing" and
  // "Writing file..." as information.
  PClipProcessor(const PAudioClip& clip, std::string folder, FUserMessages& messages);
  // Removes the files written by a processor whose state was not taken.
  ~PClipProcessor();
  PClipProcessor(const PClipProcessor&) = delete;
  PClipProcessor& operator=(const PClipProcessor&) = delete;

  // Runs process over frames [start, start + length) of the state's
  // material, writes the result and enters it in the history. An analysis
  // (which changes no audio) is run but neither written nor entered. False
  // with the reason in *error (the state as it was).
  [[nodiscard]] bool apply(const PAudioProcess& process, int64_t start, int64_t length, std::string* error);
  // Runs work over frames [start, start + length) of the state's material
  // without writing anything (an analysis); false with *error set.
  [[nodiscard]] bool analyze(PAudioWork& work, int64_t start, int64_t length, std::string* error);
  // Takes the entries from index on back, newest first, and returns them
  // (oldest first). False when index is past the end or a stored entry no
  // longer fits the material.
  [[nodiscard]] bool rewindTo(size_t index, std::vector<PEditHistoryEntry>* removed);
  // Runs entries again from their stored class names and parameters.
  [[nodiscard]] bool replay(const std::vector<PEditHistoryEntry>& entries, std::string* error);
  // Writes the whole material as one new file; the material becomes that
  // file alone and the history is emptied.
  [[nodiscard]] bool flatten(std::string* error);

  // The finished state; the files written from now on belong to it.
  PClipState takeState();
  const PClipState& state() const { return state_; }
  // Progress of the current pass, 0 to 1 (for a terminal's progress line).
  void setProgress(std::function<void(double)> progress) { progress_ = std::move(progress); }

 private:
  // Writes frames [start, start + length) through work (nullptr: copied)
  // to a new file; returns its index among the state's files.
  bool render(PAudioWork* work, int64_t start, int64_t length, const std::string& label, int32_t* file,
              std::string* error);
  FRef<AudioCluster> readingCluster() const;
  std::string freePath(const std::string& label) const;

  std::string clipName_;
  std::string folder_;
  FUserMessages& messages_;
  int32_t channelGroups_ = 1;
  int channels_ = 0;
  double sampleRate_ = 0;
  PClipState state_;
  std::vector<std::string> written_;
  std::function<void(double)> progress_;
};

}  // namespace vantor
