// A program outside Vantor that links the installed library: it makes a
// project of 96 BPM in 3/4, saves it, opens the file again and checks what
// it reads. Exits 0 when all of that worked.

#include <cmath>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "document/PDocument.h"
#include "document/PDocumentInit.h"
#include "document/PPreferences.h"
#include "document/PVersion.h"
#include "foundation/FUserMessages.h"
#include "model/time/MSignatureTrack.h"
#include "model/time/MTempoEvent.h"
#include "model/time/MTempoTrack.h"
#include "model/time/MTimeSignatureEvent.h"
#include "model/tree/MProject.h"

namespace {

class PrintedMessages : public vantor::FUserMessages {
 public:
  void report(Severity, std::string_view text) override {
    std::fprintf(stderr, "%.*s\n", int(text.size()), text.data());
  }
  int ask(std::string_view, const std::vector<std::string>&, int defaultChoice) override { return defaultChoice; }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: consumer PROJECT.vpr\n");
    return 2;
  }
  vantor::initializeDocument();
  PrintedMessages messages;
  vantor::PPreferences preferences;
  {
    vantor::PDocument document(messages, preferences);
    vantor::MProject& project = *document.project();
    project.getTempoNode()->tempoEvent(0)->setBPM(96);
    project.getTempoNode()->tempoChanged();
    project.getSignatureNode()->signature(0)->setSignature(3, 4);
    if (!document.save(argv[1])) return 1;
  }
  vantor::PDocument reread(messages, preferences);
  if (!reread.openForReading(argv[1])) return 1;
  const vantor::MProject& project = *reread.project();
  const double bpm = project.getTempoNode()->tempoEvent(0)->getBPM();
  const vantor::MTimeSignatureEvent& signature = *project.getSignatureNode()->signature(0);
  if (std::fabs(bpm - 96) > 1e-3 || signature.getNumerator() != 3 || signature.getDenominator() != 4) {
    std::fprintf(stderr, "read back %.4f BPM in %d/%d\n", bpm, signature.getNumerator(), signature.getDenominator());
    return 1;
  }
  std::printf("Vantor %s: saved and read back %s\n", vantor::kVersionNumber, argv[1]);
  return 0;
}
