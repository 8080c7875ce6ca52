#include "render/realtime/RJackClient.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#include "render/realtime/RJackTransport.h"
#include "render/support/FrameCounterTarget.h"
#include "support/JackTestServer.h"

namespace vantor {
namespace {

TEST(RJackClient, SaysSoWhenNoServerRuns) {
  std::string error;
  EXPECT_EQ(RJackClient::open("vantor", "vantor_no_such_server", &error), nullptr);
  EXPECT_EQ(error, "No JACK server is running.");
}

// Through a real server (the dummy backend, 256-frame periods): a stand-in
// target that plays its frame numbers, looped twice between the locators,
// arrives at a capture client complete, in order and on both channels.
TEST(RJackClient, PlaysTheTransportIntoTheGraph) {
  test::JackTestServer server;
  if (!server.running()) GTEST_SKIP() << server.skipReason();
  std::string error;
  std::unique_ptr<RJackClient> client = RJackClient::open("vantor", server.name(), &error);
  ASSERT_NE(client, nullptr) << error;
  EXPECT_EQ(client->sampleRate(), 48000);
  EXPECT_EQ(client->bufferSize(), 256);
  test::FrameCounterTarget target;
  RJackTransport transport(target, 3000, 5000);
  test::JackCapture capture(server.name(), 48000);
  ASSERT_TRUE(capture.ok());
  ASSERT_TRUE(client->activate(&transport, &error)) << error;
  ASSERT_TRUE(capture.connect(client->portName(0), 0) && capture.connect(client->portName(1), 1));
  ASSERT_TRUE(client->connectToPlayback(&error)) << error;

  transport.locate(1000);
  transport.setCycle(true);
  transport.setLoopLimit(2);
  transport.play();
  // 1000 -> 5000, then 3000 -> 5000 twice: 8000 frames, about 0.17 s.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (transport.playing() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  ASSERT_FALSE(transport.playing());
  std::this_thread::sleep_for(std::chrono::milliseconds(30));  // the last periods reach the capture
  const std::vector<float> left = capture.take(0);
  const std::vector<float> right = capture.take(1);
  std::vector<float> heard;
  for (size_t i = 0; i < left.size(); ++i) {
    ASSERT_EQ(right[i], -left[i]);
    if (left[i] != 0) heard.push_back(left[i]);
  }
  std::vector<float> expected;
  for (int f = 1000; f < 5000; ++f) expected.push_back(static_cast<float>(f + 1));
  for (int lap = 0; lap < 2; ++lap)
    for (int f = 3000; f < 5000; ++f) expected.push_back(static_cast<float>(f + 1));
  EXPECT_EQ(heard, expected);
  EXPECT_FALSE(client->serverGone());
}

}  // namespace
}  // namespace vantor
