#include "document/PDocument.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "PDocumentTestSupport.h"
#include "foundation/FClassRegistry.h"
#include "foundation/FFileStream.h"
#include "foundation/FProjectContainer.h"

namespace vantor {
namespace {

using test::Bytes;
using Severity = FUserMessages::Severity;

class PDocumentFile : public test::DocumentTest {};

uint32_t bigEndianAt(const Bytes& bytes, size_t at) {
  return (uint32_t{bytes[at]} << 24) | (uint32_t{bytes[at + 1]} << 16) | (uint32_t{bytes[at + 2]} << 8) |
         uint32_t{bytes[at + 3]};
}

// Writes a project container holding roots, in order.
void writeRoots(const std::string& path, std::initializer_list<std::pair<const char*, const CmObject*>> roots) {
  FFileStream file;
  ASSERT_TRUE(file.open(path, FFileStream::Mode::kWrite));
  FContainerWriter writer(file);
  ASSERT_TRUE(writer.begin(fourCC("KEMB")));
  for (const auto& [name, object] : roots) ASSERT_TRUE(writer.addRoot(name, *object));
  ASSERT_TRUE(writer.finish());
  ASSERT_TRUE(file.close());
}

TEST(PDocumentInit, RegistersTheDocumentClassesByName) {
  initializeDocument();
  initializeDocument();  // idempotent
  for (const char* name : {"PArrangement", "PAppVersion", "PDeviceSetup", "PWindowLayouts"}) {
    FRef<CmObject> object(FClassRegistry::instance().create(name));
    ASSERT_TRUE(object) << name;
    EXPECT_STREQ(object->getClassName(), name);
  }
  EXPECT_TRUE(FRef<CmObject>(FClassRegistry::instance().create("MRoot")));  // the model came first
}

TEST(PDocumentNames, FilesBesideTheProject) {
  EXPECT_EQ(PDocument::backupPathFor("/p/song.vpr"), "/p/song.vpr.bak");
  EXPECT_EQ(PDocument::autoSavePathFor("/p/song.vpr"), "/p/song.autosave.vpr");
  EXPECT_EQ(PDocument::autoSavePathFor("/p/song"), "/p/song.autosave.vpr");
  EXPECT_EQ(PDocument::newFilePathFor("/nonexistent-folder/song.vpr"), "/nonexistent-folder/song-1.vpr");
}

TEST_F(PDocumentFile, NewDocumentHasEveryRootAtItsDefault) {
  PDocument doc(messages, prefs);
  ASSERT_NE(doc.arrangement(), nullptr);
  ASSERT_NE(doc.project(), nullptr);
  EXPECT_EQ(doc.project()->getRoot(), doc.arrangement()->getRoot());
  EXPECT_TRUE(doc.devices()->sameAs(PDeviceSetup()));
  EXPECT_TRUE(doc.windowLayouts()->sameAs(PWindowLayouts()));
  EXPECT_EQ(doc.fileVersion().versionText(), "Version 0.1.0");
  EXPECT_EQ(doc.path(), "");
  EXPECT_FALSE(doc.isModified());
  EXPECT_FALSE(doc.save());  // untitled
  EXPECT_TRUE(FAutoSavers::instance().contains(&doc));
}

TEST_F(PDocumentFile, DocumentLeavesTheAutoSaversWhenDestroyed) {
  const FAutoSaver* address = nullptr;
  {
    PDocument doc(messages, prefs);
    address = &doc;
    EXPECT_TRUE(FAutoSavers::instance().contains(address));
  }
  EXPECT_FALSE(FAutoSavers::instance().contains(address));
}

TEST_F(PDocumentFile, SavedFileIsABigEndianContainerOfFourRootsInOrder) {
  const std::string path = savedProject("song.vpr");
  const Bytes bytes = test::readFile(path);
  ASSERT_GT(bytes.size(), 20u);
  EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "RIFF");
  EXPECT_EQ(bigEndianAt(bytes, 4), bytes.size() - 12);
  EXPECT_EQ(std::string(bytes.begin() + 8, bytes.begin() + 12), "KEMB");
  EXPECT_EQ(std::string(bytes.begin() + 12, bytes.begin() + 16), "ROOT");
  // The first ROOT chunk: 4 + 12 ("Arrangement1") + 4 + 12 ("PArrangement").
  EXPECT_EQ(bigEndianAt(bytes, 16), 32u);
  EXPECT_EQ(bigEndianAt(bytes, 20), 12u);
  EXPECT_EQ(std::string(bytes.begin() + 24, bytes.begin() + 36), "Arrangement1");

  FFileStream file;
  ASSERT_TRUE(file.open(path, FFileStream::Mode::kRead));
  FContainerReader reader(file);
  ASSERT_TRUE(reader.open(fourCC("KEMB")));
  const std::vector<std::pair<std::string, std::string>> expected = {{"Arrangement1", "PArrangement"},
                                                                     {"Devices", "PDeviceSetup"},
                                                                     {"WindowLayouts", "PWindowLayouts"},
                                                                     {"Version", "PAppVersion"}};
  ASSERT_EQ(reader.roots().size(), expected.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(reader.roots()[i].name, expected[i].first);
    EXPECT_EQ(reader.roots()[i].className, expected[i].second);
  }
  Bytes copy = bytes;
  EXPECT_EQ(test::replaceAll(&copy, "aRcH", "aRcH"), 4);  // one archive per root
}

TEST_F(PDocumentFile, SaveOpenSaveGivesTheSameBytesAndTheSameContent) {
  const std::string first = savedProject("first.vpr");
  PDocument doc(messages, prefs);
  ASSERT_TRUE(doc.open(first));
  EXPECT_FALSE(doc.isModified());
  EXPECT_EQ(doc.path(), first);
  // Every root read back: saved again below, the bytes are those read.
  ASSERT_EQ(doc.project()->getTrackList()->count(), 1u);
  EXPECT_EQ(doc.windowLayouts()->activeLayout(), "Mixing");
  EXPECT_EQ(doc.workingDirectory(), real(dir.path()));

  const std::string second = dir.file("second.vpr");
  ASSERT_TRUE(doc.save(second));
  EXPECT_EQ(test::readFile(second), test::readFile(first));
  EXPECT_TRUE(messages.questions().empty());
  for (const auto& m : messages.messages()) EXPECT_EQ(m.severity, Severity::kInfo) << m.text;
}

TEST_F(PDocumentFile, OpeningShowsTheProgressText) {
  const std::string path = savedProject("song.vpr");
  {
    PDocument doc(messages, prefs);
    messages.clear();
    ASSERT_TRUE(doc.open(path));
    ASSERT_EQ(messages.messages().size(), 1u);
    EXPECT_EQ(messages.messages()[0].severity, Severity::kInfo);
    EXPECT_EQ(messages.messages()[0].text, "Reading Project File...");
  }
  PDocument doc(messages, prefs);
  std::vector<std::string> shown;
  doc.setProgressHandler([&](std::string_view text) { shown.emplace_back(text); });
  messages.clear();
  ASSERT_TRUE(doc.open(path));
  EXPECT_EQ(shown, std::vector<std::string>{"Reading Project File..."});
  EXPECT_TRUE(messages.messages().empty());
}

TEST_F(PDocumentFile, AFileThatCannotBeOpenedIsReportedAndTheDocumentKept) {
  PDocument doc(messages, prefs);
  doc.setProgressHandler([](std::string_view) {});
  // The system's reason follows on a second line.
  const std::pair<std::string, const char*> cases[] = {{dir.file("missing.vpr"), "No such file or directory"},
                                                       {dir.path(), "Is a directory"}};
  for (const auto& [path, reason] : cases) {
    messages.clear();
    EXPECT_FALSE(doc.open(path));
    ASSERT_EQ(messages.messages().size(), 1u);
    EXPECT_EQ(messages.messages()[0].severity, Severity::kError);
    EXPECT_EQ(messages.messages()[0].text, "Can not open project file \"" + path + "\" !\n" + reason);
    EXPECT_EQ(doc.path(), "");
  }
}

TEST_F(PDocumentFile, DamagedFilesAreInvalidAndLeaveTheDocumentAsItWas) {
  const std::string good = savedProject("good.vpr");
  const Bytes bytes = test::readFile(good);
  struct Case {
    const char* what;
    Bytes data;
    int64_t size = 0;  // when larger than data: made that long with zeros (sparse)
  };
  std::vector<Case> cases;
  const auto patched = [&](std::string_view from, std::string_view to, int expectedCount) {
    Bytes copy = bytes;
    EXPECT_EQ(test::replaceAll(&copy, from, to), expectedCount) << from;
    return copy;
  };
  cases.push_back({"wrong form type", patched("KEMB", "KEMX", 1)});
  cases.push_back({"not a container", patched("RIFF", "RIFX", 1)});
  Bytes wrongMagic = bytes;
  wrongMagic[std::search(wrongMagic.begin(), wrongMagic.end(), "aRcH", "aRcH" + 4) - wrongMagic.begin()] = 'x';
  cases.push_back({"wrong archive magic of the arrangement", wrongMagic});
  // The magic of the last archive ("Version"): a damaged optional root is
  // as invalid as a damaged arrangement.
  Bytes lastMagic = bytes;
  const std::string_view magic = "aRcH";
  auto at = std::find_end(lastMagic.begin(), lastMagic.end(), magic.begin(), magic.end());
  *at = 'x';
  cases.push_back({"wrong archive magic of the version", lastMagic});
  cases.push_back({"truncated by one byte", Bytes(bytes.begin(), bytes.end() - 1)});
  cases.push_back({"truncated to half", Bytes(bytes.begin(), bytes.begin() + static_cast<long>(bytes.size() / 2))});
  cases.push_back({"header only", Bytes(bytes.begin(), bytes.begin() + 12)});
  cases.push_back({"empty", {}});
  cases.push_back({"no arrangement root", patched("Arrangement1", "Arrangement2", 1)});
  cases.push_back({"arrangement of an unknown class", patched("PArrangement", "QArrangement", 2)});
  // A class index in the arrangement's first record beyond its class table:
  // the byte after the archive header's class table is hard to find, so
  // the archive's total length is broken instead, which fails the read.
  Bytes badLength = bytes;
  const size_t archiveAt = static_cast<size_t>(
      std::search(badLength.begin(), badLength.end(), magic.begin(), magic.end()) - badLength.begin());
  badLength[archiveAt + 4] = 0x7F;
  cases.push_back({"archive longer than its chunk", badLength});
  // Huge files are refused by their first 12 bytes, without reading or
  // allocating what they hold.
  cases.push_back({"a sparse terabyte", {}, int64_t{1} << 40});
  cases.push_back({"two gigabytes of zeros", {}, int64_t{2} << 30});
  cases.push_back({"a good header, then a terabyte", Bytes(bytes.begin(), bytes.begin() + 12), int64_t{1} << 40});

  PDocument doc(messages, prefs);
  fill(doc);
  doc.setProgressHandler([](std::string_view) {});
  const std::string damaged = dir.file("damaged.vpr");
  rusage before{};
  getrusage(RUSAGE_SELF, &before);
  for (const Case& c : cases) {
    test::writeFile(damaged, c.data);
    if (c.size > static_cast<int64_t>(c.data.size())) {
      ASSERT_EQ(::truncate(damaged.c_str(), c.size), 0) << c.what;
    }
    messages.clear();
    EXPECT_FALSE(doc.open(damaged)) << c.what;
    ASSERT_EQ(messages.messages().size(), 1u) << c.what;
    EXPECT_EQ(messages.messages()[0].severity, Severity::kError);
    EXPECT_EQ(messages.messages()[0].text, "Invalid project file \"" + damaged + "\" !") << c.what;
    EXPECT_EQ(doc.path(), "");
    EXPECT_EQ(doc.devices()->sampleRate(), 44100) << c.what;
    EXPECT_EQ(doc.project()->getTrackList()->count(), 1u);
  }
  (void)::truncate(damaged.c_str(), 0);
  rusage after{};
  getrusage(RUSAGE_SELF, &after);
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * 1024) << "peak grew by more than 64 MB (ru_maxrss in kB)";
}

TEST_F(PDocumentFile, RootsOfUnknownClassesTakeDefaultsAndTheOthersStillLoad) {
  const Bytes bytes = test::readFile(savedProject("song.vpr"));
  const std::string path = dir.file("patched.vpr");
  // Each class name occurs twice: in the ROOT chunk and in its archive's
  // class table. The replacement of the same length keeps every length.
  const struct {
    const char* from;
    const char* to;
  } cases[] = {{"PDeviceSetup", "QDeviceSetup"}, {"PWindowLayouts", "QWindowLayouts"}, {"PAppVersion", "QAppVersion"}};
  for (const auto& c : cases) {
    Bytes copy = bytes;
    ASSERT_EQ(test::replaceAll(&copy, c.from, c.to), 2) << c.from;
    test::writeFile(path, copy);
    PDocument doc(messages, prefs);
    ASSERT_TRUE(doc.open(path)) << c.from;
    EXPECT_EQ(doc.project()->getTrackList()->count(), 1u);
    const bool devicesKnown = std::string_view(c.from) != "PDeviceSetup";
    const bool layoutsKnown = std::string_view(c.from) != "PWindowLayouts";
    EXPECT_EQ(doc.devices()->sampleRate(), devicesKnown ? 44100 : 48000) << c.from;
    EXPECT_EQ(doc.windowLayouts()->activeLayout(), layoutsKnown ? "Mixing" : "Default") << c.from;
    EXPECT_EQ(doc.fileVersion().applicationName(), "Vantor Studio");
    EXPECT_EQ(doc.fileVersion().revision(), 1);
  }
}

TEST_F(PDocumentFile, MissingOptionalRootsTakeDefaults) {
  PDocument source(messages, prefs);
  fill(source);
  const std::string path = dir.file("arrangement-only.vpr");
  writeRoots(path, {{"Arrangement1", source.arrangement()}});
  PDocument doc(messages, prefs);
  ASSERT_TRUE(doc.open(path));
  EXPECT_EQ(doc.project()->getTrackList()->count(), 1u);
  EXPECT_TRUE(doc.devices()->sameAs(PDeviceSetup()));
  EXPECT_TRUE(doc.windowLayouts()->sameAs(PWindowLayouts()));
  EXPECT_EQ(doc.fileVersion().revision(), 1);  // the running program's record
}

TEST_F(PDocumentFile, AFileOfANewerRevisionOpensWithAWarning) {
  PDocument source(messages, prefs);
  fill(source);
  const auto writeWithVersion = [&](const std::string& path, const PAppVersion& version) {
    writeRoots(path, {{"Arrangement1", source.arrangement()},
                      {"Devices", source.devices()},
                      {"WindowLayouts", source.windowLayouts()},
                      {"Version", &version}});
  };
  const std::string newer = dir.file("newer.vpr");
  writeWithVersion(newer, PAppVersion("Vantor Studio", "Version 2.0.0", "Mar 3 2030", 2));
  PDocument doc(messages, prefs);
  doc.setProgressHandler([](std::string_view) {});
  messages.clear();
  ASSERT_TRUE(doc.open(newer));
  ASSERT_EQ(messages.messages().size(), 1u);
  EXPECT_EQ(messages.messages()[0].severity, Severity::kWarning);
  EXPECT_EQ(messages.messages()[0].text,
            "This project was saved by a newer version of the program (Vantor Studio, Version 2.0.0)!\n"
            "Parts of it may be missing or read incorrectly.");
  EXPECT_EQ(doc.fileVersion().revision(), 2);
  EXPECT_EQ(doc.fileVersion().buildDate(), "Mar 3 2030");
  EXPECT_EQ(doc.devices()->sampleRate(), 44100);

  const std::string older = dir.file("older.vpr");
  writeWithVersion(older, PAppVersion("Vantor Studio", "Version 0.0.9", "Jan 1 2026", 1));
  messages.clear();
  ASSERT_TRUE(doc.open(older));
  EXPECT_TRUE(messages.messages().empty());
}

}  // namespace
}  // namespace vantor
