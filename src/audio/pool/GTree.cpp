#include "audio/pool/GTree.h"

#include <algorithm>

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(GTreeEntry, FShared, 0)
VANTOR_DEFINE_CLASS(GTree, FShared, 0)

bool GTreeEntry::insert(FRef<GTreeEntry> entry, size_t index) {
  if (!entry || !isFolder()) return false;
  index = std::min(index, children_.size());
  children_.insert(children_.begin() + static_cast<std::ptrdiff_t>(index), std::move(entry));
  return true;
}

int64_t GTreeEntry::remove(const GTreeEntry* entry) {
  for (size_t i = 0; i < children_.size(); ++i) {
    if (children_[i].get() == entry) {
      children_.erase(children_.begin() + static_cast<std::ptrdiff_t>(i));
      return static_cast<int64_t>(i);
    }
  }
  return -1;
}

GTreeEntry* GTreeEntry::findClipEntry(uint32_t poolId, size_t* index) {
  for (size_t i = 0; i < children_.size(); ++i) {
    GTreeEntry& child = *children_[i];
    if (child.kind_ == Kind::kClip && child.poolId_ == poolId) {
      if (index != nullptr) *index = i;
      return this;
    }
    if (GTreeEntry* found = child.findClipEntry(poolId, index)) return found;
  }
  return nullptr;
}

void GTreeEntry::forEach(const std::function<void(GTreeEntry&)>& visit) {
  visit(*this);
  for (const auto& child : children_) child->forEach(visit);
}

GTreeEntry* GTreeEntry::findFolder(const std::string& path) {
  GTreeEntry* at = this;
  size_t begin = 0;
  while (begin < path.size()) {
    size_t end = path.find('/', begin);
    if (end == std::string::npos) end = path.size();
    const std::string name = path.substr(begin, end - begin);
    begin = end + 1;
    if (name.empty()) continue;
    GTreeEntry* next = nullptr;
    for (const auto& child : at->children_) {
      if (child->isFolder() && child->name_ == name) {
        next = child.get();
        break;
      }
    }
    if (next == nullptr) return nullptr;
    at = next;
  }
  return at;
}

bool GTreeEntry::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  bool ok = s.writeInt16(static_cast<int16_t>(kind_)) && s.writeString(name_) && s.writeUInt32(poolId_) &&
            s.writeString(documentPath_) && s.writeUInt32(static_cast<uint32_t>(children_.size()));
  for (const auto& child : children_) ok = ok && archive.writeObject(child.get());
  return ok;
}

bool GTreeEntry::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  int16_t kind = 0;
  std::string name, path;
  uint32_t poolId = 0, count = 0;
  if (!s.readInt16(&kind) || !s.readString(&name) || !s.readUInt32(&poolId) || !s.readString(&path) ||
      !s.readUInt32(&count)) {
    return false;
  }
  if (kind < 0 || kind > 2 || (kind == static_cast<int16_t>(Kind::kClip) && count > 0)) return false;
  const int64_t left = s.remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) > left / 2) return false;
  std::vector<FRef<GTreeEntry>> children;
  children.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    FRef<GTreeEntry> child;
    // A back reference would put one entry in two folders: refused.
    if (!archive.readObjectAs(&child) || archive.lastWasBackReference()) return false;
    if (child) children.push_back(std::move(child));
  }
  kind_ = static_cast<Kind>(kind);
  name_ = std::move(name);
  poolId_ = poolId;
  documentPath_ = std::move(path);
  children_ = std::move(children);
  return true;
}

bool GTreeEntry::storeAttributes(FAttributes& attributes) const {
  attributes.setString("Name", name_);
  attributes.setInt("Pool ID", poolId_);
  attributes.setString("Document Path", documentPath_);
  return true;
}

bool GTreeEntry::restoreAttributes(const FAttributes& attributes) {
  int64_t id = 0;
  (void)attributes.getString("Name", &name_);
  if (attributes.getInt("Pool ID", &id)) poolId_ = static_cast<uint32_t>(id);
  (void)attributes.getString("Document Path", &documentPath_);
  kind_ = poolId_ != 0 ? Kind::kClip : Kind::kFolder;
  return true;
}

GTree::GTree() : root_(makeRef<GTreeEntry>(GTreeEntry::Kind::kFolder, kRootName)) {}

bool GTree::writeToArchive(FObjectArchive& archive) const { return archive.writeObject(root_.get()); }

bool GTree::readFromArchive(FObjectArchive& archive) {
  FRef<GTreeEntry> root;
  if (!archive.readObjectAs(&root) || !root || !root->isFolder()) return false;
  root_ = std::move(root);
  return true;
}

}  // namespace vantor
