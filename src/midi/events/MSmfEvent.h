#pragma once
// A meta event kept from a Standard MIDI File that has no other equivalent
// in the model (texts, copyright, cue points, key signatures, sequencer
// specific data, ...): its meta type byte and its data bytes, placed in a
// MIDI part at its start (pulses).
//
// Archive form: the MEvent form, then the meta type (one byte), the data
// length (32-bit) and the data bytes. A length larger than what is left of
// the record fails the read before anything is allocated.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "model/tree/MEvent.h"

namespace vantor {

class MSmfEvent : public MEvent {
  VANTOR_EVENT(MSmfEvent)
 public:
  // The class as editors show it.
  static constexpr const char* kClassDisplayName = "SMF Event";

  MSmfEvent() = default;
  MSmfEvent(uint8_t metaType, std::vector<uint8_t> data) : metaType_(metaType), data_(std::move(data)) {}

  uint8_t getMetaType() const { return metaType_; }
  void setMetaType(uint8_t type) { metaType_ = type; }
  const std::vector<uint8_t>& getData() const { return data_; }
  void setData(std::vector<uint8_t> data) { data_ = std::move(data); }

  // The name of the kind of meta event: "SMF:Text" for type 1 and so on,
  // "SMF:Unknown" for a type without a name of its own.
  static const char* displayNameOf(uint8_t metaType);
  const char* getDisplayName() const { return displayNameOf(metaType_); }

  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // The MEvent attributes, then "Type" (integer) always and "Data" (bytes)
  // when there are any.
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  uint8_t metaType_ = 0;
  std::vector<uint8_t> data_;
};

}  // namespace vantor
