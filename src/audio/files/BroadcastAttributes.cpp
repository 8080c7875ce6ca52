#include "audio/files/BroadcastAttributes.h"

#include <algorithm>
#include <cstring>

#include "foundation/FAttributes.h"

namespace vantor {

VANTOR_DEFINE_CLASS(BroadcastAttributes, FShared, 0)

namespace {

// Offsets of the broadcast-extension fields.
constexpr int kDescription = 0, kDescriptionSize = 256;
constexpr int kOriginator = 256, kOriginatorSize = 32;
constexpr int kReference = 288, kReferenceSize = 32;
constexpr int kDate = 320, kDateSize = 10;
constexpr int kTime = 330, kTimeSize = 8;
constexpr int kTimeReference = 338;
constexpr int kVersion = 346;

void putText(uint8_t* field, int size, const std::string& text) {
  std::memcpy(field, text.data(), std::min<size_t>(text.size(), static_cast<size_t>(size)));
}

// A fixed field is NUL-padded, but need not hold a NUL when full.
std::string getText(const uint8_t* field, int size) {
  const auto* end = static_cast<const uint8_t*>(std::memchr(field, 0, static_cast<size_t>(size)));
  return std::string(reinterpret_cast<const char*>(field), end != nullptr ? end - field : size);
}

}  // namespace

void BroadcastAttributes::encode(uint8_t* chunk) const {
  std::memset(chunk, 0, kChunkSize);
  putText(chunk + kDescription, kDescriptionSize, description);
  putText(chunk + kOriginator, kOriginatorSize, author);
  putText(chunk + kReference, kReferenceSize, reference);
  putText(chunk + kDate, kDateSize, date);
  putText(chunk + kTime, kTimeSize, time);
  for (int i = 0; i < 8; ++i) chunk[kTimeReference + i] = static_cast<uint8_t>(timeReference >> (8 * i));
  chunk[kVersion] = 1;
}

void BroadcastAttributes::decode(const uint8_t* chunk) {
  description = getText(chunk + kDescription, kDescriptionSize);
  author = getText(chunk + kOriginator, kOriginatorSize);
  reference = getText(chunk + kReference, kReferenceSize);
  date = getText(chunk + kDate, kDateSize);
  time = getText(chunk + kTime, kTimeSize);
  timeReference = 0;
  for (int i = 7; i >= 0; --i) timeReference = (timeReference << 8) | chunk[kTimeReference + i];
}

bool BroadcastAttributes::storeAttributes(FAttributes& attributes) const {
  attributes.setString("Description", description);
  attributes.setString("Author", author);
  attributes.setString("Reference", reference);
  return true;
}

bool BroadcastAttributes::restoreAttributes(const FAttributes& attributes) {
  // Each key is optional: an empty text is a valid value.
  (void)attributes.getString("Description", &description);
  (void)attributes.getString("Author", &author);
  (void)attributes.getString("Reference", &reference);
  return true;
}

}  // namespace vantor
