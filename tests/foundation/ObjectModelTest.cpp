#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <thread>
#include <vector>

#include "foundation/CmIDLink.h"
#include "foundation/FAttributes.h"
#include "foundation/FClassRegistry.h"
#include "foundation/FDependencies.h"
#include "foundation/FInitializer.h"
#include "foundation/FRef.h"
#include "support/TestClasses.h"

namespace vantor {
namespace {

using test::TNode;

class ObjectModel : public ::testing::Test {
 protected:
  void SetUp() override { test::registerTestClasses(); }
};

// Counts deletions so lifetime tests can see destruction happen.
class Counted : public FShared {
 public:
  explicit Counted(int* deaths) : deaths_(deaths) {}
  ~Counted() override { ++*deaths_; }

 private:
  int* deaths_;
};

class CountedThread : public FThreadShared {
 public:
  explicit CountedThread(std::atomic<int>* deaths) : deaths_(deaths) {}
  ~CountedThread() override { ++*deaths_; }

 private:
  std::atomic<int>* deaths_;
};

TEST_F(ObjectModel, KindTestWalksTheBaseChainByExactName) {
  FRef<TNode> node = makeRef<TNode>();
  struct Case {
    const char* name;
    bool kind;
    bool isClass;
  } cases[] = {
      {"TNode", true, true},      {"FShared", true, false},        {"CmObject", true, false}, {"tnode", false, false},
      {"CMOBJECT", false, false}, {"FThreadShared", false, false}, {"TNode ", false, false},  {"", false, false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(node->isKindOf(c.name), c.kind) << c.name;
    EXPECT_EQ(node->isClass(c.name), c.isClass) << c.name;
  }
  EXPECT_STREQ(node->getClassName(), "TNode");
  EXPECT_EQ(&node->getClass(), &TNode::classDescriptor());
  EXPECT_EQ(node->getClass().getClassVersion(), 3);
}

TEST_F(ObjectModel, SharedObjectLivesUntilItsLastRelease) {
  int deaths = 0;
  auto* object = new Counted(&deaths);
  EXPECT_EQ(object->getRefCount(), 1);
  object->retain();
  EXPECT_EQ(object->getRefCount(), 2);
  object->release();
  EXPECT_EQ(deaths, 0);
  EXPECT_EQ(object->getRefCount(), 1);
  object->release();
  EXPECT_EQ(deaths, 1);
}

TEST_F(ObjectModel, PlainObjectReportsOneReferenceAndDiesOnRelease) {
  auto* plain = new CmObject;
  plain->retain();
  EXPECT_EQ(plain->getRefCount(), 1);
  EXPECT_FALSE(plain->isReferenceCounted());
  plain->release();  // deleted at once; ASan would report a leak otherwise
}

TEST_F(ObjectModel, ReferencePointerAdoptsRetainsAndReleases) {
  int deaths = 0;
  {
    FRef<Counted> a(new Counted(&deaths));
    EXPECT_EQ(a->getRefCount(), 1);
    FRef<Counted> b = a;
    EXPECT_EQ(a->getRefCount(), 2);
    FRef<Counted> c = std::move(b);
    EXPECT_EQ(a->getRefCount(), 2);
    EXPECT_FALSE(b);
    FRef<Counted> d = FRef<Counted>::share(a.get());
    EXPECT_EQ(a->getRefCount(), 3);
    d.reset();
    EXPECT_EQ(a->getRefCount(), 2);
  }
  EXPECT_EQ(deaths, 1);
}

TEST_F(ObjectModel, ThreadSharedCountsAtomically) {
  std::atomic<int> deaths{0};
  auto* object = new CountedThread(&deaths);
  constexpr int kThreads = 4;
  constexpr int kRounds = 20000;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([object] {
      for (int i = 0; i < kRounds; ++i) {
        object->retain();
        object->release();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(object->getRefCount(), 1);
  EXPECT_EQ(deaths.load(), 0);
  object->release();
  EXPECT_EQ(deaths.load(), 1);
}

TEST_F(ObjectModel, CompareAndHashFollowAddresses) {
  CmObject objects[2];
  CmObject& low = objects[0];
  CmObject& high = objects[1];
  EXPECT_EQ(low.compare(&low), 0);
  EXPECT_EQ(high.compare(&low), 1);  // other lies below this one
  EXPECT_EQ(low.compare(&high), -1);
  EXPECT_TRUE(low.isEqual(&low));
  EXPECT_FALSE(low.isEqual(&high));
  EXPECT_EQ(low.hash(97), low.hash(97));
  EXPECT_LT(low.hash(97), 97);
}

TEST_F(ObjectModel, RegistryCreatesByNameAndRefusesUnknownAndAbstract) {
  FClassRegistry& registry = FClassRegistry::instance();
  EXPECT_EQ(FClassRegistry::global(), &registry);
  FRef<CmObject> node(registry.create("TNode"));
  ASSERT_TRUE(node);
  EXPECT_TRUE(node->isClass("TNode"));
  EXPECT_FALSE(registry.create("tnode"));
  EXPECT_FALSE(registry.create("NoSuchClass"));
  EXPECT_FALSE(registry.create("FShared"));  // abstract
  EXPECT_FALSE(registry.create(""));
}

TEST_F(ObjectModel, RegistryKeepsNamesInByteOrder) {
  std::vector<std::string> names;
  FClassRegistry::instance().forEach([&](const FClass& c) { names.emplace_back(c.getClassName()); });
  ASSERT_GE(names.size(), 8u);
  for (size_t i = 1; i < names.size(); ++i) {
    EXPECT_LT(compareClassNames(names[i - 1].c_str(), names[i].c_str()), 0) << names[i - 1] << " " << names[i];
  }
  // Upper case sorts before lower case, and bytes above 127 after ASCII.
  EXPECT_LT(compareClassNames("Zeta", "alpha"), 0);
  EXPECT_GT(compareClassNames("\xC3\xA9t\xC3\xA9", "zz"), 0);
}

TEST_F(ObjectModel, AttributesAliasCreatesAttributeSets) {
  const FClass* alias = FClassRegistry::instance().find("Attributes");
  ASSERT_NE(alias, nullptr);
  EXPECT_TRUE(alias->isAlias());
  EXPECT_STREQ(alias->getStoredName(), "Attributes");
  EXPECT_STREQ(FAttributes::classDescriptor().getStoredName(), "Attributes");
  EXPECT_STREQ(FAttributes::classDescriptor().getClassName(), "FAttributes");
  FRef<CmObject> created(FClassRegistry::instance().create("Attributes"));
  ASSERT_TRUE(created);
  EXPECT_TRUE(created->isClass("FAttributes"));
}

TEST_F(ObjectModel, RestoreFromAttributesCreatesByNameOrReleasesWhatFailed) {
  // TTrailing restores only from a set holding "value"; TNode never does.
  struct Row {
    const char* setClass;
    const char* defaultClass;
    bool withValue;
    bool restored;
  } rows[] = {
      {"TTrailing", "", true, true},
      {"", "TTrailing", true, true},  // the default name applies to a set naming none
      {"TTrailing", "", false, false},
      {"TNode", "", true, false},
      {"NoSuchClass", "TTrailing", true, false},  // the set's own name wins
      {"", "NoSuchClass", true, false},
  };
  for (const Row& row : rows) {
    FRef<FAttributes> set = makeRef<FAttributes>(row.setClass);
    if (row.withValue) set->setInt("value", 42);
    FAttributes* held = set.get();
    held->retain();  // to see the registry drop its reference
    FRef<CmObject> object = FClassRegistry::instance().restore(std::move(set), row.defaultClass);
    EXPECT_EQ(held->getRefCount(), 1) << row.setClass << "/" << row.defaultClass;
    held->release();
    ASSERT_EQ(static_cast<bool>(object), row.restored) << row.setClass << "/" << row.defaultClass;
    if (row.restored) {
      EXPECT_EQ(dynamic_cast<test::TTrailing&>(*object).value, 42);
    }
  }
}

TEST_F(ObjectModel, AttributeSetKeepsKindsAndOrder) {
  FRef<FAttributes> set = makeRef<FAttributes>("Thing");
  set->setInt("b", -5);
  set->setFloat("a", 0.25);
  set->setString("c", "text");
  set->setBytes("d", {1, 2, 3});
  set->setInt("b", 9);  // replaces in place
  EXPECT_EQ(set->keys(), (std::vector<std::string>{"b", "a", "c", "d"}));
  int64_t i = -1;
  double f = -1;
  std::string s = "x";
  EXPECT_TRUE(set->getInt("b", &i));
  EXPECT_EQ(i, 9);
  EXPECT_TRUE(set->getFloat("b", &f));  // integers read as floats
  EXPECT_EQ(f, 9.0);
  EXPECT_FALSE(set->getInt("a", &i));  // wrong kind
  EXPECT_EQ(i, 0);
  EXPECT_FALSE(set->getString("missing", &s));
  EXPECT_EQ(s, "");
  EXPECT_TRUE(set->remove("a"));
  EXPECT_FALSE(set->contains("a"));
}

class Listener : public CmObject {
 public:
  std::vector<std::pair<CmObject*, int>> heard;
  using CmObject::update;
  void update(CmObject* sender, int message) override { heard.emplace_back(sender, message); }
};

TEST_F(ObjectModel, DependentsHearChangesUntilRemoved) {
  TNode subject;
  Listener a;
  Listener b;
  EXPECT_TRUE(subject.addDependent(&a));
  EXPECT_FALSE(subject.addDependent(&a));  // already linked
  EXPECT_TRUE(subject.addDependent(&b));
  EXPECT_FALSE(FDependencies::instance().add(nullptr, &a));
  EXPECT_FALSE(FDependencies::instance().add(&subject, nullptr));
  subject.changed(7);
  ASSERT_EQ(a.heard.size(), 1u);
  EXPECT_EQ(a.heard[0], std::make_pair(static_cast<CmObject*>(&subject), 7));
  EXPECT_TRUE(subject.removeDependent(&a));
  EXPECT_FALSE(subject.removeDependent(&a));
  subject.changed(8);
  EXPECT_EQ(a.heard.size(), 1u);
  EXPECT_EQ(b.heard.size(), 2u);
  EXPECT_EQ(FDependencies::instance().dependentCount(&subject), 1u);
}

TEST_F(ObjectModel, DeferredChangesArriveOnceWhenDelivered) {
  TNode subject;
  Listener listener;
  ASSERT_TRUE(subject.addDependent(&listener));
  subject.deferChanged(1);
  subject.deferChanged(1);  // collapses with the first
  subject.deferChanged(2);
  EXPECT_TRUE(listener.heard.empty());
  EXPECT_EQ(FDependencies::instance().deliverDeferred(), 2u);
  ASSERT_EQ(listener.heard.size(), 2u);
  EXPECT_EQ(listener.heard[0].second, 1);
  EXPECT_EQ(listener.heard[1].second, 2);
  EXPECT_EQ(FDependencies::instance().deliverDeferred(), 0u);
}

TEST_F(ObjectModel, DestroyedObjectsLeaveTheTable) {
  Listener listener;
  {
    TNode subject;
    ASSERT_TRUE(subject.addDependent(&listener));
    subject.deferChanged(3);
  }
  // The subject's queued notification and link went with it.
  EXPECT_EQ(FDependencies::instance().deliverDeferred(), 0u);
  TNode other;
  {
    Listener transient;
    ASSERT_TRUE(other.addDependent(&transient));
  }
  other.changed(4);  // would reach a dead listener if its link were kept
  EXPECT_EQ(FDependencies::instance().dependentCount(&other), 0u);
}

TEST_F(ObjectModel, InitializersRunByLevelThenOrderOnce) {
  std::vector<std::string> ran;
  FInitializer::add("test-late", FInitializer::kApplication, [&] { ran.push_back("late"); });
  FInitializer::add("test-early", FInitializer::kFoundation, [&] { ran.push_back("early"); });
  FInitializer::add("test-early", FInitializer::kFoundation, [&] { ran.push_back("again"); });
  FInitializer::runAll();
  FInitializer::runAll();
  EXPECT_EQ(ran, (std::vector<std::string>{"early", "late"}));
  std::vector<int> stopped;
  FTerminator::add("one", [&] { stopped.push_back(1); });
  FTerminator::add("two", [&] { stopped.push_back(2); });
  FTerminator::runAll();
  EXPECT_EQ(stopped, (std::vector<int>{2, 1}));
}

}  // namespace
}  // namespace vantor
