#include "foundation/FClassRegistry.h"

#include <mutex>

#include "foundation/FAttributes.h"
#include "foundation/FClass.h"

namespace vantor {

namespace {
FClassRegistry* gRegistry = nullptr;
}

FClassRegistry::FClassRegistry() { gRegistry = this; }
FClassRegistry::~FClassRegistry() { gRegistry = nullptr; }

FClassRegistry& FClassRegistry::instance() {
  // Never destroyed: descriptors of other translation units may still be
  // looked up during static destruction.
  static FClassRegistry* registry = new FClassRegistry;
  return *registry;
}

FClassRegistry* FClassRegistry::global() { return gRegistry; }

void FClassRegistry::insert(const FClass& descriptor) {
  std::unique_lock lock(mutex_);
  classes_.emplace(std::string_view(descriptor.getClassName()), &descriptor);
}

const FClass* FClassRegistry::find(std::string_view className) const {
  std::shared_lock lock(mutex_);
  auto it = classes_.find(className);
  return it == classes_.end() ? nullptr : it->second;
}

FRef<CmObject> FClassRegistry::create(std::string_view className) const {
  const FClass* descriptor = find(className);
  return descriptor != nullptr ? descriptor->newInstance() : nullptr;
}

FRef<CmObject> FClassRegistry::restore(FRef<FAttributes> attributes, std::string_view defaultClassName) const {
  if (!attributes) return nullptr;
  std::string_view name = attributes->className();
  if (name.empty()) name = defaultClassName;
  FRef<CmObject> object = create(name);
  if (!object || !object->restoreAttributes(*attributes)) return nullptr;
  return object;
}

size_t FClassRegistry::count() const {
  std::shared_lock lock(mutex_);
  return classes_.size();
}

void FClassRegistry::forEach(const std::function<void(const FClass&)>& visit) const {
  std::vector<const FClass*> all;
  {
    std::shared_lock lock(mutex_);
    for (const auto& [name, descriptor] : classes_) all.push_back(descriptor);
  }
  for (const FClass* descriptor : all) visit(*descriptor);
}

}  // namespace vantor
