#include "foundation/FClass.h"

#include "foundation/FClassRegistry.h"

namespace vantor {

int compareClassNames(const char* a, const char* b) {
  const auto* x = reinterpret_cast<const unsigned char*>(a);
  const auto* y = reinterpret_cast<const unsigned char*>(b);
  while (*x != 0 && *x == *y) {
    ++x;
    ++y;
  }
  return static_cast<int>(*x) - static_cast<int>(*y);
}

FClass::FClass(const char* className, const FClass* base, Factory factory, uint16_t instanceSize, int16_t version)
    : className_(className),
      storedName_(className),
      base_(base),
      factory_(factory),
      instanceSize_(instanceSize),
      version_(version) {
  FClassRegistry::instance().insert(*this);
}

FClass::FClass(const FClass& existing, const char* alias)
    : CmObject(),
      className_(alias),
      storedName_(alias),
      base_(nullptr),
      factory_(existing.factory_),
      instanceSize_(0),
      version_(0),
      alias_(true) {
  existing.storedName_ = alias;
  FClassRegistry::instance().insert(*this);
}

const FClass& FClass::classDescriptor() {
  static const FClass descriptor("FClass", &CmObject::classDescriptor(), nullptr, static_cast<uint16_t>(sizeof(FClass)),
                                 0);
  return descriptor;
}

const FClass& FClass::getClass() const { return classDescriptor(); }

bool FClass::isClass(const char* name) const { return name != nullptr && compareClassNames(className_, name) == 0; }

bool FClass::isKindOf(const char* name) const {
  if (name == nullptr) return false;
  for (const FClass* c = this; c != nullptr; c = c->base_) {
    if (compareClassNames(c->className_, name) == 0) return true;
  }
  return false;
}

FRef<CmObject> FClass::newInstance() const { return factory_ != nullptr ? FRef<CmObject>(factory_()) : nullptr; }

int FClass::compare(const CmObject* other) const {
  const auto* descriptor = dynamic_cast<const FClass*>(other);
  if (descriptor == nullptr) return CmObject::compare(other);
  const int c = compareClassNames(className_, descriptor->className_);
  return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

}  // namespace vantor
