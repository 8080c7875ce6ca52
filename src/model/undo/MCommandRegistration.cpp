#include "model/MModelInit.h"

#include "model/edit/MAttributeCommands.h"
#include "model/edit/MAutoFadeCommand.h"
#include "model/edit/MInsertCommand.h"
#include "model/edit/MMoveCommand.h"
#include "model/edit/MNodeCommands.h"
#include "model/edit/MSizeCommand.h"
#include "model/edit/MTrackMixCommands.h"
#include "model/edit/MTrackCommands.h"
#include "model/edit/MVGroupCommands.h"
#include "model/undo/GUndoManager.h"
#include "model/undo/MCommand.h"
#include "model/undo/MCompositeCommands.h"

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
  // The mixer channel of tracks and the project's automatic fades.
  MTrackVolumeCommand::classDescriptor();
  MTrackPanCommand::classDescriptor();
  MSoloCommand::classDescriptor();
  MAutoFadeCommand::classDescriptor();
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
