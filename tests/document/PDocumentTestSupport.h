#pragma once
// A document fixture: the layer initialised, a temporary folder, captured
// messages and preferences bound to a file in that folder.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "DocumentTestSupport.h"
#include "document/PArrangement.h"
#include "document/PDeviceSetup.h"
#include "document/PDocument.h"
#include "document/PDocumentInit.h"
#include "document/PPreferences.h"
#include "document/PWindowLayouts.h"
#include "foundation/FMemoryStream.h"
#include "foundation/FObjectArchive.h"
#include "foundation/FUserMessages.h"
#include "model/tree/MPartEvent.h"
#include "model/tree/MProject.h"

namespace vantor::test {

// The members object writes, without the archive's header and class table.
inline Bytes membersOf(const CmObject& object) {
  FMemoryStream out;
  out.setSwap(1);
  FObjectArchive writer(out);
  EXPECT_TRUE(object.writeToArchive(writer));
  return out.takeData();
}

// Reads members written by membersOf into object.
inline bool readMembers(const Bytes& bytes, CmObject* object) {
  FMemoryStream in(bytes);
  in.setSwap(1);
  FObjectArchive reader(in);
  return object->readFromArchive(reader);
}

// Every cut of members short of its whole length fails to read into a fresh
// object (made by fresh()) and leaves it as pristine() expects: a failed
// read yields zero values.
template <class Fresh, class Pristine>
void expectEveryTruncationFails(const Bytes& members, Fresh fresh, Pristine pristine) {
  for (size_t cut = 0; cut < members.size(); ++cut) {
    auto back = fresh();
    EXPECT_FALSE(readMembers(Bytes(members.begin(), members.begin() + static_cast<std::ptrdiff_t>(cut)), &*back))
        << cut;
    EXPECT_TRUE(pristine(*back)) << cut;
  }
}

class DocumentTest : public ::testing::Test {
 protected:
  void SetUp() override {
    initializeDocument();
    ASSERT_FALSE(dir.path().empty());
    ASSERT_TRUE(prefs.load(dir.file("preferences")));
  }

  // The folder as the system names it (links resolved), as the document
  // records working directories.
  static std::string real(const std::string& folder) { return std::filesystem::weakly_canonical(folder).string(); }

  // Gives doc some content of every root: a MIDI track "Bass" with a part
  // "Verse", devices and a second window layout.
  static void fill(PDocument& doc) {
    MProject* project = doc.project();
    ASSERT_NE(project, nullptr);
    FRef<MTrackEvent> track = MProject::createTrack("MIDI", "Bass");
    ASSERT_TRUE(track);
    MTrackEvent* added = track.get();
    ASSERT_TRUE(project->addTrack(std::move(track)));
    auto part = makeRef<MPartEvent>();
    part->setName("Verse");
    part->setStart(1920);
    part->setLength(7680);
    ASSERT_TRUE(project->addPart(added, std::move(part)));
    ASSERT_TRUE(doc.devices()->setSampleRate(44100));
    ASSERT_TRUE(doc.devices()->setBlockSize(128));
    doc.devices()->setPorts(PPortKind::kAudioOutput, {"Main L", "Main R"});
    doc.devices()->setPorts(PPortKind::kMidiInput, {"Keys"});
    ASSERT_TRUE(doc.windowLayouts()->store({"Mixing", {{"Mixer", 10, 20, 800, 600}}}));
    ASSERT_TRUE(doc.windowLayouts()->setActiveLayout("Mixing"));
    doc.markModified();
  }

  // Saves a filled document as name in the folder and returns its path.
  std::string savedProject(const std::string& name) {
    PDocument doc(messages, prefs);
    fill(doc);
    const std::string path = dir.file(name);
    EXPECT_TRUE(doc.save(path));
    return path;
  }

  TempDir dir;
  FCapturedMessages messages;
  PPreferences prefs;
};

}  // namespace vantor::test
