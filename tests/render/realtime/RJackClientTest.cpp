#include "render/realtime/RJackClient.h"

#include <gtest/gtest.h>

#include <string>

namespace vantor {
namespace {

// Playing through a server is checked end to end in RJackPlaybackTest.
TEST(RJackClient, SaysSoWhenNoServerRuns) {
  std::string error;
  EXPECT_EQ(RJackClient::open("vantor", "vantor_no_such_server", &error), nullptr);
  EXPECT_EQ(error, "No JACK server is running.");
}

}  // namespace
}  // namespace vantor
