#include "model/tree/MRoot.h"

#include "model/tree/MProject.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MRoot, MGroupEvent, 5)

void MRootUpdater::lockWrite() {
  recursive_.lock();
  if (writeDepth_++ == 0) rw_.lock();
}

void MRootUpdater::unlockWrite() {
  if (--writeDepth_ == 0) rw_.unlock();
  recursive_.unlock();
}

MRoot::~MRoot() { unlinkProject(); }

MProject* MRoot::getProject() const { return dynamic_cast<MProject*>(getNode()); }

void MRoot::unlinkProject() {
  MProject* project = getProject();
  if (project != nullptr && project->getRoot() == this) project->setRoot(nullptr);
}

void MRoot::setNode(FRef<MDataNode> node) {
  unlinkProject();
  MGroupEvent::setNode(std::move(node));
  if (MProject* project = getProject()) project->setRoot(this);
}

bool MRoot::readFromArchive(FObjectArchive& archive) {
  unlinkProject();
  if (!MGroupEvent::readFromArchive(archive)) return false;
  if (MProject* project = getProject()) project->setRoot(this);
  return true;
}

}  // namespace vantor
