#include "audio/pool/PMissingFileResolver.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <set>

#include "audio/files/AudioFileMessages.h"
#include "audio/files/AudioFileReader.h"
#include "audio/pool/PFileSearch.h"
#include "audio/pool/PMissingFileMessages.h"

namespace vantor {

PFileCheck checkAudioFile(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return PFileCheck::kCannotOpen;
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return PFileCheck::kCannotOpen;
  ::close(fd);
  AudioFileReader reader;
  return reader.open(path) ? PFileCheck::kOk : PFileCheck::kUnsupported;
}

PMissingFileResolver::PMissingFileResolver(const std::vector<std::string>& missing, PFileChecker checker,
                                           FUserMessages& messages)
    : checker_(std::move(checker)), messages_(messages) {
  for (const std::string& path : missing) {
    if (std::find(missing_.begin(), missing_.end(), path) == missing_.end()) missing_.push_back(path);
  }
}

bool PMissingFileResolver::isPending(const std::string& path) const {
  return std::find(missing_.begin(), missing_.end(), path) != missing_.end() && resolved_.count(path) == 0;
}

void PMissingFileResolver::resolve(const std::string& missing, const std::string& found) {
  resolved_[missing] = found;
  skipped_.erase(std::remove(skipped_.begin(), skipped_.end(), missing), skipped_.end());
  if (allResolved()) messages_.report(FUserMessages::Severity::kInfo, kAllFilesResolvedMessage);
}

bool PMissingFileResolver::locate(const std::string& missing, const std::string& newPath) {
  if (!isPending(missing)) return false;
  switch (checker_(newPath)) {
    case PFileCheck::kOk:
      resolve(missing, newPath);
      return true;
    case PFileCheck::kCannotOpen:
      messages_.report(FUserMessages::Severity::kError, kCannotOpenFileMessage);
      return false;
    case PFileCheck::kUnsupported:
      messages_.report(FUserMessages::Severity::kError, kInvalidAudioFileMessage);
      return false;
  }
  return false;
}

int PMissingFileResolver::search(const std::string& folder, const PPathFilterTable& table) {
  struct stat info {};
  if (::stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || ::access(folder.c_str(), R_OK | X_OK) != 0) {
    messages_.report(FUserMessages::Severity::kError, kCannotOpenFolderMessage);
    return 0;
  }
  // First what the table points at; the walk only for what that leaves.
  std::map<std::string, std::string> found;
  std::set<std::string> names;
  const std::vector<std::string> pending = unresolved();
  for (const std::string& missing : pending) {
    for (const std::string& candidate : table.candidates(missing, folder)) {
      if (checker_(candidate) == PFileCheck::kOk) {
        found[missing] = candidate;
        break;
      }
    }
    const std::string name = PPathFilterTable::fileName(missing);
    if (found.count(missing) == 0 && !name.empty()) names.insert(name);
  }
  if (!names.empty()) {
    const PFileSearchResult walk = PFileSearch::findByName(folder, names);
    for (const std::string& missing : pending) {
      if (found.count(missing) != 0) continue;
      const auto paths = walk.found.find(PPathFilterTable::fileName(missing));
      if (paths == walk.found.end()) continue;
      for (const std::string& path : paths->second) {
        if (checker_(path) == PFileCheck::kOk) {
          found[missing] = path;
          break;
        }
      }
    }
  }
  // Resolved in the order given, so "all files resolved!" comes once, last.
  int count = 0;
  for (const std::string& missing : pending) {
    const auto it = found.find(missing);
    if (it == found.end()) continue;
    resolve(missing, it->second);
    ++count;
  }
  return count;
}

bool PMissingFileResolver::skip(const std::string& missing) {
  if (!isPending(missing)) return false;
  if (std::find(skipped_.begin(), skipped_.end(), missing) == skipped_.end()) skipped_.push_back(missing);
  return true;
}

std::vector<std::string> PMissingFileResolver::unresolved() const {
  std::vector<std::string> out;
  for (const std::string& path : missing_) {
    if (resolved_.count(path) == 0 && std::find(skipped_.begin(), skipped_.end(), path) == skipped_.end()) {
      out.push_back(path);
    }
  }
  return out;
}

std::vector<std::string> PMissingFileResolver::skipped() const {
  std::vector<std::string> out;
  for (const std::string& path : missing_) {
    if (std::find(skipped_.begin(), skipped_.end(), path) != skipped_.end()) out.push_back(path);
  }
  return out;
}

}  // namespace vantor
