// Feeds arbitrary bytes to the project container reader and reads every
// root it lists.

#include <cstddef>
#include <cstdint>

#include "document/PDocumentInit.h"
#include "foundation/FMemoryStream.h"
#include "foundation/FProjectContainer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool initialized = (vantor::initializeDocument(), true);
  (void)initialized;
  vantor::FMemoryStream stream(data, static_cast<int64_t>(size));
  vantor::FContainerReader reader(stream);
  if (!reader.open(vantor::kProjectFormType)) return 0;
  for (const auto& root : reader.roots()) {
    bool ok = false;
    vantor::FRef<vantor::CmObject> object = reader.readRoot(root.name, &ok);
  }
  return 0;
}
