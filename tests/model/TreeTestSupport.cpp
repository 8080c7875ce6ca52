#include "TreeTestSupport.h"

#include <gtest/gtest.h>

#include "foundation/FMemoryStream.h"
#include "foundation/FObjectArchive.h"
#include "model/MModelInit.h"
#include "model/tree/MFolderDataEvent.h"
#include "model/tree/MVirtualGroup.h"
#include "support/ArchiveBytes.h"

namespace vantor::treetest {

VANTOR_DEFINE_CLASS(TreeTestNote, MEvent, 0)

bool TreeTestNote::writeToArchive(FObjectArchive& archive) const {
  return MEvent::writeToArchive(archive) && archive.stream().writeInt32(pitch_);
}

bool TreeTestNote::readFromArchive(FObjectArchive& archive) {
  return MEvent::readFromArchive(archive) && archive.stream().readInt32(&pitch_);
}

void initializeTreeTests() {
  initializeModel();
  TreeTestNote::classDescriptor();
}

std::vector<uint8_t> saveArchive(const CmObject* root, bool* ok) { return test::archiveBytes(root, 0, ok); }

FRef<CmObject> loadArchive(const std::vector<uint8_t>& bytes, bool* ok) { return test::readArchiveBytes(bytes, ok); }

FRef<MPartEvent> makePart(const char* name, double start, int count) {
  auto part = makeRef<MPartEvent>();
  part->setName(name);
  part->setStart(start);
  part->setLength(120.0 * count);
  auto* content = static_cast<MPartNode*>(part->getNode());
  for (int i = 0; i < count; ++i) content->list().append(makeRef<TreeTestNote>(120.0 * i, 60, 36 + i % 12));
  content->list().sortAfterAppend();
  return part;
}

namespace {

MTrackEvent* addTrack(MProject& project, const char* kind, const char* name) {
  FRef<MTrackEvent> track = MProject::createTrack(kind, name);
  EXPECT_TRUE(track);
  EXPECT_TRUE(project.addTrack(track));
  return track.get();
}

}  // namespace

FRef<MRoot> buildSampleProject() {
  initializeTreeTests();
  FRef<MRoot> root = MProject::createNew();
  EXPECT_TRUE(root);
  MProject& project = *root->getProject();
  project.setWorkingDirectory("/tmp/songs");
  project.getAutoFadeSetting()->setFadeInOn(true);
  project.getAutoFadeSetting()->setFadeInLength(12.5);

  MTrackEvent* drums = addTrack(project, "MIDI", "Drums");
  FRef<MPartEvent> beat = makePart("Beat", 0, 4);
  EXPECT_TRUE(project.addPart(drums, beat));
  FRef<MEvent> alias = beat->clone();
  alias->setStart(7680);
  EXPECT_TRUE(project.addPart(drums, FRef<MPartEvent>(static_cast<MPartEvent*>(alias.detach()))));

  MTrackEvent* voice = addTrack(project, "Audio", "Voice");
  voice->setAttribute(MTrackAttribute::kSolo, 1);
  voice->setAttribute(MTrackAttribute::kColor, 5);
  auto take = makeRef<MAudioPartEvent>();
  take->setName("Take");
  take->setLength(960);
  static_cast<MPartNode*>(take->getNode())->list().insert(makeRef<TreeTestNote>(0, 480, 1));
  static_cast<MPartNode*>(take->getNode())->list().insert(makeRef<TreeTestNote>(480, 480, 2));
  EXPECT_TRUE(project.addPart(voice, take));

  auto* group = static_cast<MFolderTrack*>(addTrack(project, "Folder", "Group"));
  group->setAttribute(MTrackAttribute::kExpanded, 1);
  FRef<MTrackEvent> inner = MProject::createTrack("MIDI", "Inner");
  EXPECT_TRUE(group->getTrackList()->insert(inner));
  FRef<MPartEvent> riff = makePart("Riff", 3840, 3);
  EXPECT_TRUE(inner->getNode()->getWriteAccessor()->insert(riff));
  FRef<MEvent> alias2 = beat->clone();
  alias2->setStart(1920);
  EXPECT_TRUE(inner->getNode()->getWriteAccessor()->insert(alias2));
  project.registerEvent(group);

  auto* bus = static_cast<MDeviceTrackEvent*>(addTrack(project, "Group Channel", "Bus"));
  bus->getTrack()->setDevice({"Output 1", 2});
  bus->getTrack()->setHeight(80);
  bus->getTrack()->setDelay(-3.5);
  addTrack(project, "Video", "Clip");

  auto data = makeRef<MFolderDataTrack>();
  EXPECT_TRUE(data->ensureContent());
  data->setName("Data");
  auto entry = makeRef<MFolderDataEvent>();
  entry->setSourceTrackID(group->getID());
  entry->setLength(1920);
  EXPECT_TRUE(data->getNode()->getWriteAccessor()->insert(entry));
  EXPECT_TRUE(project.addTrack(data));

  MTrackEvent* sets = addTrack(project, "MIDI", "Sets");
  auto virtualGroup = makeRef<MVirtualGroup>();
  virtualGroup->setName("Pair");
  EXPECT_TRUE(virtualGroup->addMember(take.get()));
  EXPECT_TRUE(virtualGroup->addMember(riff.get()));
  auto placement = makeRef<MVirtualGroupEvent>();
  placement->setNode(virtualGroup);
  EXPECT_TRUE(sets->getNode()->getWriteAccessor()->insert(placement));
  project.registerEvent(placement.get());
  return root;
}

}  // namespace vantor::treetest
