#include "document/PDeviceSetup.h"

#include <gtest/gtest.h>

#include "PDocumentTestSupport.h"

namespace vantor {
namespace {

using test::Bytes;
using test::expectEveryTruncationFails;
using test::membersOf;
using test::readMembers;

TEST(PDeviceSetup, SettersKeepToTheAcceptedRanges) {
  PDeviceSetup setup;
  const struct {
    int32_t value;
    bool rateOk;
    bool blockOk;
  } cases[] = {
      {0, false, false},   {15, false, false},    {16, false, true},      {8192, true, true},     {8193, true, false},
      {7999, false, true}, {768000, true, false}, {768001, false, false}, {-48000, false, false},
  };
  for (const auto& c : cases) {
    setup = PDeviceSetup();
    EXPECT_EQ(setup.setSampleRate(c.value), c.rateOk) << c.value;
    EXPECT_EQ(setup.sampleRate(), c.rateOk ? c.value : 48000);
    EXPECT_EQ(setup.setBlockSize(c.value), c.blockOk) << c.value;
    EXPECT_EQ(setup.blockSize(), c.blockOk ? c.value : 256);
  }
}

TEST(PDeviceSetup, MembersAreRateBlockAndFourNameLists) {
  PDeviceSetup setup;
  ASSERT_TRUE(setup.setSampleRate(44100));
  ASSERT_TRUE(setup.setBlockSize(512));
  setup.setPorts(PPortKind::kAudioOutput, {"Out"});
  // 44100 = 0xAC44, 512 = 0x200; lists: none, one ("Out" + NUL = 4), none, none.
  const Bytes expected = {0x00, 0x00, 0xAC, 0x44, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00,
                          0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x04, 'O',  'u',
                          't',  0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
  EXPECT_EQ(membersOf(setup), expected);
}

TEST(PDeviceSetup, ArchiveRoundTripKeepsEverySetting) {
  initializeDocument();
  PDeviceSetup setup;
  ASSERT_TRUE(setup.setSampleRate(96000));
  ASSERT_TRUE(setup.setBlockSize(64));
  setup.setPorts(PPortKind::kAudioInput, {"In 1", "In 2", ""});
  setup.setPorts(PPortKind::kAudioOutput, {"Main L", "Main R"});
  setup.setPorts(PPortKind::kMidiInput, {"Keyboard \xC3\xA4"});
  setup.setPorts(PPortKind::kMidiOutput, {"Synth"});
  bool ok = false;
  FRef<PDeviceSetup> back = test::readArchiveAs<PDeviceSetup>(test::archiveOf(setup), &ok);
  ASSERT_TRUE(ok);
  ASSERT_TRUE(back);
  EXPECT_TRUE(back->sameAs(setup));
  EXPECT_EQ(back->ports(PPortKind::kAudioInput)[2], "");
}

TEST(PDeviceSetup, DamagedMembersAreRefusedAndLeaveTheSetupAlone) {
  PDeviceSetup good;
  good.setPorts(PPortKind::kMidiOutput, {"Synth", "Drums"});
  const Bytes members = membersOf(good);
  expectEveryTruncationFails(
      members, [] { return makeRef<PDeviceSetup>(); }, [](const PDeviceSetup& s) { return s.sameAs(PDeviceSetup()); });
  // A sample rate of 0, a block size of 1, and a name count far beyond the
  // bytes that follow.
  Bytes zeroRate = members;
  zeroRate[0] = zeroRate[1] = zeroRate[2] = zeroRate[3] = 0;
  Bytes tinyBlock = members;
  tinyBlock[4] = tinyBlock[5] = tinyBlock[6] = 0;
  tinyBlock[7] = 1;
  Bytes hugeCount = members;
  hugeCount[8] = 0x7F;
  for (const Bytes* bad : {&zeroRate, &tinyBlock, &hugeCount}) {
    PDeviceSetup back;
    EXPECT_FALSE(readMembers(*bad, &back));
    EXPECT_TRUE(back.sameAs(PDeviceSetup()));
  }
}

}  // namespace
}  // namespace vantor
