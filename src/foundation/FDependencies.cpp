#include "foundation/FDependencies.h"

#include <algorithm>

#include "foundation/CmObject.h"

namespace vantor {

FDependencies& FDependencies::instance() {
  // Never destroyed: objects may be destroyed during static destruction.
  static FDependencies* table = new FDependencies;
  return *table;
}

bool FDependencies::add(CmObject* object, CmObject* dependent) {
  if (object == nullptr || dependent == nullptr) return false;
  std::lock_guard lock(mutex_);
  auto& bucket = buckets_[bucketOf(object)];
  for (const Link& link : bucket) {
    if (link.object == object && link.dependent == dependent) return false;
  }
  bucket.push_back({object, dependent});
  ++asDependent_[dependent];
  activity_.fetch_add(1, std::memory_order_relaxed);
  return true;
}

bool FDependencies::remove(CmObject* object, CmObject* dependent) {
  if (object == nullptr || dependent == nullptr) return false;
  std::lock_guard lock(mutex_);
  auto& bucket = buckets_[bucketOf(object)];
  auto it = std::find_if(bucket.begin(), bucket.end(),
                         [&](const Link& link) { return link.object == object && link.dependent == dependent; });
  if (it == bucket.end()) return false;
  bucket.erase(it);
  if (--asDependent_[dependent] == 0) asDependent_.erase(dependent);
  activity_.fetch_sub(1, std::memory_order_relaxed);
  return true;
}

std::vector<CmObject*> FDependencies::dependentsOf(CmObject* object) const {
  std::vector<CmObject*> result;
  std::lock_guard lock(mutex_);
  for (const Link& link : buckets_[bucketOf(object)]) {
    if (link.object == object) result.push_back(link.dependent);
  }
  return result;
}

void FDependencies::changed(CmObject* object, int message) {
  if (object == nullptr || activity_.load(std::memory_order_relaxed) == 0) return;
  for (CmObject* dependent : dependentsOf(object)) {
    // A dependent removed by an earlier update in this round is skipped.
    bool stillLinked = false;
    {
      std::lock_guard lock(mutex_);
      for (const Link& link : buckets_[bucketOf(object)]) {
        if (link.object == object && link.dependent == dependent) stillLinked = true;
      }
    }
    if (stillLinked) dependent->update(object, message);
  }
}

void FDependencies::deferChanged(CmObject* object, int message) {
  if (object == nullptr) return;
  std::lock_guard lock(mutex_);
  for (const auto& entry : deferred_) {
    if (entry.first == object && entry.second == message) return;
  }
  deferred_.emplace_back(object, message);
  activity_.fetch_add(1, std::memory_order_relaxed);
}

size_t FDependencies::deliverDeferred() {
  size_t delivered = 0;
  for (;;) {
    std::pair<CmObject*, int> next;
    {
      std::lock_guard lock(mutex_);
      if (deferred_.empty()) return delivered;
      next = deferred_.front();
      deferred_.erase(deferred_.begin());
      activity_.fetch_sub(1, std::memory_order_relaxed);
    }
    changed(next.first, next.second);
    ++delivered;
  }
}

void FDependencies::forget(const CmObject* object) {
  if (activity_.load(std::memory_order_relaxed) == 0) return;
  std::lock_guard lock(mutex_);
  size_t removed = 0;
  auto& own = buckets_[bucketOf(object)];
  for (auto it = own.begin(); it != own.end();) {
    if (it->object == object) {
      if (--asDependent_[it->dependent] == 0) asDependent_.erase(it->dependent);
      it = own.erase(it);
      ++removed;
    } else {
      ++it;
    }
  }
  auto asDependent = asDependent_.find(object);
  if (asDependent != asDependent_.end()) {
    for (auto& bucket : buckets_) {
      const auto before = bucket.size();
      std::erase_if(bucket, [&](const Link& link) { return link.dependent == object; });
      removed += before - bucket.size();
    }
    asDependent_.erase(asDependent);
  }
  const auto before = deferred_.size();
  std::erase_if(deferred_, [&](const auto& entry) { return entry.first == object; });
  removed += before - deferred_.size();
  activity_.fetch_sub(removed, std::memory_order_relaxed);
}

size_t FDependencies::dependentCount(const CmObject* object) const {
  std::lock_guard lock(mutex_);
  size_t count = 0;
  for (const Link& link : buckets_[bucketOf(object)]) {
    if (link.object == object) ++count;
  }
  return count;
}

}  // namespace vantor
