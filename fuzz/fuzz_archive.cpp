// Feeds arbitrary bytes to the object archive reader, in both byte orders,
// with every class of the library registered.

#include <cstddef>
#include <cstdint>

#include "document/PDocumentInit.h"
#include "foundation/FMemoryStream.h"
#include "foundation/FObjectArchive.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool initialized = (vantor::initializeDocument(), true);
  (void)initialized;
  for (int16_t swap : {int16_t{1}, int16_t{0}}) {
    vantor::FMemoryStream stream(data, static_cast<int64_t>(size));
    stream.setSwap(swap);
    vantor::FObjectArchive archive(stream);
    bool ok = false;
    vantor::FRef<vantor::CmObject> root = archive.readArchive(&ok);
    // A graph that was read must write again.
    if (ok && root) {
      vantor::FMemoryStream out;
      out.setSwap(swap);
      vantor::FObjectArchive writer(out);
      (void)writer.writeArchive(root.get());
    }
  }
  return 0;
}
