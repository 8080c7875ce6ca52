#pragma once
// The ordered event containers of data nodes: events kept by start, events
// of equal start by their order key (first insertion first). A single insert
// or removal is a binary search and one move of the pointers behind it;
// bulk loading appends and sorts once.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/FRef.h"
#include "model/tree/MEvent.h"

namespace vantor {

class MDataNode;

class MEventContainer {
 public:
  explicit MEventContainer(MDataNode* owner) : owner_(owner) {}
  MEventContainer(const MEventContainer&) = delete;
  MEventContainer& operator=(const MEventContainer&) = delete;
  ~MEventContainer();

  size_t size() const { return events_.size(); }
  bool empty() const { return events_.empty(); }
  MEvent* at(size_t index) const { return events_[index].get(); }
  auto begin() const { return events_.begin(); }
  auto end() const { return events_.end(); }

  // Inserts event at its place and makes the owner its parent; an event
  // without an order key gets the next one. Returns the index.
  size_t insert(FRef<MEvent> event);
  // Takes event out; returns it (nullptr when it is not here).
  FRef<MEvent> remove(MEvent* event);
  // Index of event, or npos.
  size_t indexOf(const MEvent* event) const;
  static constexpr size_t npos = static_cast<size_t>(-1);

  // Appends without ordering; call sortAfterAppend() once when done.
  void append(FRef<MEvent> event);
  void sortAfterAppend();
  void clear();

  // The first index whose event starts at or after start.
  size_t lowerBound(double start) const;

  // A fresh order key, increasing over the whole program run.
  static uint64_t nextOrderKey();

 private:
  std::vector<FRef<MEvent>> events_;
  MDataNode* owner_;
};

class FObjectArchive;

// Archive form of a container ("Events"): a 32-bit count, then each event as
// an object record. Reading fails on a record that is not an event.
[[nodiscard]] bool writeEventContainer(FObjectArchive& archive, const MEventContainer& events);
[[nodiscard]] bool readEventContainer(FObjectArchive& archive, MEventContainer& events);

// The two kinds that nodes hold; they differ only in name today.
class MEventArray : public MEventContainer {
 public:
  using MEventContainer::MEventContainer;
};
class MEventList : public MEventContainer {
 public:
  using MEventContainer::MEventContainer;
};

}  // namespace vantor
