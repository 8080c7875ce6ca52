#include "audio/pool/MAudioEvent.h"

#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MAudioEvent, MEvent, 0)

bool MAudioEvent::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return MEvent::writeToArchive(archive) && archive.writeObject(clip_.get()) && s.writeInt64(clipStart_) &&
         s.writeInt64(clipLength_);
}

bool MAudioEvent::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  if (!MEvent::readFromArchive(archive)) return false;
  FRef<PAudioClip> clip;
  int64_t start = 0, length = 0;
  if (!archive.readObjectAs(&clip) || !s.readInt64(&start) || !s.readInt64(&length)) return false;
  if (start < 0 || length < 0) return false;
  clip_ = std::move(clip);
  clipStart_ = start;
  clipLength_ = length;
  return true;
}

}  // namespace vantor
