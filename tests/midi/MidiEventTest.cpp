#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/FAttributes.h"
#include "foundation/FClassRegistry.h"
#include "midi/MMidiInit.h"
#include "midi/events/MMidiEvent.h"
#include "midi/events/MMidiMessage.h"
#include "midi/events/MMidiNote.h"
#include "midi/events/MMidiPart.h"
#include "midi/events/MMidiSysex.h"
#include "midi/events/MSmfEvent.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/tree/MTrackEvent.h"
#include "support/ArchiveBytes.h"

namespace vantor {
namespace {

class MidiEvents : public ::testing::Test {
 protected:
  void SetUp() override { initializeMidi(); }
};

const char* const kEventClasses[] = {"MMidiNote",          "MChordEvent",     "MMidiPolyPressure", "MMidiAfterTouch",
                                     "MMidiProgramChange", "MMidiController", "MMidiPitchBend",    "MMidiSysex"};

FRef<MMidiEvent> makeByName(const char* name) { return refCast<MMidiEvent>(FClassRegistry::instance().create(name)); }

// Every field of a MIDI event of any kind, as one comparable text.
std::string fieldsOf(const MMidiEvent& e) {
  std::ostringstream out;
  out << e.getClassName() << ' ' << e.getStart() << ' ' << int(e.getChannel()) << ' ' << int(e.getData1()) << ' '
      << int(e.getData2()) << ' ' << e.getFlags() << ' ' << e.getID();
  if (const auto* note = dynamic_cast<const MMidiNote*>(&e)) {
    out << ' ' << note->getLength() << ' ' << note->getInitialStartOffset() << ' ' << note->getInitialLengthOffset()
        << ' ' << int(note->getData3());
  }
  if (const auto* sysex = dynamic_cast<const MMidiSysex*>(&e)) sysex->dump(out);
  return out.str();
}

// Gives every field of e a distinct value that is not its default.
void fill(MMidiEvent& e, int seed) {
  e.setStart(96.5 + seed);
  e.setChannel(static_cast<uint8_t>(seed % 16));
  e.setData1(static_cast<uint8_t>(60 + seed));
  e.setData2(static_cast<uint8_t>(100 - seed));
  e.setFlags(MEventFlag::kMuted | MEventFlag::kLocked);
  e.setID(static_cast<uint32_t>(1000 + seed));
  if (auto* note = dynamic_cast<MMidiNote*>(&e)) {
    note->setLength(240.25);
    note->setInitialStartOffset(-12.5);
    note->setInitialLengthOffset(30.0);
    note->setData3(64);
  }
  if (auto* sysex = dynamic_cast<MMidiSysex*>(&e)) sysex->setBytes({0xF0, 0x7E, 0x7F, 0x09, 0x01, 0xF7});
}

TEST_F(MidiEvents, EveryKindIsMadeByNameWithItsChainAndDefaults) {
  for (const char* name : kEventClasses) {
    FRef<MMidiEvent> e = makeByName(name);
    ASSERT_TRUE(e) << name;
    EXPECT_TRUE(e->isKindOf("MMidiEvent")) << name;
    EXPECT_EQ(e->getStart(), -1.0);
    EXPECT_EQ(e->getChannel() | e->getData1() | e->getData2() | e->getFlags(), 0);
  }
  EXPECT_TRUE(makeByName("MChordEvent")->isKindOf("MMidiNote"));
  for (const char* name : {"MMidiPart", "MMidiPartEvent", "MSmfEvent"}) {
    EXPECT_TRUE(FClassRegistry::instance().create(name)) << name;
  }
  EXPECT_TRUE(FClassRegistry::instance().create("MMidiPart")->isKindOf("MListNode"));
}

// Every kind with every field set survives the archive, attributes and a
// clone; the clone has no ID, as a copied event is a new link.
TEST_F(MidiEvents, EveryKindRoundTripsThroughArchiveAttributesAndClone) {
  int seed = 0;
  for (const char* name : kEventClasses) {
    FRef<MMidiEvent> e = makeByName(name);
    fill(*e, ++seed);
    for (int16_t swap : {0, 1}) {
      bool ok = false;
      const std::vector<uint8_t> bytes = test::archiveBytes(e.get(), swap, &ok);
      ASSERT_TRUE(ok) << name;
      FRef<MMidiEvent> back = test::readArchiveBytesAs<MMidiEvent>(bytes, &ok, swap);
      ASSERT_TRUE(back) << name;
      EXPECT_EQ(fieldsOf(*back), fieldsOf(*e));
      EXPECT_EQ(test::archiveBytes(back.get(), swap), bytes) << name;
    }
    auto attributes = makeRef<FAttributes>();
    ASSERT_TRUE(e->storeAttributes(*attributes));
    FRef<MMidiEvent> restored = makeByName(name);
    ASSERT_TRUE(restored->restoreAttributes(*attributes));
    EXPECT_EQ(fieldsOf(*restored), fieldsOf(*e));

    e->setID(0);
    FRef<MEvent> copy = e->clone();
    EXPECT_EQ(fieldsOf(static_cast<MMidiEvent&>(*copy)), fieldsOf(*e));
  }
}

TEST_F(MidiEvents, AttributesAreWrittenOnlyWhenNotZeroInTheirOrder) {
  auto controller = makeRef<MMidiController>();
  controller->setStart(480);
  auto attributes = makeRef<FAttributes>();
  ASSERT_TRUE(controller->storeAttributes(*attributes));
  EXPECT_EQ(attributes->keys(), std::vector<std::string>{"Start"});
  // Reading an empty set over a filled event leaves the bytes at 0.
  fill(*controller, 3);
  controller->setFlags(0);
  ASSERT_TRUE(controller->restoreAttributes(*attributes));
  EXPECT_EQ(fieldsOf(*controller), "MMidiController 480 0 0 0 0 1003");

  auto note = makeRef<MMidiNote>();
  note->setStart(0);
  note->setLength(120);
  note->setFlag(MEventFlag::kSelected, true);  // never stored
  attributes = makeRef<FAttributes>();
  ASSERT_TRUE(note->storeAttributes(*attributes));
  EXPECT_EQ(attributes->keys(), (std::vector<std::string>{"Start", "Length"}));
  fill(*note, 1);
  attributes = makeRef<FAttributes>();
  ASSERT_TRUE(note->storeAttributes(*attributes));
  EXPECT_EQ(attributes->keys(), (std::vector<std::string>{"Start", "Channel", "Data1", "Data2", "Flags", "ID", "Length",
                                                          "Initial Startoffset", "Initial Lengthoffset", "Data3"}));
  // Flags are ORed into those already set.
  auto other = makeRef<MMidiNote>();
  other->setFlag(MEventFlag::kSelected, true);
  ASSERT_TRUE(other->restoreAttributes(*attributes));
  EXPECT_EQ(other->getFlags(), MEventFlag::kSelected | MEventFlag::kMuted | MEventFlag::kLocked);
}

// Archive bytes of one record written at an older class version: the
// member bytes are cut down by hand and the class table's version patched.
std::vector<uint8_t> olderRecord(const MEvent& e, int16_t version, size_t keptMembers) {
  std::vector<uint8_t> bytes = test::archiveBytes(&e);
  // Header: magic, total, class count 1, name (32-bit length + text + NUL
  // as FStream writes it), first size, version, then the record: index,
  // member length, members.
  const std::string name = e.getClassName();
  size_t at = 12;
  uint32_t nameBytes = 0;
  for (int i = 0; i < 4; ++i) nameBytes |= uint32_t(bytes[at + i]) << (8 * i);
  at += 4 + nameBytes;
  const size_t versionAt = at + 4;
  const size_t record = versionAt + 2;
  const auto patch32 = [&bytes](size_t where, uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes[where + i] = static_cast<uint8_t>(value >> (8 * i));
  };
  bytes[versionAt] = static_cast<uint8_t>(version);
  bytes[versionAt + 1] = 0;
  bytes.resize(record + 6 + keptMembers);
  patch32(at, static_cast<uint32_t>(keptMembers));
  patch32(record + 2, static_cast<uint32_t>(keptMembers));
  patch32(4, static_cast<uint32_t>(bytes.size()));
  return bytes;
}

TEST_F(MidiEvents, OlderRecordsReadWhatTheirVersionHeld) {
  auto bend = makeRef<MMidiPitchBend>();
  fill(*bend, 2);
  bend->setValue(0x3FFF);
  // Version 0: start and three bytes only; the flags stay as constructed.
  FRef<MMidiPitchBend> v0 = test::readArchiveBytesAs<MMidiPitchBend>(olderRecord(*bend, 0, 8 + 3));
  ASSERT_TRUE(v0);
  EXPECT_EQ(fieldsOf(*v0), "MMidiPitchBend 98.5 2 127 127 0 0");
  EXPECT_EQ(v0->getValue(), 0x3FFF);
  FRef<MMidiPitchBend> v1 = test::readArchiveBytesAs<MMidiPitchBend>(olderRecord(*bend, 1, 8 + 3 + 2));
  ASSERT_TRUE(v1);
  EXPECT_EQ(fieldsOf(*v1), "MMidiPitchBend 98.5 2 127 127 3 0");
  // A version-0 note holds no note-off velocity.
  auto note = makeRef<MMidiNote>();
  fill(*note, 1);
  FRef<MMidiNote> n0 = test::readArchiveBytesAs<MMidiNote>(olderRecord(*note, 0, 8 + 3 + 2 + 4 + 24));
  ASSERT_TRUE(n0);
  EXPECT_EQ(fieldsOf(*n0), "MMidiNote 97.5 1 61 99 3 1001 240.25 -12.5 30 0");
  // Cut short, or a sysex claiming more bytes than its record holds: the
  // read fails.
  EXPECT_FALSE(test::readArchiveBytes(olderRecord(*note, 1, 8 + 3 + 2 + 4 + 24)));
  auto sysex = makeRef<MMidiSysex>();
  sysex->setBytes({0xF0, 0xF7});
  std::vector<uint8_t> bytes = test::archiveBytes(sysex.get());
  bytes[bytes.size() - 6] = 0xFF;  // the count's low byte
  EXPECT_FALSE(test::readArchiveBytes(bytes));
  // Every shorter record fails: start 8, three bytes, flags 2, ID 4, count
  // 4 and the two bytes make 23.
  ASSERT_TRUE(test::readArchiveBytes(olderRecord(*sysex, 2, 23)));
  for (size_t kept = 0; kept < 23; ++kept) EXPECT_FALSE(test::readArchiveBytes(olderRecord(*sysex, 2, kept))) << kept;
}

TEST_F(MidiEvents, PitchBendNotesAndSysexKeepTheirValues) {
  MMidiPitchBend bend;
  bend.setValue(0x2001);  // 0x2001 = 64 * 128 + 1
  EXPECT_EQ(bend.getData1(), 1);
  EXPECT_EQ(bend.getData2(), 64);
  bend.setValue(0xFFFF);
  EXPECT_EQ(bend.getValue(), 0x3FFF);
  MMidiNote note;
  note.setStart(100);
  note.setLength(50);
  note.setInitialStart(90);
  note.setInitialLength(60);
  EXPECT_EQ(note.getInitialStartOffset(), -10.0);
  EXPECT_EQ(note.getInitialLengthOffset(), 10.0);
  note.setStart(200);
  EXPECT_EQ(note.getInitialStart(), 190.0);
  MMidiSysex sysex;
  sysex.setBytes({0xF0, 0x0A, 0xF7});
  std::ostringstream text;
  sysex.dump(text);
  EXPECT_EQ(text.str(), "Data F0 0A F7 \n");
  EXPECT_EQ(sysex.getByte(1), 0x0A);
  EXPECT_EQ(sysex.getByte(3), 0);
  // 2 million notes have to fit well inside the import's memory budget.
  EXPECT_LE(sizeof(MMidiNote), 88u);
}

TEST_F(MidiEvents, StatusBytesMapToKindsAndBack) {
  struct Case {
    uint8_t status, data1, data2;
    const char* kind;
    MMidiMessage out;
  };
  const Case cases[] = {
      {0x93, 60, 100, "MMidiNote", {0x93, 60, 100, 3}},
      {0x83, 60, 40, "MMidiNote", {0x93, 60, 40, 3}},
      {0xA0, 61, 5, "MMidiPolyPressure", {0xA0, 61, 5, 3}},
      {0xBF, 7, 127, "MMidiController", {0xBF, 7, 127, 3}},
      {0xC1, 12, 99, "MMidiProgramChange", {0xC1, 12, 0, 2}},
      {0xD2, 33, 99, "MMidiAfterTouch", {0xD2, 33, 0, 2}},
      {0xEE, 0x7F, 0x3F, "MMidiPitchBend", {0xEE, 0x7F, 0x3F, 3}},
  };
  for (const Case& c : cases) {
    FRef<MMidiEvent> e = makeMidiEvent(c.status, c.data1, c.data2);
    ASSERT_TRUE(e);
    EXPECT_STREQ(e->getClassName(), c.kind);
    EXPECT_EQ(e->getChannel(), c.status & 0x0F);
    const auto message = midiMessageOf(*e);
    ASSERT_TRUE(message);
    EXPECT_EQ(std::vector<int>({message->status, message->data1, message->data2, message->size}),
              std::vector<int>({c.out.status, c.out.data1, c.out.data2, c.out.size}))
        << c.kind;
  }
  for (uint8_t status : {0x00, 0x7F, 0xF0, 0xF7, 0xFF}) EXPECT_FALSE(makeMidiEvent(status, 1, 2));
  EXPECT_FALSE(midiMessageOf(MMidiSysex()));
  auto note = refCast<MMidiNote>(makeMidiEvent(0x95, 64, 90));
  note->setData3(0xC0);  // only seven bits go out
  const MMidiMessage off = noteOffMessageOf(*note);
  EXPECT_EQ(std::vector<int>({off.status, off.data1, off.data2}), std::vector<int>({0x85, 64, 0x40}));
}

TEST_F(MidiEvents, SmfEventsKeepTypeAndDataAndNameTheirKinds) {
  auto meta = makeRef<MSmfEvent>(0x59, std::vector<uint8_t>{0xFE, 0x01});
  meta->setStart(1920);
  meta->setID(7);
  FRef<MSmfEvent> back = test::readArchiveBytesAs<MSmfEvent>(test::archiveBytes(meta.get()));
  ASSERT_TRUE(back);
  EXPECT_EQ(back->getMetaType(), 0x59);
  EXPECT_EQ(back->getData(), meta->getData());
  EXPECT_EQ(back->getStart(), 1920.0);
  EXPECT_EQ(back->getID(), 7u);
  auto attributes = makeRef<FAttributes>();
  ASSERT_TRUE(meta->storeAttributes(*attributes));
  auto restored = makeRef<MSmfEvent>(1, std::vector<uint8_t>{1, 2, 3});
  ASSERT_TRUE(restored->restoreAttributes(*attributes));
  EXPECT_EQ(restored->getMetaType(), 0x59);
  EXPECT_EQ(restored->getData(), meta->getData());
  EXPECT_STREQ(restored->getDisplayName(), "SMF:Key signature");
  // Known types by their names; a gap in the numbering and types past the
  // table are unknown.
  const std::pair<int, const char*> names[] = {{0, "SMF:Seq.Number"},
                                               {7, "SMF:Cue Point"},
                                               {0x08, "SMF:Unknown"},
                                               {0x7F, "SMF:Sequencer Specific"},
                                               {0xFF, "SMF:Unknown"}};
  for (const auto& [type, name] : names) EXPECT_STREQ(MSmfEvent::displayNameOf(static_cast<uint8_t>(type)), name);
}

// A MIDI track's new part is a MIDI part; a saved and reloaded project keeps
// the part's z-order and lane and every field of its events.
TEST_F(MidiEvents, MidiPartsOnATrackSurviveAProjectRoundTrip) {
  FRef<MRoot> root = MProject::createNew();
  ASSERT_TRUE(root);
  MProject& project = *root->getProject();
  FRef<MTrackEvent> track = MProject::createTrack("MIDI", "Keys");
  ASSERT_TRUE(project.addTrack(track));
  FRef<MPartEvent> part = track->createPart();
  auto* midiPart = dynamic_cast<MMidiPartEvent*>(part.get());
  ASSERT_NE(midiPart, nullptr);
  ASSERT_NE(dynamic_cast<MMidiPart*>(part->getNode()), nullptr);
  midiPart->setZOrder(-3);
  midiPart->setLane(2);
  part->setLength(1920);
  auto& list = static_cast<MPartNode*>(part->getNode())->list();
  std::vector<std::string> expected;
  int seed = 0;
  for (const char* name : kEventClasses) {
    FRef<MMidiEvent> e = makeByName(name);
    fill(*e, ++seed);
    e->setID(0);
    list.append(e);
  }
  list.append(makeRef<MSmfEvent>(3, std::vector<uint8_t>{'P', 'n'}));
  list.sortAfterAppend();
  ASSERT_TRUE(project.addPart(track.get(), part));
  std::function<std::string(const MEvent&)> describe = [](const MEvent& e) {
    const auto* midi = dynamic_cast<const MMidiEvent*>(&e);
    return midi != nullptr ? fieldsOf(*midi) : std::string(e.getClassName());
  };
  for (const auto& e : *part->getNode()->events()) expected.push_back(describe(*e));

  for (uint8_t trusted : {1, 0}) {
    setMidiPartsTrusted(trusted);
    bool ok = false;
    FRef<MRoot> loaded = test::readArchiveBytesAs<MRoot>(test::archiveBytes(root.get()), &ok);
    setMidiPartsTrusted(1);
    ASSERT_TRUE(ok && loaded);
    MTrackEvent* loadedTrack = loaded->getProject()->getTrackList()->at(0);
    ASSERT_EQ(loadedTrack->getNode()->events()->size(), 1u);
    auto* loadedPart = dynamic_cast<MMidiPartEvent*>(loadedTrack->getNode()->events()->at(0));
    ASSERT_NE(loadedPart, nullptr);
    EXPECT_EQ(loadedPart->getZOrder(), -3);
    EXPECT_EQ(loadedPart->getLane(), 2);
    EXPECT_EQ(loadedPart->hasFlag(MMidiPartEvent::kUnchecked), trusted == 0);
    std::vector<std::string> got;
    for (const auto& e : *loadedPart->getNode()->events()) got.push_back(describe(*e));
    EXPECT_EQ(got, expected);
    // The mark is not written: the part saves as it was read.
    auto again = test::readArchiveBytesAs<MRoot>(test::archiveBytes(loaded.get()));
    ASSERT_TRUE(again);
    EXPECT_FALSE(dynamic_cast<MMidiPartEvent*>(again->getProject()->getTrackList()->at(0)->getNode()->events()->at(0))
                     ->hasFlag(MMidiPartEvent::kUnchecked));
  }
  auto attributes = makeRef<FAttributes>();
  ASSERT_TRUE(midiPart->storeAttributes(*attributes));
  int64_t order = 0;
  EXPECT_TRUE(attributes->getInt("Z-Order", &order));
  EXPECT_EQ(order, -3);
}

}  // namespace
}  // namespace vantor
