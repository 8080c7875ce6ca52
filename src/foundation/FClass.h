#pragma once
// Class descriptors: one static FClass per class carries the class name, the
// stored name, the base class, the instance size, the persistent-format
// version and the factory. Descriptors register themselves with the global
// FClassRegistry when constructed and live until static destruction.

#include <cstdint>

#include "foundation/CmObject.h"

namespace vantor {

class FClass : public CmObject {
 public:
  using Factory = CmObject* (*)();

  // Registers a class. base is nullptr only for CmObject; factory is nullptr
  // for abstract classes.
  FClass(const char* className, const FClass* base, Factory factory, uint16_t instanceSize, int16_t version);
  // Registers alias as a second name of existing: the alias creates objects
  // of the existing class, and the existing class's stored name becomes the
  // alias.
  FClass(const FClass& existing, const char* alias);
  FClass(const FClass&) = delete;
  FClass& operator=(const FClass&) = delete;

  const FClass& getClass() const override;
  const char* getClassName() const override { return className_; }
  // Identity operations on behalf of the described class.
  bool isClass(const char* name) const override;
  bool isKindOf(const char* name) const override;
  // A new instance of the described class, or nullptr for an abstract one.
  FRef<CmObject> newInstance() const override;
  // Orders descriptors by class name (byte-wise, case-sensitive).
  int compare(const CmObject* other) const override;

  const char* getStoredName() const { return storedName_; }
  const FClass* getBaseClass() const { return base_; }
  uint16_t getInstanceSize() const { return instanceSize_; }
  int16_t getClassVersion() const { return version_; }
  bool isAbstract() const { return factory_ == nullptr; }
  // True when this descriptor was made by an alias registration.
  bool isAlias() const { return alias_; }

  static const FClass& classDescriptor();

 private:
  const char* className_;
  mutable const char* storedName_;
  const FClass* base_;
  Factory factory_;
  uint16_t instanceSize_;
  int16_t version_;
  bool alias_ = false;
};

// Byte-wise comparison of unsigned 8-bit characters up to the NUL.
int compareClassNames(const char* a, const char* b);

}  // namespace vantor

// Declares the identity operations of a class; put it first in the class body.
#define VANTOR_CLASS(Name)                                                                                    \
 public:                                                                                                      \
  static const ::vantor::FClass& classDescriptor();                                                           \
  const ::vantor::FClass& getClass() const override { return classDescriptor(); }                             \
  bool isClass(const char* n) const override { return classDescriptor().isClass(n); }                         \
  const char* getClassName() const override { return classDescriptor().getClassName(); }                      \
  bool isKindOf(const char* n) const override { return classDescriptor().isKindOf(n); }                       \
  ::vantor::FRef<::vantor::CmObject> newInstance() const override { return classDescriptor().newInstance(); } \
                                                                                                              \
 public:

// Defines the descriptor of a concrete class: its class name is the C++ name.
#define VANTOR_DEFINE_CLASS(Name, Base, Version)                                           \
  const ::vantor::FClass& Name::classDescriptor() {                                        \
    static const ::vantor::FClass descriptor(                                              \
        #Name, &Base::classDescriptor(), []() -> ::vantor::CmObject* { return new Name; }, \
        static_cast<uint16_t>(sizeof(Name)), Version);                                     \
    return descriptor;                                                                     \
  }

// Defines the descriptor of an abstract class (no factory).
#define VANTOR_DEFINE_ABSTRACT_CLASS(Name, Base, Version)                                   \
  const ::vantor::FClass& Name::classDescriptor() {                                         \
    static const ::vantor::FClass descriptor(#Name, &Base::classDescriptor(), nullptr,      \
                                             static_cast<uint16_t>(sizeof(Name)), Version); \
    return descriptor;                                                                      \
  }
