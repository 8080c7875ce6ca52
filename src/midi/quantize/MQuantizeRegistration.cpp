#include "midi/MMidiInit.h"
#include "midi/quantize/MGridQuantize.h"
#include "midi/quantize/MMidiQuantize.h"
#include "midi/quantize/MNoteQuantizeCommand.h"
#include "midi/quantize/MQuantizeKeyCommand.h"
#include "midi/quantize/MQuantizePattern.h"

namespace vantor {

void registerQuantizeClasses() {
  MMidiQuantize::classDescriptor();
  MGridQuantize::classDescriptor();
  MQuantizePattern::classDescriptor();
  MNoteQuantizeCommand::classDescriptor();
  MNoteFreezeCommand::classDescriptor();
  MQuantizeKeyCommand::classDescriptor();
  registerQuantizeKeyCommands();
}

}  // namespace vantor
