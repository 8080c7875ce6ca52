#include "audio/pool/PPathFilterTable.h"

#include <algorithm>
#include <filesystem>

namespace vantor {

namespace {

// The names between separators ("/" or "\"), without empty ones and ".".
std::vector<std::string_view> splitPath(std::string_view path) {
  std::vector<std::string_view> parts;
  size_t start = 0;
  for (size_t i = 0; i <= path.size(); ++i) {
    if (i < path.size() && path[i] != '/' && path[i] != '\\') continue;
    const std::string_view part = path.substr(start, i - start);
    if (!part.empty() && part != ".") parts.push_back(part);
    start = i + 1;
  }
  return parts;
}

std::string joinParts(std::string base, const std::vector<std::string_view>& parts, size_t from) {
  for (size_t i = from; i < parts.size(); ++i) {
    if (!base.empty() && base.back() != '/') base += '/';
    base += parts[i];
  }
  return base;
}

// The search folder and up to ascend folders above it, nearest first.
std::vector<std::string> searchBases(const std::string& folder, int ascend) {
  std::filesystem::path base = std::filesystem::path(folder).lexically_normal();
  if (!base.has_filename() && base.has_relative_path()) base = base.parent_path();  // "a/b/" -> "a/b"
  std::vector<std::string> bases{base.string()};
  for (int level = 0; level < ascend && base.has_relative_path(); ++level) {
    base = base.parent_path();
    bases.push_back(base.string());
  }
  return bases;
}

void addUnique(std::vector<std::string>& list, std::string path) {
  if (std::find(list.begin(), list.end(), path) == list.end()) list.push_back(std::move(path));
}

}  // namespace

const std::vector<std::string>& PPathFilterTable::columnLabels() {
  static const std::vector<std::string> labels = {"Filter", "Translation", "Strip Top", "Ascend"};
  return labels;
}

void PPathFilterTable::add(PPathFilter row) {
  row.stripTop = std::max(row.stripTop, 0);
  row.ascend = std::max(row.ascend, 0);
  rows_.push_back(std::move(row));
}

bool PPathFilterTable::remove(size_t index) {
  if (index >= rows_.size()) return false;
  rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(index));
  return true;
}

std::string PPathFilterTable::fileName(std::string_view missingPath) {
  const size_t slash = missingPath.find_last_of("/\\");
  return std::string(slash == std::string_view::npos ? missingPath : missingPath.substr(slash + 1));
}

std::vector<std::string> PPathFilterTable::candidates(std::string_view missingPath,
                                                      const std::string& searchFolder) const {
  const std::vector<std::string_view> parts = splitPath(missingPath);
  std::vector<std::string> out;
  if (parts.empty() || fileName(missingPath).empty()) return out;
  for (const PPathFilter& row : rows_) {
    const std::vector<std::string_view> prefix = splitPath(row.filter);
    if (prefix.size() >= parts.size() || !std::equal(prefix.begin(), prefix.end(), parts.begin())) continue;
    if (!row.translation.empty()) addUnique(out, joinParts(row.translation, parts, prefix.size()));
    // The rest after the prefix, less Strip Top folders; the name stays.
    const size_t from = std::min(prefix.size() + static_cast<size_t>(row.stripTop), parts.size() - 1);
    for (const std::string& base : searchBases(searchFolder, row.ascend)) addUnique(out, joinParts(base, parts, from));
  }
  return out;
}

}  // namespace vantor
