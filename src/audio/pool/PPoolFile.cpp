#include "audio/pool/PPoolFile.h"

#include <filesystem>

#include "audio/pool/PFileCopy.h"
#include "audio/pool/PPoolCommands.h"
#include "audio/pool/PoolMessages.h"
#include "foundation/FFileStream.h"
#include "foundation/FMemoryStream.h"
#include "foundation/FProjectContainer.h"

namespace vantor {

namespace {

// A new clip with the same name, files, material and regions.
FRef<PAudioClip> copyOf(const PAudioClip& clip) {
  auto copy = makeRef<PAudioClip>();
  copy->setName(clip.getName());
  copy->setCluster(clip.clusterRef());
  copy->setMaterial(makeRef<PClipMaterial>(clip.getMaterial()->pieces()));
  for (const auto& region : clip.regions()) copy->addRegion(makeRef<MRegionMarker>(*region));
  copy->setHistory(FRef<CmObject>::share(clip.getHistory()));
  return copy;
}

}  // namespace

bool writePoolFile(const PAudioPool& pool, const std::string& path, std::string* error) {
  FMemoryStream stream;
  FContainerWriter writer(stream);
  if (!writer.begin(kPoolFormType) || !writer.addRoot(kPoolRootName, pool) || !writer.finish()) {
    *error = kNotEnoughDiskSpaceMessage;
    return false;
  }
  return writeFileSafely(path, stream.data(), error);
}

bool exportPoolFile(const std::vector<FRef<PAudioClip>>& clips, const std::string& path, std::string* error) {
  PAudioPool pool;
  pool.setWorkingDirectory(std::filesystem::path(path).parent_path().string());
  for (const auto& clip : clips) (void)pool.addClip(copyOf(*clip));
  return writePoolFile(pool, path, error);
}

FRef<PAudioPool> readPoolFile(const std::string& path, std::string* error) {
  FFileStream file;
  if (!file.open(path, FFileStream::Mode::kRead)) {
    *error = kCannotOpenFileMessage;
    return nullptr;
  }
  FContainerReader reader(file);
  bool ok = false;
  FRef<PAudioPool> pool;
  if (reader.open(kPoolFormType) && reader.findRoot(kPoolRootName) != nullptr) {
    pool = refCast<PAudioPool>(reader.readRoot(kPoolRootName, &ok));
  }
  if (!pool) *error = kInvalidAudioFileMessage;
  return pool;
}

FRef<MCommand> makeImportPoolCommand(PAudioPool& pool, const PAudioPool& library, const std::string& libraryPath) {
  if (library.clips().empty()) return nullptr;
  GTreeEntry* root = pool.tree().root();
  auto createFolder = makeRef<PCreateFolderCommand>(
      FRef<GTreeEntry>::share(root), freeFolderName(*root, std::filesystem::path(libraryPath).stem().string()));
  createFolder->folder()->setDocumentPath(libraryPath);
  std::vector<FRef<PAudioClip>> clips;
  for (const auto& clip : library.clips()) clips.push_back(copyOf(*clip));
  auto macro = makeRef<MMacroCommand>("Import Pool");
  FRef<GTreeEntry> folder = FRef<GTreeEntry>::share(createFolder->folder());
  if (!macro->add(std::move(createFolder)) ||
      !macro->add(FRef<MCommand>(
          new PAddClipsCommand(FRef<PAudioPool>::share(&pool), std::move(clips), std::move(folder), "Import Pool")))) {
    return nullptr;
  }
  return macro;
}

std::string poolTitle(const std::string& name, bool library) {
  return (library ? kLibraryTitlePrefix : kPoolTitlePrefix) + name;
}

bool askSaveLibrary(FUserMessages& messages) { return messages.ask(kSaveLibraryQuestion, {"Yes", "No"}, 0) == 0; }

}  // namespace vantor
