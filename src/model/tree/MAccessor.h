#pragma once
// Accessors: read and write cursors over a node's events. Edits change a
// node only through a write accessor, which keeps the order and tells the
// node after each change (eventsChanged), so derived data stays current.

#include <cstddef>

#include "foundation/FRef.h"
#include "foundation/FShared.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEvent.h"

namespace vantor {

class MEventContainer;

class MAccessor : public FShared {
  VANTOR_CLASS(MAccessor)
 public:
  MAccessor() = default;
  MAccessor(FRef<MDataNode> node, MEventContainer* events, bool writable);

  MDataNode* node() const { return node_.get(); }
  bool isWritable() const { return writable_; }

  virtual size_t count() const;
  virtual MEvent* at(size_t index) const;
  // Index of event, or MEventContainer::npos.
  virtual size_t indexOf(const MEvent* event) const;
  // Puts event at its place; false for a read accessor.
  [[nodiscard]] virtual bool insert(FRef<MEvent> event);
  // Takes event out and returns it; nullptr when absent or read-only.
  virtual FRef<MEvent> remove(MEvent* event);
  // Puts the events back in start order after a batch edit changed their
  // starts in place: one O(n log n) sort instead of a removal and an
  // insertion per event, which would make moving every note of a part
  // quadratic. Events of equal start keep their order keys, so undoing the
  // batch restores the former order exactly. False for a read accessor.
  [[nodiscard]] bool reorder();
  // Announce an extent change of an event that stays in place.
  void extentWillChange(MEvent* event);
  void extentChanged(MEvent* event);

 protected:
  MEventContainer* container() const { return events_; }

 private:
  FRef<MDataNode> node_;
  MEventContainer* events_ = nullptr;
  bool writable_ = false;
};

class MArrayAccessor : public MAccessor {
  VANTOR_CLASS(MArrayAccessor)
 public:
  using MAccessor::MAccessor;
};

class MListAccessor : public MAccessor {
  VANTOR_CLASS(MListAccessor)
 public:
  using MAccessor::MAccessor;
};

}  // namespace vantor
