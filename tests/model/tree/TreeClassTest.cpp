// Class identity of the project tree: creation by name, base chains, class
// versions, the "Root of Engine" alias and the category registries.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/FClass.h"
#include "foundation/FClassRegistry.h"
#include "model/TreeTestSupport.h"
#include "model/tree/MContext.h"
#include "model/tree/MEventController.h"
#include "model/tree/MFolderDataEvent.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"
#include "model/tree/MTrackEvent.h"
#include "model/tree/MTrackList.h"
#include "model/tree/MVirtualGroup.h"

namespace vantor {
namespace {

class TreeClass : public ::testing::Test {
 protected:
  void SetUp() override { treetest::initializeTreeTests(); }
};

std::vector<std::string> chainOf(const FClass& cls) {
  std::vector<std::string> chain;
  for (const FClass* c = &cls; c != nullptr; c = c->getBaseClass()) chain.emplace_back(c->getClassName());
  return chain;
}

TEST_F(TreeClass, BaseChainsFollowTheClassTable) {
  // Each row: the class and its chain up to the root, nearest base first; one
  // row per family (tracks, parts and roots, data nodes, accessors, controllers).
  const std::vector<std::vector<std::string>> table = {
      {"MFolderDataTrack", "MTrackEvent", "MEvent", "CmIDLink", "CmObject"},
      {"MRoot", "MGroupEvent", "MPartEvent", "MEvent", "CmIDLink", "CmObject"},
      {"MAudioPart", "MPartNode", "MListNode", "MDataNode", "GModel", "FShared", "CmObject"},
      {"MTrackList", "MDataNode", "GModel", "FShared", "CmObject"},
      {"MPartAccessor", "MListAccessor", "MAccessor", "FShared", "CmObject"},
      {"MPartController", "MEventController", "FShared", "CmObject"},
  };
  for (const auto& row : table) {
    const FClass* cls = FClassRegistry::instance().find(row[0]);
    ASSERT_NE(cls, nullptr) << row[0];
    EXPECT_EQ(chainOf(*cls), row) << row[0];
    for (const auto& name : row) EXPECT_TRUE(cls->isKindOf(name.c_str())) << row[0] << " kind of " << name;
    // A name that differs only in letter case is another name.
    std::string lower = row[0];
    lower[0] = 'm';
    EXPECT_FALSE(cls->isKindOf(lower.c_str())) << lower;
  }
  // Type tests on instances answer the same way.
  auto root = makeRef<MRoot>();
  EXPECT_TRUE(root->isKindOf("MGroupEvent"));
  EXPECT_TRUE(root->isKindOf("CmIDLink"));
  EXPECT_FALSE(root->isKindOf("MTrackEvent"));
  EXPECT_TRUE(root->isClass("MRoot"));
  EXPECT_FALSE(root->isClass("MGroupEvent"));
}

TEST_F(TreeClass, ClassVersionsAreThoseOfTheFormat) {
  const std::vector<std::pair<const char*, int>> versions = {
      {"MRoot", 5},        {"MTrackEvent", 2},      {"MTrack", 1},           {"MTempoTrackEvent", 1},
      {"MEvent", 1},       {"MAudioTrackEvent", 0}, {"MProject", 0},         {"MTrackList", 0},
      {"MPartEvent", 0},   {"MGroupEvent", 0},      {"MAutoFadeSetting", 0}, {"MSignatureTrackEvent", 0},
      {"MPartNode", 0},    {"MVirtualGroup", 0},    {"MFolderDataEvent", 0}, {"MAutomationNode", 0},
      {"MFolderTrack", 1},
  };
  for (const auto& [name, version] : versions) {
    const FClass* cls = FClassRegistry::instance().find(name);
    ASSERT_NE(cls, nullptr) << name;
    EXPECT_EQ(cls->getClassVersion(), version) << name;
  }
}

TEST_F(TreeClass, EveryRegisteredClassIsCreatableByName) {
  int created = 0;
  FClassRegistry::instance().forEach([&created](const FClass& cls) {
    if (cls.isAbstract()) {
      EXPECT_FALSE(FClassRegistry::instance().create(cls.getClassName())) << cls.getClassName();
      return;
    }
    FRef<CmObject> object = FClassRegistry::instance().create(cls.getClassName());
    ASSERT_TRUE(object) << cls.getClassName();
    // An alias creates objects of the class it names.
    if (!cls.isAlias()) {
      EXPECT_STREQ(object->getClassName(), cls.getClassName());
    }
    ++created;
  });
  EXPECT_GT(created, 25);
  for (const char* name : {"MEvent", "MTrackEvent", "MAccessor"}) {
    EXPECT_FALSE(FClassRegistry::instance().create(name)) << name;
  }
}

TEST_F(TreeClass, RootOfEngineCreatesARoot) {
  FRef<CmObject> object = FClassRegistry::instance().create("Root of Engine");
  ASSERT_TRUE(object);
  EXPECT_NE(dynamic_cast<MRoot*>(object.get()), nullptr);
  EXPECT_STREQ(object->getClassName(), "MRoot");
  EXPECT_STREQ(MRoot::classDescriptor().getStoredName(), "Root of Engine");
  EXPECT_STREQ(MRoot::classDescriptor().getClassName(), "MRoot");
}

TEST_F(TreeClass, TrackClassesCreateTracksOfTheirKind) {
  struct Row {
    const char* kind;
    const char* displayKey;
    const char* className;
  };
  const Row rows[] = {
      {"Audio", "Audio Track", "MAudioTrackEvent"},
      {"MIDI", "MIDI Track", "MMidiTrackEvent"},
      {"Marker", "Marker Track", "MMarkerTrackEvent"},
      {"Folder", "Folder Track", "MFolderTrack"},
      {"Video", "Video Track", "MVideoTrackEvent"},
      {"Group Channel", "Group Channel Track", "MDeviceTrackEvent"},
      {"Master Automation", "Master Automation Track", "MDeviceTrackEvent"},
  };
  const auto entries = MCategoryRegistry::instance().entries(MCategoryRegistry::kTrackClass);
  ASSERT_EQ(entries.size(), std::size(rows));
  for (size_t i = 0; i < std::size(rows); ++i) {
    EXPECT_EQ(entries[i].key, rows[i].kind);
    EXPECT_EQ(entries[i].displayKey, rows[i].displayKey);
    FRef<CmObject> object = MCategoryRegistry::instance().create(MCategoryRegistry::kTrackClass, rows[i].kind);
    ASSERT_TRUE(object) << rows[i].kind;
    EXPECT_STREQ(object->getClassName(), rows[i].className);
    auto* track = dynamic_cast<MTrackEvent*>(object.get());
    ASSERT_NE(track, nullptr);
    EXPECT_NE(track->getNode(), nullptr) << rows[i].kind;
    EXPECT_NE(track->getTrack(), nullptr) << rows[i].kind;
  }
  auto group = MProject::createTrack("Group Channel", "G");
  auto master = MProject::createTrack("Master Automation", "M");
  EXPECT_EQ(static_cast<MDeviceTrackEvent*>(group.get())->getDeviceKind(), MDeviceKind::kGroupChannel);
  EXPECT_EQ(static_cast<MDeviceTrackEvent*>(master.get())->getDeviceKind(), MDeviceKind::kMasterAutomation);
  EXPECT_TRUE(MProject::createTrack("Folder", "F")->getNode()->isKindOf("MTrackList"));
  EXPECT_FALSE(MProject::createTrack("Drums", "x"));
}

TEST_F(TreeClass, EventControllersAreFoundAlongTheClassChain) {
  const char* names[] = {
      "MAudioTrackEvent",  "MAudioEvent",       "MScoreEvent",     "MVideoTrackEvent",      "MVideoEvent",
      "MFolderTrack",      "MDeviceTrackEvent", "MMidiTrackEvent", "MMidiPartEvent",        "MMidiNote",
      "MMarkerTrackEvent", "MMarkerEvent",      "MPartEvent",      "MAutomationTrackEvent", "MParamEvent"};
  for (const char* name : names) {
    auto entry = MCategoryRegistry::instance().find(MCategoryRegistry::kEventController, name);
    ASSERT_TRUE(entry.has_value()) << name;
    FRef<CmObject> controller = entry->factory();
    ASSERT_TRUE(controller) << name;
    EXPECT_TRUE(controller->isKindOf("MEventController")) << name;
  }
  // A group event has no entry of its own: its base MPartEvent's serves.
  auto group = makeRef<MGroupEvent>();
  EXPECT_TRUE(MEventController::forEvent(*group)->isClass("MPartController"));
  // No class of the chain has one: a plain controller.
  auto entry = makeRef<MFolderDataEvent>();
  EXPECT_TRUE(MEventController::forEvent(*entry)->isClass("MEventController"));
}

TEST_F(TreeClass, CategoryEntriesReplaceByKeyAndSortByPriority) {
  // A category of this test only, so the shared ones stay as registered.
  MCategoryRegistry& registry = MCategoryRegistry::instance();
  const char* category = "TreeClassTest Category";
  registry.add(category, {"a", "A", 1, [] { return FRef<CmObject>(makeRef<MEventController>()); }});
  registry.add(category, {"b", "B", 5, [] { return FRef<CmObject>(makeRef<MEventController>()); }});
  registry.add(category, {"a", "A2", 9, [] { return FRef<CmObject>(makeRef<MPartController>()); }});
  const auto entries = registry.entries(category);
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].displayKey, "A2");
  EXPECT_EQ(entries[1].key, "b");
  EXPECT_TRUE(registry.create(category, "a")->isClass("MPartController"));
  EXPECT_FALSE(registry.create(category, "c"));
  EXPECT_FALSE(registry.find("no such category", "a").has_value());
}

}  // namespace
}  // namespace vantor
