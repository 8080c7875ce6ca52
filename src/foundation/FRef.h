#pragma once
// The intrusive reference pointer: adopts the creator's reference when
// constructed from a raw pointer, retains on copy, releases when dropped.

#include <cstddef>
#include <utility>

namespace vantor {

template <class T>
class FRef {
 public:
  FRef() = default;
  FRef(std::nullptr_t) {}
  // Adopts the reference that the caller holds on object.
  explicit FRef(T* object) : object_(object) {}

  // Takes one more reference on object (for borrowed pointers).
  static FRef share(T* object) {
    if (object != nullptr) object->retain();
    return FRef(object);
  }
  static FRef adopt(T* object) { return FRef(object); }

  FRef(const FRef& other) : object_(other.object_) {
    if (object_ != nullptr) object_->retain();
  }
  FRef(FRef&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  template <class U>
  FRef(const FRef<U>& other) : object_(other.get()) {
    if (object_ != nullptr) object_->retain();
  }
  template <class U>
  FRef(FRef<U>&& other) noexcept : object_(other.detach()) {}

  FRef& operator=(FRef other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~FRef() {
    if (object_ != nullptr) object_->release();
  }

  T* get() const { return object_; }
  T* operator->() const { return object_; }
  T& operator*() const { return *object_; }
  explicit operator bool() const { return object_ != nullptr; }

  // Gives up the reference without releasing it; the caller now holds it.
  T* detach() { return std::exchange(object_, nullptr); }
  // Releases the held reference and adopts object's.
  void reset(T* object = nullptr) { FRef(object).swap(*this); }
  void swap(FRef& other) noexcept { std::swap(object_, other.object_); }

  friend bool operator==(const FRef& a, const FRef& b) { return a.object_ == b.object_; }
  friend bool operator==(const FRef& a, std::nullptr_t) { return a.object_ == nullptr; }

 private:
  T* object_ = nullptr;
};

// Moves ref's reference into an FRef<U> when the object is a U; otherwise
// the reference is dropped and the result is empty.
template <class U, class T>
FRef<U> refCast(FRef<T> ref) {
  U* typed = dynamic_cast<U*>(ref.get());
  if (typed == nullptr) return nullptr;
  ref.detach();
  return FRef<U>(typed);
}

// Creates a new object and adopts its creator's reference.
template <class T, class... Args>
FRef<T> makeRef(Args&&... args) {
  return FRef<T>(new T(std::forward<Args>(args)...));
}

}  // namespace vantor
