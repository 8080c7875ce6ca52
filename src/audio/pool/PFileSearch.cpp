#include "audio/pool/PFileSearch.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace vantor {

namespace fs = std::filesystem;

PFileSearchResult PFileSearch::findByName(const std::string& folder, const std::set<std::string>& names, int maxDepth,
                                          int64_t maxEntries) {
  PFileSearchResult result;
  std::set<std::pair<dev_t, ino_t>> entered;
  std::vector<std::string> level{folder};  // the folders of the current depth
  int64_t entries = 0;
  for (int depth = 0; !level.empty(); ++depth) {
    if (depth > maxDepth) {
      result.cutShort = true;
      break;
    }
    std::vector<std::string> next;
    std::map<std::string, std::vector<std::string>> foundHere;
    for (const std::string& dir : level) {
      struct stat info {};
      if (::stat(dir.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) continue;
      if (!entered.insert({info.st_dev, info.st_ino}).second) continue;
      std::error_code ec;
      for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        if (++entries > maxEntries) {
          result.cutShort = true;
          break;
        }
        // status() follows links: a link to a folder is walked, one to a
        // file is a match of its own name.
        const fs::file_status status = it->status(ec);
        if (ec) {
          ec.clear();
          continue;
        }
        const std::string path = it->path().string();
        if (fs::is_directory(status)) {
          next.push_back(path);
        } else if (fs::is_regular_file(status) && names.count(it->path().filename().string()) != 0) {
          foundHere[it->path().filename().string()].push_back(path);
        }
      }
      if (result.cutShort) break;
    }
    for (auto& [name, paths] : foundHere) {
      std::sort(paths.begin(), paths.end());
      auto& all = result.found[name];
      all.insert(all.end(), paths.begin(), paths.end());
    }
    if (result.cutShort) break;
    std::sort(next.begin(), next.end());
    level = std::move(next);
  }
  return result;
}

}  // namespace vantor
