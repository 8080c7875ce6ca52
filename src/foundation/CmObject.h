#pragma once
// The root of every class: class identity by name, reference-counting hooks,
// dependents and the persistence hooks for archives and attribute sets.

#include <cstdint>
#include <iosfwd>

#include "foundation/FRef.h"

namespace vantor {

class FClass;
class FAttributes;
class FObjectArchive;

// The virtual operations keep a fixed order; derived classes append theirs
// after the last one here.
class CmObject {
 public:
  CmObject() = default;
  CmObject(const CmObject&) = default;
  CmObject& operator=(const CmObject&) = default;

  // Identity. Every concrete class redefines these through VANTOR_CLASS.
  virtual const FClass& getClass() const;
  virtual bool isClass(const char* name) const;
  virtual const char* getClassName() const;
  virtual bool isKindOf(const char* name) const;
  // A new default-constructed object of the same dynamic class, or nullptr
  // for abstract classes.
  virtual FRef<CmObject> newInstance() const;
  virtual ~CmObject();

  // Identity comparison: 0 for the same object, 1 when other lies at a lower
  // address, -1 otherwise.
  virtual bool isEqual(const CmObject* other) const;
  virtual int compare(const CmObject* other) const;
  // Signed remainder of the object's address divided by modulus (> 0).
  virtual long hash(long modulus) const;
  // Debugging print: "Object - <description>" and a line end.
  virtual void dump(std::ostream& out) const;

  // Reference counting. A plain object has one owner: release deletes it.
  virtual void release();
  virtual void retain();
  virtual int getRefCount() const;

  // Dependents, kept in the global FDependencies table.
  virtual bool addDependent(CmObject* dependent);
  virtual bool removeDependent(CmObject* dependent);
  virtual void changed(int message);
  virtual void deferChanged(int message);
  virtual void update(int message);
  virtual void update(CmObject* sender, int message);

  // Persistence. The defaults read and write nothing and succeed.
  [[nodiscard]] virtual bool readFromArchive(FObjectArchive& archive);
  [[nodiscard]] virtual bool writeToArchive(FObjectArchive& archive) const;
  // Attribute-set persistence; the defaults report "not persistent".
  [[nodiscard]] virtual bool storeAttributes(FAttributes& attributes) const;
  [[nodiscard]] virtual bool restoreAttributes(const FAttributes& attributes);

  // Hooks kept in their slots: whether the object may be written to an
  // archive, whether it may be copied by the editors, and a numeric query
  // (by key) that classes answer for generic views. Defaults true, true, 0.
  virtual bool isArchivable() const;
  virtual bool isCopyable() const;
  virtual int queryValue(int key) const;

  // Appended: true for objects whose lifetime is a reference count
  // (FShared, FThreadShared); only those may be held by several owners.
  virtual bool isReferenceCounted() const;

  // The descriptor of CmObject itself.
  static const FClass& classDescriptor();
};

}  // namespace vantor
