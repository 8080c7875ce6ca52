#include <gtest/gtest.h>

#include <chrono>
#include <vector>

#include "foundation/FAttributes.h"
#include "foundation/FMemoryStream.h"
#include "foundation/FObjectArchive.h"
#include "support/TestClasses.h"

namespace vantor {
namespace {

using Bytes = std::vector<uint8_t>;
using test::archiveBytes;
using test::readArchiveBytes;
using test::TNode;

class Archive : public ::testing::Test {
 protected:
  void SetUp() override { test::registerTestClasses(); }
};

FRef<TNode> node(int32_t value, std::string text = {}) {
  FRef<TNode> n = makeRef<TNode>();
  n->value = value;
  n->text = std::move(text);
  return n;
}

TNode* asNode(const FRef<CmObject>& object) { return dynamic_cast<TNode*>(object.get()); }

void appendLE32(Bytes& b, uint32_t v) {
  for (int i = 0; i < 4; ++i) b.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

// The attribute set at the root of an archive; null when the read failed or
// gave something else.
FRef<FAttributes> readSet(const Bytes& bytes, int16_t swap = 0) {
  bool ok = false;
  FRef<FAttributes> set = test::readArchiveBytesAs<FAttributes>(bytes, &ok, swap);
  EXPECT_TRUE(ok);
  return set;
}

// An archive header (total length 0, to be patched) whose class table holds
// "TNode" with the given first size and version 3 or 0.
Bytes tnodeHeader(uint32_t firstSize, uint8_t version) {
  Bytes bytes;
  appendLE32(bytes, 0x61526348);
  appendLE32(bytes, 0);
  appendLE32(bytes, 1);
  appendLE32(bytes, 6);
  for (char c : std::string("TNode")) bytes.push_back(static_cast<uint8_t>(c));
  bytes.push_back(0);
  appendLE32(bytes, firstSize);
  bytes.push_back(version);
  bytes.push_back(0);
  return bytes;
}

TEST_F(Archive, SmallArchiveHasTheExactBytes) {
  // root(1, "ab") with children [child(2, ""), null, child again].
  FRef<TNode> root = node(1, "ab");
  FRef<TNode> child = node(2);
  root->children = {child, nullptr, child};
  const Bytes expected = {
      0x48, 0x63, 0x52, 0x61,                              // magic 0x61526348
      87,   0,    0,    0,                                 // total: 39 header + 48 records
      2,    0,    0,    0,                                 // two classes
      6,    0,    0,    0,    'T', 'N', 'o', 'd', 'e', 0,  // "TNode"
      13,   0,    0,    0,                                 // first size: the child finishes first
      3,    0,                                             // version 3
      1,    0,    0,    0,    0,                           // "" (the null entry)
      0xFF, 0xFF, 0xFF, 0xFF, 0,   0,                      // first size -1, version 0
      0,    0,    42,   0,    0,   0,                      // root: class 0, 15 + 19 + 2 + 6 bytes
      1,    0,    0,    0,    3,   0,   0,   0,   'a', 'b', 0, 3, 0, 0,    0,
      0,    0,    13,   0,    0,   0,                                             // child: class 0, 13 bytes
      2,    0,    0,    0,    1,   0,   0,   0,   0,   0,   0, 0, 0, 0xFE, 0xFF,  // null
      0xFF, 0xFF, 2,    0,    0,   0,                                             // back reference to record 2
  };
  EXPECT_EQ(archiveBytes(root.get()), expected);
}

TEST_F(Archive, SharedObjectsCyclesAndNullsSurviveARoundTrip) {
  for (int16_t swap : {0, 1}) {
    FRef<TNode> root = node(1, "root");
    FRef<TNode> shared = node(2, "shared");
    FRef<TNode> loop = node(3, "loop");
    loop->children = {loop};  // a cycle through itself
    root->children = {shared, nullptr, loop, shared};
    shared->children = {loop};
    const Bytes bytes = archiveBytes(root.get(), swap);
    ASSERT_FALSE(bytes.empty());
    bool ok = false;
    FRef<CmObject> read = readArchiveBytes(bytes, &ok, swap);
    ASSERT_TRUE(ok);
    TNode* r = asNode(read);
    ASSERT_NE(r, nullptr);
    ASSERT_EQ(r->children.size(), 4u);
    EXPECT_EQ(r->children[1], nullptr);
    EXPECT_EQ(r->children[0].get(), r->children[3].get());
    EXPECT_EQ(r->children[0]->text, "shared");
    TNode* l = r->children[2].get();
    EXPECT_EQ(l->children[0].get(), l);
    EXPECT_EQ(r->children[0]->children[0].get(), l);
    // shared: two holders in root; loop: root, shared, and itself.
    EXPECT_EQ(r->children[0]->getRefCount(), 2);
    EXPECT_EQ(l->getRefCount(), 3);
    // Writing the read graph gives the same bytes.
    EXPECT_EQ(archiveBytes(r, swap), bytes);
    l->children.clear();  // break the cycle so the graph is freed
    loop->children.clear();
  }
}

TEST_F(Archive, ObjectThatFailsToWriteIsLeftOutAndTheRestIsWritten) {
  // A set holding first an unwritable object (which holds shared), then root
  // [a, null, b, shared]: the failing record and everything first written
  // inside it go, shared is then written in full inside root, and the loss
  // is named.
  FRef<TNode> root = node(1, "root");
  FRef<TNode> shared = node(4, "shared");
  FRef<test::TUnwritable> unwritable = makeRef<test::TUnwritable>();
  unwritable->member = shared;
  root->children = {node(2, "a"), nullptr, node(3, "b"), shared};
  FRef<FAttributes> holder = makeRef<FAttributes>("Holder");
  holder->setObject("lost", unwritable);
  holder->setObject("root", root);
  FMemoryStream stream;
  FObjectArchive writer(stream);
  ASSERT_TRUE(writer.writeArchive(holder.get()));
  EXPECT_EQ(writer.lostObjects(), (std::vector<std::string>{"TUnwritable"}));
  const Bytes bytes = stream.takeData();
  FRef<FAttributes> set = readSet(bytes);
  ASSERT_TRUE(set);
  EXPECT_EQ(set->getObject("lost"), nullptr);
  TNode* r = dynamic_cast<TNode*>(set->getObject("root"));
  ASSERT_NE(r, nullptr);
  ASSERT_EQ(r->children.size(), 4u);
  EXPECT_EQ(r->children[0]->text, "a");
  EXPECT_EQ(r->children[3]->text, "shared");
}

TEST_F(Archive, BackReferenceToAPlainObjectReadsAsNoObject) {
  // A plain object has one owner: its second appearance is written as a
  // back reference, which reads without failing but yields no object.
  FRef<test::TPlainHolder> holder = makeRef<test::TPlainHolder>();
  auto plain = makeRef<test::TPlain>();
  plain->value = 42;
  holder->second = plain.get();
  holder->owned = std::move(plain);
  bool ok = false;
  FRef<CmObject> read = readArchiveBytes(archiveBytes(holder.get()), &ok);
  ASSERT_TRUE(ok);
  auto* back = dynamic_cast<test::TPlainHolder*>(read.get());
  ASSERT_NE(back, nullptr);
  ASSERT_NE(dynamic_cast<test::TPlain*>(back->owned.get()), nullptr);
  EXPECT_EQ(dynamic_cast<test::TPlain*>(back->owned.get())->value, 42);
  EXPECT_TRUE(back->secondWasRead);
  EXPECT_EQ(back->second, nullptr);
}

TEST_F(Archive, ClassThatReadsLessLeavesTheStreamAfterItsRecord) {
  FRef<test::TTrailing> trailing = makeRef<test::TTrailing>();
  trailing->value = 77;
  FRef<FAttributes> holder = makeRef<FAttributes>("Holder");
  holder->setObject("t", trailing);
  holder->setInt("after", 123456789);
  FRef<FAttributes> set = readSet(archiveBytes(holder.get()));
  ASSERT_TRUE(set);
  auto* t = dynamic_cast<test::TTrailing*>(set->getObject("t"));
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(t->value, 77);
  int64_t after = 0;
  EXPECT_TRUE(set->getInt("after", &after));
  EXPECT_EQ(after, 123456789);
}

// Rewrites the first class name of an archive to one nobody registered.
Bytes renameClass(Bytes bytes, const std::string& from, const std::string& to) {
  EXPECT_EQ(from.size(), to.size());
  for (size_t i = 0; i + from.size() <= bytes.size(); ++i) {
    if (std::equal(from.begin(), from.end(), bytes.begin() + static_cast<long>(i))) {
      std::copy(to.begin(), to.end(), bytes.begin() + static_cast<long>(i));
      return bytes;
    }
  }
  return bytes;
}

TEST_F(Archive, UnknownClassesAreSkippedAndReadingGoesOn) {
  FRef<FAttributes> holder = makeRef<FAttributes>("Holder");
  FRef<test::TTrailing> trailing = makeRef<test::TTrailing>();
  holder->setObject("unknown", trailing);
  FRef<TNode> after = node(5, "after");
  holder->setObject("known", after);
  holder->setObject("again", after);
  // Same length, so every record length still fits.
  Bytes bytes = renameClass(archiveBytes(holder.get()), "TTrailing", "TXailing!");
  FRef<FAttributes> set = readSet(bytes);
  ASSERT_TRUE(set);
  EXPECT_EQ(set->getObject("unknown"), nullptr);
  auto* known = dynamic_cast<TNode*>(set->getObject("known"));
  ASSERT_NE(known, nullptr);
  EXPECT_EQ(known->text, "after");
  // The back reference still finds its record: numbering kept the skipped one.
  EXPECT_EQ(set->getObject("again"), known);
}

TEST_F(Archive, FailedReadOfOneObjectDropsItOnly) {
  FRef<FAttributes> holder = makeRef<FAttributes>("Holder");
  holder->setObject("broken", makeRef<test::TBroken>());
  holder->setString("text", "kept");
  FRef<FAttributes> set = readSet(archiveBytes(holder.get()));
  ASSERT_TRUE(set);
  EXPECT_EQ(set->getObject("broken"), nullptr);
  std::string text;
  EXPECT_TRUE(set->getString("text", &text));
  EXPECT_EQ(text, "kept");
}

TEST_F(Archive, ReaderLeavesTheStreamAtTheArchiveEnd) {
  FRef<TNode> root = node(9, "x");
  FMemoryStream stream;
  {
    FObjectArchive archive(stream);
    ASSERT_TRUE(archive.writeArchive(root.get()));
  }
  const int64_t archiveEnd = stream.position();
  ASSERT_TRUE(stream.writeInt32(0x55555555));
  ASSERT_TRUE(stream.seek(0));
  FObjectArchive archive(stream);
  bool ok = false;
  FRef<CmObject> read = archive.readArchive(&ok);
  ASSERT_TRUE(ok);
  EXPECT_EQ(stream.position(), archiveEnd);
}

TEST_F(Archive, ReaderSeeksToTheTotalLengthWhenRecordsEndEarly) {
  // A total length 8 bytes larger than header plus records: the reader ends there.
  FRef<TNode> root = node(1);
  Bytes bytes = archiveBytes(root.get());
  const uint32_t total = static_cast<uint32_t>(bytes.size()) + 8;
  for (int i = 0; i < 4; ++i) bytes[4 + i] = static_cast<uint8_t>(total >> (8 * i));
  bytes.resize(bytes.size() + 8, 0xEE);
  FMemoryStream stream(bytes);
  FObjectArchive archive(stream);
  bool ok = false;
  FRef<CmObject> read = archive.readArchive(&ok);
  EXPECT_TRUE(ok);
  EXPECT_EQ(stream.position(), static_cast<int64_t>(bytes.size()));
}

TEST_F(Archive, OlderHeaderIsReadButItsClassEntriesAreSkippedNotKept) {
  // magic "Arch", records length, a second value, one class: "TNode" with
  // three 16-bit values (3, 0, 0); then the records. The class table stays
  // empty, so a record naming class 0 fails while a null root reads; either
  // way the stream ends up after the archive.
  struct Case {
    const char* what;
    Bytes records;
    bool ok;
  } cases[] = {
      {"a record of class 0", {0, 0, 13, 0, 0, 0, 4, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0}, false},
      {"a null root", {0xFE, 0xFF}, true},
  };
  for (const Case& c : cases) {
    Bytes bytes;
    appendLE32(bytes, 0x41726368);
    appendLE32(bytes, static_cast<uint32_t>(c.records.size()));
    appendLE32(bytes, 0xDEADBEEF);
    appendLE32(bytes, 1);
    appendLE32(bytes, 6);
    for (char ch : std::string("TNode")) bytes.push_back(static_cast<uint8_t>(ch));
    bytes.push_back(0);
    for (uint8_t b : {3, 0, 0, 0, 0, 0}) bytes.push_back(b);
    bytes.insert(bytes.end(), c.records.begin(), c.records.end());
    bytes.push_back(0x99);  // beyond the archive
    FMemoryStream stream(bytes);
    FObjectArchive archive(stream);
    bool ok = !c.ok;
    FRef<CmObject> read = archive.readArchive(&ok);
    EXPECT_EQ(ok, c.ok) << c.what;
    EXPECT_FALSE(read) << c.what;
    EXPECT_TRUE(archive.classTable().empty()) << c.what;
    // Total = records + 16 + ("TNode" string 10 + 6).
    EXPECT_EQ(stream.position(), static_cast<int64_t>(bytes.size()) - 1) << c.what;
  }
}

TEST_F(Archive, WrongMagicAndBadTagsFail) {
  FRef<TNode> root = node(1);
  Bytes good = archiveBytes(root.get());
  struct Case {
    const char* what;
    size_t offset;
    std::vector<uint8_t> patch;
  } cases[] = {
      {"magic", 0, {0x00}},
      {"class index beyond the table", 28, {5, 0}},
      {"record longer than the stream", 30, {0xFF, 0xFF, 0, 0}},
      {"class count beyond the stream", 8, {0xFF, 0xFF, 0xFF, 0x0F}},
  };
  for (const Case& c : cases) {
    Bytes bad = good;
    std::copy(c.patch.begin(), c.patch.end(), bad.begin() + static_cast<long>(c.offset));
    bool ok = true;
    FRef<CmObject> read = readArchiveBytes(bad, &ok);
    EXPECT_FALSE(ok) << c.what;
    EXPECT_FALSE(read) << c.what;
  }
}

TEST_F(Archive, BackReferencesOutsideTheTableFail) {
  // Root holds one child written as a back reference to record 0, 1 (itself:
  // valid), or 7 (none).
  for (uint32_t number : {0u, 7u, 1u}) {
    Bytes bytes = tnodeHeader(19, 3);   // total length patched below
    bytes.insert(bytes.end(), {0, 0});  // the root record: class 0
    appendLE32(bytes, 19);
    Bytes members = {1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0xFF, 0xFF};
    bytes.insert(bytes.end(), members.begin(), members.end());
    appendLE32(bytes, number);
    const auto total = static_cast<uint32_t>(bytes.size());
    for (int i = 0; i < 4; ++i) bytes[4 + i] = static_cast<uint8_t>(total >> (8 * i));
    bool ok = false;
    FRef<CmObject> read = readArchiveBytes(bytes, &ok);
    EXPECT_EQ(ok, number == 1) << number;
    if (ok) {
      TNode* r = asNode(read);
      ASSERT_NE(r, nullptr);
      EXPECT_EQ(r->children[0].get(), r);
      r->children.clear();
    }
  }
}

TEST_F(Archive, DeepNestingFailsCleanly) {
  // A chain deeper than the limit cannot be written...
  FRef<TNode> head = node(0);
  TNode* tail = head.get();
  for (int i = 0; i < FObjectArchive::kMaxDepth + 5; ++i) {
    tail->children.push_back(node(i));
    tail = tail->children.back().get();
  }
  FMemoryStream sink;
  FObjectArchive writer(sink);
  EXPECT_FALSE(writer.writeArchive(head.get()));
  // ...and a forged one cannot be read: records that each open another.
  Bytes bytes = tnodeHeader(0, 0);
  const int depth = 5000;
  const size_t perLevel = 2 + 4 + 13;
  for (int i = 0; i < depth; ++i) {
    bytes.push_back(0);
    bytes.push_back(0);
    appendLE32(bytes, static_cast<uint32_t>((depth - i) * perLevel - 6 + 2));
    Bytes members = {0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0};
    bytes.insert(bytes.end(), members.begin(), members.end());
  }
  bytes.push_back(0xFE);
  bytes.push_back(0xFF);
  bool ok = true;
  FRef<CmObject> read = readArchiveBytes(bytes, &ok);
  EXPECT_FALSE(ok);
  // Unwind the long written chain iteratively to keep the test's stack small.
  while (!head->children.empty()) {
    FRef<TNode> next = head->children.back();
    head->children.clear();
    head = next;
  }
}

TEST_F(Archive, DamagedArchivesFailOrReadCleanly) {
  FRef<TNode> root = node(1, "root");
  for (int i = 0; i < 6; ++i) {
    FRef<TNode> c = node(i, std::string(static_cast<size_t>(i), 'x'));
    root->children.push_back(c);
    if (i % 2 == 0) root->children.push_back(c);
  }
  root->children.push_back(nullptr);
  const Bytes good = archiveBytes(root.get());
  // Every truncation fails.
  for (size_t length = 0; length < good.size(); ++length) {
    Bytes cut(good.begin(), good.begin() + static_cast<long>(length));
    bool ok = true;
    FRef<CmObject> read = readArchiveBytes(cut, &ok);
    EXPECT_FALSE(ok) << length;
  }
}

// Time-bound: an attribute set that declares a million entries (every key
// twice) reads in time linear in the count; a reader that looks each key up
// in what it has read so far would take minutes.
TEST_F(Archive, AttributeSetOfAMillionEntriesReadsInLinearTime) {
  constexpr uint32_t kKeys = 500000;
  FMemoryStream items;
  for (uint32_t round = 0; round < 2; ++round) {
    for (uint32_t i = 0; i < kKeys; ++i) {
      ASSERT_TRUE(items.writeString("k" + std::to_string(i)) && items.writeUInt16(1) && items.writeInt64(i + round));
    }
  }
  Bytes bytes = archiveBytes(makeRef<FAttributes>().get());
  ASSERT_TRUE(test::growRootList(&bytes, 2 * kKeys, items.takeData()));
  const auto start = std::chrono::steady_clock::now();
  bool ok = false;
  FRef<FAttributes> set = test::readArchiveBytesAs<FAttributes>(bytes, &ok);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  ASSERT_TRUE(ok && set);
  EXPECT_EQ(set->count(), kKeys);
  int64_t value = 0;
  // A repeated key takes the later value in the earlier place.
  EXPECT_TRUE(set->getInt("k7", &value));
  EXPECT_EQ(value, 8);
  EXPECT_EQ(set->keys()[7], "k7");
  EXPECT_LT(seconds, 20.0);
}

TEST_F(Archive, NestedAttributeSetsRoundTrip) {
  FRef<FAttributes> outer = makeRef<FAttributes>("Outer");
  FRef<FAttributes> inner = makeRef<FAttributes>("Inner");
  inner->setFloat("f", -1.5);
  inner->setBytes("b", {0, 255, 7});
  outer->setAttributes("inner", inner);
  outer->setInt("i", -(int64_t{1} << 40));
  outer->setObject("none", nullptr);
  FRef<FAttributes> set = readSet(archiveBytes(outer.get(), 1), 1);
  ASSERT_TRUE(set);
  EXPECT_EQ(set->className(), "Outer");
  int64_t i = 0;
  EXPECT_TRUE(set->getInt("i", &i));
  EXPECT_EQ(i, -(int64_t{1} << 40));
  FAttributes* in = set->getAttributes("inner");
  ASSERT_NE(in, nullptr);
  double f = 0;
  EXPECT_TRUE(in->getFloat("f", &f));
  EXPECT_EQ(f, -1.5);
  FAttributes::Bytes b;
  EXPECT_TRUE(in->getBytes("b", &b));
  EXPECT_EQ(b, (FAttributes::Bytes{0, 255, 7}));
  EXPECT_TRUE(set->contains("none"));
  EXPECT_EQ(set->getObject("none"), nullptr);
}

}  // namespace
}  // namespace vantor
