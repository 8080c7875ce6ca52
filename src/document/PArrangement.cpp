#include "document/PArrangement.h"

#include "foundation/FObjectArchive.h"
#include "model/markers/MMarkerEvent.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MEventContainer.h"
#include "model/tree/MProject.h"

namespace vantor {

VANTOR_DEFINE_CLASS(PArrangement, FShared, 3)

FRef<PArrangement> PArrangement::createNew() {
  FRef<MRoot> root = MProject::createNew();
  if (!root) return nullptr;
  return makeRef<PArrangement>(std::move(root));
}

PArrangement::PArrangement() : transport_(makeRef<MTransport>()) {}

PArrangement::PArrangement(FRef<MRoot> root) : root_(std::move(root)), transport_(makeRef<MTransport>()) {
  linkTransport();
}

void PArrangement::setRoot(FRef<MRoot> root) {
  root_ = std::move(root);
  linkTransport();
}

void PArrangement::linkTransport() {
  MProject* project = getProject();
  if (project == nullptr) return;
  if (MTrackEvent* tempo = project->getTempoTrack()) {
    transport_->setTempo(dynamic_cast<const MTempoTrackNode*>(tempo->getNode()));
  }
  MTrackEvent* markers = project->getMarkerTrack();
  const MEventContainer* events =
      markers != nullptr && markers->getNode() != nullptr ? markers->getNode()->events() : nullptr;
  if (events == nullptr) return;
  for (const auto& event : *events) {
    if (auto* cycle = dynamic_cast<MCycleEvent*>(event.get())) cycle->setTransport(transport_);
  }
}

MProject* PArrangement::getProject() const { return root_ ? root_->getProject() : nullptr; }

bool PArrangement::readFromArchive(FObjectArchive& archive) {
  // Versions 0 to 3 share one layout: the root record.
  FRef<MRoot> root;
  if (!archive.readObjectAs(&root) || !root || root->getProject() == nullptr) return false;
  root_ = std::move(root);
  // The transport came later: an arrangement record may end before it.
  if (archive.stream().remaining() > 0) {
    FRef<MTransport> transport;
    if (!archive.readObjectAs(&transport)) return false;
    if (transport) transport_ = std::move(transport);
  }
  linkTransport();
  return true;
}

bool PArrangement::writeToArchive(FObjectArchive& archive) const {
  return root_ && archive.writeObject(root_.get()) && archive.writeObject(transport_.get());
}

}  // namespace vantor
