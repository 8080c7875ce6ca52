#pragma once
// Commands that create and dissolve virtual groups: sets of events in
// different nodes that are edited together. A group is an MVirtualGroup node
// naming its members by event ID, placed by an MVirtualGroupEvent in a node
// of the project (usually the project node itself).

#include <string>
#include <vector>

#include "foundation/FRef.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEvent.h"
#include "model/tree/MVirtualGroup.h"
#include "model/undo/MCommand.h"

namespace vantor {

// Creates a virtual group of members named name and places it in holder:
// the placement spans the members (from the earliest start to the latest
// end). Members need event IDs (a project gives every event it holds one);
// the command gives members in the tree that lack one an ID in its project,
// and fails when one still lacks an ID, is named twice, or there are fewer
// than two, or holder refuses changes. The placement gets its ID in the
// command's project. "Create Group".
class MVGroupCreateCommand : public MCommand {
  VANTOR_CLASS(MVGroupCreateCommand)
 public:
  MVGroupCreateCommand() = default;
  MVGroupCreateCommand(FRef<MDataNode> holder, std::vector<FRef<MEvent>> members, std::string name);

  // The placement and its group, made by the first perform (else nullptr).
  MVirtualGroupEvent* groupEvent() const { return event_.get(); }
  MVirtualGroup* group() const { return group_.get(); }

  std::string description() const override { return "Create Group"; }
  size_t heldBytes() const override;

 protected:
  bool doPerform() override;
  bool doUndo() override;
  bool doRedo() override { return place(); }

 private:
  bool place();

  FRef<MDataNode> holder_;
  std::vector<FRef<MEvent>> members_;
  std::string name_;
  FRef<MVirtualGroup> group_;
  FRef<MVirtualGroupEvent> event_;
};

// Dissolves a virtual group: takes its placement out of the node that holds
// it. The members stay where they are; undoing puts the placement back with
// its group unchanged. Fails for an event that is not a group placement.
// "Dissolve Group".
class MVGroupRemoveCommand : public MCommand {
  VANTOR_CLASS(MVGroupRemoveCommand)
 public:
  MVGroupRemoveCommand() = default;
  explicit MVGroupRemoveCommand(FRef<MEvent> groupEvent);

  std::string description() const override { return "Dissolve Group"; }

 protected:
  bool doPerform() override;
  bool doUndo() override { return putBackAll(places_); }
  bool doRedo() override { return takeOutAll(places_); }

 private:
  std::vector<MEventPlace> places_;
};

}  // namespace vantor
