// The project: a new project's parts, archive round trips, shared nodes,
// the root's back pointer, event IDs and the track list.

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "foundation/FMemoryStream.h"
#include "foundation/FObjectArchive.h"
#include "model/TreeTestSupport.h"
#include "model/tree/MFolderDataEvent.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/tree/MTrackList.h"
#include "model/tree/MVirtualGroup.h"

namespace vantor {
namespace {

using treetest::buildSampleProject;
using treetest::roundTrip;
using treetest::saveArchive;

using TreeProject = treetest::TreeTest;

MTrackEvent* trackNamed(MTrackList& list, const std::string& name) {
  for (size_t i = 0; i < list.count(); ++i) {
    if (list.at(i)->getName() == name) return list.at(i);
  }
  return nullptr;
}

TEST_F(TreeProject, CreateNewBuildsACompleteEmptyProject) {
  FRef<MRoot> root = MProject::createNew();
  ASSERT_TRUE(root);
  MProject* project = root->getProject();
  ASSERT_NE(project, nullptr);
  EXPECT_EQ(project->getRoot(), root.get());
  EXPECT_EQ(project->getTrackList()->count(), 0u);
  ASSERT_NE(project->getMarkerTrack(), nullptr);
  ASSERT_NE(project->getTempoTrack(), nullptr);
  ASSERT_NE(project->getSignatureTrack(), nullptr);
  EXPECT_TRUE(project->getTempoTrack()->getNode()->isClass("MTempoTrackNode"));
  EXPECT_TRUE(project->getSignatureTrack()->getNode()->isClass("MSignatureTrackNode"));
  // The default tempo and the default signature: one event each.
  EXPECT_EQ(project->getTempoTrack()->getNode()->events()->size(), 1u);
  EXPECT_EQ(project->getSignatureTrack()->getNode()->events()->size(), 1u);
  EXPECT_EQ(project->getMarkerTrack()->getNode()->events()->size(), 0u);
  EXPECT_EQ(project->getPool(), nullptr);
  EXPECT_EQ(project->getTempoTrack()->getParent(), project);

  // Every event has an ID of its own that finds it again.
  std::set<uint32_t> ids;
  int count = 0;
  project->forEachEvent([&](MEvent& event) {
    ++count;
    EXPECT_NE(event.getID(), 0u);
    ids.insert(event.getID());
    EXPECT_EQ(project->findEvent(event.getID()), &event);
  });
  EXPECT_EQ(count, 5);  // three tracks, the tempo event, the signature event
  EXPECT_EQ(ids.size(), 5u);
  EXPECT_GT(project->eventIDs().nextID(), *ids.rbegin());
}

TEST_F(TreeProject, RoundTripKeepsTheContentAliasesAndGroups) {
  FRef<MRoot> original = buildSampleProject();
  FRef<MRoot> root = roundTrip(*original);
  MProject* project = root->getProject();
  ASSERT_NE(project, nullptr);
  // roundTrip saved the copy to the same bytes; the fields of tracks and
  // settings are pinned in TreeTrackTest. What follows is the structure the
  // bytes cannot show: order, parents, shared nodes, IDs found again.
  MTrackList& tracks = *project->getTrackList();
  const std::vector<std::string> names = {"Drums", "Voice", "Group", "Bus", "Clip", "Data", "Sets"};
  ASSERT_EQ(tracks.count(), names.size());
  for (size_t i = 0; i < names.size(); ++i) EXPECT_EQ(tracks.at(i)->getName(), names[i]);

  auto* group = dynamic_cast<MFolderTrack*>(tracks.at(2));
  ASSERT_NE(group, nullptr);
  ASSERT_EQ(group->getTrackList()->count(), 1u);
  MTrackEvent* inner = group->getTrackList()->at(0);
  EXPECT_EQ(inner->getName(), "Inner");
  EXPECT_EQ(inner->getParent(), group->getTrackList());

  auto* data = tracks.at(5)->getNode()->events()->at(0);
  EXPECT_EQ(static_cast<MFolderDataEvent*>(data)->getSourceTrackID(), group->getID());
  EXPECT_EQ(project->findEvent(group->getID()), group);

  // Aliased parts stay shared.
  MEventContainer& drums = *trackNamed(tracks, "Drums")->getNode()->events();
  ASSERT_EQ(drums.size(), 2u);
  EXPECT_EQ(drums.at(0)->getStart(), 0);
  EXPECT_EQ(drums.at(1)->getStart(), 7680);
  EXPECT_NE(drums.at(0), drums.at(1));
  EXPECT_EQ(drums.at(0)->getNode(), drums.at(1)->getNode());
  MEventContainer& innerParts = *inner->getNode()->events();
  ASSERT_EQ(innerParts.size(), 2u);
  EXPECT_EQ(innerParts.at(0)->getStart(), 1920);  // the alias sorts before "Riff" at 3840
  EXPECT_EQ(innerParts.at(0)->getNode(), drums.at(0)->getNode());
  // The shared content: four notes, one node held by three parts.
  EXPECT_EQ(drums.at(0)->getNode()->events()->size(), 4u);
  EXPECT_EQ(drums.at(0)->getNode()->getRefCount(), 3);

  // The virtual group finds its members again.
  MEvent* placement = trackNamed(tracks, "Sets")->getNode()->events()->at(0);
  auto* vgroup = static_cast<MVirtualGroupEvent*>(placement)->getGroup();
  ASSERT_NE(vgroup, nullptr);
  EXPECT_EQ(vgroup->getName(), "Pair");
  ASSERT_EQ(vgroup->memberCount(), 2u);
  EXPECT_EQ(static_cast<MPartEvent*>(vgroup->memberAt(0))->getName(), "Take");
  EXPECT_EQ(static_cast<MPartEvent*>(vgroup->memberAt(1))->getName(), "Riff");
  EXPECT_EQ(vgroup->memberAt(0)->getParent(), trackNamed(tracks, "Voice")->getNode());
}

TEST_F(TreeProject, RootAndProjectLinkWithoutACycle) {
  FRef<MRoot> root = roundTrip(*buildSampleProject());
  MProject* project = root->getProject();
  ASSERT_NE(project, nullptr);
  EXPECT_EQ(project->getRoot(), root.get());
  // Only our reference holds the root, only the root holds the project: the
  // back reference read under "Event" was given up.
  EXPECT_EQ(root->getRefCount(), 1);
  EXPECT_EQ(project->getRefCount(), 1);
  // Replacing the root's node unlinks the old project.
  FRef<MProject> kept = FRef<MProject>::share(project);
  root->setNode(makeRef<MProject>());
  EXPECT_EQ(kept->getRoot(), nullptr);
  EXPECT_EQ(root->getProject()->getRoot(), root.get());
}

TEST_F(TreeProject, ProjectWrittenAloneReadsWithoutItsRoot) {
  FRef<MRoot> root = buildSampleProject();
  bool ok = false;
  const auto bytes = saveArchive(root->getProject(), &ok);
  ASSERT_TRUE(ok);
  FRef<MProject> project = treetest::loadAs<MProject>(bytes);
  ASSERT_TRUE(project);
  // The root record was read and dropped; the project does not point at it.
  EXPECT_EQ(project->getRoot(), nullptr);
  EXPECT_EQ(project->getTrackList()->count(), 7u);
}

TEST_F(TreeProject, EventIDsSurviveARoundTrip) {
  FRef<MRoot> original = buildSampleProject();
  std::map<uint32_t, std::string> before;
  original->getProject()->forEachEvent(
      [&before](MEvent& e) { before.emplace(e.getID(), std::string(e.getClassName())); });
  FRef<MRoot> root = roundTrip(*original);
  std::map<uint32_t, std::string> after;
  MProject* project = root->getProject();
  project->forEachEvent([&](MEvent& e) {
    after.emplace(e.getID(), std::string(e.getClassName()));
    EXPECT_EQ(project->findEvent(e.getID()), &e);
  });
  EXPECT_EQ(before, after);
  EXPECT_EQ(project->eventIDs().nextID(), original->getProject()->eventIDs().nextID());
  EXPECT_EQ(project->findEvent(0), nullptr);
  EXPECT_EQ(project->findEvent(project->eventIDs().nextID()), nullptr);
}

TEST_F(TreeProject, RepeatedAndMissingIDsGetFreshOnes) {
  FRef<MRoot> root = buildSampleProject();
  MProject& project = *root->getProject();
  std::vector<MEvent*> events;
  project.forEachEvent([&events](MEvent& e) { events.push_back(&e); });
  ASSERT_GE(events.size(), 4u);
  // Damage: the third event repeats the second's ID, the fourth has none;
  // the first takes a free ID above all others, so that the IDs no longer
  // follow the tree's order.
  const uint32_t shared = events[1]->getID();
  events[2]->setID(shared);
  events[3]->setID(0);
  const uint32_t above = project.eventIDs().nextID() + 50;
  events[0]->setID(above);
  const uint32_t next = above + 1;
  project.assignEventIDs();
  EXPECT_EQ(events[0]->getID(), above);
  EXPECT_EQ(project.findEvent(above), events[0]);
  EXPECT_EQ(events[1]->getID(), shared);  // the first holder in tree order keeps it
  EXPECT_EQ(project.findEvent(shared), events[1]);
  EXPECT_GE(events[2]->getID(), next);
  EXPECT_GE(events[3]->getID(), next);
  EXPECT_NE(events[2]->getID(), events[3]->getID());
  std::set<uint32_t> ids;
  for (MEvent* e : events) ids.insert(e->getID());
  EXPECT_EQ(ids.size(), events.size());
}

TEST_F(TreeProject, RegisteringKeepsAFreeIDAndReplacesATakenOne) {
  FRef<MRoot> root = MProject::createNew();
  MProject& project = *root->getProject();
  const uint32_t next = project.eventIDs().nextID();
  auto kept = makeRef<MFolderDataEvent>();
  kept->setID(next + 100);  // free: kept, and the counter moves above it
  EXPECT_EQ(project.registerEvent(kept.get()), next + 100);
  EXPECT_EQ(project.eventIDs().nextID(), next + 101);
  auto clash = makeRef<MFolderDataEvent>();
  clash->setID(next + 100);  // taken by another event: a fresh one
  EXPECT_EQ(project.registerEvent(clash.get()), next + 101);
  EXPECT_EQ(project.findEvent(next + 100), kept.get());
  // Registering again changes nothing.
  EXPECT_EQ(project.registerEvent(kept.get()), next + 100);
}

TEST_F(TreeProject, TrackListKeepsTheUsersOrder) {
  auto list = makeRef<MTrackList>();
  std::vector<FRef<MTrackEvent>> tracks;
  for (const char* name : {"A", "B", "C", "D"}) {
    tracks.push_back(MProject::createTrack("Audio", name));
    EXPECT_TRUE(list->insert(tracks.back()));
  }
  auto order = [&list] {
    std::string text;
    for (size_t i = 0; i < list->count(); ++i) text += list->at(i)->getName();
    return text;
  };
  EXPECT_EQ(order(), "ABCD");
  EXPECT_FALSE(list->insert(tracks[0]));  // already there
  EXPECT_TRUE(list->move(tracks[3].get(), 0));
  EXPECT_EQ(order(), "DABC");
  EXPECT_TRUE(list->move(tracks[3].get(), 99));  // past the end: the last place
  EXPECT_EQ(order(), "ABCD");
  EXPECT_TRUE(list->move(tracks[0].get(), 2));
  EXPECT_EQ(order(), "BCAD");
  EXPECT_EQ(list->remove(tracks[2].get()), tracks[2]);
  EXPECT_EQ(tracks[2]->getParent(), nullptr);
  EXPECT_EQ(order(), "BAD");
  EXPECT_FALSE(list->remove(tracks[2].get()));
  EXPECT_FALSE(list->move(tracks[2].get(), 0));

  // Through accessors: the read accessor refuses, the write accessor places.
  FRef<MAccessor> reader = list->getReadAccessor();
  EXPECT_FALSE(reader->insert(tracks[2]));
  FRef<MAccessor> writer = list->getWriteAccessor();
  auto* trackWriter = static_cast<MTrackListAccessor*>(writer.get());
  EXPECT_TRUE(trackWriter->insertAt(tracks[2], 1));
  EXPECT_EQ(order(), "BCAD");
  EXPECT_EQ(writer->indexOf(tracks[2].get()), 1u);
  EXPECT_FALSE(writer->insert(makeRef<MPartEvent>()));  // not a track
  EXPECT_TRUE(writer->remove(tracks[0].get()));
  EXPECT_EQ(order(), "BCD");
  list->setReadOnly(true);
  EXPECT_FALSE(list->getWriteAccessor());
}

TEST_F(TreeProject, AddPartRefusesWhatATrackCannotHold) {
  FRef<MRoot> root = MProject::createNew();
  MProject& project = *root->getProject();
  auto folder = MProject::createTrack("Folder", "F");
  ASSERT_TRUE(project.addTrack(folder));
  EXPECT_FALSE(project.addPart(folder.get(), treetest::makePart("P", 0, 1)));
  auto midi = MProject::createTrack("MIDI", "M");
  ASSERT_TRUE(project.addTrack(midi, 0));
  EXPECT_EQ(project.getTrackList()->at(0), midi.get());
  midi->getNode()->setReadOnly(true);
  EXPECT_FALSE(project.addPart(midi.get(), treetest::makePart("P", 0, 1)));
  midi->getNode()->setReadOnly(false);
  FRef<MPartEvent> part = treetest::makePart("P", 0, 3);
  EXPECT_TRUE(project.addPart(midi.get(), part));
  // The part and its notes have IDs.
  EXPECT_EQ(project.findEvent(part->getID()), part.get());
  for (const auto& note : *part->getNode()->events()) EXPECT_EQ(project.findEvent(note->getID()), note.get());
  EXPECT_FALSE(project.addPart(nullptr, part));
}

// A thousand tracks with a thousand notes each: bulk loading appends and
// sorts once per part, and the ID table appends in ID order.
TEST_F(TreeProject, AMillionEventsLoadInBulk) {
  FRef<MRoot> root = MProject::createNew();
  MProject& project = *root->getProject();
  MEvent* last = nullptr;
  for (int t = 0; t < 1000; ++t) {
    FRef<MTrackEvent> track = MProject::createTrack("MIDI", "T" + std::to_string(t));
    ASSERT_TRUE(project.addTrack(track));
    auto part = makeRef<MPartEvent>();
    part->setName("Part");  // gives the part its node
    part->setLength(120000);
    auto& list = static_cast<MPartNode*>(part->getNode())->list();
    // Notes arrive in reverse: the single sort puts them in order.
    for (int i = 999; i >= 0; --i) list.append(makeRef<treetest::TreeTestNote>(120.0 * i, 60, 60));
    list.sortAfterAppend();
    last = list.at(999);
    ASSERT_TRUE(project.addPart(track.get(), part));
  }
  size_t count = 0;
  project.forEachEvent([&count](MEvent&) { ++count; });
  EXPECT_EQ(count, 5u + 1000u * (1u + 1u + 1000u));
  EXPECT_EQ(project.findEvent(last->getID()), last);
  EXPECT_EQ(last->getStart(), 120.0 * 999);
  EXPECT_EQ(project.eventIDs().size(), count);

  // Saved and read back whole, with every ID in place.
  FRef<MRoot> loaded = roundTrip(*root);
  MProject& copy = *loaded->getProject();
  ASSERT_EQ(copy.getTrackList()->count(), 1000u);
  MEvent* found = copy.findEvent(last->getID());
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->getStart(), 120.0 * 999);
  EXPECT_EQ(copy.eventIDs().size(), count);
}

}  // namespace
}  // namespace vantor
