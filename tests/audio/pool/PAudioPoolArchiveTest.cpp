#include "audio/pool/PAudioPool.h"

#include <gtest/gtest.h>

#include "audio/AudioInit.h"
#include "audio/pool/MAudioEvent.h"
#include "foundation/FAttributes.h"
#include "support/ArchiveBytes.h"

namespace vantor {
namespace {

FRef<AudioCluster> makeCluster(const std::string& path, int64_t frames, int channels) {
  auto cluster = makeRef<AudioCluster>();
  AudioFile file;
  file.path = path;
  file.typeName = "WAVE";
  file.format.channels = static_cast<int16_t>(channels);
  file.format.bitsPerSample = 24;
  file.lengthFrames = frames;
  file.dataStart = 44;
  cluster->addFile(file);
  return cluster;
}

// A pool with every kind of member: two clips sharing one cluster (a clip
// and its new version), regions, nested folders, the record folder, every
// attribute set and an edit history object.
FRef<PAudioPool> makePool() {
  auto pool = makeRef<PAudioPool>();
  pool->setWorkingDirectory("/projects/song");
  auto takes = makeRef<GTreeEntry>(GTreeEntry::Kind::kFolder, "Takes");
  auto inner = makeRef<GTreeEntry>(GTreeEntry::Kind::kFolder, "Inner");
  inner->setDocumentPath("/lib/inner.vpl");
  EXPECT_TRUE(takes->insert(inner));
  EXPECT_TRUE(pool->tree().root()->insert(takes));
  pool->setRecordFolder(takes);

  auto cluster = makeCluster("/projects/song/Audio/vox.wav", 96000, 2);
  cluster->setOriginTime(3840);
  cluster->attributes().setString(AudioClusterKey::kInfoString, "48.000 kHz   24 bits   PCM   Stereo");
  auto rex = makeRef<FAttributes>();
  rex->setBytes(AudioClusterKey::kRexData, {1, 2, 3});
  cluster->attributes().setAttributes(AudioClusterKey::kRex, rex);
  cluster->attributes().setFloat(AudioClusterKey::kHitpointThreshold, 0.25);
  cluster->attributes().setFloat(AudioClusterKey::kLoopTempo, 120);
  cluster->attributes().setBytes(AudioClusterKey::kImages, {9, 8});
  cluster->setRateChangeFactor(0.5);
  auto vox = makeRef<PAudioClip>("Vox", cluster);
  vox->addRegion(makeRef<MRegionMarker>("Verse", 100, 2000, 1920));
  vox->addRegion(makeRef<MRegionMarker>("Chorus", 5000, 100, 0));
  auto history = makeRef<FAttributes>("History");
  history->setInt("Entries", 2);
  vox->setHistory(history);
  auto version = makeRef<PAudioClip>("Vox 2", cluster);
  EXPECT_TRUE(version->getMaterial()->replaceRange(10, 10, {PClipPiece::silence(4)}).has_value());
  EXPECT_EQ(pool->addClip(vox, inner.get()), 1u);
  EXPECT_EQ(pool->addClip(version, takes.get()), 2u);
  EXPECT_EQ(pool->addClip(makeRef<PAudioClip>("Bass", makeCluster("/elsewhere/bass.aif", 10, 1))), 3u);
  return pool;
}

TEST(PAudioPoolArchive, RoundTripKeepsEveryMemberAndTheBytes) {
  initializeAudio();
  FRef<PAudioPool> pool = makePool();
  const auto bytes = test::archiveBytes(pool.get(), 1);
  ASSERT_FALSE(bytes.empty());
  auto back = test::readArchiveBytesAs<PAudioPool>(bytes, nullptr, 1);
  ASSERT_TRUE(back);
  EXPECT_EQ(test::archiveBytes(back.get(), 1), bytes);

  ASSERT_EQ(back->clips().size(), 3u);
  PAudioClip* vox = back->findClip("Vox");
  PAudioClip* version = back->findClip(2);
  ASSERT_TRUE(vox && version);
  EXPECT_EQ(vox->getCluster(), version->getCluster());  // still one shared cluster
  EXPECT_EQ(vox->getCluster()->originTime(), 3840.0);
  EXPECT_EQ(vox->getCluster()->rateChangeFactor(), 0.5);
  EXPECT_EQ(vox->getCluster()->files()[0].path, "/projects/song/Audio/vox.wav");
  EXPECT_EQ(vox->getCluster()->files()[0].format.bitsPerSample, 24);
  ASSERT_EQ(vox->regions().size(), 2u);
  EXPECT_EQ(vox->regions()[0]->getName(), "Verse");
  EXPECT_EQ(vox->regions()[0]->getLength(), 2000);
  EXPECT_EQ(vox->regions()[0]->getOrigin(), 1920.0);
  ASSERT_NE(vox->getHistory(), nullptr);
  EXPECT_STREQ(vox->getHistory()->getClassName(), "FAttributes");
  EXPECT_EQ(version->lengthFrames(), 96000 - 6);
  EXPECT_EQ(back->nextPoolID(), 4u);
  ASSERT_NE(back->getRecordFolder(), nullptr);
  EXPECT_EQ(back->getRecordFolder(), back->tree().root()->findFolder("Takes"));
  EXPECT_EQ(back->tree().root()->findClipEntry(1), back->tree().root()->findFolder("Takes/Inner"));
  EXPECT_EQ(back->tree().root()->findFolder("Takes/Inner")->getDocumentPath(), "/lib/inner.vpl");
  ASSERT_NE(back->trash(), nullptr);
  EXPECT_EQ(back->trash()->getName(), "Trash");
}

TEST(PAudioPoolArchive, AnEventRefersToItsClipByBackReference) {
  initializeAudio();
  FRef<PAudioPool> pool = makePool();
  // Written after the pool (as the project writes its pool before its
  // tracks), the event's clip is a back reference to the pool's clip.
  auto holder = makeRef<FAttributes>();
  holder->setObject("Pool", pool);
  auto event = makeRef<MAudioEvent>(FRef<PAudioClip>::share(pool->findClip(1)), 100, 500);
  event->setStart(1920);
  holder->setObject("Event", event);
  auto back = test::readArchiveBytesAs<FAttributes>(test::archiveBytes(holder.get()));
  ASSERT_TRUE(back);
  auto* backPool = dynamic_cast<PAudioPool*>(back->getObject("Pool"));
  auto* backEvent = dynamic_cast<MAudioEvent*>(back->getObject("Event"));
  ASSERT_TRUE(backPool && backEvent);
  EXPECT_EQ(backEvent->getClip(), backPool->findClip(1));
  EXPECT_EQ(backEvent->getClipStart(), 100);
  EXPECT_EQ(backEvent->getClipLength(), 500);
  EXPECT_EQ(backEvent->getStart(), 1920.0);
}

TEST(PAudioPoolArchive, DamagedBytesNeverCrashAndDuplicateIDsAreRefused) {
  initializeAudio();
  const auto bytes = test::archiveBytes(makePool().get());
  // Every single-byte change and every cut reads or fails without harm.
  for (size_t at = 0; at < bytes.size(); ++at) {
    auto damaged = bytes;
    damaged[at] ^= 0xA5;
    (void)test::readArchiveBytes(damaged);
    (void)test::readArchiveBytes({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(at)});
  }
  // Two clips with one pool ID: the second clip's ID is written as 1.
  auto pool = makePool();
  pool->findClip(2)->setPoolID(1);
  EXPECT_FALSE(test::readArchiveBytesAs<PAudioPool>(test::archiveBytes(pool.get())));
}

}  // namespace
}  // namespace vantor
