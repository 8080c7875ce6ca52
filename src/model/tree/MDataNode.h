#pragma once
// Data nodes: the content that events show (a name, a time domain, and for
// most nodes an ordered container of further events). Nodes are shared: a
// node lives as long as any event or command refers to it.

#include <cstdint>
#include <string>

#include "foundation/FRef.h"
#include "foundation/FShared.h"

namespace vantor {

class MAccessor;
class MEvent;
class MEventContainer;

// The shared model object of the document framework.
class GModel : public FShared {
  VANTOR_CLASS(GModel)
};

// What a node may hold: a test, and the words that name what passes it in
// messages ("audio parts"). A rule without a test lets everything in.
struct MHoldRule {
  bool (*accepts)(const MEvent& event) = nullptr;
  const char* what = nullptr;
};

// The time domain of a node's positions.
enum class MTimeDomain : int16_t { kMusical = 0, kLinear = 1 };

class MDataNode : public GModel {
  VANTOR_CLASS(MDataNode)
 public:
  MDataNode() = default;
  MDataNode(const MDataNode& other);

  const std::string& getName() const { return name_; }
  void setName(std::string name) { name_ = std::move(name); }
  MTimeDomain getDomain() const { return domain_; }
  void setDomain(MTimeDomain domain) { domain_ = domain; }

  // The node's events in order, or nullptr for a node without events.
  virtual MEventContainer* events() { return nullptr; }
  const MEventContainer* events() const { return const_cast<MDataNode*>(this)->events(); }

  // An accessor that may change the node's events, or nullptr while the
  // node refuses changes (read-only, or a node without events).
  virtual FRef<MAccessor> getWriteAccessor();
  // An accessor that only reads; nullptr for a node without events.
  virtual FRef<MAccessor> getReadAccessor();

  // What the node may hold. The track whose content the node is sets it
  // (a MIDI track's node holds MIDI parts); not persistent.
  const MHoldRule& getHoldRule() const { return holdRule_; }
  void setHoldRule(MHoldRule rule) { holdRule_ = rule; }
  // Why the node refuses event, in words for the user, or "" when it may
  // hold it.
  std::string holdRefusal(const MEvent& event) const;

  // A read-only node gives no write accessor. Not persistent.
  bool isReadOnly() const { return readOnly_; }
  void setReadOnly(bool readOnly) { readOnly_ = readOnly; }

  // An event's extent is about to change / has changed without its start
  // changing (so its place in the order stays).
  virtual void extentWillChange(MEvent* event);
  virtual void extentChanged(MEvent* event);
  // The set of events or one event's start changed (after an accessor's
  // insert or remove). Nodes with derived data recompute it here.
  virtual void eventsChanged();
  // Counts every change; readers compare it to notice edits.
  uint64_t changeCount() const { return changes_; }

  // Archive: "Name" (string), "Domain" (16-bit).
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 protected:
  void noteChange() { ++changes_; }

 private:
  std::string name_;
  MTimeDomain domain_ = MTimeDomain::kMusical;
  bool readOnly_ = false;
  uint64_t changes_ = 0;
  MHoldRule holdRule_;
};

}  // namespace vantor
