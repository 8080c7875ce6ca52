#pragma once
// An entry of a folder data track: a summary block that stands for the
// events of one track inside the folder over a stretch of time.

#include <cstdint>

#include "model/tree/MEvent.h"

namespace vantor {

class MFolderDataEvent : public MEvent {
  VANTOR_EVENT(MFolderDataEvent)
 public:
  MFolderDataEvent() = default;

  // The ID of the track event inside the folder whose data this entry shows
  // (0 for none).
  uint32_t getSourceTrackID() const { return sourceTrackID_; }
  void setSourceTrackID(uint32_t id) { sourceTrackID_ = id; }

  // Archive: the event members, then the source track ID (32-bit).
  // Attribute "Source Track".
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  uint32_t sourceTrackID_ = 0;
};

}  // namespace vantor
