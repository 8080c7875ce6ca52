#pragma once
// A playback fixture: a document with tracks, clips written by libsndfile and
// MIDI notes; a fake instrument that marks each note-on with an impulse;
// and helpers that run the engine over a plan in chosen blocks.

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "audio/files/AudioFileReader.h"
#include "audio/pool/MAudioEvent.h"
#include "audio/pool/PAudioPool.h"
#include "document/PDocumentTestSupport.h"
#include "midi/events/MMidiMessage.h"
#include "midi/events/MMidiNote.h"
#include "midi/events/MMidiPart.h"
#include "model/markers/MTransport.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MTrackList.h"
#include "render/RPlaybackEngine.h"
#include "render/engine/RPlanBuilder.h"
#include "render/offline/RDirectSegmentSource.h"

namespace vantor::test {

// Adds the velocity / 127 to both sides at the first frame rendered after
// each note-on, nothing else: every note becomes one identifiable impulse.
class ImpulseInstrument : public RInstrument {
 public:
  void midi(uint8_t status, uint8_t data1, uint8_t data2) noexcept override {
    (void)data1;
    if ((status & 0xF0) == 0x90 && data2 > 0) pending_ += static_cast<float>(data2) / 127.0f;
  }
  void render(float* left, float* right, int frames) noexcept override {
    if (frames <= 0 || pending_ == 0) return;
    left[0] += pending_;
    right[0] += pending_;
    pending_ = 0;
  }
  void reset() noexcept override { pending_ = 0; }

 private:
  float pending_ = 0;
};

class ImpulseFactory : public RInstrumentFactory {
 public:
  std::unique_ptr<RInstrument> create(const RInstrumentChoice& choice, int /*sampleRate*/,
                                      std::string* error) const override {
    if (choice.kind == RInstrumentChoice::Kind::kSoundFont && choice.soundFont == "broken.sf2") {
      *error = "The SoundFont broken.sf2 could not be loaded";
      return nullptr;
    }
    return std::make_unique<ImpulseInstrument>();
  }
};

// Writes a 32-bit float WAVE file with libsndfile; false when it refused.
inline bool writeFloatWave(const std::string& path, int rate, int channels, const std::vector<float>& samples) {
  SF_INFO info{};
  info.samplerate = rate;
  info.channels = channels;
  info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
  SNDFILE* sf = sf_open(path.c_str(), SFM_WRITE, &info);
  if (sf == nullptr) return false;
  const sf_count_t frames = static_cast<sf_count_t>(samples.size()) / channels;
  const bool written = sf_writef_float(sf, samples.data(), frames) == frames;
  return sf_close(sf) == 0 && written;
}

// Sample i of the counting ramp: (i + 1) / 2^20, exact in a float, so every
// sample tells which frame of the clip it is.
inline float rampSample(int64_t i) { return static_cast<float>(i + 1) / 1048576.0f; }

struct Stereo {
  std::vector<float> left, right;
};

class RenderTest : public DocumentTest {
 protected:
  void SetUp() override {
    DocumentTest::SetUp();
    doc = std::make_unique<PDocument>(messages, prefs);
    ASSERT_NE(doc->project(), nullptr);
  }

  MProject& project() { return *doc->project(); }

  MTrackEvent* addTrack(std::string_view kind, const std::string& name, MTrackList* into = nullptr) {
    FRef<MTrackEvent> track = MProject::createTrack(kind, name);
    EXPECT_TRUE(track);
    MTrackEvent* added = track.get();
    if (into != nullptr) {
      EXPECT_TRUE(into->insert(std::move(track)));
    } else {
      EXPECT_TRUE(project().addTrack(std::move(track)));
    }
    return added;
  }

  // A pool clip of the file at path (read for its format).
  FRef<PAudioClip> addClip(const std::string& path, const std::string& name) {
    AudioFileReader reader;
    EXPECT_TRUE(reader.open(path)) << path;
    auto cluster = makeRef<AudioCluster>();
    cluster->addFile(reader.file());
    auto clip = makeRef<PAudioClip>(name, cluster);
    EXPECT_NE(PAudioPool::ensurePool(project())->addClip(clip), 0u);
    return clip;
  }

  // A clip of `frames` frames made by `sample(frame, channel)`, written as a float file.
  FRef<PAudioClip> makeClip(const std::string& name, int rate, int channels, int64_t frames,
                            const std::function<float(int64_t, int)>& sample) {
    std::vector<float> samples(static_cast<size_t>(frames * channels));
    for (int64_t i = 0; i < frames; ++i) {
      for (int c = 0; c < channels; ++c) samples[static_cast<size_t>(i * channels + c)] = sample(i, c);
    }
    const std::string path = dir.file(name + ".wav");
    EXPECT_TRUE(writeFloatWave(path, rate, channels, samples));
    return addClip(path, name);
  }

  // A part from 0 to `partLength` pulses (made when the track has none) holding an
  // event of the clip's frames [clipStart, clipStart + clipLength) at `pulses`.
  MAudioEvent* addAudioEvent(MTrackEvent* track, const FRef<PAudioClip>& clip, double pulses, int64_t clipStart,
                             int64_t clipLength, double partLength = 1e6) {
    auto part = makeRef<MAudioPartEvent>();
    part->setName("Take");
    part->setLength(partLength);
    auto event = makeRef<MAudioEvent>(clip, clipStart, clipLength);
    event->setStart(pulses);
    event->setLength(1);  // playback follows the frames
    MAudioEvent* added = event.get();
    static_cast<MPartNode*>(part->getNode())->list().insert(event);
    EXPECT_TRUE(project().addPart(track, std::move(part)));
    return added;
  }

  // A MIDI part from `partStart` for `partLength` pulses with notes at `notes`
  // (pulses from the part's start), each `noteLength` long.
  MPartEvent* addNotes(MTrackEvent* track, double partStart, double partLength, const std::vector<double>& notes,
                       double noteLength = 60, uint8_t velocity = 127) {
    FRef<MPartEvent> part = track->createPart();
    part->setName("Riff");
    part->setStart(partStart);
    part->setLength(partLength);
    auto* node = static_cast<MPartNode*>(part->getNode());
    for (double at : notes) {
      FRef<MMidiEvent> note = makeMidiEvent(0x90, 60, velocity);
      note->setStart(at);
      note->setLength(noteLength);
      node->list().insert(note);
    }
    MPartEvent* added = part.get();
    EXPECT_TRUE(project().addPart(track, std::move(part)));
    return added;
  }

  // Replaces the tempo map: `bpm` from 0, ramping to `rampTo` at `rampAt` pulses when set.
  void setTempo(double bpm, double rampAt = 0, double rampTo = 0) {
    MTempoTrackNode* tempo = project().getTempoNode();
    ASSERT_NE(tempo, nullptr);
    tempo->tempoEvent(0)->setBPM(bpm);
    if (rampAt > 0) {
      ASSERT_TRUE(tempo->getWriteAccessor()->insert(makeRef<MTempoEvent>(rampAt, rampTo, MTempoFunc::kRamp)));
    }
  }

  std::shared_ptr<RPlaybackPlan> plan(const RPlanOptions& options = {}) {
    auto built = std::make_shared<RPlaybackPlan>();
    std::string error;
    EXPECT_TRUE(buildPlaybackPlan(*doc, options, built.get(), &error)) << error;
    return built;
  }

  // Renders [0, frames) of the plan through the direct source, in blocks
  // whose sizes `nextBlock` chooses (at most 4096), with the metronome when `click`.
  static Stereo render(const std::shared_ptr<RPlaybackPlan>& p, int64_t frames,
                       const std::function<int()>& nextBlock = [] { return 4096; }, bool click = false) {
    RDirectSegmentSource source(*p);
    RPlaybackEngine engine;
    ImpulseFactory factory;
    std::string error;
    Stereo out{std::vector<float>(static_cast<size_t>(frames)), std::vector<float>(static_cast<size_t>(frames))};
    EXPECT_TRUE(engine.prepare(p, &source, factory, 4096, &error)) << error;
    engine.setClick(click);
    for (int64_t at = 0; at < frames;) {
      const int n = static_cast<int>(std::min<int64_t>(nextBlock(), frames - at));
      engine.process(out.left.data() + at, out.right.data() + at, n);
      at += n;
    }
    EXPECT_EQ(engine.missedReads(), 0u);
    EXPECT_EQ(source.error(), "");
    return out;
  }

  std::unique_ptr<PDocument> doc;
};

}  // namespace vantor::test
