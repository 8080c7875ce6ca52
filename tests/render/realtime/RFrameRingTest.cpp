#include "render/realtime/RFrameRing.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>
#include <vector>

namespace vantor {
namespace {

// The ring never holds more than its capacity, and what comes out is what
// went in, in order, across every wrap of the indices: random chunk sizes on
// one thread against a plain queue of expected values.
TEST(RFrameRing, KeepsOrderAndCapacityAcrossWraps) {
  RFrameRing ring(7);
  std::mt19937 random(3);
  float next = 0;
  float expected = 0;
  size_t held = 0;
  for (int step = 0; step < 2000; ++step) {
    std::vector<float> chunk(random() % 10);
    for (float& value : chunk) value = next++;
    const size_t wrote = ring.write(chunk.data(), chunk.size());
    ASSERT_EQ(wrote, std::min(chunk.size(), 7 - held));
    next -= static_cast<float>(chunk.size() - wrote);  // what did not fit is offered again
    held += wrote;
    ASSERT_EQ(ring.readable(), held);
    ASSERT_EQ(ring.writable(), 7 - held);
    std::vector<float> out(random() % 10, -1.0f);
    const size_t took = ring.read(out.data(), out.size());
    ASSERT_EQ(took, std::min(out.size(), held));
    for (size_t i = 0; i < took; ++i) ASSERT_EQ(out[i], expected++);
    held -= took;
  }
  // Dropping without a destination advances like a read.
  ring.reset();
  const float three[] = {1, 2, 3};
  ASSERT_EQ(ring.write(three, 3), 3u);
  EXPECT_EQ(ring.read(nullptr, 2), 2u);
  float last = 0;
  EXPECT_EQ(ring.read(&last, 5), 1u);
  EXPECT_EQ(last, 3.0f);
}

// One producer and one consumer on their own threads (run under
// ThreadSanitizer in CI): a million samples arrive complete and in order.
TEST(RFrameRing, CarriesASequenceBetweenTwoThreads) {
  constexpr size_t kTotal = 1 << 20;
  RFrameRing ring(1000);
  std::thread producer([&ring] {
    std::mt19937 random(1);
    std::vector<float> chunk(300);
    size_t sent = 0;
    while (sent < kTotal) {
      const size_t count = std::min<size_t>(1 + random() % chunk.size(), kTotal - sent);
      for (size_t i = 0; i < count; ++i) chunk[i] = static_cast<float>((sent + i) % 65536);
      size_t offset = 0;
      while (offset < count) {
        offset += ring.write(chunk.data() + offset, count - offset);
        if (offset < count) std::this_thread::yield();
      }
      sent += count;
    }
  });
  std::mt19937 random(2);
  std::vector<float> out(300);
  size_t received = 0;
  size_t faults = 0;
  while (received < kTotal) {
    const size_t took = ring.read(out.data(), 1 + random() % out.size());
    for (size_t i = 0; i < took; ++i) faults += out[i] != static_cast<float>((received + i) % 65536);
    received += took;
    if (took == 0) std::this_thread::yield();
  }
  producer.join();
  EXPECT_EQ(faults, 0u);
  EXPECT_EQ(ring.readable(), 0u);
}

}  // namespace
}  // namespace vantor
