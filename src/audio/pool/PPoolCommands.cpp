#include "audio/pool/PPoolCommands.h"

#include <algorithm>

namespace vantor {

VANTOR_DEFINE_CLASS(PAddClipsCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(PRemoveClipsCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(PAddRegionsCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(PCreateFolderCommand, MCommand, 0)
VANTOR_DEFINE_CLASS(PSetRecordFolderCommand, MCommand, 0)

void registerPoolCommandClasses() {
  PAddClipsCommand::classDescriptor();
  PRemoveClipsCommand::classDescriptor();
  PAddRegionsCommand::classDescriptor();
  PCreateFolderCommand::classDescriptor();
  PSetRecordFolderCommand::classDescriptor();
}

PAddClipsCommand::PAddClipsCommand(FRef<PAudioPool> pool, std::vector<FRef<PAudioClip>> clips, FRef<GTreeEntry> folder,
                                   std::string description)
    : pool_(std::move(pool)),
      clips_(std::move(clips)),
      folder_(std::move(folder)),
      description_(std::move(description)) {}

bool PAddClipsCommand::doPerform() {
  if (!pool_ || clips_.empty()) return refuse("");
  for (const auto& clip : clips_) {
    if (!clip || pool_->indexOf(clip.get()) >= 0) return refuse("");
  }
  idBefore_ = pool_->nextPoolID();
  for (const auto& clip : clips_) (void)pool_->addClip(clip, folder_.get());
  idAfter_ = pool_->nextPoolID();
  return true;
}

bool PAddClipsCommand::doUndo() {
  places_.assign(clips_.size(), {});
  for (size_t i = clips_.size(); i-- > 0;) (void)pool_->removeClip(clips_[i].get(), &places_[i]);
  pool_->setNextPoolID(idBefore_);
  return true;
}

bool PAddClipsCommand::doRedo() {
  for (const auto& place : places_) (void)pool_->restoreClip(place);
  places_.clear();
  pool_->setNextPoolID(idAfter_);
  return true;
}

PRemoveClipsCommand::PRemoveClipsCommand(FRef<PAudioPool> pool, std::vector<FRef<PAudioClip>> clips,
                                         std::string description)
    : pool_(std::move(pool)), clips_(std::move(clips)), description_(std::move(description)) {}

bool PRemoveClipsCommand::removeAll() {
  for (const auto& clip : clips_) {
    if (!clip || pool_->indexOf(clip.get()) < 0) return false;
  }
  places_.assign(clips_.size(), {});
  for (size_t i = 0; i < clips_.size(); ++i) (void)pool_->removeClip(clips_[i].get(), &places_[i]);
  return true;
}

bool PRemoveClipsCommand::doPerform() {
  if (!pool_ || clips_.empty()) return refuse("");
  return removeAll() || refuse("");
}

bool PRemoveClipsCommand::doUndo() {
  // Last removed first, so every clip and entry returns to its own index.
  for (size_t i = places_.size(); i-- > 0;) (void)pool_->restoreClip(places_[i]);
  places_.clear();
  return true;
}

bool PRemoveClipsCommand::doRedo() { return removeAll(); }

PAddRegionsCommand::PAddRegionsCommand(FRef<PAudioClip> clip, std::vector<FRef<MRegionMarker>> regions)
    : clip_(std::move(clip)), regions_(std::move(regions)) {}

bool PAddRegionsCommand::doPerform() {
  if (!clip_ || regions_.empty()) return refuse("");
  for (const auto& region : regions_) {
    if (!region || region->getEnd() > clip_->lengthFrames()) return refuse("");
  }
  for (const auto& region : regions_) clip_->addRegion(region);
  return true;
}

bool PAddRegionsCommand::doUndo() {
  for (const auto& region : regions_) (void)clip_->removeRegion(region.get());
  return true;
}

std::string freeFolderName(const GTreeEntry& parent, const std::string& base) {
  auto taken = [&](const std::string& name) {
    return std::any_of(parent.children().begin(), parent.children().end(),
                       [&](const auto& child) { return child->isFolder() && child->getName() == name; });
  };
  if (!taken(base)) return base;
  for (int n = 2;; ++n) {
    std::string name = base + " " + std::to_string(n);
    if (!taken(name)) return name;
  }
}

PCreateFolderCommand::PCreateFolderCommand(FRef<GTreeEntry> parent, std::string name)
    : parent_(std::move(parent)), folder_(makeRef<GTreeEntry>(GTreeEntry::Kind::kFolder, std::move(name))) {}

bool PCreateFolderCommand::doPerform() {
  if (!parent_ || !parent_->isFolder()) return refuse("");
  return parent_->insert(folder_) || refuse("");
}

bool PCreateFolderCommand::doUndo() { return parent_->remove(folder_.get()) >= 0; }

PSetRecordFolderCommand::PSetRecordFolderCommand(FRef<PAudioPool> pool, FRef<GTreeEntry> folder)
    : pool_(std::move(pool)), folder_(std::move(folder)) {}

bool PSetRecordFolderCommand::exchange() {
  if (!pool_ || (folder_ && !folder_->isFolder())) return refuse("");
  FRef<GTreeEntry> former = FRef<GTreeEntry>::share(pool_->getRecordFolder());
  pool_->setRecordFolder(folder_);
  folder_ = std::move(former);
  return true;
}

}  // namespace vantor
