#pragma once
// Helpers for the project-tree tests: a small note event for part content,
// archive round trips through memory, and a sample project that uses every
// kind of track, an aliased part and a virtual group.

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "foundation/FRef.h"
#include "model/tree/MEvent.h"
#include "model/tree/MProject.h"
#include "model/tree/MRoot.h"

namespace vantor::treetest {

// A note inside a part: an event with a pitch.
class TreeTestNote : public MEvent {
  VANTOR_EVENT(TreeTestNote)
 public:
  TreeTestNote() = default;
  TreeTestNote(double start, double length, int32_t pitch) : pitch_(pitch) {
    setStart(start);
    setLength(length);
  }
  int32_t pitch() const { return pitch_; }
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  int32_t pitch_ = 60;
};

// initializeModel() and the test classes.
void initializeTreeTests();

// The archive bytes of root; ok reports the write's result.
std::vector<uint8_t> saveArchive(const CmObject* root, bool* ok = nullptr);
// Reads an archive from bytes; ok reports whether it was valid.
FRef<CmObject> loadArchive(const std::vector<uint8_t>& bytes, bool* ok = nullptr);

// Archive bytes read back as a T; null when it is no T, and null with a
// failed expectation when the read fails.
template <class T>
FRef<T> loadAs(const std::vector<uint8_t>& bytes) {
  bool ok = false;
  FRef<CmObject> loaded = loadArchive(bytes, &ok);
  EXPECT_TRUE(ok);
  return refCast<T>(std::move(loaded));
}

// The fixture of the tree tests.
class TreeTest : public ::testing::Test {
 protected:
  void SetUp() override { initializeTreeTests(); }
};

// object saved and read back as its own class; the copy must save to the
// same bytes. Null when the read fails.
template <class T>
FRef<T> roundTrip(const T& object) {
  bool ok = false;
  const std::vector<uint8_t> bytes = saveArchive(&object, &ok);
  EXPECT_TRUE(ok);
  FRef<CmObject> loaded = loadArchive(bytes, &ok);
  EXPECT_TRUE(ok);
  auto* typed = dynamic_cast<T*>(loaded.get());
  EXPECT_NE(typed, nullptr);
  if (typed != nullptr) {
    EXPECT_EQ(saveArchive(typed), bytes) << "not byte for byte";
  }
  return FRef<T>::share(typed);
}

// A part of count notes, one every 120 pulses from 0, pitches cycling.
FRef<MPartEvent> makePart(const char* name, double start, int count);

// The sample project:
//   track 0 "Drums"  MIDI   parts "Beat" (4 notes) at 0 and its alias at 7680
//   track 1 "Voice"  Audio  audio part "Take" (2 notes); solo, colour 5
//   track 2 "Group"  Folder (expanded) holding MIDI track "Inner" with part
//                    "Riff" (3 notes) and the alias of "Beat" at 1920
//   track 3 "Bus"    Group Channel device track
//   track 4 "Clip"   Video
//   track 5 "Data"   folder data track with one entry naming track 2
//   track 6 "Sets"   MIDI track holding a virtual group of "Take" and "Riff"
// plus working directory "/tmp/songs", fades on, 12.5 ms in.
FRef<MRoot> buildSampleProject();

}  // namespace vantor::treetest
