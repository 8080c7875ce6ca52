#include "render/engine/RPlanBuilder.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <strings.h>
#include <unordered_map>

#include "audio/pool/MAudioEvent.h"
#include "document/PArrangement.h"
#include "document/PDeviceSetup.h"
#include "document/PDocument.h"
#include "midi/events/MMidiMessage.h"
#include "midi/events/MMidiNote.h"
#include "midi/events/MMidiPart.h"
#include "model/markers/MTransport.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/tree/MTrackEvent.h"
#include "model/tree/MTrackList.h"
#include "render/RMetronome.h"

namespace vantor {

namespace {

int64_t rounded(double x) { return static_cast<int64_t>(std::llround(x)); }

// A track that plays, with what its folders pass down.
struct LeafTrack {
  const MTrackEvent* event = nullptr;
  bool muted = false;
  bool solo = false;
};

void collectTracks(const MTrackList& list, bool muted, bool solo, std::vector<LeafTrack>* tracks) {
  for (size_t i = 0; i < list.count(); ++i) {
    const MTrackEvent* track = list.at(i);
    if (track == nullptr) continue;
    const bool m = muted || track->isMuted();
    const bool s = solo || track->isSolo();
    if (const auto* folder = dynamic_cast<const MFolderTrack*>(track)) {
      if (const MTrackList* inner = folder->getTrackList()) collectTracks(*inner, m, s, tracks);
    } else if (dynamic_cast<const MAudioTrackEvent*>(track) != nullptr ||
               dynamic_cast<const MMidiTrackEvent*>(track) != nullptr) {
      tracks->push_back({track, m, s});
    }
  }
}

// Pulses to frames of the plan, through the tempo map.
class FrameMap {
 public:
  FrameMap(const MTempoTrackNode* tempo, int rate) : tempo_(tempo), rate_(rate) {}
  double seconds(double pulses) const {
    // Without a tempo track the project runs at 120 BPM, 480 pulses to the quarter.
    return tempo_ != nullptr ? tempo_->secondsAt(pulses) : pulses / 480.0 * 0.5;
  }
  int64_t frame(double pulses) const { return rounded(seconds(pulses) * rate_); }
  int64_t frames(double ms) const { return rounded(ms / 1000.0 * rate_); }

 private:
  const MTempoTrackNode* tempo_;
  int rate_;
};

// Message ranks at one frame of one track: note-offs, other messages, note-ons.
struct SortedMessage {
  RMidiMessage message;
  int rank = 0;
  uint64_t order = 0;
};

class Builder {
 public:
  Builder(const MProject& project, RPlaybackPlan* plan)
      : project_(project), plan_(*plan), map_(project.getTempoNode(), plan->sampleRate) {}

  void addAudioTrack(const MTrackEvent& track, size_t index, int64_t delay);
  void addMidiTrack(const MTrackEvent& track, size_t index, int64_t delay, int forcedChannel);
  void finish();

 private:
  void addAudioEvent(const MAudioEvent& event, double origin, int64_t partStart, int64_t partEnd, size_t index,
                     int64_t delay);
  void addMidiPart(const MPartEvent& part, uint32_t track, int64_t delay, int forcedChannel);
  FRef<AudioCluster> playbackCopy(const AudioCluster& cluster);
  FRef<PClipMaterial> playbackCopy(const PClipMaterial& material);
  void addMessage(int64_t frame, uint32_t track, MMidiMessage message, int rank, int forcedChannel) {
    if (forcedChannel >= 0) message.status = static_cast<uint8_t>((message.status & 0xF0) | forcedChannel);
    messages_.push_back({{frame, track, message.status, message.data1, message.data2}, rank, order_++});
  }

  const MProject& project_;
  RPlaybackPlan& plan_;
  FrameMap map_;
  std::vector<SortedMessage> messages_;
  uint64_t order_ = 0;
  std::unordered_map<const AudioCluster*, FRef<AudioCluster>> clusters_;
  std::unordered_map<const PClipMaterial*, FRef<PClipMaterial>> materials_;
};

// The plan keeps copies of the clusters (their files only) and materials
// it plays, one per original: the project's own may change while the plan
// plays (processing adds files to a cluster, edits replace pieces), and a
// disk thread reads the plan's without any lock.
FRef<AudioCluster> Builder::playbackCopy(const AudioCluster& cluster) {
  FRef<AudioCluster>& copy = clusters_[&cluster];
  if (copy == nullptr) {
    copy = makeRef<AudioCluster>();
    for (const AudioFile& file : cluster.files()) (void)copy->addFile(file);
    copy->setChannelGroups(cluster.channelGroups());
  }
  return copy;
}

FRef<PClipMaterial> Builder::playbackCopy(const PClipMaterial& material) {
  FRef<PClipMaterial>& copy = materials_[&material];
  if (copy == nullptr) copy = makeRef<PClipMaterial>(material.pieces());
  return copy;
}

void Builder::addAudioTrack(const MTrackEvent& track, size_t index, int64_t delay) {
  const MDataNode* node = track.getNode();
  if (node == nullptr || node->events() == nullptr) return;
  for (const auto& item : *node->events()) {
    const auto* part = dynamic_cast<const MAudioPartEvent*>(item.get());
    if (part == nullptr || part->isMuted() || part->getNode() == nullptr || part->getNode()->events() == nullptr) {
      continue;
    }
    const int64_t partStart = map_.frame(part->getStart()) + delay;
    const int64_t partEnd = map_.frame(part->getEnd()) + delay;
    for (const auto& inner : *part->getNode()->events()) {
      const auto* event = dynamic_cast<const MAudioEvent*>(inner.get());
      if (event != nullptr && !event->isMuted()) {
        addAudioEvent(*event, part->getContentOrigin(), partStart, partEnd, index, delay);
      }
    }
  }
}

void Builder::addAudioEvent(const MAudioEvent& event, double origin, int64_t partStart, int64_t partEnd,
                            size_t index, int64_t delay) {
  const PAudioClip* clip = event.getClip();
  if (clip == nullptr || clip->getCluster() == nullptr || clip->getMaterial() == nullptr) return;
  const AudioCluster& cluster = *clip->getCluster();
  RAudioSegment segment;
  segment.track = index;
  segment.channels = std::max(1, cluster.channels());
  segment.fileRate = static_cast<int>(std::lround(cluster.sampleRate()));
  // Clip frames to plan frames: the clip plays at its own rate.
  const double ratio = segment.fileRate > 0 ? static_cast<double>(plan_.sampleRate) / segment.fileRate : 1.0;
  const auto toPlan = [ratio](int64_t clipFrames) { return rounded(static_cast<double>(clipFrames) * ratio); };
  int64_t start = map_.frame(origin + event.getStart()) + delay;
  int64_t clipFrame = event.getClipStart();
  int64_t end = start + toPlan(event.getClipLength());
  end = std::min(end, partEnd);
  if (start < partStart) {
    clipFrame += rounded(static_cast<double>(partStart - start) / ratio);
    start = partStart;
  }
  if (end <= start) return;
  segment.start = start;
  segment.length = end - start;
  segment.clipFrame = clipFrame;
  segment.cluster = playbackCopy(cluster);
  segment.material = playbackCopy(*clip->getMaterial());

  const MAutoFadeSetting* automatic = project_.getAutoFadeSetting();
  const int64_t half = segment.length / 2;
  if (event.getFadeIn() > 0) {
    segment.fadeIn = {toPlan(event.getFadeIn()), event.getFadeInCurve()};
  } else if (automatic != nullptr && automatic->isFadeInOn()) {
    segment.fadeIn = {map_.frames(automatic->getFadeInLength()), automatic->getFadeInCurve()};
  }
  if (event.getFadeOut() > 0) {
    segment.fadeOut = {toPlan(event.getFadeOut()), event.getFadeOutCurve()};
  } else if (automatic != nullptr && automatic->isFadeOutOn()) {
    segment.fadeOut = {map_.frames(automatic->getFadeOutLength()), automatic->getFadeOutCurve()};
  }
  segment.fadeIn.length = std::clamp<int64_t>(segment.fadeIn.length, 0, half);
  segment.fadeOut.length = std::clamp<int64_t>(segment.fadeOut.length, 0, half);
  plan_.end = std::max(plan_.end, end);
  plan_.segments.push_back(std::move(segment));
}

void Builder::addMidiTrack(const MTrackEvent& track, size_t index, int64_t delay, int forcedChannel) {
  const MDataNode* node = track.getNode();
  if (node == nullptr || node->events() == nullptr) return;
  for (const auto& item : *node->events()) {
    const auto* part = dynamic_cast<const MPartEvent*>(item.get());
    if (part != nullptr && !part->isMuted()) addMidiPart(*part, static_cast<uint32_t>(index), delay, forcedChannel);
  }
}

void Builder::addMidiPart(const MPartEvent& part, uint32_t track, int64_t delay, int forcedChannel) {
  const MDataNode* node = part.getNode();
  if (node == nullptr || node->events() == nullptr) return;
  const MEventContainer& events = *node->events();
  const double first = part.getOffset();
  const double last = first + part.getLength();
  const double origin = part.getContentOrigin();
  const int64_t partEnd = map_.frame(origin + last) + delay;
  for (size_t i = 0; i < events.size(); ++i) {
    const auto* midi = dynamic_cast<const MMidiEvent*>(events.at(i));
    if (midi == nullptr || midi->isMuted() || midi->getStart() < first || midi->getStart() >= last) continue;
    const std::optional<MMidiMessage> message = midiMessageOf(*midi);
    if (!message) continue;  // system exclusive: instruments take channel messages only
    const int64_t frame = map_.frame(origin + midi->getStart()) + delay;
    if (midi->getStatusType() != 0x90) {
      addMessage(frame, track, *message, 1, forcedChannel);
      continue;
    }
    const auto& note = static_cast<const MMidiNote&>(*midi);
    MMidiMessage on = *message;
    on.data2 = std::max<uint8_t>(on.data2, 1);  // velocity 0 would be a note-off
    const int64_t offFrame =
        std::max(frame + 1, std::min(map_.frame(origin + midi->getStart() + note.getLength()) + delay, partEnd));
    addMessage(frame, track, on, 2, forcedChannel);
    addMessage(offFrame, track, noteOffMessageOf(note), 0, forcedChannel);
  }
}

void Builder::finish() {
  std::sort(messages_.begin(), messages_.end(), [](const SortedMessage& a, const SortedMessage& b) {
    if (a.message.frame != b.message.frame) return a.message.frame < b.message.frame;
    if (a.message.track != b.message.track) return a.message.track < b.message.track;
    return a.rank != b.rank ? a.rank < b.rank : a.order < b.order;
  });
  plan_.midi.reserve(messages_.size());
  for (const SortedMessage& m : messages_) plan_.midi.push_back(m.message);
  if (!plan_.midi.empty()) {
    plan_.end = std::max(plan_.end, plan_.midi.back().frame + rounded(kReleaseTailSeconds * plan_.sampleRate));
  }
  std::stable_sort(plan_.segments.begin(), plan_.segments.end(), [](const RAudioSegment& a, const RAudioSegment& b) {
    return a.start != b.start ? a.start < b.start : a.track < b.track;
  });
}

RTrackChannel channelOf(const LeafTrack& leaf, bool anySolo, const RPlanOptions& options) {
  RTrackChannel channel;
  channel.name = leaf.event->getName();
  channel.isMidi = dynamic_cast<const MMidiTrackEvent*>(leaf.event) != nullptr;
  const double db = leaf.event->volumeDb();
  channel.gain = db <= MTrackAttribute::kVolumeOff / 100.0 ? 0.0f : static_cast<float>(std::pow(10.0, db / 20.0));
  channel.pan = static_cast<float>(leaf.event->pan());
  channel.audible = !leaf.muted && (!anySolo || leaf.solo);
  if (channel.isMidi) {
    const MTrack* settings = leaf.event->getTrack();
    const bool builtin =
        settings != nullptr && strcasecmp(settings->getDevice().outputName.c_str(), kBuiltinSynthDevice) == 0;
    channel.instrument = builtin ? RInstrumentChoice{} : options.instrument;
  }
  return channel;
}

}  // namespace

bool buildPlaybackPlan(const PDocument& document, const RPlanOptions& options, RPlaybackPlan* plan,
                       std::string* error) {
  *plan = RPlaybackPlan{};
  plan->sampleRate = document.devices() != nullptr ? document.devices()->sampleRate() : PDeviceSetup::kDefaultSampleRate;
  const MProject* project = document.project();
  if (project == nullptr || project->getRoot() == nullptr) {
    *error = "The document holds no project";
    return false;
  }
  MRootUpdater::ReadGuard guard(project->getRoot()->getUpdater());
  std::vector<LeafTrack> leaves;
  if (const MTrackList* list = project->getTrackList()) collectTracks(*list, false, false, &leaves);
  const bool anySolo = std::any_of(leaves.begin(), leaves.end(), [](const LeafTrack& t) { return t.solo; });

  Builder builder(*project, plan);
  FrameMap map(project->getTempoNode(), plan->sampleRate);
  for (const LeafTrack& leaf : leaves) {
    const size_t index = plan->tracks.size();
    plan->tracks.push_back(channelOf(leaf, anySolo, options));
    if (!plan->tracks.back().audible) continue;
    const MTrack* settings = leaf.event->getTrack();
    const int64_t delay = settings != nullptr ? map.frames(settings->getDelay()) : 0;
    if (!plan->tracks.back().isMidi) {
      builder.addAudioTrack(*leaf.event, index, delay);
      continue;
    }
    int forced = -1;
    if (settings != nullptr && !settings->getDevice().outputName.empty() && settings->getDevice().channel >= 0 &&
        settings->getDevice().channel < 16) {
      forced = settings->getDevice().channel;
    }
    builder.addMidiTrack(*leaf.event, index, delay, forced);
  }
  builder.finish();

  if (const PArrangement* arrangement = document.arrangement()) {
    if (const MTransport* transport = arrangement->getTransport()) {
      plan->leftLocator = map.frame(transport->getLeftLocator());
      plan->rightLocator = map.frame(transport->getRightLocator());
    }
  }
  plan->clicks = metronomeClicks(*project, plan->sampleRate, std::max(plan->end, plan->rightLocator));
  return true;
}

}  // namespace vantor
