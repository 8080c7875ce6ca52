#pragma once
// Resolves the files of a pool that are no longer where the project says:
// each missing path is located by hand ("Locate"), searched for under a
// chosen folder ("Search", through a PPathFilterTable), or skipped. It
// works on paths only: the pool hands in its missing paths and takes the
// resolved map back, and it never changes a file.

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "audio/pool/PPathFilterTable.h"
#include "foundation/FUserMessages.h"

namespace vantor {

enum class PFileCheck {
  kOk,           // a handler reads the file
  kCannotOpen,   // no such file, no permission, not a plain file
  kUnsupported,  // it opens, but no handler reads it
};

// Whether path is an audio file the pool can use.
using PFileChecker = std::function<PFileCheck(const std::string& path)>;

// The check through the registered file handlers.
PFileCheck checkAudioFile(const std::string& path);

class PMissingFileResolver {
 public:
  // missing: the paths the pool cannot find (repeats are taken once).
  // Reports go to messages, which must outlive the resolver.
  PMissingFileResolver(const std::vector<std::string>& missing, PFileChecker checker, FUserMessages& messages);

  // "Locate": takes newPath for missing. When the checker refuses it,
  // reports "Error: Can not open file!" or "Error: Invalid or unsupported
  // file!" and changes nothing. False too for a path that is not missing
  // (or resolved already). A located file that was skipped is resolved.
  [[nodiscard]] bool locate(const std::string& missing, const std::string& newPath);

  // "Search": for every unresolved path, the candidates of the table under
  // folder first (in their order), then the files of the same name under
  // folder (PFileSearch's order); the first the checker accepts resolves
  // it. Paths skipped are not searched for. Returns how many were
  // resolved. A folder that cannot be read reports "Error: Can not open
  // folder!" and resolves nothing.
  int search(const std::string& folder, const PPathFilterTable& table);

  // Leaves missing unresolved and out of later searches. False for a path
  // that is not missing.
  [[nodiscard]] bool skip(const std::string& missing);

  // Paths still missing and not skipped, in the order given.
  std::vector<std::string> unresolved() const;
  // Paths skipped, in the order given.
  std::vector<std::string> skipped() const;
  // Missing path -> the path where the file is now.
  const std::map<std::string, std::string>& resolved() const { return resolved_; }
  // True when every missing path is resolved ("all files resolved!").
  bool allResolved() const { return resolved_.size() == missing_.size(); }

 private:
  bool isPending(const std::string& path) const;
  void resolve(const std::string& missing, const std::string& found);

  std::vector<std::string> missing_;
  std::map<std::string, std::string> resolved_;
  std::vector<std::string> skipped_;
  PFileChecker checker_;
  FUserMessages& messages_;
};

}  // namespace vantor
