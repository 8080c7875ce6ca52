#pragma once
// The one global registry of class descriptors, ordered by class name, and
// the single path by which stored data turns class names into objects.

#include <functional>
#include <map>
#include <shared_mutex>
#include <string_view>

#include "foundation/CmObject.h"
#include "foundation/FRef.h"

namespace vantor {

class FClass;
class FAttributes;

class FClassRegistry : public CmObject {
 public:
  // The global registry, created on first use.
  static FClassRegistry& instance();
  // The global pointer: set by the constructor, cleared by the destructor.
  static FClassRegistry* global();

  ~FClassRegistry() override;

  // Inserts a descriptor; a second descriptor of a name already taken is
  // ignored (the first registration wins). Descriptors are never removed.
  void insert(const FClass& descriptor);
  // The descriptor of a class name, compared byte for byte, or nullptr.
  const FClass* find(std::string_view className) const;
  // A new object of the named class, or nullptr for an unknown or abstract
  // class.
  FRef<CmObject> create(std::string_view className) const;
  // Creates the object named by the attribute set's class name (or by
  // defaultClassName when the set names none) and restores it from the set.
  // Returns nullptr when the class is unknown or the restore fails (the
  // half-built object is released). The set is dropped in every case.
  FRef<CmObject> restore(FRef<FAttributes> attributes, std::string_view defaultClassName) const;

  size_t count() const;
  // Visits every descriptor in name order.
  void forEach(const std::function<void(const FClass&)>& visit) const;

 private:
  FClassRegistry();

  // A red-black tree keyed by the name bytes; std::string_view compares
  // as unsigned bytes, which is the order class names are kept in.
  std::map<std::string_view, const FClass*> classes_;
  mutable std::shared_mutex mutex_;
};

}  // namespace vantor
