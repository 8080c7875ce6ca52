// Feeds arbitrary bytes to the object archive reader, in both byte orders,
// with every class of the library registered. A graph that was read must
// write, read back and write again to the same bytes (write-back check).

#include <cstddef>
#include <cstdint>
#include <vector>

#include "document/PDocumentInit.h"
#include "foundation/FMemoryStream.h"
#include "foundation/FObjectArchive.h"

namespace {

std::vector<uint8_t> written(const vantor::CmObject* root, int16_t swap, bool* complete) {
  vantor::FMemoryStream out;
  out.setSwap(swap);
  vantor::FObjectArchive writer(out);
  if (!writer.writeArchive(root)) __builtin_trap();
  *complete = writer.lostObjects().empty();
  return out.takeData();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool initialized = (vantor::initializeDocument(), true);
  (void)initialized;
  for (int16_t swap : {int16_t{1}, int16_t{0}}) {
    vantor::FMemoryStream stream(data, static_cast<int64_t>(size));
    stream.setSwap(swap);
    vantor::FObjectArchive archive(stream);
    bool ok = false;
    vantor::FRef<vantor::CmObject> root = archive.readArchive(&ok);
    if (!ok || !root) continue;
    bool complete = false;
    const std::vector<uint8_t> first = written(root.get(), swap, &complete);
    vantor::FMemoryStream again(first);
    again.setSwap(swap);
    vantor::FObjectArchive reader(again);
    vantor::FRef<vantor::CmObject> back = reader.readArchive(&ok);
    // What this program wrote, it reads.
    if (!ok) __builtin_trap();
    // Objects left out of the first write (a class that cannot write what it
    // read) change the class table; otherwise the bytes must not change.
    bool completeAgain = false;
    if (complete && written(back.get(), swap, &completeAgain) != first) __builtin_trap();
  }
  return 0;
}
