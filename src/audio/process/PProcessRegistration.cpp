#include "audio/process/PProcessRegistration.h"

#include "audio/process/PClipStateCommand.h"
#include "audio/process/PConvolution.h"
#include "audio/process/PDCOffset.h"
#include "audio/process/PEcho.h"
#include "audio/process/PEditHistory.h"
#include "audio/process/PEnvelope.h"
#include "audio/process/PEvtdetection.h"
#include "audio/process/PFadeProcess.h"
#include "audio/process/PGain.h"
#include "audio/process/PNoiseGate.h"
#include "audio/process/PSilence.h"
#include "audio/process/PStripSilenceCommand.h"

namespace vantor {

void registerAudioProcessClasses() {
  PAudioProcess::classDescriptor();
  PAProcessWithNormalize::classDescriptor();
  PAudioAnalyze::classDescriptor();
  PGain::classDescriptor();
  PSilence::classDescriptor();
  PEnvelope::classDescriptor();
  PFadeProcess::classDescriptor();
  PFadeIn::classDescriptor();
  PFadeOut::classDescriptor();
  PNoiseGate::classDescriptor();
  PDCOffsetPrepare::classDescriptor();
  PDCOffset::classDescriptor();
  PEcho::classDescriptor();
  PConvolution::classDescriptor();
  PEvtdetection::classDescriptor();
  PEditHistory::classDescriptor();
  PClipStateCommand::classDescriptor();
  PAudioProcessCommand::classDescriptor();
  PEditHistoryCommand::classDescriptor();
  PFreezeEditsCommand::classDescriptor();
  PStripSilenceCommand::classDescriptor();
}

const std::vector<const char*>& audioProcessClassNames() {
  static const std::vector<const char*> names{"PGain",    "PSilence",     "PEnvelope",        "PFadeIn",
                                              "PFadeOut", "PNoiseGate",   "PDCOffsetPrepare", "PDCOffset",
                                              "PEcho",    "PConvolution", "PEvtdetection"};
  return names;
}

}  // namespace vantor
