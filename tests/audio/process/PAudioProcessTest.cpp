// The process family as a whole: creation by class name with the stored
// keys, parameter checks, and the same result for every division of the
// range into blocks (a property over random block sizes).

#include <gtest/gtest.h>

#include "audio/AudioTestSupport.h"
#include "audio/process/PProcessRegistration.h"
#include "audio/process/ProcessTestSupport.h"

namespace vantor {
namespace {

using test::makeProcess;

TEST(PAudioProcess, EveryProcessIsCreatedByNameWithItsStoredKeys) {
  initializeAudio();
  for (const char* name : audioProcessClassNames()) {
    FRef<PAudioProcess> process = PAudioProcess::create(name);
    ASSERT_TRUE(process) << name;
    EXPECT_STREQ(process->getClassName(), name);
    EXPECT_EQ(process->parameters().className(), name);
    EXPECT_TRUE(process->createWork() != nullptr);
  }
  EXPECT_FALSE(PAudioProcess::create("PAudioProcess"));  // abstract
  EXPECT_FALSE(PAudioProcess::create("MCommand"));       // no process
  EXPECT_FALSE(PAudioProcess::create("PNoSuchProcess"));

  EXPECT_FALSE(makeProcess("PSilence")->hasParameters());
  EXPECT_FALSE(makeProcess("PDCOffset")->hasParameters());
  const std::vector<std::string> convolutionKeys{"Impulse Path",
                                                 "Impulse Channel Mode",
                                                 "First Reflection",
                                                 "Split",
                                                 "Gain",
                                                 "LPF Value",
                                                 "HPF Value",
                                                 "BPF Value",
                                                 "Time Strech",
                                                 "Zoom Y",
                                                 "Normalize",
                                                 "Normalize Level"};
  EXPECT_EQ(makeProcess("PConvolution")->parameters().keys(), convolutionKeys);
  const std::vector<std::string> detectionKeys{"Open Threshold",    "Close Threshold",   "Mode Linked",
                                               "Min. Opening Time", "Min. Closing Time", "Pre-Roll",
                                               "Post-Roll",         "Region Name",       "Auto Number Start"};
  EXPECT_EQ(makeProcess("PEvtdetection")->parameters().keys(), detectionKeys);
  const std::vector<std::string> gateKeys{"Threshold", "Attack Time", "Release Time", "Linked Channels"};
  EXPECT_EQ(makeProcess("PNoiseGate")->parameters().keys(), gateKeys);
}

TEST(PAudioProcess, RefusesValuesOutsideTheirRangeAndKeepsTheOldOne) {
  FRef<PAudioProcess> gain = makeProcess("PGain", {{"Gain", "6"}});
  struct Case {
    const char* key;
    const char* value;
    const char* error;
  };
  const Case cases[] = {
      {"Gain", "49", "\"Gain\" takes a number from -96 to 48 dB, not \"49\""},
      {"Gain", "six", "\"Gain\" takes a number from -96 to 48 dB, not \"six\""},
      {"Gain", "nan", "\"Gain\" takes a number from -96 to 48 dB, not \"nan\""},
      {"Normalize", "Maybe", "\"Normalize\" takes a whole number from 0 to 1, not \"Maybe\""},
      {"Volume", "1", "\"Volume\" is no parameter of Gain"},
  };
  for (const Case& c : cases) {
    std::string error;
    EXPECT_FALSE(gain->setParameter(c.key, c.value, &error));
    EXPECT_EQ(error, c.error);
  }
  double value = 0;
  ASSERT_TRUE(gain->parameters().getFloat("Gain", &value));
  EXPECT_EQ(value, 6.0);
  std::string error;
  EXPECT_TRUE(gain->setParameter("Normalize", "On", &error));
  int64_t choice = 0;
  ASSERT_TRUE(gain->parameters().getInt("Normalize", &choice));
  EXPECT_EQ(choice, 1);

  FRef<PAudioProcess> envelope = makeProcess("PEnvelope");
  EXPECT_FALSE(envelope->setParameter("Envelope", "0:1, 0.5", &error));
  EXPECT_FALSE(envelope->setParameter("Envelope", "0.5:1, 0.2:1", &error));
  EXPECT_FALSE(envelope->setParameter("Envelope", "0:5", &error));
  EXPECT_TRUE(envelope->setParameter("Envelope", "0:0, 0.5:2, 1:1", &error));

  // A stored set restores through the same checks, all or nothing.
  FRef<FAttributes> stored = gain->copyParameters();
  stored->setFloat("Gain", -3.25);
  FRef<PAudioProcess> copy = makeProcess("PGain");
  ASSERT_TRUE(copy->restoreParameters(*stored, &error));
  EXPECT_EQ(copy->number("Gain"), -3.25);
  stored->setFloat("Gain", 100);
  EXPECT_FALSE(copy->restoreParameters(*stored, &error));
  EXPECT_EQ(copy->number("Gain"), -3.25);
}

// Each process with settings that keep state across blocks.
std::vector<FRef<PAudioProcess>> statefulProcesses(const std::string& impulsePath) {
  return {makeProcess("PGain", {{"Gain", "-3"}, {"Normalize", "On"}, {"Normalize Level", "-1"}}),
          makeProcess("PSilence"),
          makeProcess("PEnvelope", {{"Envelope", "0:0, 0.3:2, 0.31:0.5, 1:1"}}),
          makeProcess("PFadeIn", {{"Curve", "S-Curve"}}),
          makeProcess("PFadeOut", {{"Curve", "Exponential"}}),
          makeProcess("PNoiseGate", {{"Threshold", "-12"}, {"Attack Time", "3"}, {"Release Time", "20"}}),
          makeProcess("PNoiseGate", {{"Threshold", "-12"}, {"Linked Channels", "Off"}}),
          makeProcess("PDCOffset"),
          makeProcess("PEcho", {{"Echo length", "7"}, {"Source", "Output"}, {"Effect mix (%)", "40"}}),
          makeProcess("PConvolution", {{"Impulse Path", impulsePath}, {"Normalize", "On"}}),
          makeProcess("PConvolution", {{"Impulse Path", impulsePath},
                                       {"Impulse Channel Mode", "Per Channel"},
                                       {"LPF Value", "2000"},
                                       {"First Reflection", "-6"},
                                       {"Split", "2"}})};
}

TEST(PAudioProcess, AnyDivisionIntoBlocksGivesTheSameResult) {
  test::TempDir dir;
  const std::string impulsePath = dir.file("impulse.wav");
  ASSERT_TRUE(test::writeOurs(impulsePath, test::makeFile("WAVE", 8000, 2, 32, SampleType::kFloat),
                              test::randomSamples(2 * 600, 7, 0.3f)));
  const AudioFormat format = test::floatFormat(2, 8000);
  std::vector<float> input = test::randomSamples(2 * 9000, 11);
  // A quiet stretch so that the gate closes and opens.
  std::fill(input.begin() + 2 * 3000, input.begin() + 2 * 4000, 0.001f);
  std::mt19937 random(5);
  std::uniform_int_distribution<int64_t> size(1, 3000);
  for (const FRef<PAudioProcess>& process : statefulProcesses(impulsePath)) {
    const std::vector<float> whole = test::runProcess(*process, format, input, {1 << 20});
    ASSERT_EQ(whole.size(), input.size()) << process->getClassName();
    for (int trial = 0; trial < 3; ++trial) {
      std::vector<int64_t> blocks(17);
      for (int64_t& block : blocks) block = trial == 0 ? 1 + block % 3 : size(random);
      const std::vector<float> divided = test::runProcess(*process, format, input, blocks);
      ASSERT_EQ(divided, whole) << process->getClassName() << " trial " << trial;
    }
  }
}

}  // namespace
}  // namespace vantor
