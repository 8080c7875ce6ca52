#include "model/markers/MTransport.h"

#include <algorithm>

#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MTransport, FShared, 0)

void MTransport::setLeftLocator(double pulses) { left_ = std::max(0.0, pulses); }
void MTransport::setRightLocator(double pulses) { right_ = std::max(0.0, pulses); }

bool MTransport::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  return s.writeDouble(left_) && s.writeDouble(right_) && s.writeInt16(cycle_ ? 1 : 0);
}

bool MTransport::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  int16_t cycle = 0;
  if (!s.readDouble(&left_) || !s.readDouble(&right_) || !s.readInt16(&cycle)) return false;
  // Damaged values fall back to the nearest sensible position.
  if (!(left_ >= 0)) left_ = 0;
  if (!(right_ >= 0)) right_ = 0;
  cycle_ = cycle != 0;
  return true;
}

}  // namespace vantor
