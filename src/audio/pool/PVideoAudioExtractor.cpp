#include "audio/pool/PVideoAudioExtractor.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "audio/files/AudioFileMessages.h"
#include "audio/pool/PAudioImporter.h"
#include "audio/pool/PFileCopy.h"
#include "audio/pool/PMissingFileMessages.h"
#include "audio/pool/PPoolCommands.h"

namespace vantor {

namespace {

constexpr const char* kNoFfmpegMessage =
    "Extract Audio from Videofile needs the program ffmpeg: install the package \"ffmpeg\"";

// The last line ffmpeg wrote, as the reason of its failure.
std::string lastLine(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  const size_t newline = text.find_last_of('\n');
  return newline == std::string::npos ? text : text.substr(newline + 1);
}

// Runs argv (argv[0] a path), its standard error read into *errors; the
// exit status, or -1 when it could not be started.
int runProgram(const std::vector<std::string>& argv, std::string* errors) {
  int pipeEnds[2];
  if (::pipe2(pipeEnds, O_CLOEXEC) != 0) return -1;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDERR_FILENO);
  std::vector<char*> args;
  for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
  args.push_back(nullptr);
  pid_t child = 0;
  const int spawned = ::posix_spawn(&child, argv[0].c_str(), &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(pipeEnds[1]);
  if (spawned != 0) {
    ::close(pipeEnds[0]);
    return -1;
  }
  char buffer[4096];
  for (ssize_t got; (got = ::read(pipeEnds[0], buffer, sizeof buffer)) != 0;) {
    if (got > 0) errors->append(buffer, static_cast<size_t>(got));
    if (got < 0 && errno != EINTR) break;
  }
  ::close(pipeEnds[0]);
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Flushes path's data to the disk before it is renamed into place.
bool syncFile(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool synced = ::fsync(fd) == 0;
  ::close(fd);
  return synced;
}

}  // namespace

std::optional<std::string> findProgram(const std::string& name, const std::string& searchPath) {
  size_t from = 0;
  while (from <= searchPath.size()) {
    const size_t colon = std::min(searchPath.find(':', from), searchPath.size());
    const std::string folder = searchPath.substr(from, colon - from);
    from = colon + 1;
    if (folder.empty()) continue;  // an empty entry would mean the current folder: not searched
    const std::string path = folder + "/" + name;
    struct stat info {};
    if (::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && ::access(path.c_str(), X_OK) == 0) return path;
  }
  return std::nullopt;
}

bool extractAudioFromVideo(const std::string& ffmpeg, const std::string& video, const std::string& folder,
                           std::string* out, std::string* error) {
  std::error_code ec;
  if (!std::filesystem::is_regular_file(video, ec) || ::access(video.c_str(), R_OK) != 0) {
    *error = kCannotOpenFileMessage;
    return false;
  }
  std::filesystem::create_directories(folder, ec);
  const std::string target = freeFilePath(folder, std::filesystem::path(video).stem().string() + ".wav");
  // ffmpeg writes beside the target under a name of its own: a file that
  // happens to be there already is someone's, and is neither overwritten
  // nor removed.
  const std::string part = freeFilePath(folder, std::filesystem::path(target).filename().string() + ".part");
  std::string errors;
  // -map 0:a:0: the first audio stream only; -n: never overwrite a file.
  const int status = runProgram({ffmpeg, "-nostdin", "-hide_banner", "-loglevel", "error", "-n", "-i", video, "-map",
                                 "0:a:0", "-vn", "-c:a", "pcm_f32le", "-f", "wav", part},
                                &errors);
  if (status != 0 || !syncFile(part)) {
    std::filesystem::remove(part, ec);
    const std::string reason = status < 0 ? "ffmpeg could not be run" : lastLine(errors);
    *error = "no audio could be extracted from \"" + video + "\"" + (reason.empty() ? "" : ": " + reason);
    return false;
  }
  std::filesystem::rename(part, target, ec);
  if (ec) {
    std::filesystem::remove(part, ec);
    *error = kCannotOpenFileMessage;
    return false;
  }
  *out = target;
  return true;
}

FRef<MCommand> makeExtractAudioCommand(PAudioPool& pool, const std::vector<std::string>& videos,
                                       const std::string& searchPath, FUserMessages& messages) {
  const std::optional<std::string> ffmpeg = findProgram("ffmpeg", searchPath);
  if (!ffmpeg) {
    messages.report(FUserMessages::Severity::kError, kNoFfmpegMessage);
    return nullptr;
  }
  std::vector<FRef<PAudioClip>> clips;
  std::vector<std::string> made;
  for (const std::string& video : videos) {
    std::string path, error;
    FRef<PAudioClip> clip;
    if (extractAudioFromVideo(*ffmpeg, video, audioFolderOf(pool), &path, &error)) {
      made.push_back(path);
      clip = makeClipOfFile(path, &error);
    }
    if (!clip) {
      std::error_code ec;
      for (const std::string& file : made) std::filesystem::remove(file, ec);
      messages.report(FUserMessages::Severity::kError, error + "\n" + video);
      return nullptr;
    }
    clip->setName(std::filesystem::path(video).stem().string());
    clips.push_back(std::move(clip));
  }
  if (clips.empty()) return nullptr;
  return FRef<MCommand>(
      new PAddClipsCommand(FRef<PAudioPool>::share(&pool), std::move(clips), nullptr, "Extract Audio from Videofile"));
}

}  // namespace vantor
