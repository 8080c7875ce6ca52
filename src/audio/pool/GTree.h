#pragma once
// The pool's "Media Tree": folders that hold clip entries and further
// folders. A clip entry names its clip by "Pool ID"; an entry may also keep
// a "Document Path" (the file a library entry came from). One folder of the
// tree is the trash: clips put there are deleted with "Empty Trash".

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "foundation/FRef.h"
#include "foundation/FShared.h"

namespace vantor {

class GTreeEntry : public FShared {
  VANTOR_CLASS(GTreeEntry)
 public:
  enum class Kind : int16_t { kFolder = 0, kClip = 1, kTrash = 2 };

  GTreeEntry() = default;
  GTreeEntry(Kind kind, std::string name, uint32_t poolId = 0) : kind_(kind), name_(std::move(name)), poolId_(poolId) {}

  Kind getKind() const { return kind_; }
  bool isFolder() const { return kind_ != Kind::kClip; }
  const std::string& getName() const { return name_; }
  void setName(std::string name) { name_ = std::move(name); }
  // The clip of a clip entry (0 for folders).
  uint32_t getPoolID() const { return poolId_; }
  const std::string& getDocumentPath() const { return documentPath_; }
  void setDocumentPath(std::string path) { documentPath_ = std::move(path); }

  // The entries inside a folder, in order; a clip entry holds none.
  const std::vector<FRef<GTreeEntry>>& children() const { return children_; }
  // Appends entry at index (the end by default); false for a clip entry or
  // a missing entry.
  bool insert(FRef<GTreeEntry> entry, size_t index = static_cast<size_t>(-1));
  // Takes entry out of this folder; returns its index, or -1 when it is not
  // a child.
  int64_t remove(const GTreeEntry* entry);

  // The folder that holds the clip entry of poolId at any depth, its index
  // there, or nullptr.
  GTreeEntry* findClipEntry(uint32_t poolId, size_t* index = nullptr);
  // Visits this entry and every entry below it, parents first.
  void forEach(const std::function<void(GTreeEntry&)>& visit);
  // The folder named by a path of folder names separated by '/' below this
  // entry ("" is this entry), or nullptr.
  GTreeEntry* findFolder(const std::string& path);

  // Archive: kind (16-bit), name, "Pool ID" (32-bit), "Document Path"
  // (string), 32-bit child count and the children (object records). A clip
  // entry with children is refused.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // "Name", "Pool ID", "Document Path".
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  Kind kind_ = Kind::kFolder;
  std::string name_;
  uint32_t poolId_ = 0;
  std::string documentPath_;
  std::vector<FRef<GTreeEntry>> children_;
};

// The tree: its root folder ("Media Tree").
class GTree : public FShared {
  VANTOR_CLASS(GTree)
 public:
  static constexpr const char* kRootName = "Media Tree";
  GTree();
  GTreeEntry* root() const { return root_.get(); }

  // Archive: the root entry (object record).
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  FRef<GTreeEntry> root_;
};

}  // namespace vantor
