#pragma once
// A clip's edit history: one entry per process applied to it, in order,
// each with the process's class name, its parameters and the range it was
// applied to. An entry also keeps what it changed in the clip's material
// (the pieces it replaced and the file it wrote), so that the material
// before any entry can be rebuilt by taking the later entries back, newest
// first; removing, modifying or replacing an entry then runs the entries
// after it again from their stored parameters (PClipProcessor).

#include <cstdint>
#include <string>
#include <vector>

#include "audio/pool/PClipMaterial.h"
#include "foundation/FAttributes.h"
#include "foundation/FRef.h"
#include "foundation/FShared.h"

namespace vantor {

struct PEditHistoryEntry {
  std::string processClass;      // e.g. "PGain"
  FRef<FAttributes> parameters;  // the process's parameter set (never null)
  int64_t start = 0;             // the range in the clip's frames
  int64_t length = 0;
  int32_t resultFile = 0;            // the cluster file the result went to
  std::vector<PClipPiece> replaced;  // the pieces the result replaced
};

class PEditHistory : public FShared {
  VANTOR_CLASS(PEditHistory)
 public:
  PEditHistory() = default;
  // A copy whose entries share nothing with other's (parameter sets copied).
  FRef<PEditHistory> clone() const;

  const std::vector<PEditHistoryEntry>& entries() const { return entries_; }
  bool empty() const { return entries_.empty(); }
  size_t size() const { return entries_.size(); }
  void append(PEditHistoryEntry entry) { entries_.push_back(std::move(entry)); }
  // Keeps the first count entries.
  void truncate(size_t count);

  // The entry's name in the "Action" column: the process's display name, or
  // its class name when no such process is known.
  static std::string actionName(const PEditHistoryEntry& entry);
  // "Offline Process History for %s" with the clip's name.
  static std::string title(const std::string& clipName);

  // Archive, version 0: 32-bit entry count; per entry the class name
  // (string), the parameters (an FAttributes record), start and length
  // (64-bit), the result file (32-bit), then the replaced pieces as a 32-bit
  // count and per piece file (32-bit), start and length (64-bit). Damaged
  // counts, ranges or pieces are refused.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  std::vector<PEditHistoryEntry> entries_;
};

}  // namespace vantor
