#pragma once
// One pool entry's audio: its files, one per channel group (one interleaved
// file, or one mono file per side for split stereo), followed by the files
// that processing added, and the attribute sets kept with the clip under
// their persistent names. Clips share a cluster (a new version of a clip
// refers to the same files), so it is reference counted; atomically, since
// playback's disk thread holds clusters too.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "audio/files/AudioFile.h"
#include "foundation/FAttributes.h"
#include "foundation/FRef.h"
#include "foundation/FShared.h"

namespace vantor {

// Persistent names of the cluster's attribute sets.
namespace AudioClusterKey {
inline constexpr const char* kOriginTime = "Origin Time Attribute";   // float: pulses
inline constexpr const char* kInfoString = "Info String Attribute";   // string: the format line
inline constexpr const char* kBroadcast = "Broadcast Attributes";     // set: BroadcastAttributes keys
inline constexpr const char* kRex = "RexAttribute";                   // set holding "RexData"
inline constexpr const char* kRexData = "RexData";                    // bytes: the slice data
inline constexpr const char* kHitpointThreshold = "HPThreshold";      // float: linear amplitude
inline constexpr const char* kLoopTempo = "LoopTempo";                // float: beats per minute
inline constexpr const char* kImages = "Images";                      // bytes: the waveform image cache
inline constexpr const char* kClipRateChanged = "Clip Rate Changed";  // set holding "Factor"
inline constexpr const char* kFactor = "Factor";                      // float: new rate / old rate
}  // namespace AudioClusterKey

class AudioCluster : public FThreadShared {
  VANTOR_CLASS(AudioCluster)
 public:
  AudioCluster();

  // The files; the first channelGroups() of them are the original material.
  const std::vector<AudioFile>& files() const { return files_; }
  std::vector<AudioFile>& files() { return files_; }
  // Appends a file; returns its index.
  int32_t addFile(AudioFile file);
  // How many files the original material has (1 for an interleaved file, 2
  // for split stereo).
  int32_t channelGroups() const { return channelGroups_; }
  void setChannelGroups(int32_t groups) { channelGroups_ = groups; }
  // The clip's channels: the channels of the original files together.
  int channels() const;
  // The sample rate of the first file, in Hz (0 without files).
  double sampleRate() const;
  // The length of the original material in frames (the shortest group).
  int64_t lengthFrames() const;
  // Bytes of the sample data of all files.
  int64_t dataBytes() const;

  // The attribute sets, keyed by the names of AudioClusterKey. Never null.
  FAttributes& attributes() { return *attributes_; }
  const FAttributes& attributes() const { return *attributes_; }
  // The origin time (pulses), nullopt when unset.
  std::optional<double> originTime() const;
  void setOriginTime(double pulses) { attributes_->setFloat(AudioClusterKey::kOriginTime, pulses); }
  // Records a change of the sample rate by factor under "Clip Rate Changed".
  void setRateChangeFactor(double factor);
  std::optional<double> rateChangeFactor() const;
  // Keeps the file's descriptive records (format line, broadcast
  // attributes) as the cluster's attribute sets.
  void takeDescriptionOf(const AudioFile& file);

  // Archive: 32-bit channel groups, 32-bit file count, then per file its
  // path and type name (strings), sample rate (float), channels, bits per
  // sample, sample type (16-bit), big-endian flag (16-bit), length and data
  // start (64-bit); then the attribute sets (an FAttributes record).
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  std::vector<AudioFile> files_;
  int32_t channelGroups_ = 1;
  FRef<FAttributes> attributes_;
};

}  // namespace vantor
