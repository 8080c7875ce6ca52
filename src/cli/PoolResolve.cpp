#include "cli/PoolResolve.h"

#include <algorithm>
#include <filesystem>
#include <ostream>

#include "audio/pool/PAudioPool.h"
#include "audio/pool/PMissingFileMessages.h"
#include "audio/pool/PMissingFileResolver.h"
#include "cli/PoolCommands.h"

namespace vantor::cli {

namespace {

// A count of the filter table: digits only, 0 to 64 (deeper than any
// sensible folder tree).
bool parseCount(const std::string& text, int* out) {
  if (text.empty() || text.size() > 2 || text.find_first_not_of("0123456789") != std::string::npos) return false;
  *out = std::stoi(text);
  return *out <= 64;
}

std::vector<std::string> split(const std::string& text, char at) {
  std::vector<std::string> parts(1);
  for (char c : text) {
    if (c == at) {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

// The missing path that text names: the path itself, or the one missing
// file of a clip. "" after printing why there is none.
std::string missingPathOf(ShellSession& s, const std::vector<std::string>& missing, const std::string& text) {
  if (std::find(missing.begin(), missing.end(), text) != missing.end()) return text;
  const PAudioClip* clip = findPoolClip(PAudioPool::poolOf(s.project()), text);
  if (clip == nullptr) {
    s.fail("\"" + text + "\" is neither a missing file nor a clip of the pool");
    return "";
  }
  std::vector<std::string> own;
  for (const AudioFile& file : clip->getCluster()->files()) {
    if (std::find(missing.begin(), missing.end(), file.path) != missing.end()) own.push_back(file.path);
  }
  if (own.size() == 1) return own.front();
  if (own.empty()) {
    s.fail("\"" + clip->getName() + "\" has no missing file");
  } else {
    s.fail("\"" + clip->getName() + "\" has " + std::to_string(own.size()) + " missing files: locate each by its path");
  }
  return "";
}

// The pool keeps absolute paths (as import does), whatever folder the
// command runs in.
std::string absolutePath(const std::string& path) {
  std::error_code ec;
  const std::filesystem::path made = std::filesystem::absolute(path, ec);
  if (ec) return path;
  std::string text = made.lexically_normal().string();
  if (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

// The locates, then the search: false after printing why.
bool runResolver(ShellSession& s, const ResolveRequest& request, PMissingFileResolver& resolver,
                 const std::vector<std::string>& missing) {
  for (const auto& [what, newPath] : request.locates) {
    const std::string path = missingPathOf(s, missing, what);
    if (path.empty()) return false;
    // The resolver has told the user why a located file is refused.
    if (!resolver.locate(path, absolutePath(newPath)))
      return s.fail("\"" + newPath + "\" was not taken for \"" + path + "\"");
  }
  if (!request.folder) return true;
  std::error_code ec;
  if (!std::filesystem::is_directory(*request.folder, ec)) {
    return s.fail(std::string(kCannotOpenFolderMessage) + " (" + *request.folder + ")");
  }
  (void)resolver.search(absolutePath(*request.folder), request.filters);
  return true;
}

}  // namespace

bool parsePathFilter(const std::string& text, PPathFilter* out, std::string* error) {
  const size_t equals = text.find('=');
  *error = "a filter is FILTER=TRANSLATION[:STRIP_TOP[:ASCEND]] with counts from 0 to 64, not \"" + text + "\"";
  if (equals == std::string::npos) return false;
  const std::vector<std::string> rest = split(text.substr(equals + 1), ':');
  PPathFilter filter;
  filter.filter = text.substr(0, equals);
  filter.translation = rest[0];
  if (rest.size() > 3 || (rest.size() > 1 && !parseCount(rest[1], &filter.stripTop)) ||
      (rest.size() > 2 && !parseCount(rest[2], &filter.ascend))) {
    return false;
  }
  error->clear();
  *out = std::move(filter);
  return true;
}

bool parseLocate(const std::string& text, std::pair<std::string, std::string>* out) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0 || equals + 1 == text.size()) return false;
  *out = {text.substr(0, equals), text.substr(equals + 1)};
  return true;
}

bool resolveMissingFiles(ShellSession& s, const ResolveRequest& request, ResolveOutcome* outcome) {
  *outcome = {};
  PAudioPool& pool = *PAudioPool::ensurePool(s.project());
  const std::vector<std::string> missing = missingFilePaths(pool);
  PMissingFileResolver resolver(missing, checkAudioFile, s.context().messages);
  if (!runResolver(s, request, resolver, missing)) return false;
  FRef<MCommand> command = makeRelinkFilesCommand(pool, resolver.resolved(), &outcome->refused);
  if (command) {
    if (!s.perform(command)) return false;
    outcome->changed = true;
  }
  outcome->stillMissing = missingFilePaths(pool);
  for (const auto& [path, found] : resolver.resolved()) {
    const auto& still = outcome->stillMissing;
    if (std::find(still.begin(), still.end(), path) == still.end()) outcome->relinked.emplace_back(path, found);
  }
  return true;
}

void printResolveOutcome(std::ostream& out, const ResolveOutcome& outcome) {
  for (const auto& [path, found] : outcome.relinked) out << path << " -> " << found << "\n";
  for (const PRelinkRefusal& refusal : outcome.refused) out << "refused: " << refusal.reason << "\n";
  for (const std::string& path : outcome.stillMissing) out << "still missing: " << path << "\n";
  if (outcome.stillMissing.empty()) out << kAllFilesResolvedMessage << "\n";
}

}  // namespace vantor::cli
