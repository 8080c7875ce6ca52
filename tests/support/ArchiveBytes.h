#pragma once
// The one archive round trip through memory that every test layer uses, and
// a way to make an archive's root record declare a huge count cheaply.

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/FMemoryStream.h"
#include "foundation/FObjectArchive.h"
#include "foundation/FRef.h"

namespace vantor::test {

// The archive bytes of the graph reached from root in the byte order of
// swap (0 little-endian, 1 big-endian as in project files); empty when the
// write failed.
inline std::vector<uint8_t> archiveBytes(const CmObject* root, int16_t swap = 0, bool* ok = nullptr) {
  FMemoryStream stream;
  stream.setSwap(swap);
  FObjectArchive archive(stream);
  const bool written = archive.writeArchive(root);
  if (ok != nullptr) *ok = written;
  if (!written) return {};
  return stream.takeData();
}

// The root read back from archive bytes (nullptr when the read failed).
inline FRef<CmObject> readArchiveBytes(const std::vector<uint8_t>& bytes, bool* ok = nullptr, int16_t swap = 0) {
  FMemoryStream stream(bytes);
  stream.setSwap(swap);
  FObjectArchive archive(stream);
  return archive.readArchive(ok);
}

// The root read back as a T; nullptr when it is not one or the read failed.
template <class T>
FRef<T> readArchiveBytesAs(const std::vector<uint8_t>& bytes, bool* ok = nullptr, int16_t swap = 0) {
  return refCast<T>(readArchiveBytes(bytes, ok, swap));
}

// For little-endian archive bytes whose root record ends with a 32-bit count
// of 0 (an empty list written last): makes that count read `count` and
// appends `items` as the list, fixing the record's and the archive's
// lengths. False when the bytes do not have that shape.
inline bool growRootList(std::vector<uint8_t>* bytes, uint32_t count, const std::vector<uint8_t>& items) {
  FMemoryStream in(*bytes);
  uint32_t magic = 0;
  uint32_t total = 0;
  uint32_t classes = 0;
  if (!in.readUInt32(&magic) || !in.readUInt32(&total) || !in.readUInt32(&classes) || total != bytes->size()) {
    return false;
  }
  std::string name;
  for (uint32_t i = 0; i < classes; ++i) {
    if (!in.readString(&name) || !in.skip(6)) return false;
  }
  const int64_t record = in.position();
  uint32_t length = 0;
  if (!in.skip(2) || !in.readUInt32(&length) || record + 6 + length != total || length < 4) return false;
  const auto patch = [bytes](size_t at, uint32_t value) {
    for (int i = 0; i < 4; ++i) (*bytes)[at + i] = static_cast<uint8_t>(value >> (8 * i));
  };
  if ((*bytes)[total - 4] != 0 || (*bytes)[total - 3] != 0 || (*bytes)[total - 2] != 0 || (*bytes)[total - 1] != 0) {
    return false;
  }
  patch(total - 4, count);
  patch(static_cast<size_t>(record) + 2, length + static_cast<uint32_t>(items.size()));
  patch(4, total + static_cast<uint32_t>(items.size()));
  bytes->insert(bytes->end(), items.begin(), items.end());
  return true;
}

}  // namespace vantor::test
