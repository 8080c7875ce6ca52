#pragma once
// A clip's audio as an ordered list of pieces: each a range of one of the
// cluster's files or a stretch of silence. Processing a range of a clip
// replaces the pieces that cover it (with a piece of a newly written file),
// so the original files stay as they were and a change can be undone by
// putting the replaced pieces back.
//
// The list is kept in one canonical form: no empty pieces, and no two
// neighbours that could be one piece (the same file with contiguous ranges,
// or two silences). So putting replaced pieces back restores the list
// exactly, piece for piece, whatever was split to cut them out.
//
// Units: frames throughout.

#include <cstdint>
#include <optional>
#include <vector>

#include "foundation/FShared.h"

namespace vantor {

struct PClipPiece {
  // The file of the cluster (an index into AudioCluster::files()), or
  // kSilence. A file with fewer channels than the clip is read together
  // with the files after it in the cluster, which give the further channels
  // (split stereo: the left file, then the right one).
  static constexpr int32_t kSilence = -1;
  int32_t file = kSilence;
  int64_t start = 0;   // first frame in the file (0 for silence)
  int64_t length = 0;  // frames

  static PClipPiece ofFile(int32_t file, int64_t start, int64_t length) { return {file, start, length}; }
  static PClipPiece silence(int64_t length) { return {kSilence, 0, length}; }
  bool isSilence() const { return file == kSilence; }
  bool operator==(const PClipPiece&) const = default;
};

// Counted atomically: playback's disk thread holds materials too.
class PClipMaterial : public FThreadShared {
  VANTOR_CLASS(PClipMaterial)
 public:
  PClipMaterial() = default;
  // Material made of pieces (brought into the canonical form).
  explicit PClipMaterial(std::vector<PClipPiece> pieces);

  const std::vector<PClipPiece>& pieces() const { return pieces_; }
  // The clip's length in frames: the sum of the pieces' lengths.
  int64_t length() const { return length_; }

  // Replaces the frames [startFrame, startFrame + lengthFrames) by pieces
  // (whose total length may differ: the material after the range moves).
  // Returns the pieces that covered the range, cut to it; putting them back
  // with replaceRange(startFrame, total length of pieces, returned) restores
  // the material exactly. nullopt, with nothing changed, when the range does
  // not lie inside the material, a length is negative or a piece is invalid
  // (a negative start or length, a file index below kSilence).
  std::optional<std::vector<PClipPiece>> replaceRange(int64_t startFrame, int64_t lengthFrames,
                                                      std::vector<PClipPiece> pieces);
  // The pieces that cover [startFrame, startFrame + lengthFrames), cut to
  // it; nullopt when the range does not lie inside the material.
  std::optional<std::vector<PClipPiece>> piecesIn(int64_t startFrame, int64_t lengthFrames) const;

  // Whether any piece reads from file.
  bool usesFile(int32_t file) const;

  // Archive: 32-bit piece count, then per piece the file (32-bit), start
  // and length (64-bit). A record with invalid pieces is refused.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  static bool isValid(const PClipPiece& piece);
  // Cuts the piece holding frame in two there (nothing when frame lies on
  // a boundary); returns the index of the first piece at or after frame.
  size_t splitAt(int64_t frame);
  void normalize();

  std::vector<PClipPiece> pieces_;
  int64_t length_ = 0;
};

// The total length of pieces, in frames.
int64_t totalLength(const std::vector<PClipPiece>& pieces);

}  // namespace vantor
