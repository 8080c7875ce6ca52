#include "audio/pool/PAudioPool.h"

#include <algorithm>
#include <unordered_set>

#include "foundation/FObjectArchive.h"
#include "model/tree/MProject.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PAudioPool, FShared, 0)

PAudioPool::PAudioPool() : tree_(makeRef<GTree>()) { ensureTrash(); }

PAudioPool* PAudioPool::poolOf(const MProject& project) { return dynamic_cast<PAudioPool*>(project.getPool()); }

PAudioPool* PAudioPool::ensurePool(MProject& project) {
  PAudioPool* pool = poolOf(project);
  if (pool == nullptr) {
    auto made = makeRef<PAudioPool>();
    pool = made.get();
    project.setPool(std::move(made));
  }
  // The project's folder rules: it follows the file when the project moves.
  if (!project.getWorkingDirectory().empty()) pool->setWorkingDirectory(project.getWorkingDirectory());
  return pool;
}

void PAudioPool::ensureTrash() {
  for (const auto& child : tree_->root()->children()) {
    if (child->getKind() == GTreeEntry::Kind::kTrash) return;
  }
  (void)tree_->root()->insert(makeRef<GTreeEntry>(GTreeEntry::Kind::kTrash, kTrashName));
}

GTreeEntry* PAudioPool::trash() const {
  for (const auto& child : tree_->root()->children()) {
    if (child->getKind() == GTreeEntry::Kind::kTrash) return child.get();
  }
  return nullptr;
}

bool PAudioPool::isInTrash(const PAudioClip* clip) const {
  GTreeEntry* bin = trash();
  return clip != nullptr && bin != nullptr && bin->findClipEntry(clip->getPoolID()) != nullptr;
}

PAudioClip* PAudioPool::findClip(uint32_t poolId) const {
  for (const auto& clip : clips_) {
    if (clip->getPoolID() == poolId) return clip.get();
  }
  return nullptr;
}

PAudioClip* PAudioPool::findClip(const std::string& name) const {
  for (const auto& clip : clips_) {
    if (clip->getName() == name) return clip.get();
  }
  return nullptr;
}

int64_t PAudioPool::indexOf(const PAudioClip* clip) const {
  for (size_t i = 0; i < clips_.size(); ++i) {
    if (clips_[i].get() == clip) return static_cast<int64_t>(i);
  }
  return -1;
}

void PAudioPool::setNextPoolID(uint32_t next) {
  for (const auto& clip : clips_) next = std::max(next, clip->getPoolID() + 1);
  nextId_ = std::max(next, 1u);
}

uint32_t PAudioPool::addClip(FRef<PAudioClip> clip, GTreeEntry* folder) {
  if (!clip || indexOf(clip.get()) >= 0) return 0;
  const uint32_t id = nextId_++;
  clip->setPoolID(id);
  if (folder == nullptr || !folder->isFolder()) folder = tree_->root();
  (void)folder->insert(makeRef<GTreeEntry>(GTreeEntry::Kind::kClip, clip->getName(), id));
  clips_.push_back(std::move(clip));
  return id;
}

bool PAudioPool::removeClip(const PAudioClip* clip, ClipPlace* place) {
  const int64_t index = indexOf(clip);
  if (index < 0) return false;
  ClipPlace out;
  out.clip = clips_[static_cast<size_t>(index)];
  out.index = static_cast<size_t>(index);
  size_t entryIndex = 0;
  if (GTreeEntry* folder = tree_->root()->findClipEntry(clip->getPoolID(), &entryIndex)) {
    out.folder = FRef<GTreeEntry>::share(folder);
    out.entry = folder->children()[entryIndex];
    out.entryIndex = entryIndex;
    (void)folder->remove(out.entry.get());
  }
  clips_.erase(clips_.begin() + index);
  if (place != nullptr) *place = std::move(out);
  return true;
}

bool PAudioPool::restoreClip(const ClipPlace& place) {
  if (!place.clip || indexOf(place.clip.get()) >= 0) return false;
  clips_.insert(clips_.begin() + static_cast<std::ptrdiff_t>(std::min(place.index, clips_.size())), place.clip);
  if (place.folder && place.entry) (void)place.folder->insert(place.entry, place.entryIndex);
  return true;
}

void PAudioPool::dropUnknownEntries(GTreeEntry& folder) {
  std::vector<const GTreeEntry*> unknown;
  for (const auto& child : folder.children()) {
    if (child->getKind() == GTreeEntry::Kind::kClip) {
      if (findClip(child->getPoolID()) == nullptr) unknown.push_back(child.get());
    } else {
      dropUnknownEntries(*child);
    }
  }
  for (const GTreeEntry* entry : unknown) (void)folder.remove(entry);
}

bool PAudioPool::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  bool ok =
      s.writeString(workingDirectory_) && s.writeUInt32(nextId_) && s.writeUInt32(static_cast<uint32_t>(clips_.size()));
  for (const auto& clip : clips_) ok = ok && archive.writeObject(clip.get());
  return ok && archive.writeObject(tree_.get()) && archive.writeObject(recordFolder_.get());
}

bool PAudioPool::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  std::string directory;
  uint32_t nextId = 0, count = 0;
  if (!s.readString(&directory) || !s.readUInt32(&nextId) || !s.readUInt32(&count)) return false;
  const int64_t left = s.remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) > left / 2) return false;
  std::vector<FRef<PAudioClip>> clips;
  clips.reserve(count);
  std::unordered_set<uint32_t> ids;
  for (uint32_t i = 0; i < count; ++i) {
    FRef<PAudioClip> clip;
    if (!archive.readObjectAs(&clip)) return false;
    if (!clip) continue;
    const uint32_t id = clip->getPoolID();
    if (id == 0 || id >= nextId || !ids.insert(id).second) return false;
    clips.push_back(std::move(clip));
  }
  FRef<GTree> tree;
  FRef<GTreeEntry> recordFolder;
  if (!archive.readObjectAs(&tree) || !archive.readObjectAs(&recordFolder)) return false;
  workingDirectory_ = std::move(directory);
  nextId_ = nextId;
  clips_ = std::move(clips);
  tree_ = tree ? std::move(tree) : makeRef<GTree>();
  dropUnknownEntries(*tree_->root());
  ensureTrash();
  // A record folder that is not a folder of this tree falls back to the root.
  bool inTree = false;
  tree_->root()->forEach([&](GTreeEntry& entry) { inTree = inTree || &entry == recordFolder.get(); });
  recordFolder_ = inTree && recordFolder->isFolder() ? std::move(recordFolder) : nullptr;
  return true;
}

}  // namespace vantor
