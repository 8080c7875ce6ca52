// The own fades of audio events: their archive record (version 1, and
// version-0 records that end after the clip length) and the command that
// sets them.

#include "audio/pool/MAudioFadeCommand.h"

#include <gtest/gtest.h>

#include "audio/AudioInit.h"
#include "foundation/FAttributes.h"
#include "foundation/FClock.h"
#include "model/undo/GUndoManager.h"
#include "support/ArchiveBytes.h"

namespace vantor {
namespace {

using Bytes = std::vector<uint8_t>;

// Fade-in length and curve (8 + 2 bytes), fade-out length and curve.
constexpr size_t kFadeBytes = 20;

// The archive of an event with no clip (so the class table holds only
// MAudioEvent), as an older writer would have made it: the record cut by
// `cut` bytes and the class table's version set to `version`.
Bytes olderRecord(const MAudioEvent& event, int16_t version, size_t cut) {
  Bytes bytes = test::archiveBytes(&event);
  // Header: magic, total, class count, then per class its name (32-bit
  // length, text, NUL), first size (32-bit) and version (16-bit); the null
  // clip adds an entry of its own. The event's record (class index 16-bit,
  // member length 32-bit, members) is the last and only one.
  auto read32 = [&bytes](size_t where) {
    return bytes[where] | bytes[where + 1] << 8 | bytes[where + 2] << 16 | uint32_t(bytes[where + 3]) << 24;
  };
  auto patch32 = [&bytes](size_t where, uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes[where + i] = static_cast<uint8_t>(value >> (8 * i));
  };
  const size_t sizeAt = 12 + 4 + read32(12);
  const size_t record = bytes.size() - 6 - read32(sizeAt);
  EXPECT_EQ(read32(record + 2), read32(sizeAt));
  const uint32_t members = read32(sizeAt) - static_cast<uint32_t>(cut);
  bytes[sizeAt + 4] = static_cast<uint8_t>(version);
  bytes[sizeAt + 5] = 0;
  bytes.resize(record + 6 + members);
  patch32(sizeAt, members);
  patch32(record + 2, members);
  patch32(4, static_cast<uint32_t>(bytes.size()));
  return bytes;
}

FRef<MAudioEvent> eventWithFades(int64_t in, MFadeCurve inCurve, int64_t out, MFadeCurve outCurve) {
  auto event = makeRef<MAudioEvent>(nullptr, 300, 4000);
  event->setStart(960);
  event->setFadeIn(in, inCurve);
  event->setFadeOut(out, outCurve);
  return event;
}

TEST(MAudioFade, ArchiveKeepsFadesAndReadsOlderRecordsWithout) {
  initializeAudio();
  // Every curve on each edge, with lengths that need all 64 bits.
  for (int c = 0; c <= 4; ++c) {
    const auto curve = static_cast<MFadeCurve>(c);
    const auto other = static_cast<MFadeCurve>(4 - c);
    FRef<MAudioEvent> event = eventWithFades(int64_t{1} << 40 | c, curve, 7 + c, other);
    auto back = test::readArchiveBytesAs<MAudioEvent>(test::archiveBytes(event.get()));
    ASSERT_TRUE(back) << c;
    EXPECT_EQ(back->getFadeIn(), int64_t{1} << 40 | c);
    EXPECT_EQ(back->getFadeInCurve(), curve);
    EXPECT_EQ(back->getFadeOut(), 7 + c);
    EXPECT_EQ(back->getFadeOutCurve(), other);
    EXPECT_EQ(back->getClipStart(), 300);
    EXPECT_EQ(back->getClipLength(), 4000);
    EXPECT_EQ(test::archiveBytes(back.get()), test::archiveBytes(event.get()));
  }
  // A version-0 record ends after the clip length: the event reads with
  // no fades of its own; the same bytes claimed as version 1 are short.
  FRef<MAudioEvent> event = eventWithFades(100, MFadeCurve::kSine, 200, MFadeCurve::kExponential);
  auto old = test::readArchiveBytesAs<MAudioEvent>(olderRecord(*event, 0, kFadeBytes));
  ASSERT_TRUE(old);
  EXPECT_EQ(old->getFadeIn(), 0);
  EXPECT_EQ(old->getFadeOut(), 0);
  EXPECT_EQ(old->getFadeInCurve(), MFadeCurve::kLinear);
  EXPECT_EQ(old->getClipLength(), 4000);
  EXPECT_EQ(old->getStart(), 960.0);
  for (size_t cut = 1; cut <= kFadeBytes; ++cut) {
    EXPECT_FALSE(test::readArchiveBytes(olderRecord(*event, 1, cut))) << "version 1 cut by " << cut;
  }
  EXPECT_FALSE(test::readArchiveBytes(olderRecord(*event, 0, kFadeBytes + 1)));
  // An unknown curve reads as linear; a negative fade fails the read. The
  // fade-out curve is the record's last 16 bits, its length the 64 before.
  Bytes bytes = test::archiveBytes(event.get());
  bytes[bytes.size() - 2] = 99;
  auto odd = test::readArchiveBytesAs<MAudioEvent>(bytes);
  ASSERT_TRUE(odd);
  EXPECT_EQ(odd->getFadeOutCurve(), MFadeCurve::kLinear);
  EXPECT_EQ(odd->getFadeOut(), 200);
  bytes[bytes.size() - 3] = 0x80;  // the length's sign byte
  EXPECT_FALSE(test::readArchiveBytes(bytes));
}

TEST(MAudioFade, CommandExchangesUnitesAndRefusesFadesLongerThanTheEvent) {
  initializeAudio();
  FRef<MAudioEvent> a = eventWithFades(0, MFadeCurve::kLinear, 50, MFadeCurve::kSine);
  FRef<MAudioEvent> b = eventWithFades(10, MFadeCurve::kLogarithmic, 0, MFadeCurve::kLinear);
  FManualClock clock;
  GUndoManager history(clock);
  const MAudioFade in{400, MFadeCurve::kSquareRoot};
  ASSERT_TRUE(history.perform(makeRef<MAudioFadeCommand>(std::vector{a, b}, in, std::nullopt)));
  EXPECT_EQ(history.undoText(), "Undo Fade In");
  // The fade-in is set on both, the fade-outs stay.
  EXPECT_EQ(a->getFadeIn(), 400);
  EXPECT_EQ(b->getFadeInCurve(), MFadeCurve::kSquareRoot);
  EXPECT_EQ(a->getFadeOut(), 50);
  // A quick second change of the same edge unites: one undo goes back.
  clock.advance(100);
  ASSERT_TRUE(history.perform(makeRef<MAudioFadeCommand>(std::vector{a, b}, MAudioFade{600}, std::nullopt)));
  EXPECT_EQ(history.undoCount(), 1u);
  // Refused, nothing changed: longer than the event (4000 frames), both
  // together longer, negative; and an empty change.
  struct Refused {
    std::optional<MAudioFade> in, out;
  };
  for (const Refused& r : {Refused{MAudioFade{4001}, std::nullopt}, Refused{MAudioFade{3000}, MAudioFade{1001}},
                           Refused{MAudioFade{-1}, std::nullopt}, Refused{std::nullopt, MAudioFade{-5}}}) {
    auto refused = makeRef<MAudioFadeCommand>(std::vector{a}, r.in, r.out);
    EXPECT_FALSE(history.perform(refused));
    EXPECT_FALSE(refused->failure().empty());
    EXPECT_EQ(a->getFadeIn(), 600);
    EXPECT_EQ(a->getFadeOut(), 50);
  }
  EXPECT_FALSE(history.perform(makeRef<MAudioFadeCommand>(std::vector{a}, std::nullopt, std::nullopt)));
  clock.advance(1000);
  ASSERT_TRUE(history.perform(makeRef<MAudioFadeCommand>(std::vector{a}, MAudioFade{4000}, MAudioFade{0})));
  EXPECT_EQ(history.undoText(), "Undo Fades");
  ASSERT_TRUE(history.undo());
  ASSERT_TRUE(history.undo());
  EXPECT_EQ(a->getFadeIn(), 0);
  EXPECT_EQ(a->getFadeOut(), 50);
  EXPECT_EQ(a->getFadeOutCurve(), MFadeCurve::kSine);
  EXPECT_EQ(b->getFadeIn(), 10);
  EXPECT_EQ(b->getFadeInCurve(), MFadeCurve::kLogarithmic);
  ASSERT_TRUE(history.redo());
  EXPECT_EQ(a->getFadeIn(), 600);
  EXPECT_EQ(b->getFadeIn(), 600);
}

}  // namespace
}  // namespace vantor
