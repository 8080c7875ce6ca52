#include "audio/pool/PAudioImporter.h"

#include <filesystem>

#include "audio/files/AudioFileReader.h"
#include "audio/pool/PFileCopy.h"
#include "audio/pool/PPoolCommands.h"
#include "audio/pool/PoolMessages.h"

namespace vantor {

namespace {

constexpr const char* kActionNames[] = {kImportDoNothing, kImportOpenOptionsDialog, kImportCopyToProjectFolder,
                                        kImportCopyAndConvert};

bool askYes(FUserMessages& messages, const std::string& text) { return messages.ask(text, {"Yes", "No"}, 1) == 0; }

// Removes the files made by a failed import.
void removeAll(const std::vector<std::string>& made) {
  std::error_code ec;
  for (const std::string& path : made) std::filesystem::remove(path, ec);
}

// Copies the clip's file into the project's audio folder (unless it lies
// there already) and points the clip at the copy. *made names the new file,
// or is empty when none was made.
bool placeInProject(const PAudioPool& pool, PAudioClip& clip, std::string* made, std::string* error) {
  namespace fs = std::filesystem;
  made->clear();
  if (pool.getWorkingDirectory().empty()) {
    *error = kNoProjectFolderMessage;
    return false;
  }
  const std::string folder = audioFolderOf(pool);
  std::error_code ec;
  fs::create_directories(folder, ec);
  AudioFile& file = clip.getCluster()->files().front();
  if (fs::path(file.path).parent_path() == fs::path(folder).lexically_normal()) return true;
  const std::string target = freeFilePath(folder, fs::path(file.path).filename().string());
  if (!copyFileSafely(file.path, target, error)) return false;
  file.path = target;
  *made = target;
  return true;
}

}  // namespace

const char* importActionName(PImportAction action) { return kActionNames[static_cast<int>(action)]; }

std::optional<PImportAction> importActionFromName(std::string_view name) {
  for (int i = 0; i < 4; ++i) {
    if (name == kActionNames[i]) return static_cast<PImportAction>(i);
  }
  return std::nullopt;
}

PImportOptions importOptionsFor(PImportAction action, FUserMessages& messages, size_t fileCount) {
  PImportOptions options;
  switch (action) {
    case PImportAction::kDoNothing:
      break;
    case PImportAction::kCopyToProjectFolder:
      options.copy = true;
      break;
    case PImportAction::kCopyAndConvert:
      options.copy = true;
      options.convert = true;
      break;
    case PImportAction::kOpenOptionsDialog:
      options.copy = askYes(messages, fileCount == 1 ? kCopyFileToWorkingDirectory : kCopyFilesToWorkingDirectory);
      options.convert = askYes(messages, kConvertIfNeeded);
      break;
  }
  return options;
}

std::string audioFolderOf(const PAudioPool& pool) {
  return (std::filesystem::path(pool.getWorkingDirectory()) / "Audio").string();
}

FRef<PAudioClip> makeClipOfFile(const std::string& path, std::string* error) {
  AudioFileReader reader;
  if (!reader.open(path)) {
    *error = reader.error() == kInvalidAudioFileMessage ? kInvalidAudioFileMessage : kCannotOpenFileMessage;
    return nullptr;
  }
  auto cluster = makeRef<AudioCluster>();
  AudioFile file = reader.file();
  file.path = std::filesystem::absolute(path).lexically_normal().string();
  cluster->takeDescriptionOf(file);
  cluster->addFile(std::move(file));
  return makeRef<PAudioClip>(std::filesystem::path(path).stem().string(), std::move(cluster));
}

FRef<MCommand> makeImportMediumCommand(PAudioPool& pool, const std::vector<std::string>& paths,
                                       const PImportOptions& options, GTreeEntry* folder, FUserMessages& messages) {
  std::vector<FRef<PAudioClip>> clips;
  std::vector<std::string> made;
  auto fail = [&](const std::string& path, const std::string& reason) {
    removeAll(made);
    messages.report(FUserMessages::Severity::kError, reason + "\n" + path);
    return FRef<MCommand>();
  };
  for (const std::string& path : paths) {
    std::string error;
    FRef<PAudioClip> clip = makeClipOfFile(path, &error);
    if (!clip) return fail(path, error);
    if (options.copy || options.convert) {
      std::string target;
      if (!placeInProject(pool, *clip, &target, &error)) return fail(path, error);
      if (!target.empty()) made.push_back(target);
    }
    clips.push_back(std::move(clip));
  }
  if (clips.empty()) return nullptr;
  return FRef<MCommand>(new PAddClipsCommand(FRef<PAudioPool>::share(&pool), std::move(clips),
                                             FRef<GTreeEntry>::share(folder), "Import Medium"));
}

}  // namespace vantor
