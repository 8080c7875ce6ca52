#pragma once
// Contexts: what an edit or playback works on. An edit context holds the
// selection and the node that new events go to; a play context holds the
// project and the range to play; an edit candidate list holds the events an
// edit may touch.

#include <cstddef>
#include <unordered_set>
#include <vector>

#include "foundation/FRef.h"
#include "model/tree/MDataNode.h"
#include "model/tree/MEvent.h"

namespace vantor {

class MProject;

// The events an edit may touch, each once, in the order they were added.
class MEditCandidateList {
 public:
  // False for a null event or one already in the list.
  bool add(FRef<MEvent> event);
  bool remove(const MEvent* event);
  bool contains(const MEvent* event) const;
  size_t size() const { return events_.size(); }
  bool empty() const { return events_.empty(); }
  MEvent* at(size_t index) const { return index < events_.size() ? events_[index].get() : nullptr; }
  auto begin() const { return events_.begin(); }
  auto end() const { return events_.end(); }
  void clear() {
    events_.clear();
    members_.clear();
  }
  // Drops the locked events (which refuse moves and resizes); returns how
  // many were dropped.
  size_t removeLocked();

 private:
  std::vector<FRef<MEvent>> events_;
  std::unordered_set<const MEvent*> members_;
};

class MContext {
 public:
  MContext() = default;
  explicit MContext(FRef<MProject> project);
  virtual ~MContext();

  MProject* getProject() const { return project_.get(); }
  void setProject(FRef<MProject> project);

 private:
  FRef<MProject> project_;
};

class MEditContext : public MContext {
 public:
  using MContext::MContext;
  // Clears the selected flag of the events still selected.
  ~MEditContext() override;

  // Selection: each event once, in order of selection. Selecting sets the
  // event's selected flag, deselecting clears it.
  bool select(MEvent* event);
  bool deselect(MEvent* event);
  void clearSelection();
  bool isSelected(const MEvent* event) const;
  const std::vector<FRef<MEvent>>& getSelection() const { return selection_; }

  // The node that new events go to (a part, a track), or nullptr.
  MDataNode* getTargetNode() const { return target_.get(); }
  void setTargetNode(FRef<MDataNode> node) { target_ = std::move(node); }

  // The events an edit works on: the selection, or when nothing is
  // selected every event of the target node.
  MEditCandidateList getCandidates() const;

 private:
  std::vector<FRef<MEvent>> selection_;
  std::unordered_set<const MEvent*> selected_;
  FRef<MDataNode> target_;
};

class MPlayContext : public MContext {
 public:
  using MContext::MContext;

  // The range to play, in pulses: [start, end). An empty range (end equal
  // to start) plays nothing.
  double getStart() const { return start_; }
  double getEnd() const { return end_; }
  // False (nothing changes) when end lies before start or either is not a
  // finite number.
  [[nodiscard]] bool setRange(double start, double end);
  bool contains(double position) const { return position >= start_ && position < end_; }
  // While cycling, playback returns to start when it reaches end.
  bool isCycling() const { return cycling_; }
  void setCycling(bool cycling) { cycling_ = cycling; }

 private:
  double start_ = 0;
  double end_ = 0;
  bool cycling_ = false;
};

}  // namespace vantor
