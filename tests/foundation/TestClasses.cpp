#include "support/TestClasses.h"

#include "foundation/FInitializer.h"

namespace vantor::test {

VANTOR_DEFINE_CLASS(TNode, FShared, 3)
VANTOR_DEFINE_CLASS(TTrailing, FShared, 0)
VANTOR_DEFINE_CLASS(TBroken, FShared, 0)
VANTOR_DEFINE_CLASS(TUnwritable, FShared, 0)
VANTOR_DEFINE_CLASS(TPlain, CmObject, 0)
VANTOR_DEFINE_CLASS(TPlainHolder, FShared, 0)

void registerTestClasses() {
  initializeFoundation();
  TNode::classDescriptor();
  TTrailing::classDescriptor();
  TBroken::classDescriptor();
  TUnwritable::classDescriptor();
  TPlain::classDescriptor();
  TPlainHolder::classDescriptor();
}

}  // namespace vantor::test
