#include "audio/process/PEditHistory.h"

#include "audio/process/PAudioProcess.h"
#include "audio/process/PProcessMessages.h"
#include "foundation/FObjectArchive.h"
#include "foundation/FStream.h"
#include "foundation/FUserMessages.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PEditHistory, FShared, 0)

namespace {

// The smallest entry and piece records, to bound damaged counts.
constexpr int64_t kMinimumEntryBytes = 4 + 8 + 8 + 4 + 4;
constexpr int64_t kPieceBytes = 4 + 8 + 8;

bool countFits(FStream& s, uint32_t count, int64_t bytesEach) {
  const int64_t left = s.remaining();
  return left == FStream::kUnknown || static_cast<int64_t>(count) <= left / bytesEach;
}

bool readPieces(FStream& s, std::vector<PClipPiece>* pieces) {
  uint32_t count = 0;
  if (!s.readUInt32(&count) || !countFits(s, count, kPieceBytes)) return false;
  pieces->reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    PClipPiece piece;
    if (!s.readInt32(&piece.file) || !s.readInt64(&piece.start) || !s.readInt64(&piece.length)) return false;
    if (piece.file < PClipPiece::kSilence || piece.start < 0 || piece.length < 0) return false;
    pieces->push_back(piece);
  }
  return true;
}

bool readEntry(FObjectArchive& archive, PEditHistoryEntry* entry) {
  FStream& s = archive.stream();
  if (!s.readString(&entry->processClass) || !archive.readObjectAs(&entry->parameters) || !entry->parameters) {
    return false;
  }
  if (!s.readInt64(&entry->start) || !s.readInt64(&entry->length) || !s.readInt32(&entry->resultFile)) return false;
  if (entry->start < 0 || entry->length < 0 || entry->resultFile < 0) return false;
  return readPieces(s, &entry->replaced);
}

}  // namespace

FRef<PEditHistory> PEditHistory::clone() const {
  FRef<PEditHistory> copy(new PEditHistory);
  for (const PEditHistoryEntry& entry : entries_) {
    PEditHistoryEntry twin = entry;
    twin.parameters = copyAttributes(*entry.parameters);
    copy->entries_.push_back(std::move(twin));
  }
  return copy;
}

void PEditHistory::truncate(size_t count) {
  if (count < entries_.size()) entries_.resize(count);
}

std::string PEditHistory::actionName(const PEditHistoryEntry& entry) {
  FRef<PAudioProcess> process = PAudioProcess::create(entry.processClass);
  return process ? process->displayName() : entry.processClass;
}

std::string PEditHistory::title(const std::string& clipName) { return formatMessage(kHistoryTitleFormat, {clipName}); }

bool PEditHistory::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  bool ok = s.writeUInt32(static_cast<uint32_t>(entries_.size()));
  for (const PEditHistoryEntry& entry : entries_) {
    ok = ok && s.writeString(entry.processClass) && archive.writeObject(entry.parameters.get()) &&
         s.writeInt64(entry.start) && s.writeInt64(entry.length) && s.writeInt32(entry.resultFile) &&
         s.writeUInt32(static_cast<uint32_t>(entry.replaced.size()));
    for (const PClipPiece& piece : entry.replaced) {
      ok = ok && s.writeInt32(piece.file) && s.writeInt64(piece.start) && s.writeInt64(piece.length);
    }
  }
  return ok;
}

bool PEditHistory::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  uint32_t count = 0;
  if (!s.readUInt32(&count) || !countFits(s, count, kMinimumEntryBytes)) return false;
  std::vector<PEditHistoryEntry> entries;
  entries.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    PEditHistoryEntry entry;
    if (!readEntry(archive, &entry)) return false;
    entries.push_back(std::move(entry));
  }
  entries_ = std::move(entries);
  return true;
}

}  // namespace vantor
