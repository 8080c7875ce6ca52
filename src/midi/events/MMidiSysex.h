#pragma once
// A system-exclusive message: its bytes as received or read from a file,
// normally beginning with 0xF0 and ending with 0xF7.
//
// Archive form: the MMidiEvent part, then the byte count (32-bit) and the
// bytes. A count larger than what is left of the record fails the read
// before anything is allocated.
//
// Text form (dump): "Data " followed by each byte as two upper-case hex
// digits and a space, then a line break: "Data F0 7E 7F F7 \n".

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <vector>

#include "midi/events/MMidiEvent.h"

namespace vantor {

class MMidiSysex : public MMidiEvent {
  VANTOR_EVENT(MMidiSysex)
 public:
  static constexpr const char* kDisplayName = "SysEx";
  MMidiSysex() = default;
  const char* getDisplayName() const override { return kDisplayName; }
  uint8_t getStatusType() const override { return 0xF0; }

  size_t getByteCount() const { return bytes_.size(); }
  // The byte at index; 0 past the end.
  uint8_t getByte(size_t index) const { return index < bytes_.size() ? bytes_[index] : 0; }
  const std::vector<uint8_t>& getBytes() const { return bytes_; }
  void setBytes(std::vector<uint8_t> bytes) { bytes_ = std::move(bytes); }

  void dump(std::ostream& out) const override;

  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // After the MMidiEvent attributes: "Data" (bytes) when there are any.
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  std::vector<uint8_t> bytes_;
};

}  // namespace vantor
