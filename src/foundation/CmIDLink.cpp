#include "foundation/CmIDLink.h"

namespace vantor {

VANTOR_DEFINE_ABSTRACT_CLASS(CmIDLink, CmObject, 0)

void CmIDLink::release() {
  if (--refCount_ == 0) delete this;
}

}  // namespace vantor
