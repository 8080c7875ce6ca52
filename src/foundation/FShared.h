#pragma once
// Reference-counted bases. A new object carries one reference, owned by its
// creator; release drops one and destroys the object at zero.

#include <atomic>
#include <cstdint>

#include "foundation/CmObject.h"
#include "foundation/FClass.h"

namespace vantor {

// Counts on one thread only: the user thread's model objects.
class FShared : public CmObject {
  VANTOR_CLASS(FShared)
 public:
  FShared() = default;
  // A copy is a new object with a reference of its own.
  FShared(const FShared& other) : CmObject(other) {}
  FShared& operator=(const FShared&) { return *this; }

  void retain() override { ++refCount_; }
  void release() override;
  int getRefCount() const override { return refCount_; }
  bool isReferenceCounted() const override { return true; }

 private:
  int32_t refCount_ = 1;
};

// Counts atomically: objects shared between the user thread and readers.
class FThreadShared : public CmObject {
  VANTOR_CLASS(FThreadShared)
 public:
  FThreadShared() = default;
  FThreadShared(const FThreadShared& other) : CmObject(other) {}
  FThreadShared& operator=(const FThreadShared&) { return *this; }

  void retain() override { refCount_.fetch_add(1, std::memory_order_relaxed); }
  void release() override;
  int getRefCount() const override { return refCount_.load(std::memory_order_acquire); }
  bool isReferenceCounted() const override { return true; }

 private:
  std::atomic<int32_t> refCount_{1};
};

}  // namespace vantor
