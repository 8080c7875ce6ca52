#pragma once
// Finds files by name under a folder, for the missing-file resolver.
//
// The walk goes breadth first, follows symbolic links to folders but enters
// each folder (by device and inode) once, so a link that points back up
// the tree cannot loop; it goes at most kMaxDepth folders deep and looks at
// most kMaxEntries entries, so a search started at "/" ends too. Folders it
// may not read are passed over. Among several files of one name the
// shallowest comes first, and among equally deep ones the smaller path in
// byte order: the same tree always gives the same choice.

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace vantor {

struct PFileSearchResult {
  // For each wanted name found, its paths in the order described above.
  std::map<std::string, std::vector<std::string>> found;
  // True when the walk stopped at kMaxEntries or kMaxDepth before the end.
  bool cutShort = false;
};

class PFileSearch {
 public:
  static constexpr int kMaxDepth = 64;
  static constexpr int64_t kMaxEntries = 2'000'000;

  // Walks folder (see above) for regular files whose names are in names.
  // A folder that cannot be read gives an empty result.
  static PFileSearchResult findByName(const std::string& folder, const std::set<std::string>& names,
                                      int maxDepth = kMaxDepth, int64_t maxEntries = kMaxEntries);
};

}  // namespace vantor
