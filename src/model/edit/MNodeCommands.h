#pragma once
// Commands that change what an event shows (its node) and the time domain
// (musical or linear) of a node's positions. A domain change may convert the
// positions through the tempo track so that every event keeps the moment it
// sounds at; the command keeps the values it replaced, so undoing restores
// them exactly (never by converting back). Domain changes are announced to
// the dependents of the node (and of the event) as "Domain Changed".

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/FRef.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEvent.h"
#include "model/undo/MCommand.h"

namespace vantor {

class MTempoTrackNode;

// The message value of "Domain Changed" (the four letters "Domn"), sent
// with changed() to the dependents, delivered after the command ran.
inline constexpr int kDomainChangedMessage = 0x446F6D6E;
inline constexpr const char* kDomainChangedName = "Domain Changed";

// Gives an event another node to show. The event's node announces nothing;
// the node that holds the event hears of the change like of an extent
// change. Fails when the event's parent refuses changes. "Set Content".
class MSetNodeCommand : public MExchangeCommand {
  VANTOR_CLASS(MSetNodeCommand)
 public:
  MSetNodeCommand() = default;
  // node may be null (the event then shows nothing).
  MSetNodeCommand(FRef<MEvent> event, FRef<MDataNode> node);

  std::string description() const override { return "Set Content"; }

 protected:
  bool doPerform() override { return event_ && exchange(); }

 private:
  bool exchange() override;

  FRef<MEvent> event_;
  FRef<MDataNode> node_;
};

// The positions of one event, to set or restored.
struct MEventExtent {
  FRef<MEvent> event;
  double start = 0;
  double length = 0;
  double offset = 0;
};

// A change of a node's domain with the positions that go with it: the
// values to set, exchanged with the current ones on every perform.
struct MDomainChange {
  FRef<MDataNode> node;
  MTimeDomain domain = MTimeDomain::kMusical;
  std::vector<MEventExtent> extents;
};

// Fills change.extents with the node's event positions converted to
// change.domain through tempo, counting from originPulses (a project
// position in pulses): starts, ends and content origins (start - offset)
// are converted, pulses to seconds or seconds to pulses. Without a tempo
// track nothing is converted. False when the node is missing or read-only,
// already has that domain, or a converted end lies beyond the position
// range (MTimeRange).
[[nodiscard]] bool prepareDomainChange(MDomainChange& change, const MTempoTrackNode* tempo, double originPulses);
// Exchanges domain and positions with the node's. False, with nothing
// changed, when the node is read-only or has events but no write accessor.
[[nodiscard]] bool exchangeDomain(MDomainChange& change);

// Changes the time domain of a node whose positions count from the
// project's start (a track's list of parts). With a tempo track the events'
// positions are converted so that each keeps the moment it sounds at;
// without one only the domain changes. Fails when the node is read-only or
// already has that domain. Announces "Domain Changed" to the node's
// dependents. "Change Time Domain".
class MNodeDomainCommand : public MExchangeCommand {
  VANTOR_CLASS(MNodeDomainCommand)
 public:
  MNodeDomainCommand() = default;
  MNodeDomainCommand(FRef<MDataNode> node, MTimeDomain domain, FRef<MTempoTrackNode> tempo = nullptr);

  std::string description() const override { return "Change Time Domain"; }
  size_t heldBytes() const override;

 protected:
  bool doPerform() override;

 private:
  bool exchange() override;

  MDomainChange change_;
  FRef<MTempoTrackNode> tempo_;
};

// Changes the time domain of the content an event shows (a part's events).
// The content's positions count from the event's content origin (its start
// minus its offset on the parent's time line), so a tempo track converts
// them around that origin. Announces "Domain Changed" to the dependents of
// the event and of its node. "Change Time Domain".
class MEventDomainCommand : public MExchangeCommand {
  VANTOR_CLASS(MEventDomainCommand)
 public:
  MEventDomainCommand() = default;
  MEventDomainCommand(FRef<MEvent> event, MTimeDomain domain, FRef<MTempoTrackNode> tempo = nullptr);

  std::string description() const override { return "Change Time Domain"; }
  size_t heldBytes() const override;

 protected:
  bool doPerform() override;

 private:
  bool exchange() override;
  // The project position in pulses of the event's content origin.
  double originPulses() const;

  FRef<MEvent> event_;
  MDomainChange change_;
  FRef<MTempoTrackNode> tempo_;
};

}  // namespace vantor
