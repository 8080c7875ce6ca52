#pragma once
// The descriptive attributes of a Broadcast Wave file ("Broadcast
// Attributes"). The WAVE handler stores them in a "bext" chunk of the
// broadcast-extension layout (602 bytes of fields and 2 bytes of empty
// coding history, so that the chunk keeps later chunks on 4-byte
// boundaries), placed behind the format chunk.

#include <cstdint>
#include <string>

#include "foundation/FShared.h"

namespace vantor {

class BroadcastAttributes : public FShared {
  VANTOR_CLASS(BroadcastAttributes)
 public:
  // Bytes of the "bext" chunk's data as written.
  static constexpr int kChunkSize = 604;
  // Bytes of the fields every "bext" chunk must hold to be read.
  static constexpr int kMinimumChunkSize = 602;

  std::string description;     // up to 256 bytes
  std::string author;          // the originator, up to 32 bytes
  std::string reference;       // the originator's reference, up to 32 bytes
  std::string date;            // "yyyy-mm-dd", up to 10 bytes
  std::string time;            // "hh:mm:ss", up to 8 bytes
  uint64_t timeReference = 0;  // sample frames since midnight

  // Fills the chunk's data (kChunkSize bytes); texts are cut to their fields.
  void encode(uint8_t* chunk) const;
  // Reads the fields from a chunk's data of at least kMinimumChunkSize bytes.
  void decode(const uint8_t* chunk);

  // Persistent keys "Description", "Author" and "Reference".
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;
};

}  // namespace vantor
