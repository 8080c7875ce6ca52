// Real-time playback end to end: a project of audio, a MIDI track through
// the built-in synthesizer and the metronome, played through a private JACK
// server (dummy backend, 256-frame periods) into a capture client, against
// the offline render of the same range: the engine over the direct segment
// source in blocks of 4096. They must agree sample for sample, with no
// underrun. The dummy server keeps real time on a machine that may be busy
// (sanitizer builds, tests in parallel): a run in which the server reported
// an xrun may have lost or repeated a period of what the capture heard, so
// it is played again, up to kAttempts times.

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "render/PlaybackTestSupport.h"
#include "render/RInstrumentFactory.h"
#include "render/realtime/REnginePlayTarget.h"
#include "render/realtime/RJackClient.h"
#include "render/realtime/RJackTransport.h"
#include "render/realtime/RStreamedSegmentSource.h"
#include "support/JackTestServer.h"

namespace vantor {
namespace {

using namespace std::chrono_literals;

constexpr int kAttempts = 3;
constexpr const char* kTooBusy = "the server reported xruns in every run: this machine is too busy for real time";

// Our client, the engine over the streamed source, and a capture client
// listening to our outputs; torn down client first.
struct Rig {
  Rig(const test::JackTestServer& server, const std::shared_ptr<RPlaybackPlan>& plan, bool cycle) {
    std::string error;
    client = RJackClient::open("vantor", server.name(), &error);
    EXPECT_NE(client, nullptr) << error;
    if (!client) return;
    source = std::make_unique<RStreamedSegmentSource>(plan, RStreamedSegmentSource::Options{2.0, cycle});
    EXPECT_TRUE(engine.prepare(plan, source.get(), RStandardInstrumentFactory(), client->bufferSize(), &error))
        << error;
    engine.setClick(true);
    target = std::make_unique<REnginePlayTarget>(engine, *source, client->bufferSize());
    transport = std::make_unique<RJackTransport>(*target, plan->leftLocator, plan->rightLocator);
    transport->setCycle(cycle);
    capture = std::make_unique<test::JackCapture>(server.name(), 48000 * 4);
    ready = capture->ok() && client->activate(transport.get(), &error) &&
            capture->connect(client->portName(0), 0) && capture->connect(client->portName(1), 1);
  }
  ~Rig() { client.reset(); }

  // Waits until the transport stops by itself, then for two more periods to
  // reach the capture; returns what the capture heard.
  test::Stereo playToTheEnd() {
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (transport->playing() && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(2ms);
    EXPECT_FALSE(transport->playing()) << "still playing at " << transport->position();
    const size_t heard = capture->frames();
    while (capture->frames() < heard + 512 && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(2ms);
    }
    test::Stereo out;
    out.left = capture->take(0);
    out.right = capture->take(1);
    return out;
  }

  std::unique_ptr<RJackClient> client;
  std::unique_ptr<RStreamedSegmentSource> source;
  RPlaybackEngine engine;
  std::unique_ptr<REnginePlayTarget> target;
  std::unique_ptr<RJackTransport> transport;
  std::unique_ptr<test::JackCapture> capture;
  bool ready = false;
};

class RJackPlaybackTest : public test::RenderTest {
 protected:
  // Two seconds of a counting ramp on an audio track (every sample tells
  // its frame), notes on a MIDI track through the built-in synthesizer, and
  // the metronome, at 120 BPM.
  std::shared_ptr<RPlaybackPlan> mixedPlan() {
    auto clip = makeClip("count", 48000, 1, 96000, [](int64_t i, int) { return test::rampSample(i); });
    addAudioEvent(addTrack("Audio", "Count"), clip, 0, 0, 96000);
    addNotes(addTrack("MIDI", "Keys"), 0, 3840, {0, 240, 480, 600, 960, 1440, 1920, 2400}, 200, 100);
    auto p = plan();
    p->leftLocator = 28800;   // 0.6 s
    p->rightLocator = 38400;  // 0.8 s
    return p;
  }

  // The offline render of [from, from + frames): the engine located at
  // `from`, over the direct source, in blocks of 4096.
  static test::Stereo offline(const std::shared_ptr<RPlaybackPlan>& p, int64_t from, int64_t frames) {
    RDirectSegmentSource source(*p);
    RPlaybackEngine engine;
    std::string error;
    EXPECT_TRUE(engine.prepare(p, &source, RStandardInstrumentFactory(), 4096, &error)) << error;
    engine.setClick(true);
    engine.locate(from);
    test::Stereo out{std::vector<float>(static_cast<size_t>(frames)), std::vector<float>(static_cast<size_t>(frames))};
    for (int64_t at = 0; at < frames; at += 4096) {
      const int n = static_cast<int>(std::min<int64_t>(4096, frames - at));
      engine.process(out.left.data() + at, out.right.data() + at, n);
    }
    EXPECT_EQ(source.error(), "");
    return out;
  }
};

size_t firstSound(const std::vector<float>& samples, size_t from = 0) {
  while (from < samples.size() && samples[from] == 0) ++from;
  return from;
}

// Checks that heard[at, at + expected) holds `expected` on both channels.
void expectSpan(const test::Stereo& heard, size_t at, const test::Stereo& expected, const char* what) {
  ASSERT_LE(at + expected.left.size(), heard.left.size()) << what;
  for (size_t i = 0; i < expected.left.size(); ++i) {
    ASSERT_EQ(heard.left[at + i], expected.left[i]) << what << ", frame " << i;
    ASSERT_EQ(heard.right[at + i], expected.right[i]) << what << ", frame " << i;
  }
}

void expectSilenceFrom(const test::Stereo& heard, size_t at) {
  EXPECT_EQ(firstSound(heard.left, at), heard.left.size()) << "sound after the end";
  EXPECT_EQ(firstSound(heard.right, at), heard.right.size()) << "sound after the end";
}

// Plays through a fresh rig until a run in which the server reported no
// xrun, at most kAttempts times; `play` starts the run (and may act while it
// plays), and `heard` gets what the capture heard up to the stop. Null when
// every run had xruns; a rig that did not start is returned as it is.
std::unique_ptr<Rig> playWithoutXruns(const test::JackTestServer& server, const std::shared_ptr<RPlaybackPlan>& p,
                                      bool cycle, const std::function<void(Rig&)>& play, test::Stereo* heard) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    auto rig = std::make_unique<Rig>(server, p, cycle);
    if (!rig->ready) return rig;
    play(*rig);
    *heard = rig->playToTheEnd();
    if (rig->client->xruns() == 0) return rig;
  }
  return nullptr;
}

TEST_F(RJackPlaybackTest, PlaysARangeAsTheOfflineRenderDoes) {
  test::JackTestServer server;
  if (!server.running()) GTEST_SKIP() << server.skipReason();
  const auto p = mixedPlan();
  const test::Stereo expected = offline(p, 12000, 43200 - 12000);
  test::Stereo heard;
  const auto rig = playWithoutXruns(server, p, false, [](Rig& r) {
    r.transport->setEnd(43200);
    r.transport->locate(12000);
    r.transport->play();
  }, &heard);
  if (!rig) GTEST_SKIP() << kTooBusy;
  ASSERT_TRUE(rig->ready);
  const size_t start = firstSound(heard.left);
  expectSpan(heard, start, expected, "the range");
  expectSilenceFrom(heard, start + (43200 - 12000));
  EXPECT_EQ(rig->target->underruns(), 0u);
  EXPECT_EQ(rig->source->diskError(), "");
}

// A locate while playing: the range up to the locate, a wait in silence
// while the disk refills, then the render from the new place to the end.
TEST_F(RJackPlaybackTest, LocatesWhilePlaying) {
  test::JackTestServer server;
  if (!server.running()) GTEST_SKIP() << server.skipReason();
  const auto p = mixedPlan();
  const test::Stereo before = offline(p, 4800, 60000 - 4800);
  const test::Stereo after = offline(p, 60000, 72000 - 60000);
  test::Stereo heard;
  const auto rig = playWithoutXruns(server, p, false, [](Rig& r) {
    r.transport->setEnd(72000);
    r.transport->locate(4800);
    r.transport->play();
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (r.transport->position() < 4800 + 9600 && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(1ms);
    }
    r.transport->locate(60000);
  }, &heard);
  if (!rig) GTEST_SKIP() << kTooBusy;
  ASSERT_TRUE(rig->ready);

  const size_t start = firstSound(heard.left);
  size_t played = 0;  // how far the first stretch matches
  while (start + played < heard.left.size() && played < before.left.size() &&
         heard.left[start + played] == before.left[played] && heard.right[start + played] == before.right[played]) {
    ++played;
  }
  EXPECT_GE(played, 9600u);
  const size_t resumed = firstSound(heard.left, start + played);
  expectSpan(heard, resumed, after, "after the locate");
  expectSilenceFrom(heard, resumed + (72000 - 60000));
  EXPECT_EQ(rig->target->underruns(), 0u);
}

// The cycle: from 0.4 s to the right locator, then the locators' range
// twice, each pass the offline render of the range from the left locator,
// joined without a gap.
TEST_F(RJackPlaybackTest, TheCycleRepeatsTheLocatorsRangeExactly) {
  test::JackTestServer server;
  if (!server.running()) GTEST_SKIP() << server.skipReason();
  const auto p = mixedPlan();
  const test::Stereo first = offline(p, 19200, p->rightLocator - 19200);
  const test::Stereo loop = offline(p, p->leftLocator, p->rightLocator - p->leftLocator);
  test::Stereo heard;
  const auto rig = playWithoutXruns(server, p, true, [](Rig& r) {
    r.transport->setLoopLimit(2);
    r.transport->locate(19200);
    r.transport->play();
  }, &heard);
  if (!rig) GTEST_SKIP() << kTooBusy;
  ASSERT_TRUE(rig->ready);
  const size_t start = firstSound(heard.left);
  expectSpan(heard, start, first, "the first pass");
  expectSpan(heard, start + first.left.size(), loop, "the second pass");
  expectSpan(heard, start + first.left.size() + loop.left.size(), loop, "the third pass");
  expectSilenceFrom(heard, start + first.left.size() + 2 * loop.left.size());
  EXPECT_EQ(rig->transport->loops(), 2);
  EXPECT_EQ(rig->target->underruns(), 0u);
}

}  // namespace
}  // namespace vantor
