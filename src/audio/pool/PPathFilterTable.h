#pragma once
// The path filter table of the missing-file resolver: rows that turn the
// path a project remembers into the places where the file may be now.
//
// A row's columns mean:
//   "Filter"      a path prefix, matched by whole folder names (so
//                 "/Volumes/Audio" matches "/Volumes/Audio/a.wav" but not
//                 "/Volumes/AudioX/a.wav"); empty matches every path;
//   "Translation" what replaces the matched prefix: the translated path is
//                 a candidate of its own ("/Volumes/Audio" -> "/mnt/audio");
//                 empty gives no such candidate;
//   "Strip Top"   how many leading folders of the rest of the path (what
//                 follows the prefix) to drop before the rest is looked for
//                 under the search folder; the file name itself is never
//                 dropped;
//   "Ascend"      how many folder levels above the search folder the rest
//                 is also looked for in (0: only in the search folder).
// Missing paths are split at "/" and also at "\", since projects made on
// other systems remember paths such as "C:\Audio\take.wav"; the
// translation and the search folder are paths of this system.

#include <string>
#include <string_view>
#include <vector>

namespace vantor {

struct PPathFilter {
  std::string filter;
  std::string translation;
  int stripTop = 0;
  int ascend = 0;
  bool operator==(const PPathFilter&) const = default;
};

class PPathFilterTable {
 public:
  // The column headings, in order: "Filter", "Translation", "Strip Top",
  // "Ascend".
  static const std::vector<std::string>& columnLabels();

  // "Add Filter": appends a row. Negative counts are taken as 0.
  void add(PPathFilter row);
  // Removes the row at index; false (and nothing removed) when there is none.
  [[nodiscard]] bool remove(size_t index);
  const std::vector<PPathFilter>& rows() const { return rows_; }

  // The paths where missingPath may be found now, with searchFolder as the
  // chosen folder: for each row whose filter matches, in row order, its
  // translated path, then the rest of the path under the search folder and
  // each of its ascended parents (nearest first). Without duplicates.
  std::vector<std::string> candidates(std::string_view missingPath, const std::string& searchFolder) const;

  // The last part of a missing path ("take.wav" of "C:\Audio\take.wav"),
  // or "" for a path that ends in a separator.
  static std::string fileName(std::string_view missingPath);

 private:
  std::vector<PPathFilter> rows_;
};

}  // namespace vantor
