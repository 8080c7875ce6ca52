#pragma once
// The chunked container of project files: "RIFF", the container length (the
// file length minus 12, written last), the form type, then per named root a
// ROOT chunk (name and class name, each a 32-bit length and the bytes without
// NUL) and an ARCH chunk holding the root's object archive. Every number and
// id is big-endian; chunk lengths exclude the 8-byte chunk header and are
// patched when the chunk closes; no pad byte follows data of odd length.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/CmObject.h"
#include "foundation/FRef.h"
#include "foundation/FStream.h"

namespace vantor {

class FArchiveTrace;

constexpr uint32_t kRiffId = fourCC("RIFF");
constexpr uint32_t kRootChunkId = fourCC("ROOT");
constexpr uint32_t kArchChunkId = fourCC("ARCH");
constexpr uint32_t kProjectFormType = fourCC("KEMB");

class FContainerWriter {
 public:
  // Writes through stream, which must be seekable; sets its swap flag.
  explicit FContainerWriter(FStream& stream);

  // Writes the container header with length 0.
  [[nodiscard]] bool begin(uint32_t formType);
  // Writes one ROOT chunk and one ARCH chunk with the archive of root. An
  // object that fails to write is left out and named in lostObjects().
  [[nodiscard]] bool addRoot(std::string_view name, const CmObject& root);
  // Class names of the objects left out so far, in order.
  const std::vector<std::string>& lostObjects() const { return lost_; }
  // Patches the container length.
  [[nodiscard]] bool finish();

 private:
  [[nodiscard]] bool beginChunk(uint32_t id, int64_t* lengthAt);
  [[nodiscard]] bool endChunk(int64_t lengthAt);
  [[nodiscard]] bool writeCountedText(std::string_view text);

  FStream& stream_;
  int64_t start_ = 0;
  std::vector<std::string> lost_;
};

struct FContainerRoot {
  std::string name;
  std::string className;
  int64_t archivePosition = 0;  // start of the ARCH chunk's data
  uint32_t archiveLength = 0;   // the ARCH chunk's data length
};

class FContainerReader {
 public:
  // Reads through stream, which must be seekable; sets its swap flag.
  explicit FContainerReader(FStream& stream);

  // Reads the header and every ROOT entry. False when the stream is not a
  // container of that form type or its chunks do not fit in the stream.
  [[nodiscard]] bool open(uint32_t expectedFormType);
  uint32_t formType() const { return formType_; }
  uint32_t containerLength() const { return containerLength_; }
  const std::vector<FContainerRoot>& roots() const { return roots_; }
  const FContainerRoot* findRoot(std::string_view name) const;

  // Reads the archive of the named root. Returns its object (one reference
  // for the caller); nullptr with *ok false when the archive is invalid,
  // nullptr with *ok true when the root's class is unknown.
  FRef<CmObject> readRoot(std::string_view name, bool* ok, FArchiveTrace* trace = nullptr);

 private:
  [[nodiscard]] bool readCountedText(int64_t limit, std::string* out);

  FStream& stream_;
  uint32_t formType_ = 0;
  uint32_t containerLength_ = 0;
  std::vector<FContainerRoot> roots_;
};

}  // namespace vantor
