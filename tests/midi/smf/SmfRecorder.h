#pragma once
// A parser that writes down every callback as one line of text, for tests
// that compare what was reported with what they expect.

#include <cstdio>
#include <deque>
#include <string>
#include <vector>

#include "midi/smf/MSmfReader.h"

namespace vantor::test {

class SmfRecorder : public MSmfReader {
 public:
  std::vector<std::string> lines;
  bool abortAtBegin = false;

  bool beginFile() override {
    lines.push_back("begin");
    return !abortAtBegin;
  }
  void endFile() override { lines.push_back("end"); }
  MSmfTrackHandle createTrack(int index) override {
    tracks_.push_back(index);
    lines.push_back("track " + std::to_string(index));
    return &tracks_.back();
  }
  void setTrackName(MSmfTrackHandle track, std::string_view name) override {
    lines.push_back(id(track) + " name " + std::string(name));
  }
  void endTrack(MSmfTrackHandle track, int64_t tick) override {
    lines.push_back(id(track) + " endtrack " + std::to_string(tick));
  }
  void channelEvent(MSmfTrackHandle track, int64_t tick, uint8_t status, uint8_t data1, uint8_t data2) override {
    lines.push_back(id(track) + " @" + std::to_string(tick) + " " + hex({status, data1, data2}));
  }
  void systemExclusive(MSmfTrackHandle track, int64_t tick, const uint8_t* bytes, uint32_t count) override {
    lines.push_back(id(track) + " @" + std::to_string(tick) + " sysex " + hex({bytes, bytes + count}));
  }
  void metaEvent(MSmfTrackHandle track, int64_t tick, uint8_t type, uint32_t length, const uint8_t* data) override {
    lines.push_back(id(track) + " @" + std::to_string(tick) + " meta " + hex({type}) + " " + text(data, length));
  }
  void textEvent(MSmfTrackHandle track, int64_t tick, uint8_t type, uint32_t length, const uint8_t* data) override {
    lines.push_back(id(track) + " @" + std::to_string(tick) + " text " + hex({type}) + " " + text(data, length));
  }
  void tempo(int64_t tick, float secondsPerQuarter) override {
    char value[32];
    std::snprintf(value, sizeof value, "%.6f", static_cast<double>(secondsPerQuarter));
    lines.push_back("tempo @" + std::to_string(tick) + " " + value);
  }
  void timeSignature(int64_t tick, int numerator, int denominator) override {
    lines.push_back("sig @" + std::to_string(tick) + " " + std::to_string(numerator) + "/" +
                    std::to_string(denominator));
  }

  static std::string hex(const std::vector<uint8_t>& bytes) {
    std::string out;
    char digits[4];
    for (uint8_t b : bytes) {
      std::snprintf(digits, sizeof digits, "%02X", b);
      if (!out.empty()) out += ' ';
      out += digits;
    }
    return out;
  }

 private:
  // Tracks are named by the chunk index and the order of creation: "t0.1".
  std::string id(MSmfTrackHandle track) const {
    if (track == nullptr) return "t?";
    const auto* index = static_cast<const int*>(track);
    for (size_t i = 0; i < tracks_.size(); ++i) {
      if (&tracks_[i] == index) return "t" + std::to_string(*index) + "." + std::to_string(i);
    }
    return "t!";
  }
  static std::string text(const uint8_t* data, uint32_t length) {
    if (data == nullptr) return length == 0 ? "(null)" : "(null!)";
    if (data[length] != 0) return "(unterminated)";
    return std::string(reinterpret_cast<const char*>(data), length);
  }

  // A deque keeps the handles (addresses of its elements) stable.
  std::deque<int> tracks_;
};

}  // namespace vantor::test
