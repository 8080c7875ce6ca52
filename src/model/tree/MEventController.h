#pragma once
// Event controllers: the per-class editing behaviour of events (whether an
// event may be moved, resized, renamed, and how its name is read and set),
// and the category registry in which track kinds ("Track Class") and event
// controllers ("EventController") are registered by key.

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/FRef.h"
#include "foundation/FShared.h"
#include "model/tree/MEvent.h"

namespace vantor {

// The edits that a controller allows or refuses.
enum class MEventEdit { kMove, kResize, kRename, kDelete };

class MEventController : public FShared {
  VANTOR_CLASS(MEventController)
 public:
  // Locked events refuse moves and resizes.
  virtual bool canMove(const MEvent& event) const;
  virtual bool canResize(const MEvent& event) const;
  virtual bool canDelete(const MEvent& event) const;
  // Track events carry a name (their node's); other events have none here.
  virtual bool canRename(const MEvent& event) const;
  virtual std::string getName(const MEvent& event) const;
  // False (nothing changed) when the event cannot be renamed.
  [[nodiscard]] virtual bool setName(MEvent& event, std::string name) const;

  // How a message names the event: 'part "Intro"', 'track "Bass"', or
  // "the event" for one without a name.
  virtual std::string describe(const MEvent& event) const;
  // Why edit of event is refused, in words for the user ('part "Intro" is
  // locked'), or "" when the controller allows it.
  virtual std::string refusal(const MEvent& event, MEventEdit edit) const;

  // The controller registered under "EventController" for the nearest
  // class of event's chain (its own class first, then each base); a plain
  // MEventController when none of them has one. Never null. Controllers are
  // shared per class and thread: they must hold no state of their own.
  static FRef<MEventController> forEvent(const MEvent& event);
  // The refusal of edit by the controller of event's class ("" allowed).
  static std::string refusalFor(const MEvent& event, MEventEdit edit);
};

// Controller of parts: a part's name is its node's name, and a part may be
// renamed while it is not locked.
class MPartController : public MEventController {
  VANTOR_CLASS(MPartController)
 public:
  bool canRename(const MEvent& event) const override;
  std::string getName(const MEvent& event) const override;
  [[nodiscard]] bool setName(MEvent& event, std::string name) const override;
};

// Registries of named entries by category. Each entry has a key (a track
// kind, an event class name), a display key, a priority and a factory.
// Areas register at start-up; afterwards the registry is mostly read.
class MCategoryRegistry {
 public:
  static constexpr const char* kTrackClass = "Track Class";
  static constexpr const char* kEventController = "EventController";
  static constexpr int32_t kDefaultPriority = 2147483647;

  using Factory = std::function<FRef<CmObject>()>;
  struct Entry {
    std::string key;
    std::string displayKey;
    int32_t priority = kDefaultPriority;
    Factory factory;
  };

  static MCategoryRegistry& instance();

  // Adds entry to category. An entry with the same key replaces the earlier
  // one in its place (a later area may refine what an earlier one
  // registered).
  void add(std::string_view category, Entry entry);
  // A copy of the entry, or nullopt.
  std::optional<Entry> find(std::string_view category, std::string_view key) const;
  // The category's entries, by descending priority, then in order of
  // registration.
  std::vector<Entry> entries(std::string_view category) const;
  // A new object from the entry's factory, or nullptr for an unknown key.
  FRef<CmObject> create(std::string_view category, std::string_view key) const;
  // Counts the changes (add); caches of what was found compare it.
  uint64_t generation() const { return generation_.load(std::memory_order_acquire); }

 private:
  MCategoryRegistry() = default;

  std::map<std::string, std::vector<Entry>, std::less<>> categories_;
  mutable std::shared_mutex mutex_;
  std::atomic<uint64_t> generation_{1};
};

}  // namespace vantor
