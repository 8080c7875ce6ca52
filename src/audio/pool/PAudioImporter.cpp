#include "audio/pool/PAudioImporter.h"

#include <filesystem>

#include "audio/files/AudioFileReader.h"
#include "audio/pool/PConvertFilesCommand.h"
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
// there already), or with convert writes it there converted to the
// project's format when it differs, and points the clip at the new file.
// *made names the new file, or is empty when none was made.
bool placeInProject(const PAudioPool& pool, FRef<PAudioClip>* clip, const PImportOptions& options, std::string* made,
                    std::string* error) {
  namespace fs = std::filesystem;
  made->clear();
  if (pool.getWorkingDirectory().empty()) {
    *error = kNoProjectFolderMessage;
    return false;
  }
  const std::string folder = audioFolderOf(pool);
  AudioCluster& cluster = *(*clip)->getCluster();
  const AudioFile source = cluster.files().front();
  const AudioConversion conversion = projectConversion(options.projectRate, options.projectBits);
  if (options.convert && needsConversion(source, conversion)) {
    AudioFile converted;
    if (!convertInto(source, conversion, folder, &converted, error)) return false;
    *made = converted.path;
    auto fresh = makeRef<AudioCluster>();
    fresh->takeDescriptionOf(converted);
    if (converted.format.sampleRate != source.format.sampleRate) {
      fresh->setRateChangeFactor(converted.format.sampleRate / source.format.sampleRate);
    }
    fresh->addFile(std::move(converted));
    *clip = makeRef<PAudioClip>((*clip)->getName(), std::move(fresh));
    return true;
  }
  std::error_code ec;
  fs::create_directories(folder, ec);
  if (fs::path(source.path).parent_path() == fs::path(folder).lexically_normal()) return true;
  const std::string target = freeFilePath(folder, fs::path(source.path).filename().string());
  if (!copyFileSafely(source.path, target, error)) return false;
  cluster.files().front().path = target;
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
      if (!placeInProject(pool, &clip, options, &target, &error)) return fail(path, error);
      if (!target.empty()) made.push_back(target);
    }
    clips.push_back(std::move(clip));
  }
  if (clips.empty()) return nullptr;
  return FRef<MCommand>(new PAddClipsCommand(FRef<PAudioPool>::share(&pool), std::move(clips),
                                             FRef<GTreeEntry>::share(folder), "Import Medium"));
}

}  // namespace vantor
