#include "audio/pool/PClipMaterial.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "audio/AudioInit.h"
#include "support/ArchiveBytes.h"

namespace vantor {
namespace {

// The oracle: the material spelled out frame by frame as (file, frame in
// file) pairs; silence is (-1, 0).
using Frames = std::vector<std::pair<int32_t, int64_t>>;

Frames spell(const std::vector<PClipPiece>& pieces) {
  Frames out;
  for (const PClipPiece& p : pieces) {
    for (int64_t i = 0; i < p.length; ++i) out.emplace_back(p.file, p.isSilence() ? 0 : p.start + i);
  }
  return out;
}

// No empty pieces and no neighbours that could be one.
bool isCanonical(const std::vector<PClipPiece>& pieces) {
  for (size_t i = 0; i < pieces.size(); ++i) {
    if (pieces[i].length <= 0) return false;
    if (i == 0) continue;
    const PClipPiece& a = pieces[i - 1];
    const PClipPiece& b = pieces[i];
    if (a.isSilence() && b.isSilence()) return false;
    if (!a.isSilence() && a.file == b.file && a.start + a.length == b.start) return false;
  }
  return true;
}

TEST(PClipMaterial, RandomReplacementsMatchTheFrameOracleAndUndoExactly) {
  std::mt19937 rng(7);
  auto pick = [&](int64_t lo, int64_t hi) { return std::uniform_int_distribution<int64_t>(lo, hi)(rng); };
  for (int round = 0; round < 200; ++round) {
    PClipMaterial material({PClipPiece::ofFile(0, 0, pick(1, 40))});
    Frames oracle = spell(material.pieces());
    struct Step {
      int64_t start, length;
      std::vector<PClipPiece> old;
    };
    std::vector<std::vector<PClipPiece>> before;
    std::vector<Step> steps;
    for (int i = 0; i < 12; ++i) {
      const int64_t start = pick(0, material.length());
      const int64_t length = pick(0, material.length() - start);
      std::vector<PClipPiece> pieces;
      for (int64_t n = pick(0, 3); n > 0; --n) {
        pieces.push_back(pick(0, 2) == 0
                             ? PClipPiece::silence(pick(0, 5))
                             : PClipPiece::ofFile(static_cast<int32_t>(pick(0, 2)), pick(0, 30), pick(0, 9)));
      }
      before.push_back(material.pieces());
      auto old = material.replaceRange(start, length, pieces);
      ASSERT_TRUE(old.has_value());
      // What was replaced is exactly the oracle's frames in the range.
      EXPECT_EQ(spell(*old), Frames(oracle.begin() + start, oracle.begin() + start + length));
      Frames added = spell(pieces);
      oracle.erase(oracle.begin() + start, oracle.begin() + start + length);
      oracle.insert(oracle.begin() + start, added.begin(), added.end());
      ASSERT_EQ(spell(material.pieces()), oracle);
      ASSERT_TRUE(isCanonical(material.pieces()));
      ASSERT_EQ(material.length(), static_cast<int64_t>(oracle.size()));
      steps.push_back({start, totalLength(pieces), std::move(*old)});
    }
    // Undo in reverse: every earlier list comes back piece for piece.
    for (size_t i = steps.size(); i-- > 0;) {
      ASSERT_TRUE(material.replaceRange(steps[i].start, steps[i].length, steps[i].old).has_value());
      ASSERT_EQ(material.pieces(), before[i]);
    }
  }
}

TEST(PClipMaterial, RefusesRangesOutsideAndInvalidPiecesWithoutChange) {
  PClipMaterial material({PClipPiece::ofFile(0, 10, 100), PClipPiece::silence(20)});
  const auto original = material.pieces();
  EXPECT_FALSE(material.replaceRange(-1, 5, {}).has_value());
  EXPECT_FALSE(material.replaceRange(100, 21, {}).has_value());
  EXPECT_FALSE(material.replaceRange(121, 0, {}).has_value());
  EXPECT_FALSE(material.replaceRange(0, 5, {PClipPiece{0, -1, 4}}).has_value());
  EXPECT_FALSE(material.replaceRange(0, 5, {PClipPiece{-2, 0, 4}}).has_value());
  EXPECT_EQ(material.pieces(), original);
  // The end is a valid place to insert at.
  EXPECT_TRUE(material.replaceRange(120, 0, {PClipPiece::ofFile(1, 0, 3)}).has_value());
  EXPECT_EQ(material.length(), 123);
}

TEST(PClipMaterial, ArchiveRoundTripAndDamagedRecords) {
  initializeAudio();
  auto material = makeRef<PClipMaterial>(
      std::vector<PClipPiece>{PClipPiece::ofFile(0, 0, 10), PClipPiece::silence(5), PClipPiece::ofFile(2, 7, 3)});
  const auto bytes = test::archiveBytes(material.get());
  auto back = test::readArchiveBytesAs<PClipMaterial>(bytes);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->pieces(), material->pieces());
  EXPECT_EQ(test::archiveBytes(back.get()), bytes);
  // Every truncation fails cleanly; a negative length in the last piece and
  // a huge count are refused.
  for (size_t cut = 0; cut < bytes.size(); ++cut) {
    EXPECT_FALSE(test::readArchiveBytesAs<PClipMaterial>({bytes.begin(), bytes.begin() + cut})) << cut;
  }
  auto negative = bytes;
  negative[negative.size() - 1] = 0x80;  // the length's top byte (little-endian)
  EXPECT_FALSE(test::readArchiveBytesAs<PClipMaterial>(negative));
  auto huge = bytes;
  const size_t countAt = bytes.size() - 3 * 20 - 4;
  huge[countAt + 3] = 0x7F;
  EXPECT_FALSE(test::readArchiveBytesAs<PClipMaterial>(huge));
}

}  // namespace
}  // namespace vantor
