#include "foundation/FShared.h"

namespace vantor {

VANTOR_DEFINE_ABSTRACT_CLASS(FShared, CmObject, 0)
VANTOR_DEFINE_ABSTRACT_CLASS(FThreadShared, CmObject, 0)

void FShared::release() {
  if (--refCount_ == 0) delete this;
}

void FThreadShared::release() {
  // The thread that drops the last reference destroys the object; acq_rel
  // makes the other threads' writes visible to the destructor.
  if (refCount_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

}  // namespace vantor
