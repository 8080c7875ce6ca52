#pragma once
// The global observer table: links from an object to the dependents that
// want to hear of its changes.
//
// 256 buckets chosen by bits 12 to 19 of the object's address, all guarded by
// one lock. Notifications are delivered outside the lock, so a dependent may
// add or remove links from its update().
//
// Deferred notifications (deferChanged) are queued, one entry per distinct
// (object, message) pair in order of first request, and delivered when the
// owning thread calls deliverDeferred() at a quiet point (the command
// framework does after each performed, undone or redone action). A queued
// entry of an object that is destroyed before delivery is dropped.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vantor {

class CmObject;

class FDependencies {
 public:
  static constexpr int kBucketCount = 256;
  static FDependencies& instance();

  // Adds a link; false when either pointer is missing or the link exists.
  bool add(CmObject* object, CmObject* dependent);
  // Removes a link; false when there was none.
  bool remove(CmObject* object, CmObject* dependent);
  // Calls dependent->update(object, message) for every dependent of object.
  void changed(CmObject* object, int message);
  // Queues a notification for deliverDeferred().
  void deferChanged(CmObject* object, int message);
  // Delivers and clears the queued notifications; returns how many ran.
  size_t deliverDeferred();
  // Drops every link that involves object, as object or as dependent, and
  // its queued notifications. Called when any CmObject is destroyed.
  void forget(const CmObject* object);

  size_t dependentCount(const CmObject* object) const;
  static int bucketOf(const void* object) {
    return static_cast<int>((reinterpret_cast<uintptr_t>(object) >> 12) & 255);
  }

 private:
  struct Link {
    CmObject* object;
    CmObject* dependent;
  };

  std::vector<CmObject*> dependentsOf(CmObject* object) const;

  mutable std::mutex mutex_;
  std::vector<Link> buckets_[kBucketCount];
  // How many links name an object as dependent, to find them on destruction.
  std::unordered_map<const CmObject*, int> asDependent_;
  std::vector<std::pair<CmObject*, int>> deferred_;
  // Lets destruction skip the lock while the table is empty.
  std::atomic<size_t> activity_{0};
};

}  // namespace vantor
