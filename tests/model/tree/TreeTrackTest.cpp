// Tracks: the track attribute set, MTrack, device tracks, folder
// attributes and the automatic fade settings.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "foundation/FAttributes.h"
#include "model/TreeTestSupport.h"
#include "model/tree/MAutoFadeSetting.h"
#include "model/tree/MTrack.h"
#include "model/tree/MTrackEvent.h"
#include "model/tree/MTrackList.h"

namespace vantor {
namespace {

using treetest::loadArchive;
using treetest::saveArchive;

using TreeTrack = treetest::TreeTest;
using treetest::roundTrip;

bool containsWord(const std::vector<uint8_t>& bytes, uint32_t word) {
  // The stream is little-endian: the lowest byte comes first.
  const uint8_t pattern[4] = {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8),
                              static_cast<uint8_t>(word >> 16), static_cast<uint8_t>(word >> 24)};
  return std::search(bytes.begin(), bytes.end(), pattern, pattern + 4) != bytes.end();
}

TEST_F(TreeTrack, AttributeCodesHoldTheLettersFirstLetterHighest) {
  // 'E' 0x45, 'x' 0x78, 'p' 0x70, 'd' 0x64. The other codes are spelt the
  // same way; their letters are checked by name in AttributesStoreUnderTheirCodes.
  EXPECT_EQ(MTrackAttribute::kExpanded, 0x45787064u);
}

TEST_F(TreeTrack, OnlyAttributesOffTheirDefaultAreWritten) {
  auto track = MProject::createTrack("Audio", "A");
  track->setAttribute(MTrackAttribute::kSolo, 1);
  track->setAttribute(MTrackAttribute::kColor, 7);
  track->setAttribute(MTrackAttribute::kColor, 0);  // back to the default: dropped
  track->setAttribute(MTrackAttribute::kControl, -3);
  ASSERT_EQ(track->attributes().size(), 2u);
  const auto bytes = saveArchive(track.get());
  EXPECT_TRUE(containsWord(bytes, MTrackAttribute::kSolo));
  EXPECT_TRUE(containsWord(bytes, MTrackAttribute::kControl));
  EXPECT_FALSE(containsWord(bytes, MTrackAttribute::kColor));
  // Missing codes read as their defaults.
  FRef<MTrackEvent> loaded = roundTrip(*track);
  EXPECT_EQ(loaded->getAttribute(MTrackAttribute::kSolo), 1);
  EXPECT_EQ(loaded->getAttribute(MTrackAttribute::kControl), -3);
  EXPECT_EQ(loaded->getAttribute(MTrackAttribute::kColor), 0);
  EXPECT_FALSE(loaded->hasAttribute(MTrackAttribute::kColor));
  EXPECT_FALSE(loaded->isExpanded());
  EXPECT_FALSE(loaded->isTrackSelected());
  EXPECT_EQ(loaded->getName(), "A");
  // Codes the program does not know are kept too.
  track->setAttribute(fourCC("Zoom"), 4);
  EXPECT_EQ(roundTrip(*track)->getAttribute(fourCC("Zoom")), 4);
}

TEST_F(TreeTrack, AttributesStoreUnderTheirCodes) {
  auto track = MProject::createTrack("MIDI", "M");
  track->setAttribute(MTrackAttribute::kSelected, 1);
  track->setAttribute(MTrackAttribute::kEditEnabled, 1);
  auto attributes = makeRef<FAttributes>();
  ASSERT_TRUE(track->storeAttributes(*attributes));
  int64_t value = 0;
  EXPECT_TRUE(attributes->getInt("Slct", &value));
  EXPECT_EQ(value, 1);
  EXPECT_FALSE(attributes->contains("Solo"));
  EXPECT_TRUE(attributes->getObject("Track") != nullptr);
  auto copy = makeRef<MMidiTrackEvent>();
  ASSERT_TRUE(copy->restoreAttributes(*attributes));
  EXPECT_TRUE(copy->isTrackSelected());
  EXPECT_EQ(copy->getAttribute(MTrackAttribute::kEditEnabled), 1);
  EXPECT_EQ(copy->getTrack(), track->getTrack());
  EXPECT_EQ(copy->getName(), "M");  // the node came with the event attributes
}

// Rule: folder tracks persist "Expanded" and "Solo" by name, in project files
// as well as in attribute sets.
TEST_F(TreeTrack, FoldersStoreExpandedAndSoloByName) {
  for (const auto& [expanded, solo] : {std::pair{1, 0}, std::pair{0, 1}, std::pair{1, 1}}) {
    auto stored = MProject::createTrack("Folder", "F");
    stored->setAttribute(MTrackAttribute::kExpanded, expanded);
    stored->setAttribute(MTrackAttribute::kSolo, solo);
    // The archive carries both values after the attribute codes: 16-bit
    // words, little-endian, Expanded then Solo, which end the folder's record
    // and with it the archive.
    const auto bytes = saveArchive(stored.get());
    FRef<MTrackEvent> read = roundTrip(*stored);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->isExpanded(), expanded != 0);
    EXPECT_EQ(read->isSolo(), solo != 0);
    const uint8_t named[4] = {static_cast<uint8_t>(expanded), 0, static_cast<uint8_t>(solo), 0};
    ASSERT_GE(bytes.size(), 4u);
    EXPECT_TRUE(std::equal(named, named + 4, bytes.end() - 4));
  }
  auto folder = MProject::createTrack("Folder", "F");
  folder->setAttribute(MTrackAttribute::kExpanded, 1);
  auto attributes = makeRef<FAttributes>();
  ASSERT_TRUE(folder->storeAttributes(*attributes));
  int64_t value = -1;
  EXPECT_TRUE(attributes->getInt("Expanded", &value));
  EXPECT_EQ(value, 1);
  EXPECT_TRUE(attributes->getInt("Solo", &value));
  EXPECT_EQ(value, 0);
  // Named attributes alone restore the flags.
  auto named = makeRef<FAttributes>();
  named->setInt("Expanded", 0);
  named->setInt("Solo", 1);
  auto restored = makeRef<MFolderTrack>();
  restored->setAttribute(MTrackAttribute::kExpanded, 1);
  ASSERT_TRUE(restored->restoreAttributes(*named));
  EXPECT_FALSE(restored->isExpanded());
  EXPECT_TRUE(restored->isSolo());
}

TEST_F(TreeTrack, TrackSettingsRoundTripAndStayShared) {
  auto first = MProject::createTrack("Audio", "One");
  MTrack& settings = *first->getTrack();
  settings.setDevice({"Main Out", 3});
  settings.setHeight(120);
  settings.setDelay(12.25);
  settings.getAutomation()->setName("Lanes");
  // A second track event that shares the settings.
  FRef<MEvent> second = first->clone();
  auto list = makeRef<MTrackList>();
  ASSERT_TRUE(list->insert(first));
  ASSERT_TRUE(list->insert(FRef<MTrackEvent>(static_cast<MTrackEvent*>(second.detach()))));
  FRef<MTrackList> loaded = roundTrip(*list);
  ASSERT_EQ(loaded->count(), 2u);
  MTrack* track = loaded->at(0)->getTrack();
  EXPECT_EQ(loaded->at(1)->getTrack(), track);
  EXPECT_EQ(track->getDevice(), (MTrackDevice{"Main Out", 3}));
  EXPECT_EQ(track->getHeight(), 120);
  EXPECT_EQ(track->getDelay(), 12.25);
  EXPECT_EQ(track->getAutomation()->getName(), "Lanes");
}

TEST_F(TreeTrack, VersionZeroTracksHaveNoStoredAutomation) {
  auto track = makeRef<MTrack>();
  track->setHeight(64);
  track->getAutomation()->setName("Stored");
  auto bytes = saveArchive(track.get());
  // The class table entry: "MTrack" with its NUL, the 32-bit first size,
  // then the 16-bit version, which we set to 0.
  const char name[] = "MTrack";
  auto at = std::search(bytes.begin(), bytes.end(), name, name + sizeof(name));
  ASSERT_NE(at, bytes.end());
  const size_t version = static_cast<size_t>(at - bytes.begin()) + sizeof(name) + 4;
  ASSERT_EQ(bytes[version], 1);
  bytes[version] = 0;
  FRef<MTrack> old = treetest::loadAs<MTrack>(bytes);
  ASSERT_TRUE(old);
  EXPECT_EQ(old->getHeight(), 64);
  ASSERT_NE(old->getAutomation(), nullptr);
  EXPECT_EQ(old->getAutomation()->getName(), "Automation");  // the fresh node, not the stored one
}

TEST_F(TreeTrack, DeviceTracksKeepTheirKind) {
  MDeviceTrackEvent master(MDeviceKind::kMasterAutomation);
  ASSERT_TRUE(master.ensureContent());
  EXPECT_EQ(roundTrip(master)->getDeviceKind(), MDeviceKind::kMasterAutomation);
  auto attributes = makeRef<FAttributes>();
  attributes->setInt("Device Kind", 77);  // unknown: a plain device
  MDeviceTrackEvent other(MDeviceKind::kGroupChannel);
  ASSERT_TRUE(other.restoreAttributes(*attributes));
  EXPECT_EQ(other.getDeviceKind(), MDeviceKind::kDevice);
}

TEST_F(TreeTrack, NamesLiveInTheNode) {
  auto track = makeRef<MVideoTrackEvent>();
  EXPECT_EQ(track->getName(), "");
  EXPECT_EQ(track->getNode(), nullptr);
  track->setName("Film");  // makes the node of its kind
  ASSERT_NE(track->getNode(), nullptr);
  EXPECT_EQ(track->getNode()->getName(), "Film");
  EXPECT_NE(track->getTrack(), nullptr);
}

TEST_F(TreeTrack, AutoFadeSettingsRoundTrip) {
  MAutoFadeSetting fades;
  EXPECT_FALSE(fades.isFadeInOn());
  EXPECT_EQ(fades.getFadeOutLength(), 1.0);
  fades.setFadeOutOn(true);
  fades.setFadeOutLength(250);
  fades.setFadeOutCurve(MFadeCurve::kSine);
  fades.setFadeInCurve(MFadeCurve::kExponential);
  EXPECT_TRUE(*roundTrip(fades) == fades);
  auto attributes = makeRef<FAttributes>();
  ASSERT_TRUE(fades.storeAttributes(*attributes));
  MAutoFadeSetting restored;
  ASSERT_TRUE(restored.restoreAttributes(*attributes));
  EXPECT_TRUE(restored == fades);
}

TEST_F(TreeTrack, NegativeFadeLengthFailsTheRead) {
  MAutoFadeSetting fades;
  fades.setFadeInLength(-5);
  bool ok = false;
  const auto bytes = saveArchive(&fades, &ok);
  ASSERT_TRUE(ok);
  FRef<CmObject> loaded = loadArchive(bytes, &ok);
  EXPECT_FALSE(loaded);
}

}  // namespace
}  // namespace vantor
