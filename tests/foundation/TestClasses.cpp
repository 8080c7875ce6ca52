#include "support/TestClasses.h"

#include "foundation/FInitializer.h"
#include "foundation/FMemoryStream.h"

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

std::vector<uint8_t> archiveBytes(const CmObject* root, int16_t swap) {
  FMemoryStream stream;
  stream.setSwap(swap);
  FObjectArchive archive(stream);
  if (!archive.writeArchive(root)) return {};
  return stream.takeData();
}

FRef<CmObject> readArchiveBytes(const std::vector<uint8_t>& bytes, bool* ok, int16_t swap) {
  FMemoryStream stream(bytes);
  stream.setSwap(swap);
  FObjectArchive archive(stream);
  return archive.readArchive(ok);
}

}  // namespace vantor::test
