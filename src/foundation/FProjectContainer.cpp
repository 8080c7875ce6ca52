#include "foundation/FProjectContainer.h"

#include <limits>

#include "foundation/FObjectArchive.h"
#include "foundation/FReadStream.h"

namespace vantor {

FContainerWriter::FContainerWriter(FStream& stream) : stream_(stream) { stream_.setSwap(1); }

bool FContainerWriter::begin(uint32_t formType) {
  start_ = stream_.position();
  return stream_.writeUInt32(kRiffId) && stream_.writeUInt32(0) && stream_.writeUInt32(formType);
}

bool FContainerWriter::beginChunk(uint32_t id, int64_t* lengthAt) {
  if (!stream_.writeUInt32(id)) return false;
  *lengthAt = stream_.position();
  return stream_.writeUInt32(0);
}

bool FContainerWriter::endChunk(int64_t lengthAt) {
  const int64_t end = stream_.position();
  const int64_t length = end - lengthAt - 4;
  if (length < 0 || length > std::numeric_limits<uint32_t>::max()) return false;
  return stream_.seek(lengthAt) && stream_.writeUInt32(static_cast<uint32_t>(length)) && stream_.seek(end);
}

bool FContainerWriter::writeCountedText(std::string_view text) {
  return stream_.writeUInt32(static_cast<uint32_t>(text.size())) &&
         stream_.writeRaw(text.data(), static_cast<int64_t>(text.size()));
}

bool FContainerWriter::addRoot(std::string_view name, const CmObject& root) {
  int64_t lengthAt = 0;
  if (!beginChunk(kRootChunkId, &lengthAt) || !writeCountedText(name) || !writeCountedText(root.getClassName()) ||
      !endChunk(lengthAt)) {
    return false;
  }
  if (!beginChunk(kArchChunkId, &lengthAt)) return false;
  FObjectArchive archive(stream_);
  const bool ok = archive.writeArchive(&root);
  lost_.insert(lost_.end(), archive.lostObjects().begin(), archive.lostObjects().end());
  return ok && endChunk(lengthAt);
}

bool FContainerWriter::finish() {
  const int64_t end = stream_.position();
  const int64_t length = end - start_ - 12;
  if (length < 0 || length > std::numeric_limits<uint32_t>::max()) return false;
  return stream_.seek(start_ + 4) && stream_.writeUInt32(static_cast<uint32_t>(length)) && stream_.seek(end);
}

FContainerReader::FContainerReader(FStream& stream) : stream_(stream) { stream_.setSwap(1); }

bool FContainerReader::readCountedText(int64_t limit, std::string* out) {
  uint32_t length = 0;
  if (!stream_.readUInt32(&length) || length > limit - 4) return false;
  out->assign(length, '\0');
  return stream_.readRaw(out->data(), length);
}

bool FContainerReader::open(uint32_t expectedFormType) {
  roots_.clear();
  uint32_t riff = 0;
  if (!stream_.readUInt32(&riff) || riff != kRiffId || !stream_.readUInt32(&containerLength_) ||
      !stream_.readUInt32(&formType_) || formType_ != expectedFormType) {
    return false;
  }
  // The container must hold exactly the chunks that follow its header; a
  // length of 0 is left by a write that never finished.
  const int64_t left = stream_.remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(containerLength_) != left) return false;
  const int64_t end = stream_.position() + left;
  FContainerRoot* pending = nullptr;
  while (stream_.position() < end) {
    uint32_t id = 0;
    uint32_t length = 0;
    if (end - stream_.position() < 8 || !stream_.readUInt32(&id) || !stream_.readUInt32(&length)) return false;
    const int64_t dataStart = stream_.position();
    if (static_cast<int64_t>(length) > end - dataStart) return false;
    if (id == kRootChunkId) {
      FContainerRoot root;
      if (!readCountedText(length, &root.name) ||
          !readCountedText(dataStart + length - stream_.position(), &root.className)) {
        return false;
      }
      roots_.push_back(std::move(root));
      pending = &roots_.back();
    } else if (id == kArchChunkId && pending != nullptr) {
      pending->archivePosition = dataStart;
      pending->archiveLength = length;
      pending = nullptr;
    }
    // Unknown chunks, and what a chunk holds beyond what was read, are skipped.
    if (!stream_.seek(dataStart + length)) return false;
  }
  // Every ROOT needs its ARCH.
  for (const FContainerRoot& root : roots_) {
    if (root.archivePosition == 0) return false;
  }
  return true;
}

const FContainerRoot* FContainerReader::findRoot(std::string_view name) const {
  for (const FContainerRoot& root : roots_) {
    if (root.name == name) return &root;
  }
  return nullptr;
}

FRef<CmObject> FContainerReader::readRoot(std::string_view name, bool* ok, FArchiveTrace* trace) {
  *ok = false;
  const FContainerRoot* root = findRoot(name);
  if (root == nullptr || !stream_.seek(root->archivePosition)) return nullptr;
  FReadStream chunk(stream_, root->archiveLength);
  FObjectArchive archive(chunk);
  archive.setTrace(trace);
  FRef<CmObject> object = archive.readArchive(ok);
  if (!chunk.close()) *ok = false;
  if (!*ok) object = nullptr;
  return object;
}

}  // namespace vantor
