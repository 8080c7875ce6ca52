#pragma once
// Virtual groups: a set of events that lie in different nodes (parts on
// several tracks, say) and are edited together. The group refers to its
// members by event ID, resolved through the project's ID table.

#include <cstdint>
#include <vector>

#include "foundation/FRef.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEvent.h"

namespace vantor {

class MProject;

class MVirtualGroup : public MDataNode {
  VANTOR_CLASS(MVirtualGroup)
 public:
  MVirtualGroup() = default;
  MVirtualGroup(const MVirtualGroup&) = delete;
  MVirtualGroup& operator=(const MVirtualGroup&) = delete;

  // Member IDs in the order they were added (no repeats).
  const std::vector<uint32_t>& memberIDs() const { return ids_; }
  // Members found by the last resolve() or added since, in member order.
  size_t memberCount() const { return members_.size(); }
  MEvent* memberAt(size_t index) const { return index < members_.size() ? members_[index].get() : nullptr; }
  size_t indexOfMember(const MEvent* event) const;

  // Adds an event that has an ID; false for an event without one, one
  // already a member, or the group's own placement (an event whose node is
  // this group).
  [[nodiscard]] bool addMember(MEvent* event);
  // Removes a member; false when it is none.
  bool removeMember(const MEvent* event);
  // Looks the member IDs up in project; IDs that name no event stay stored
  // but have no member event. Returns how many were found.
  size_t resolve(const MProject& project);
  // Drops the member events but keeps their IDs. The project calls it when
  // it is destroyed, so that a member that holds the group (through its
  // node) cannot keep both alive.
  void releaseMembers() { members_.clear(); }

  // Accessors over the members (MVNodeAccessor): insert() adds a member,
  // remove() drops one; the member events stay where they are.
  FRef<MAccessor> getWriteAccessor() override;
  FRef<MAccessor> getReadAccessor() override;

  // Archive: the node members, then "VirtualGroups": a 32-bit count and the
  // member IDs (32-bit each). Call resolve() once the project is read.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  std::vector<uint32_t> ids_;
  std::vector<FRef<MEvent>> members_;
};

// The placement of a virtual group; its node is the MVirtualGroup.
class MVirtualGroupEvent : public MEvent {
  VANTOR_EVENT(MVirtualGroupEvent)
 public:
  MVirtualGroup* getGroup() const;
};

class MVNodeAccessor : public MAccessor {
  VANTOR_CLASS(MVNodeAccessor)
 public:
  MVNodeAccessor() = default;
  MVNodeAccessor(FRef<MVirtualGroup> group, bool writable);

  size_t count() const override;
  MEvent* at(size_t index) const override;
  size_t indexOf(const MEvent* event) const override;
  [[nodiscard]] bool insert(FRef<MEvent> event) override;
  FRef<MEvent> remove(MEvent* event) override;

 private:
  MVirtualGroup* group() const { return static_cast<MVirtualGroup*>(node()); }
};

}  // namespace vantor
