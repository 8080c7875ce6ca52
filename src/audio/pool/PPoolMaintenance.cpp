#include "audio/pool/PPoolMaintenance.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "audio/pool/PAudioImporter.h"
#include "audio/pool/PFileCopy.h"
#include "audio/pool/PPoolCommands.h"
#include "audio/pool/PPoolOperations.h"
#include "audio/pool/PoolMessages.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PMoveClipsCommand, MCommand, 0)

namespace {

// Points the clusters' files at other paths; each exchange swaps them back.
class PRelocateFilesCommand : public MExchangeCommand {
 public:
  struct Move {
    FRef<AudioCluster> cluster;
    size_t file = 0;
    std::string path;  // the path the next exchange puts in place
  };
  explicit PRelocateFilesCommand(std::vector<Move> moves) : moves_(std::move(moves)) {}
  std::string description() const override { return "Prepare Archive"; }

 protected:
  bool exchange() override {
    for (Move& m : moves_) std::swap(m.cluster->files()[m.file].path, m.path);
    return true;
  }

 private:
  std::vector<Move> moves_;
};

// Whether two entries read a file in common. The same file imported twice,
// or read by a library loaded from its own pool file, makes entries of
// their own: only the paths tell that they share it.
bool sharesFiles(const AudioCluster* a, const AudioCluster* b) {
  if (a == b) return true;
  return std::any_of(a->files().begin(), a->files().end(), [&](const AudioFile& mine) {
    const auto path = std::filesystem::path(mine.path).lexically_normal();
    return std::any_of(b->files().begin(), b->files().end(), [&](const AudioFile& theirs) {
      return std::filesystem::path(theirs.path).lexically_normal() == path;
    });
  });
}

bool usesCluster(const PAudioPool& pool, const AudioCluster* cluster, const std::set<const PAudioClip*>& except) {
  return std::any_of(pool.clips().begin(), pool.clips().end(), [&](const auto& clip) {
    return except.count(clip.get()) == 0 && sharesFiles(clip->getCluster(), cluster);
  });
}

bool isInsideFolder(const std::string& path, const std::string& folder) {
  const auto p = std::filesystem::path(path).lexically_normal().string();
  const auto f = std::filesystem::path(folder).lexically_normal().string();
  return !f.empty() && p.size() > f.size() && p.compare(0, f.size(), f) == 0 && (f.back() == '/' || p[f.size()] == '/');
}

}  // namespace

PMoveClipsCommand::PMoveClipsCommand(FRef<PAudioPool> pool, std::vector<FRef<PAudioClip>> clips,
                                     FRef<GTreeEntry> folder, std::string description)
    : pool_(std::move(pool)),
      clips_(std::move(clips)),
      folder_(std::move(folder)),
      description_(std::move(description)) {}

bool PMoveClipsCommand::doPerform() {
  if (!pool_ || !folder_ || !folder_->isFolder() || clips_.empty()) return refuse("");
  for (const auto& clip : clips_) {
    if (pool_->tree().root()->findClipEntry(clip->getPoolID()) == nullptr) return refuse("");
  }
  places_.clear();
  for (const auto& clip : clips_) {
    size_t index = 0;
    GTreeEntry* from = pool_->tree().root()->findClipEntry(clip->getPoolID(), &index);
    Place place{FRef<GTreeEntry>::share(from), from->children()[index], index};
    (void)from->remove(place.entry.get());
    (void)folder_->insert(place.entry);
    places_.push_back(std::move(place));
  }
  return true;
}

bool PMoveClipsCommand::doUndo() {
  for (size_t i = places_.size(); i-- > 0;) {
    (void)folder_->remove(places_[i].entry.get());
    (void)places_[i].folder->insert(places_[i].entry, places_[i].index);
  }
  return true;
}

PEmptyTrashPlan planEmptyTrash(MProject& project, PAudioPool& pool, const std::vector<const PAudioPool*>& otherPools,
                               FUserMessages& messages) {
  std::vector<FRef<PAudioClip>> trashed;
  for (const auto& clip : pool.clips()) {
    if (pool.isInTrash(clip.get())) trashed.push_back(clip);
  }
  std::set<const PAudioClip*> leaving;
  for (const auto& clip : trashed) leaving.insert(clip.get());
  std::vector<FRef<PAudioClip>> removed;
  std::set<const AudioCluster*> keepFiles;
  for (const auto& clip : trashed) {
    const AudioCluster* cluster = clip->getCluster();
    const bool otherPool = std::any_of(otherPools.begin(), otherPools.end(),
                                       [&](const PAudioPool* other) { return usesCluster(*other, cluster, {}); });
    const bool versions = usesCluster(pool, cluster, leaving);
    if (otherPool || versions) {
      const char* reason = otherPool && versions ? kReasonOtherPoolAndVersions
                           : otherPool           ? kReasonOtherPool
                                                 : kReasonVersions;
      const std::string question = formatMessage(kCannotTrashQuestion, {clip->getName(), reason});
      if (messages.ask(question, {"Remove", "Cancel"}, 1) != 0) {
        leaving.erase(clip.get());
        continue;
      }
      keepFiles.insert(cluster);
    }
    removed.push_back(clip);
  }
  PEmptyTrashPlan plan;
  if (removed.empty()) return plan;
  plan.command = makeRemoveClipsCommand(project, pool, removed, "Empty Trash", messages);
  if (!plan.command) return plan;
  std::set<const AudioCluster*> seen;
  for (const auto& clip : removed) {
    const AudioCluster* cluster = clip->getCluster();
    if (keepFiles.count(cluster) != 0 || !seen.insert(cluster).second || usesCluster(pool, cluster, leaving)) continue;
    for (const AudioFile& file : cluster->files()) plan.filesToErase.push_back(file.path);
  }
  return plan;
}

size_t eraseTrashFiles(const std::vector<std::string>& files, FUserMessages& messages) {
  if (files.empty() || messages.ask("Warning: You can not undo this!", {kEraseChoice, "Keep Files"}, 1) != 0) {
    return 0;
  }
  size_t erased = 0;
  std::error_code ec;
  for (const std::string& path : files) erased += std::filesystem::remove(path, ec) ? 1 : 0;
  return erased;
}

FRef<MCommand> makePrepareArchiveCommand(MProject& project, PAudioPool& pool, std::string* error) {
  error->clear();
  FRef<MCommand> removeUnused = makeRemoveUnusedCommand(project, pool);
  std::set<const PAudioClip*> unused;
  const auto usage = clipUsage(project);
  for (const auto& clip : pool.clips()) {
    if (usage.count(clip.get()) == 0) unused.insert(clip.get());
  }
  std::vector<PRelocateFilesCommand::Move> moves;
  std::vector<std::string> made;
  std::set<const AudioCluster*> done;
  for (const auto& clip : pool.clips()) {
    AudioCluster* cluster = clip->getCluster();
    if (unused.count(clip.get()) != 0 || !done.insert(cluster).second) continue;
    for (size_t i = 0; i < cluster->files().size(); ++i) {
      const std::string& path = cluster->files()[i].path;
      if (isInsideFolder(path, pool.getWorkingDirectory())) continue;
      std::error_code ec;
      std::filesystem::create_directories(audioFolderOf(pool), ec);
      const std::string target = freeFilePath(audioFolderOf(pool), std::filesystem::path(path).filename().string());
      if (!copyFileSafely(path, target, error)) {
        *error = formatMessage("%s\n%s", {*error, path});
        for (const std::string& m : made) std::filesystem::remove(m, ec);
        return nullptr;
      }
      made.push_back(target);
      moves.push_back({FRef<AudioCluster>::share(cluster), i, target});
    }
  }
  if (!removeUnused && moves.empty()) return nullptr;
  auto macro = makeRef<MMacroCommand>("Prepare Archive");
  if (removeUnused) (void)macro->add(std::move(removeUnused));
  if (!moves.empty()) (void)macro->add(FRef<MCommand>(new PRelocateFilesCommand(std::move(moves))));
  return macro;
}

}  // namespace vantor
