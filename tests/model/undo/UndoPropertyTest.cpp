// Property: on a generated project, any sequence of commands performed
// through the undo manager can be undone to the exact original bytes of the
// saved tree and redone to the exact edited bytes, step by step. Failed
// commands change no byte. The commands cover events, tracks, groups, the
// tempo and signature tracks, markers, the mixer channel of tracks and the
// project's automatic fades.

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "foundation/FClock.h"
#include "model/CommandTestSupport.h"
#include "model/edit/MAttributeCommands.h"
#include "model/edit/MAutoFadeCommand.h"
#include "model/edit/MInsertCommand.h"
#include "model/edit/MMoveCommand.h"
#include "model/edit/MNodeCommands.h"
#include "model/edit/MSizeCommand.h"
#include "model/edit/MTrackCommands.h"
#include "model/edit/MTrackMixCommands.h"
#include "model/edit/MVGroupCommands.h"
#include "model/markers/MMarkerCommands.h"
#include "model/markers/MMarkerEvent.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoCommands.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/undo/GUndoManager.h"
#include "model/undo/MCompositeCommands.h"

namespace vantor {
namespace {

using Bytes = std::vector<uint8_t>;

// The parts of the tree that commands pick from, gathered afresh each step.
struct TreeView {
  std::vector<MTrackEvent*> tracks;
  std::vector<MDataNode*> trackNodes;  // nodes holding parts
  std::vector<MEvent*> parts;
  std::vector<MDataNode*> partNodes;  // nodes holding notes
  std::vector<MEvent*> notes;
  std::vector<MEvent*> groups;  // virtual group placements in the project node
};

std::vector<MEvent*> eventsOf(MDataNode* node) {
  std::vector<MEvent*> events;
  FRef<MAccessor> reader = node != nullptr ? node->getReadAccessor() : nullptr;
  for (size_t i = 0; reader && i < reader->count(); ++i) events.push_back(reader->at(i));
  return events;
}

TreeView view(MProject& project) {
  TreeView tree;
  std::set<MDataNode*> seen;
  for (size_t i = 0; i < project.getTrackList()->count(); ++i) {
    MTrackEvent* track = project.getTrackList()->at(i);
    tree.tracks.push_back(track);
    if (track->getNode() == nullptr || !seen.insert(track->getNode()).second) continue;
    tree.trackNodes.push_back(track->getNode());
    for (MEvent* part : eventsOf(track->getNode())) {
      tree.parts.push_back(part);
      MDataNode* content = part->getNode();
      if (content == nullptr || !seen.insert(content).second) continue;
      tree.partNodes.push_back(content);
      for (MEvent* note : eventsOf(content)) tree.notes.push_back(note);
    }
  }
  for (MEvent* event : eventsOf(&project)) {
    if (dynamic_cast<MVirtualGroupEvent*>(event) != nullptr) tree.groups.push_back(event);
  }
  return tree;
}

class Generator {
 public:
  Generator(uint32_t seed, MProject& project) : rng_(seed), project_(project) {}

  uint32_t below(uint32_t n) { return n == 0 ? 0 : static_cast<uint32_t>(rng_() % n); }
  bool chance(uint32_t percent) { return below(100) < percent; }
  // A position step: multiples of 60 pulses, from -480 to 480.
  double step() { return 60.0 * (static_cast<double>(below(17)) - 8.0); }
  template <class T>
  T* pick(const std::vector<T*>& items) {
    return items.empty() ? nullptr : items[below(static_cast<uint32_t>(items.size()))];
  }
  static FRef<MEvent> ref(MEvent* event) { return FRef<MEvent>::share(event); }
  static FRef<MDataNode> ref(MDataNode* node) { return FRef<MDataNode>::share(node); }

  FRef<MCommand> next() {
    const TreeView tree = view(project_);
    // Drags: runs of the same edit of the same event, which unite when they
    // follow quickly.
    if (!lastEvent_ || lastEvent_->getParent() == nullptr || !chance(70)) {
      lastEvent_ = nullptr;
      if (chance(15)) {
        if (MEvent* event = anyEvent(tree)) {
          lastEvent_ = ref(event);
          lastWasMove_ = chance(50);
        }
      }
    }
    if (lastEvent_) {
      MEvent* event = lastEvent_.get();
      if (lastWasMove_) return FRef<MCommand>(new MSimpleMoveCommand(lastEvent_, event->getStart() + step()));
      return FRef<MCommand>(new MSizeEndCommand(lastEvent_, ref(event->getParent()), event->getEnd() + step()));
    }
    for (int tries = 0; tries < 20; ++tries) {
      FRef<MCommand> command = make(tree, below(38));
      if (command) return command;
    }
    return FRef<MCommand>(new MMacroCommand("Nothing"));
  }

 private:
  MEvent* anyEvent(const TreeView& tree) { return chance(50) ? pick(tree.notes) : pick(tree.parts); }
  std::vector<FRef<MEvent>> some(const std::vector<MEvent*>& from, uint32_t most) {
    std::vector<FRef<MEvent>> out;
    std::set<MEvent*> taken;
    const uint32_t count = 1 + below(most);
    for (uint32_t i = 0; i < count && !from.empty(); ++i) {
      MEvent* event = pick(from);
      if (taken.insert(event).second) out.push_back(ref(event));
    }
    return out;
  }
  FRef<MEvent> newNote() {
    return cmdtest::makeEvent(60.0 * below(64), 60.0 * (1 + below(8)), 0, static_cast<int32_t>(below(1000)));
  }
  FRef<MEvent> newPart() {
    auto part = makeRef<MPartEvent>();
    part->setName("New " + std::to_string(below(100)));
    part->setStart(480.0 * below(16));
    part->setLength(480.0 * (1 + below(8)));
    for (uint32_t i = 0, n = below(4); i < n; ++i) cmdtest::put(*part->getNode(), newNote());
    return FRef<MEvent>(part);
  }

  FRef<MCommand> size(MEvent* event) {
    FRef<MEvent> e = ref(event);
    FRef<MDataNode> n = ref(event->getParent());
    switch (below(6)) {
      case 0:
        return FRef<MCommand>(new MSizeStartCommand(e, n, event->getStart() + step()));
      case 1:
        return FRef<MCommand>(new MSizeEndCommand(e, n, event->getEnd() + step()));
      case 2:
        return FRef<MCommand>(new MMoveStartCommand(e, n, event->getStart() + step()));
      case 3:
        return FRef<MCommand>(new MOffsetCommand(e, n, step()));
      case 4:
        return FRef<MCommand>(new MLengthCommand(e, n, 60.0 * below(20)));
      default:
        return FRef<MCommand>(new MSizeCommand(e, n, event->getStart() + step(), 60.0 * below(20), step()));
    }
  }

  FRef<MCommand> make(const TreeView& tree, uint32_t kind) {
    if (kind < 10) return makeEventEdit(tree, kind);
    if (kind < 20) return makeAttributeEdit(tree, kind);
    if (kind < 27) return makeStructureEdit(tree, kind);
    if (kind < 32) return makeTimeEdit(kind);
    if (kind < 34) return makeMarkerEdit();
    return makeMixerEdit(tree, kind);
  }

  // Volume, pan and solo of one or two tracks, and the automatic fades: in
  // range mostly, now and then out of it (refused).
  FRef<MCommand> makeMixerEdit(const TreeView& tree, uint32_t kind) {
    std::vector<FRef<MTrackEvent>> tracks;
    const std::vector<MEvent*> all(tree.tracks.begin(), tree.tracks.end());
    for (const FRef<MEvent>& track : some(all, 2)) {
      tracks.push_back(FRef<MTrackEvent>::share(static_cast<MTrackEvent*>(track.get())));
    }
    const bool outside = chance(10);
    switch (kind) {
      case 34: {
        const auto volume = static_cast<int32_t>(below(15601)) - 14400;  // -144 dB .. +12 dB
        return FRef<MCommand>(new MTrackVolumeCommand(tracks, outside ? MTrackAttribute::kVolumeMax + 1 : volume));
      }
      case 35: {
        const auto pan = static_cast<int32_t>(below(201)) - 100;
        return FRef<MCommand>(new MTrackPanCommand(tracks, outside ? -101 : pan));
      }
      case 36:
        return FRef<MCommand>(new MSoloCommand(tracks, chance(60)));
      default: {
        MAutoFadeSetting fades = *project_.getAutoFadeSetting();
        fades.setFadeInOn(chance(50));
        fades.setFadeOutLength(outside ? 1000.5 : 0.25 * below(400));
        fades.setFadeOutCurve(static_cast<MFadeCurve>(below(5)));
        return FRef<MCommand>(
            new MAutoFadeCommand(FRef<MAutoFadeSetting>::share(project_.getAutoFadeSetting()), fades));
      }
    }
  }

  // A tempo in the range mostly (with hundredths), now and then one outside
  // it, which the command refuses.
  double bpm() {
    if (chance(10)) return chance(50) ? 0.5 : 1000.0 + below(5000);
    return 20.0 + below(300) + below(100) / 100.0;
  }

  // Tempo changes (new and existing), their functions, and signatures
  // added or modified: on bar lines mostly, inside bars now and then
  // (refused), with a denominator that is no power of two now and then
  // (refused).
  FRef<MCommand> makeTimeEdit(uint32_t kind) {
    MTempoTrackNode& tempo = *project_.getTempoNode();
    MSignatureTrackNode& signatures = *project_.getSignatureNode();
    MTempoEvent* change = tempo.tempoEvent(below(static_cast<uint32_t>(tempo.tempoCount())));
    MTimeSignatureEvent* signature = signatures.signature(below(static_cast<uint32_t>(signatures.signatureCount())));
    static constexpr uint16_t kDenominators[] = {2, 4, 4, 8, 8, 16, 3};
    const MSignatureValues values{static_cast<uint16_t>(1 + below(7)), kDenominators[below(7)], {}};
    switch (kind) {
      case 27:
        return FRef<MCommand>(new MSetTempoCommand(FRef<MTempoTrackNode>::share(&tempo), 240.0 * below(64), bpm(),
                                                   chance(50) ? MTempoFunc::kJump : MTempoFunc::kRamp));
      case 28:
        return FRef<MCommand>(new MSetTempoCommand(FRef<MTempoEvent>::share(change), bpm()));
      case 29:
        return FRef<MCommand>(new MTempoTypeCommand(FRef<MTempoEvent>::share(change), static_cast<int32_t>(below(3))));
      case 30: {
        const MBar bar = signatures.barAt(240 * below(64));
        const int64_t position = chance(80) ? bar.start : bar.start + 240 * below(4);
        return FRef<MCommand>(new MTimeSignatureCommand(FRef<MSignatureTrackNode>::share(&signatures),
                                                        static_cast<int32_t>(position), values));
      }
      default:
        return FRef<MCommand>(new MTimeSignatureCommand(FRef<MTimeSignatureEvent>::share(signature), values));
    }
  }

  // Markers: add (plain or range), move, rename, renumber, remove.
  FRef<MCommand> makeMarkerEdit() {
    MDataNode& node = *project_.getMarkerTrack()->getNode();
    const std::vector<MEvent*> markers = eventsOf(&node);
    auto* marker = dynamic_cast<MMarkerEvent*>(pick(markers));
    const uint32_t what = marker == nullptr ? 0 : below(5);
    switch (what) {
      case 0: {
        FRef<MMarkerEvent> added =
            chance(30) ? FRef<MMarkerEvent>(makeRef<MRangeMarkerEvent>()) : makeRef<MMarkerEvent>();
        added->setStart(240.0 * below(64));
        if (added->isKindOf("MRangeMarkerEvent")) added->setLength(240.0 * (1 + below(8)));
        added->setName("M" + std::to_string(below(20)));
        added->setMarkerID(nextFreeMarkerID(node));
        return FRef<MCommand>(new MInsertCommand(ref(&node), FRef<MEvent>(added)));
      }
      case 1:
        return move(ref(marker), marker->getStart() + step());
      case 2:
        return FRef<MCommand>(
            new MMarkerRenameCommand(FRef<MMarkerEvent>::share(marker), "R" + std::to_string(below(20))));
      case 3:
        return FRef<MCommand>(new MMarkerIdCommand(FRef<MMarkerEvent>::share(marker), static_cast<int32_t>(below(6))));
      default:
        return FRef<MCommand>(new MRemoveCommand(ref(marker)));
    }
  }

  // Sizes, moves, inserts, removals, splits.
  FRef<MCommand> makeEventEdit(const TreeView& tree, uint32_t kind) {
    MEvent* event = anyEvent(tree);
    const bool ofNotes = chance(50);
    switch (kind) {
      case 0:
        return event ? size(event) : nullptr;
      case 1:
        return event ? move(ref(event), event->getStart() + step()) : nullptr;
      case 2:
        return FRef<MCommand>(new MMoveInsideCommand(some(ofNotes ? tree.notes : tree.parts, 3), step()));
      case 3:
        if (ofNotes) return FRef<MCommand>(new MMoveCommand(some(tree.notes, 3), ref(pick(tree.partNodes)), step()));
        return FRef<MCommand>(new MMoveCommand(some(tree.parts, 2), ref(pick(tree.trackNodes)), step()));
      case 4:
        if (event == nullptr) return nullptr;
        return FRef<MCommand>(new MMoveEndCommand(ref(event), ref(event->getParent()), event->getEnd() + step()));
      case 5:
        if (chance(70)) return FRef<MCommand>(new MInsertCommand(ref(pick(tree.partNodes)), newNote()));
        return FRef<MCommand>(new MInsertCommand(ref(pick(tree.trackNodes)), newPart()));
      case 6:
        return FRef<MCommand>(new MRemoveCommand(some(chance(85) ? tree.notes : tree.parts, 2)));
      case 7:
        return split(tree);
      case 8:
        return event ? FRef<MCommand>(new MPriorityCommand(ref(event), chance(50))) : nullptr;
      default:
        return FRef<MCommand>(new MVerticalCommand(some(tree.notes, 2), ref(pick(tree.partNodes))));
    }
  }

  // Split through the middle of one event, and maybe of others there.
  FRef<MCommand> split(const TreeView& tree) {
    MDataNode* node = chance(50) ? pick(tree.partNodes) : pick(tree.trackNodes);
    MEvent* middle = pick(eventsOf(node));
    if (middle == nullptr) return nullptr;
    std::vector<FRef<MEvent>> events = some(eventsOf(node), 2);
    events.push_back(ref(middle));
    if (events.front() == events.back() && events.size() > 1) events.pop_back();
    return FRef<MCommand>(new MSplitCommand(ref(node), events, middle->getStart() + middle->getLength() / 2));
  }

  // Flags, names, colours, contents, domains, shuffles, overlaps.
  FRef<MCommand> makeAttributeEdit(const TreeView& tree, uint32_t kind) {
    MEvent* event = anyEvent(tree);
    MEvent* part = pick(tree.parts);
    MEvent* note = pick(tree.notes);
    MDataNode* content = pick(tree.partNodes);
    switch (kind) {
      case 10:
        return FRef<MCommand>(new MMuteCommand(some(tree.notes, 3), chance(50)));
      case 11:
        return FRef<MCommand>(new MEditLockCommand(some(tree.parts, 2), chance(40)));
      case 12: {
        MEvent* target = chance(70) ? part : static_cast<MEvent*>(pick(tree.tracks));
        if (target == nullptr) return nullptr;
        return FRef<MCommand>(new MRenameCommand(ref(target), "Name " + std::to_string(below(50))));
      }
      case 13: {
        std::vector<MEvent*> tracks(tree.tracks.begin(), tree.tracks.end());
        return FRef<MCommand>(new MColorCommand(some(tracks, 2), static_cast<int32_t>(below(8))));
      }
      case 14:
        return part ? FRef<MCommand>(new MSetNodeCommand(ref(part), ref(content))) : nullptr;
      case 15:
        if (content == nullptr) return nullptr;
        return FRef<MCommand>(new MNodeDomainCommand(ref(content), other(content), chance(50) ? tempo() : nullptr));
      case 16:
        if (part == nullptr || part->getNode() == nullptr) return nullptr;
        return FRef<MCommand>(new MEventDomainCommand(ref(part), other(part->getNode()), tempo()));
      case 17:
        return event ? FRef<MCommand>(new MShuffleMoveCommand(ref(event), 60.0 * below(64))) : nullptr;
      case 18:
        if (note == nullptr) return nullptr;
        return FRef<MCommand>(new MShuffleMoveVCommand(ref(note), ref(content), 60.0 * below(64)));
      default:
        if (event == nullptr) return nullptr;
        return FRef<MCommand>(new MRemoveOverlapsPostCommand(ref(event->getParent()), {ref(event)}));
    }
  }

  // Macros, tracks and virtual groups.
  FRef<MCommand> makeStructureEdit(const TreeView& tree, uint32_t kind) {
    MTrackEvent* track = pick(tree.tracks);
    const auto tracks = static_cast<uint32_t>(tree.tracks.size());
    switch (kind) {
      case 20:
        return macro(tree);
      case 21: {
        FRef<MTrackEvent> added = MProject::createTrack("MIDI", "T" + std::to_string(below(100)));
        if (chance(50)) cmdtest::put(*added->getNode(), newPart());
        const size_t index = chance(30) ? MTrackList::npos : below(tracks + 1);
        return FRef<MCommand>(new MInsertTrackCommand(FRef<MTrackList>::share(project_.getTrackList()), added, index));
      }
      case 22:
        if (track == nullptr || tracks <= 4) return nullptr;
        return FRef<MCommand>(new MRemoveTrackCommand(FRef<MTrackEvent>::share(track)));
      case 23:
        if (track == nullptr) return nullptr;
        return FRef<MCommand>(new MMoveTrackCommand(FRef<MTrackEvent>::share(track), below(tracks + 1)));
      case 24:
        return group(tree);
      case 25: {
        MEvent* placement = pick(tree.groups);
        return placement ? FRef<MCommand>(new MVGroupRemoveCommand(ref(placement))) : nullptr;
      }
      default: {
        MEvent* event = anyEvent(tree);
        return event ? move(ref(event), 60.0 * below(64)) : nullptr;
      }
    }
  }

  FRef<MCommand> macro(const TreeView& tree) {
    FRef<MMacroCommand> macro = makeRef<MMacroCommand>("Random Macro");
    for (uint32_t i = 0, n = 2 + below(3); i < n; ++i) {
      FRef<MCommand> sub = make(tree, below(20));
      // Sub-commands are built from the tree before any of them runs, so
      // later ones may find their events moved: then the macro fails whole.
      if (sub && !macro->add(sub)) return nullptr;
    }
    return FRef<MCommand>(macro);
  }

  FRef<MCommand> group(const TreeView& tree) {
    // Members need IDs: the parts the project was built with have them.
    std::vector<MEvent*> identified;
    for (MEvent* part : tree.parts) {
      if (part->getID() != 0) identified.push_back(part);
    }
    std::vector<FRef<MEvent>> members = some(identified, 3);
    if (MEvent* more = pick(identified)) members.push_back(ref(more));
    return FRef<MCommand>(new MVGroupCreateCommand(ref(&project_), members, "Group " + std::to_string(below(10))));
  }

  static FRef<MCommand> move(FRef<MEvent> event, double start) {
    return FRef<MCommand>(new MSimpleMoveCommand(std::move(event), start));
  }
  static MTimeDomain other(const MDataNode* node) {
    return node->getDomain() == MTimeDomain::kMusical ? MTimeDomain::kLinear : MTimeDomain::kMusical;
  }

  FRef<MTempoTrackNode> tempo() {
    MTrackEvent* track = project_.getTempoTrack();
    auto* node = track != nullptr ? dynamic_cast<MTempoTrackNode*>(track->getNode()) : nullptr;
    return FRef<MTempoTrackNode>::share(node);
  }

  std::mt19937 rng_;
  MProject& project_;
  FRef<MEvent> lastEvent_;
  bool lastWasMove_ = true;
};

// A project of four MIDI tracks with two to four parts of notes each, and a
// tempo change so that conversions are not a plain scale.
FRef<MRoot> buildProject(uint32_t seed) {
  FRef<MRoot> root = MProject::createNew();
  if (!root) return nullptr;
  MProject* project = root->getProject();
  std::mt19937 rng(seed);
  if (auto* tempo = dynamic_cast<MTempoTrackNode*>(project->getTempoTrack()->getNode())) {
    FRef<MAccessor> accessor = tempo->getWriteAccessor();
    static_cast<void>(accessor->insert(FRef<MEvent>(new MTempoEvent(3840, 90))));
  }
  for (int t = 0; t < 4; ++t) {
    FRef<MTrackEvent> track = MProject::createTrack("MIDI", "Track " + std::to_string(t));
    if (!project->addTrack(track)) return nullptr;
    for (uint32_t p = 0, parts = 2 + rng() % 3; p < parts; ++p) {
      auto part = makeRef<MPartEvent>();
      part->setName("Part " + std::to_string(t) + "." + std::to_string(p));
      part->setStart(1920.0 * (rng() % 8));
      part->setLength(1920.0 * (1 + rng() % 3));
      for (uint32_t n = 0, notes = 3 + rng() % 6; n < notes; ++n) {
        // Starts on a coarse grid, so that equal starts are common.
        cmdtest::put(*part->getNode(), cmdtest::makeEvent(240.0 * (rng() % 16), 120.0 * (1 + rng() % 4), 0,
                                                          static_cast<int32_t>(rng() % 100)));
      }
      if (!project->addPart(track.get(), part)) return nullptr;
    }
  }
  return root;
}

using UndoProperty = cmdtest::UndoLimitFixture<::testing::TestWithParam<uint32_t>>;

TEST_P(UndoProperty, UndoAllRestoresTheOriginalBytesAndRedoAllTheEditedOnes) {
  const uint32_t seed = GetParam();
  FRef<MRoot> root = buildProject(seed);
  ASSERT_TRUE(root);
  MProject& project = *root->getProject();
  FManualClock clock;
  GUndoManager manager(clock);
  Generator generator(seed * 7919u + 1u, project);

  // states[k]: the bytes after the k-th undo entry (states[0]: the original).
  std::vector<Bytes> states{cmdtest::snapshot(root.get())};
  ASSERT_FALSE(states[0].empty());
  int performed = 0;
  int failed = 0;
  int merged = 0;
  std::set<std::string> succeeded;  // command classes that did their edit
  std::set<std::string> refused;
  for (int i = 0; i < 400; ++i) {
    // Mostly far apart; often quick, so that uniting happens.
    clock.advance(generator.chance(50) ? 100 : 1000);
    FRef<MCommand> command = generator.next();
    const std::string name = command->getClassName();
    const size_t entries = manager.undoCount();
    const bool ok = manager.perform(command, root.get());
    const Bytes now = cmdtest::snapshot(root.get());
    (ok ? succeeded : refused).insert(name);
    if (!ok) {
      ++failed;
      ASSERT_TRUE(cmdtest::sameBytes(now, states.back())) << "failed " << name << " changed the tree at step " << i;
      continue;
    }
    ++performed;
    if (manager.undoCount() == entries) {
      ++merged;
      states.back() = now;
    } else {
      ASSERT_EQ(manager.undoCount(), entries + 1);
      states.push_back(now);
    }
  }
  // Every kind of outcome happened.
  EXPECT_GT(performed, 100);
  EXPECT_GT(failed, 0);
  EXPECT_GT(merged, 0);
  // The tempo, signature and marker commands took part.
  for (const char* name : {"MSetTempoCommand", "MTempoTypeCommand", "MTimeSignatureCommand"}) {
    EXPECT_TRUE(succeeded.count(name)) << name << " never succeeded";
  }
  EXPECT_TRUE(succeeded.count("MMarkerRenameCommand") || succeeded.count("MMarkerIdCommand"));
  EXPECT_TRUE(refused.count("MTimeSignatureCommand"));
  for (const char* name : {"MTrackVolumeCommand", "MTrackPanCommand", "MSoloCommand", "MAutoFadeCommand"}) {
    EXPECT_TRUE(succeeded.count(name)) << name << " never succeeded";
  }
  ASSERT_EQ(states.size(), manager.undoCount() + 1);

  for (size_t k = states.size() - 1; k > 0; --k) {
    ASSERT_TRUE(manager.undo()) << "undo of entry " << k << " (" << manager.undoText() << ")";
    ASSERT_TRUE(cmdtest::sameBytes(cmdtest::snapshot(root.get()), states[k - 1])) << "after undoing entry " << k;
  }
  EXPECT_FALSE(manager.canUndo());
  for (size_t k = 1; k < states.size(); ++k) {
    ASSERT_TRUE(manager.redo()) << "redo of entry " << k;
    ASSERT_TRUE(cmdtest::sameBytes(cmdtest::snapshot(root.get()), states[k])) << "after redoing entry " << k;
  }
  EXPECT_FALSE(manager.canRedo());
}

TEST_P(UndoProperty, InterleavedUndoAndRedoAlwaysLandOnKnownStates) {
  // Performs, undos and redos in random order, far apart (no uniting):
  // every undo and redo must land on the bytes recorded for that place.
  const uint32_t seed = GetParam();
  FRef<MRoot> root = buildProject(seed + 100u);
  ASSERT_TRUE(root);
  FManualClock clock;
  GUndoManager manager(clock);
  Generator generator(seed * 104729u + 3u, *root->getProject());
  std::vector<Bytes> done{cmdtest::snapshot(root.get())};  // done.back(): the current state
  std::vector<Bytes> undone;                               // undone.back(): the next redo's
  for (int i = 0; i < 400; ++i) {
    clock.advance(1000);
    const uint32_t what = generator.below(10);
    if (what < 2 && manager.canUndo()) {
      ASSERT_TRUE(manager.undo()) << "step " << i;
      undone.push_back(done.back());
      done.pop_back();
      ASSERT_TRUE(cmdtest::sameBytes(cmdtest::snapshot(root.get()), done.back())) << "undo at step " << i;
    } else if (what < 4 && manager.canRedo()) {
      ASSERT_TRUE(manager.redo()) << "step " << i;
      done.push_back(undone.back());
      undone.pop_back();
      ASSERT_TRUE(cmdtest::sameBytes(cmdtest::snapshot(root.get()), done.back())) << "redo at step " << i;
    } else if (manager.perform(generator.next(), root.get())) {
      ASSERT_EQ(manager.undoCount(), done.size());
      done.push_back(cmdtest::snapshot(root.get()));
      undone.clear();
      EXPECT_EQ(manager.redoCount(), 0u);
    } else {
      ASSERT_TRUE(cmdtest::sameBytes(cmdtest::snapshot(root.get()), done.back())) << "failure at step " << i;
    }
    ASSERT_EQ(manager.undoCount() + 1, done.size());
    ASSERT_EQ(manager.redoCount(), undone.size());
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, UndoProperty, ::testing::Values(1u, 2u, 3u, 17u, 2024u));

}  // namespace
}  // namespace vantor
