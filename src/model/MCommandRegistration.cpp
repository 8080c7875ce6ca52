#include "model/MModelInit.h"

#include "model/GUndoManager.h"
#include "model/MAttributeCommands.h"
#include "model/MCommand.h"
#include "model/MCompositeCommands.h"
#include "model/MInsertCommand.h"
#include "model/MMoveCommand.h"
#include "model/MNodeCommands.h"
#include "model/MSizeCommand.h"
#include "model/MTrackCommands.h"
#include "model/MVGroupCommands.h"

namespace vantor {

void registerCommandClasses() {
  MCommand::classDescriptor();
  MMacroCommand::classDescriptor();
  // Insert, remove, replace.
  MInsertCommand::classDescriptor();
  MRemoveCommand::classDescriptor();
  MReplaceCommand::classDescriptor();
  MSplitCommand::classDescriptor();
  // Track list.
  MInsertTrackCommand::classDescriptor();
  MRemoveTrackCommand::classDescriptor();
  MMoveTrackCommand::classDescriptor();
  // Moves and sizes.
  MMoveInsideCommand::classDescriptor();
  MMoveCommand::classDescriptor();
  MSimpleMoveCommand::classDescriptor();
  MSizeCommand::classDescriptor();
  MSizeStartCommand::classDescriptor();
  MSizeEndCommand::classDescriptor();
  MOffsetCommand::classDescriptor();
  MLengthCommand::classDescriptor();
  MMoveStartCommand::classDescriptor();
  MMoveEndCommand::classDescriptor();
  // Attributes.
  MPriorityCommand::classDescriptor();
  MVerticalCommand::classDescriptor();
  MMuteCommand::classDescriptor();
  MEditLockCommand::classDescriptor();
  MRenameCommand::classDescriptor();
  MColorCommand::classDescriptor();
  // Virtual groups, nodes and domains.
  MVGroupCreateCommand::classDescriptor();
  MVGroupRemoveCommand::classDescriptor();
  MSetNodeCommand::classDescriptor();
  MNodeDomainCommand::classDescriptor();
  MEventDomainCommand::classDescriptor();
  // Composite edits.
  MRemoveOverlapsPostCommand::classDescriptor();
  MShuffleMoveVCommand::classDescriptor();
  MShuffleMoveCommand::classDescriptor();
  // The undo history of the document framework.
  GUndoAction::classDescriptor();
  GUndoManager::classDescriptor();
}

}  // namespace vantor
