#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <vector>

#include "foundation/FFileStream.h"
#include "foundation/FMemoryStream.h"
#include "foundation/FReadStream.h"

namespace vantor {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes writePrimitives(int16_t swap) {
  FMemoryStream s;
  s.setSwap(swap);
  EXPECT_TRUE(s.writeInt16(0x1234));
  EXPECT_TRUE(s.writeInt32(0x0A0B0C0D));
  EXPECT_TRUE(s.writeDouble(1.0));
  EXPECT_TRUE(s.writeFloat(-2.0f));
  EXPECT_TRUE(s.writeString("hi"));
  return s.takeData();
}

TEST(Stream, PrimitivesAreLittleEndianUntilSwapped) {
  // 1.0 is 0x3FF0000000000000, -2.0f is 0xC0000000.
  const Bytes little = {0x34, 0x12, 0x0D, 0x0C, 0x0B, 0x0A, 0, 0, 0, 0,   0,   0, 0xF0,
                        0x3F, 0,    0,    0,    0xC0, 3,    0, 0, 0, 'h', 'i', 0};
  const Bytes big = {0x12, 0x34, 0x0A, 0x0B, 0x0C, 0x0D, 0x3F, 0xF0, 0, 0,   0,   0, 0,
                     0,    0xC0, 0,    0,    0,    0,    0,    0,    3, 'h', 'i', 0};
  EXPECT_EQ(writePrimitives(0), little);
  EXPECT_EQ(writePrimitives(1), big);
  EXPECT_EQ(writePrimitives(-7), big);  // any non-zero flag swaps
}

TEST(Stream, PrimitivesRoundTripAtTheirLimits) {
  for (int16_t swap : {0, 1}) {
    FMemoryStream s;
    s.setSwap(swap);
    ASSERT_TRUE(s.writeInt16(std::numeric_limits<int16_t>::min()));
    ASSERT_TRUE(s.writeUInt16(std::numeric_limits<uint16_t>::max()));
    ASSERT_TRUE(s.writeInt32(std::numeric_limits<int32_t>::min()));
    ASSERT_TRUE(s.writeUInt32(std::numeric_limits<uint32_t>::max()));
    ASSERT_TRUE(s.writeInt64(std::numeric_limits<int64_t>::min()));
    ASSERT_TRUE(s.writeDouble(-0.0));
    ASSERT_TRUE(s.writeDouble(std::numeric_limits<double>::denorm_min()));
    ASSERT_TRUE(s.writeFloat(std::numeric_limits<float>::infinity()));
    ASSERT_TRUE(s.seek(0));
    int16_t a = 0;
    uint16_t b = 0;
    int32_t c = 0;
    uint32_t d = 0;
    int64_t e = 0;
    double f = 1;
    double g = 0;
    float h = 0;
    ASSERT_TRUE(s.readInt16(&a) && s.readUInt16(&b) && s.readInt32(&c) && s.readUInt32(&d) && s.readInt64(&e) &&
                s.readDouble(&f) && s.readDouble(&g) && s.readFloat(&h));
    EXPECT_EQ(a, std::numeric_limits<int16_t>::min());
    EXPECT_EQ(b, std::numeric_limits<uint16_t>::max());
    EXPECT_EQ(c, std::numeric_limits<int32_t>::min());
    EXPECT_EQ(d, std::numeric_limits<uint32_t>::max());
    EXPECT_EQ(e, std::numeric_limits<int64_t>::min());
    EXPECT_TRUE(std::signbit(f) && f == 0.0);
    EXPECT_EQ(g, std::numeric_limits<double>::denorm_min());
    EXPECT_TRUE(std::isinf(h));
  }
}

TEST(Stream, ShortReadYieldsZeroAndFalse) {
  FMemoryStream s(Bytes{1, 2, 3});
  int32_t value = 99;
  EXPECT_FALSE(s.readInt32(&value));
  EXPECT_EQ(value, 0);
  FMemoryStream empty;
  double d = 5;
  EXPECT_FALSE(empty.readDouble(&d));
  EXPECT_EQ(d, 0.0);
  uint8_t raw[4] = {9, 9, 9, 9};
  FMemoryStream two(Bytes{7, 7});
  EXPECT_FALSE(two.readRaw(raw, 4));
  EXPECT_EQ(raw[0], 0);
}

TEST(Stream, StringLengthCountsTheNulAndBadLengthsFail) {
  EXPECT_EQ(FStream::stringSize("abc"), 8);
  struct Case {
    Bytes bytes;
    bool ok;
    std::string text;
  } cases[] = {
      {{4, 0, 0, 0, 'a', 'b', 'c', 0}, true, "abc"}, {{0, 0, 0, 0}, true, ""},  // length below 1: no string
      {{0xFF, 0xFF, 0xFF, 0xFF}, true, ""},                                     // negative: no string
      {{9, 0, 0, 0, 'a', 'b'}, false, ""},                                      // longer than what remains
      {{0xFF, 0xFF, 0xFF, 0x7F, 'a'}, false, ""},                               // 2 GiB claimed: no allocation
      {{3, 0, 0, 0, 'a', 0, 'b'}, true, "a"},                                   // text ends at its first NUL
  };
  for (const Case& c : cases) {
    FMemoryStream s(c.bytes);
    std::string text = "previous";
    EXPECT_EQ(s.readString(&text), c.ok);
    EXPECT_EQ(text, c.text);
  }
}

TEST(Stream, BoundedReaderStopsAtItsLengthAndSkipsTheRest) {
  Bytes data(200);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i);
  FMemoryStream outer(data);
  ASSERT_TRUE(outer.skip(10));
  {
    FReadStream bounded(outer, 150);
    uint8_t buffer[300];
    EXPECT_EQ(bounded.readBytes(buffer, 5), 5);
    EXPECT_EQ(buffer[0], 10);
    EXPECT_EQ(bounded.remaining(), 145);
    // Nested reader inside the bounded one.
    {
      FReadStream inner(bounded, 20);
      EXPECT_EQ(inner.readBytes(buffer, 300), 20);
      EXPECT_EQ(inner.readBytes(buffer, 1), 0);
    }
    EXPECT_EQ(bounded.position(), 25);
    ASSERT_TRUE(bounded.close());
  }
  EXPECT_EQ(outer.position(), 160);
}

TEST(Stream, BoundedReaderPastTheEndOfItsStreamFailsToClose) {
  FMemoryStream outer(Bytes(10, 0));
  FReadStream bounded(outer, 100);
  EXPECT_EQ(bounded.remaining(), 10);
  EXPECT_FALSE(bounded.close());
}

TEST(Stream, CountingStreamCountsWithoutStoring) {
  FCountingStream counter;
  ASSERT_TRUE(counter.writeInt32(1));
  ASSERT_TRUE(counter.writeString("abc"));
  EXPECT_EQ(counter.count(), 12);
  ASSERT_TRUE(counter.seek(2));
  ASSERT_TRUE(counter.writeInt16(5));
  EXPECT_EQ(counter.count(), 12);
}

TEST(Stream, FileStreamWritesPatchesAndReadsBack) {
  const auto path = std::filesystem::temp_directory_path() / "vantor-stream-test.bin";
  FFileStream out;
  ASSERT_TRUE(out.open(path.string(), FFileStream::Mode::kWrite));
  out.setSwap(1);
  ASSERT_TRUE(out.writeUInt32(0));
  // More than the write buffer, to cross a flush.
  Bytes big(3 << 20, 0xAB);
  ASSERT_TRUE(out.writeRaw(big.data(), static_cast<int64_t>(big.size())));
  ASSERT_TRUE(out.writeInt16(-2));
  const int64_t end = out.position();
  ASSERT_TRUE(out.seek(0));
  ASSERT_TRUE(out.writeUInt32(0xCAFEBABE));
  ASSERT_TRUE(out.seek(end));
  ASSERT_TRUE(out.close(true));

  FFileStream in;
  ASSERT_TRUE(in.open(path.string(), FFileStream::Mode::kRead));
  in.setSwap(1);
  EXPECT_EQ(in.remaining(), end);
  uint32_t head = 0;
  ASSERT_TRUE(in.readUInt32(&head));
  EXPECT_EQ(head, 0xCAFEBABE);
  ASSERT_TRUE(in.skip(static_cast<int64_t>(big.size())));
  int16_t tail = 0;
  ASSERT_TRUE(in.readInt16(&tail));
  EXPECT_EQ(tail, -2);
  EXPECT_FALSE(in.readInt16(&tail));
  // The pages given back behind the reader read the same after a seek back.
  int64_t unused = 0;
  in.releaseBefore(in.directBytes(&unused));
  ASSERT_TRUE(in.seek(0));
  ASSERT_TRUE(in.readUInt32(&head));
  EXPECT_EQ(head, 0xCAFEBABE);
  Bytes again(big.size());
  ASSERT_TRUE(in.readRaw(again.data(), static_cast<int64_t>(again.size())));
  EXPECT_EQ(again, big);
  std::filesystem::remove(path);
}

TEST(Stream, FileStreamRefusesMissingFilesAndFolders) {
  FFileStream in;
  EXPECT_FALSE(in.open("/nonexistent/vantor/file", FFileStream::Mode::kRead));
  EXPECT_FALSE(in.lastError().empty());
  EXPECT_FALSE(in.open(std::filesystem::temp_directory_path().string(), FFileStream::Mode::kRead));
  FFileStream out;
  EXPECT_FALSE(out.open("/nonexistent/vantor/file", FFileStream::Mode::kWrite));
}

}  // namespace
}  // namespace vantor
