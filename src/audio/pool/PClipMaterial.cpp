#include "audio/pool/PClipMaterial.h"

#include <limits>

#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PClipMaterial, FThreadShared, 0)

namespace {

// Bytes of one piece in the archive: file, start, length.
constexpr int64_t kPieceBytes = 4 + 8 + 8;

bool joins(const PClipPiece& a, const PClipPiece& b) {
  if (a.isSilence() || b.isSilence()) return a.isSilence() && b.isSilence();
  return a.file == b.file && a.start + a.length == b.start;
}

}  // namespace

int64_t totalLength(const std::vector<PClipPiece>& pieces) {
  int64_t sum = 0;
  for (const PClipPiece& piece : pieces) sum += piece.length;
  return sum;
}

PClipMaterial::PClipMaterial(std::vector<PClipPiece> pieces) : pieces_(std::move(pieces)) { normalize(); }

bool PClipMaterial::isValid(const PClipPiece& piece) {
  constexpr int64_t kMax = std::numeric_limits<int64_t>::max() / 4;
  return piece.file >= PClipPiece::kSilence && piece.start >= 0 && piece.length >= 0 && piece.start <= kMax &&
         piece.length <= kMax && (!piece.isSilence() || piece.start == 0);
}

void PClipMaterial::normalize() {
  std::vector<PClipPiece> out;
  out.reserve(pieces_.size());
  for (const PClipPiece& piece : pieces_) {
    if (piece.length == 0) continue;
    if (!out.empty() && joins(out.back(), piece)) {
      out.back().length += piece.length;
    } else {
      out.push_back(piece);
    }
  }
  pieces_ = std::move(out);
  length_ = totalLength(pieces_);
}

size_t PClipMaterial::splitAt(int64_t frame) {
  int64_t at = 0;
  for (size_t i = 0; i < pieces_.size(); ++i) {
    const int64_t end = at + pieces_[i].length;
    if (frame == at) return i;
    if (frame < end) {
      PClipPiece tail = pieces_[i];
      const int64_t cut = frame - at;
      pieces_[i].length = cut;
      tail.length -= cut;
      if (!tail.isSilence()) tail.start += cut;
      pieces_.insert(pieces_.begin() + static_cast<std::ptrdiff_t>(i) + 1, tail);
      return i + 1;
    }
    at = end;
  }
  return pieces_.size();
}

std::optional<std::vector<PClipPiece>> PClipMaterial::piecesIn(int64_t startFrame, int64_t lengthFrames) const {
  if (startFrame < 0 || lengthFrames < 0 || startFrame > length_ || lengthFrames > length_ - startFrame) {
    return std::nullopt;
  }
  std::vector<PClipPiece> out;
  const int64_t end = startFrame + lengthFrames;
  int64_t at = 0;
  for (const PClipPiece& piece : pieces_) {
    const int64_t pieceEnd = at + piece.length;
    if (pieceEnd > startFrame && at < end) {
      const int64_t from = std::max(at, startFrame);
      const int64_t to = std::min(pieceEnd, end);
      PClipPiece cut = piece;
      if (!cut.isSilence()) cut.start += from - at;
      cut.length = to - from;
      out.push_back(cut);
    }
    at = pieceEnd;
  }
  return out;
}

std::optional<std::vector<PClipPiece>> PClipMaterial::replaceRange(int64_t startFrame, int64_t lengthFrames,
                                                                   std::vector<PClipPiece> pieces) {
  for (const PClipPiece& piece : pieces) {
    if (!isValid(piece)) return std::nullopt;
  }
  std::optional<std::vector<PClipPiece>> replaced = piecesIn(startFrame, lengthFrames);
  if (!replaced) return std::nullopt;
  const size_t first = splitAt(startFrame);
  const size_t last = splitAt(startFrame + lengthFrames);
  pieces_.erase(pieces_.begin() + static_cast<std::ptrdiff_t>(first),
                pieces_.begin() + static_cast<std::ptrdiff_t>(last));
  pieces_.insert(pieces_.begin() + static_cast<std::ptrdiff_t>(first), pieces.begin(), pieces.end());
  normalize();
  return replaced;
}

bool PClipMaterial::usesFile(int32_t file) const {
  for (const PClipPiece& piece : pieces_) {
    if (piece.file == file) return true;
  }
  return false;
}

bool PClipMaterial::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  bool ok = s.writeUInt32(static_cast<uint32_t>(pieces_.size()));
  for (const PClipPiece& piece : pieces_) {
    ok = ok && s.writeInt32(piece.file) && s.writeInt64(piece.start) && s.writeInt64(piece.length);
  }
  return ok;
}

bool PClipMaterial::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  uint32_t count = 0;
  if (!s.readUInt32(&count)) return false;
  // The count is checked against the bytes left before anything is
  // allocated, so a damaged count cannot ask for a huge list.
  const int64_t left = s.remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) > left / kPieceBytes) return false;
  std::vector<PClipPiece> pieces;
  pieces.reserve(count);
  // The total stays far inside 64 bits, so no sum of lengths can overflow.
  constexpr int64_t kMaxTotal = std::numeric_limits<int64_t>::max() / 4;
  int64_t total = 0;
  for (uint32_t i = 0; i < count; ++i) {
    PClipPiece piece;
    if (!s.readInt32(&piece.file) || !s.readInt64(&piece.start) || !s.readInt64(&piece.length)) return false;
    if (!isValid(piece) || piece.length > kMaxTotal - total) return false;
    total += piece.length;
    pieces.push_back(piece);
  }
  pieces_ = std::move(pieces);
  normalize();
  return true;
}

}  // namespace vantor
