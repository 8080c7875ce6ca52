#include <gtest/gtest.h>

#include <vector>

#include "foundation/FMemoryStream.h"
#include "foundation/FProjectContainer.h"
#include "support/TestClasses.h"

namespace vantor {
namespace {

using Bytes = std::vector<uint8_t>;
using test::TNode;

class Container : public ::testing::Test {
 protected:
  void SetUp() override { test::registerTestClasses(); }
};

Bytes writeContainer(const std::vector<std::pair<std::string, const CmObject*>>& roots) {
  FMemoryStream stream;
  FContainerWriter writer(stream);
  EXPECT_TRUE(writer.begin(kProjectFormType));
  for (const auto& [name, object] : roots) EXPECT_TRUE(writer.addRoot(name, *object));
  EXPECT_TRUE(writer.finish());
  return stream.takeData();
}

TEST_F(Container, SmallContainerHasTheExactBytes) {
  TNode root;
  root.value = 5;
  const Bytes
      expected =
          {
              'R', 'I', 'F', 'F', 0,   0,   0,   77,                     // 89 bytes in all, minus 12
              'K', 'E', 'M', 'B', 'R', 'O', 'O', 'T', 0,  0,   0,   14,  // name and class name, no NUL
              0,   0,   0,   1,   'R', 0,   0,   0,   5,  'T', 'N', 'o', 'd', 'e', 'A', 'R', 'C',
              'H', 0,   0,   0,   47,  // 28 header + 19 record
              'a', 'R', 'c', 'H', 0,   0,   0,   47,  0,  0,   0,   1,   0,   0,   0,   6,   'T',
              'N', 'o', 'd', 'e', 0,   0,   0,   0,   13, 0,   3,   0,   0,   0,   0,   0,   13,  // class 0, 13 bytes
              0,   0,   0,   5,   0,   0,   0,   1,   0,  0,   0,   0,   0,
          };
  EXPECT_EQ(writeContainer({{"R", &root}}), expected);
}

TEST_F(Container, ReaderListsRootsAndReadsEachByName) {
  TNode a;
  a.value = 1;
  a.text = "first";
  TNode b;
  b.value = 2;
  FMemoryStream stream(writeContainer({{"Arrangement1", &a}, {"Odd", &b}}));
  FContainerReader reader(stream);
  ASSERT_TRUE(reader.open(kProjectFormType));
  ASSERT_EQ(reader.roots().size(), 2u);
  EXPECT_EQ(reader.roots()[0].name, "Arrangement1");
  EXPECT_EQ(reader.roots()[0].className, "TNode");
  EXPECT_EQ(reader.roots()[1].name, "Odd");
  bool ok = false;
  // Out of order on purpose: roots are found by name.
  FRef<CmObject> second = reader.readRoot("Odd", &ok);
  ASSERT_TRUE(ok);
  EXPECT_EQ(dynamic_cast<TNode*>(second.get())->value, 2);
  FRef<CmObject> first = reader.readRoot("Arrangement1", &ok);
  ASSERT_TRUE(ok);
  EXPECT_EQ(dynamic_cast<TNode*>(first.get())->text, "first");
  EXPECT_FALSE(reader.readRoot("Missing", &ok));
  EXPECT_FALSE(ok);
}

TEST_F(Container, WrongFormTypeOrLengthIsRefused) {
  TNode root;
  const Bytes good = writeContainer({{"R", &root}});
  struct Case {
    const char* what;
    size_t offset;
    uint8_t value;
  } cases[] = {
      {"form type", 8, 'X'},     {"riff id", 0, 'r'},     {"container length", 7, 76},
      {"chunk length", 19, 200}, {"name length", 23, 40},
  };
  for (const Case& c : cases) {
    Bytes bad = good;
    bad[c.offset] = c.value;
    FMemoryStream stream(bad);
    FContainerReader reader(stream);
    EXPECT_FALSE(reader.open(kProjectFormType)) << c.what;
  }
  FMemoryStream other(good);
  FContainerReader reader(other);
  EXPECT_FALSE(reader.open(fourCC("AIFF")));
}

TEST_F(Container, DamagedContainersFailCleanly) {
  TNode a;
  a.text = "some text";
  TNode b;
  const Bytes good = writeContainer({{"One", &a}, {"Two", &b}});
  for (size_t length = 0; length < good.size(); ++length) {
    FMemoryStream stream(Bytes(good.begin(), good.begin() + static_cast<long>(length)));
    FContainerReader reader(stream);
    EXPECT_FALSE(reader.open(kProjectFormType)) << length;
  }
}

}  // namespace
}  // namespace vantor
