// A project with an audio pool: saved, opened and saved again byte for
// byte; a project without a pool still opens.

#include <gtest/gtest.h>

#include "PDocumentTestSupport.h"
#include "audio/pool/MAudioEvent.h"
#include "audio/pool/PAudioPool.h"
#include "foundation/FAttributes.h"

namespace vantor {
namespace {

class PDocumentPool : public test::DocumentTest {
 protected:
  // Gives doc a pool (a clip with regions and a history, its new version,
  // a folder and the record folder) and an audio track whose part plays
  // both clips.
  static void fillPool(PDocument& doc) {
    MProject* project = doc.project();
    PAudioPool* pool = PAudioPool::ensurePool(*project);
    auto cluster = makeRef<AudioCluster>();
    AudioFile file;
    file.path = "/media/vox.wav";
    file.typeName = "WAVE";
    file.lengthFrames = 441000;
    cluster->addFile(file);
    cluster->setOriginTime(1920);
    auto vox = makeRef<PAudioClip>("Vox", cluster);
    vox->addRegion(makeRef<MRegionMarker>("Hook", 44100, 88200, 3840));
    vox->setHistory(makeRef<FAttributes>("History"));
    auto folder = makeRef<GTreeEntry>(GTreeEntry::Kind::kFolder, "Takes");
    ASSERT_TRUE(pool->tree().root()->insert(folder));
    pool->setRecordFolder(folder);
    ASSERT_NE(pool->addClip(vox, folder.get()), 0u);
    ASSERT_NE(pool->addClip(makeRef<PAudioClip>("Vox 2", cluster)), 0u);

    FRef<MTrackEvent> track = MProject::createTrack("Audio", "Voice");
    MTrackEvent* voice = track.get();
    ASSERT_TRUE(project->addTrack(std::move(track)));
    auto part = makeRef<MAudioPartEvent>();
    part->setName("Take");
    part->setLength(7680);
    auto* content = static_cast<MPartNode*>(part->getNode());
    for (PAudioClip* clip : {pool->findClip("Vox"), pool->findClip("Vox 2")}) {
      auto event = makeRef<MAudioEvent>(FRef<PAudioClip>::share(clip), 0, 44100);
      event->setLength(960);
      ASSERT_TRUE(content->getHoldRule().accepts(*event));
      content->list().insert(event);
    }
    ASSERT_TRUE(project->addPart(voice, std::move(part)));
    doc.markModified();
  }
};

TEST_F(PDocumentPool, SaveOpenSaveKeepsTheBytes) {
  const std::string first = dir.file("a.vpr"), second = dir.file("b.vpr");
  {
    PDocument doc(messages, prefs);
    fill(doc);
    fillPool(doc);
    ASSERT_TRUE(doc.save(first));
  }
  PDocument doc(messages, prefs);
  ASSERT_TRUE(doc.open(first));
  PAudioPool* pool = PAudioPool::poolOf(*doc.project());
  ASSERT_NE(pool, nullptr);
  ASSERT_EQ(pool->clips().size(), 2u);
  EXPECT_EQ(pool->findClip("Vox")->getCluster(), pool->findClip("Vox 2")->getCluster());
  EXPECT_NE(pool->findClip("Vox")->getHistory(), nullptr);
  // The events of the part name the pool's own clips.
  size_t events = 0;
  doc.project()->forEachEvent([&](MEvent& e) {
    if (auto* audio = dynamic_cast<MAudioEvent*>(&e)) {
      EXPECT_EQ(pool->indexOf(audio->getClip()) >= 0, true);
      ++events;
    }
  });
  EXPECT_EQ(events, 2u);
  ASSERT_TRUE(doc.save(second));
  EXPECT_EQ(test::readFile(second), test::readFile(first));
}

TEST_F(PDocumentPool, AProjectWithoutAPoolOpensAndGetsOneOnDemand) {
  const std::string path = savedProject("old.vpr");
  PDocument doc(messages, prefs);
  ASSERT_TRUE(doc.open(path));
  EXPECT_EQ(doc.project()->getPool(), nullptr);
  PAudioPool* pool = PAudioPool::ensurePool(*doc.project());
  ASSERT_NE(pool, nullptr);
  EXPECT_TRUE(pool->clips().empty());
  ASSERT_NE(pool->trash(), nullptr);
}

}  // namespace
}  // namespace vantor
