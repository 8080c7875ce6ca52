#pragma once
// Per-track settings that one or more track events share: the output device
// binding, the display height, the track delay and the track's automation.

#include <cstdint>
#include <string>

#include "foundation/FRef.h"
#include "foundation/FShared.h"
#include "model/tree/MArrayNode.h"

namespace vantor {

// The track's automation: a list of automation events (filled by the
// automation layer). Owned by its MTrack.
class MAutomationNode : public MListNode {
  VANTOR_CLASS(MAutomationNode)
};

// Where a track's output goes: the output device by name and a channel on
// it (0-based; -1 for "any channel").
struct MTrackDevice {
  std::string outputName;
  int32_t channel = 0;
  bool operator==(const MTrackDevice&) const = default;
};

class MTrack : public FShared {
  VANTOR_CLASS(MTrack)
 public:
  static constexpr int32_t kDefaultHeight = 48;  // pixels

  // A new track has a default device binding, the default height, no delay
  // and an empty automation node.
  MTrack();

  const MTrackDevice& getDevice() const { return device_; }
  void setDevice(MTrackDevice device) { device_ = std::move(device); }
  // Display height in pixels.
  int32_t getHeight() const { return height_; }
  void setHeight(int32_t height) { height_ = height; }
  // Track delay in milliseconds (negative plays early).
  double getDelay() const { return delay_; }
  void setDelay(double delay) { delay_ = delay; }
  // Never null after construction or a successful read.
  MAutomationNode* getAutomation() const { return automation_.get(); }

  // Archive, in order: "Track Device" (output name string, 32-bit channel),
  // "Height" (32-bit), "Delay" (double), "Automation" (object record). A
  // record of class version 0 ends before "Automation".
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // Attributes "Track Device" (nested set with "Name" and "Channel"),
  // "Height", "Delay", "Automation"; missing keys keep their defaults.
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  MTrackDevice device_;
  int32_t height_ = kDefaultHeight;
  double delay_ = 0;
  FRef<MAutomationNode> automation_;
};

}  // namespace vantor
