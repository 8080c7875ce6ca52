#include "foundation/CmObject.h"

#include <cstdint>
#include <ostream>

#include "foundation/FClass.h"
#include "foundation/FDependencies.h"

namespace vantor {

const FClass& CmObject::classDescriptor() {
  static const FClass descriptor(
      "CmObject", nullptr, []() -> CmObject* { return new CmObject; }, static_cast<uint16_t>(sizeof(CmObject)), 0);
  return descriptor;
}

const FClass& CmObject::getClass() const { return classDescriptor(); }
bool CmObject::isClass(const char* name) const { return classDescriptor().isClass(name); }
const char* CmObject::getClassName() const { return classDescriptor().getClassName(); }
bool CmObject::isKindOf(const char* name) const { return classDescriptor().isKindOf(name); }
FRef<CmObject> CmObject::newInstance() const { return classDescriptor().newInstance(); }

CmObject::~CmObject() { FDependencies::instance().forget(this); }

bool CmObject::isEqual(const CmObject* other) const { return other == this; }

int CmObject::compare(const CmObject* other) const {
  if (other == this) return 0;
  return reinterpret_cast<uintptr_t>(other) < reinterpret_cast<uintptr_t>(this) ? 1 : -1;
}

long CmObject::hash(long modulus) const {
  if (modulus == 0) return 0;
  return static_cast<long>(reinterpret_cast<intptr_t>(this) % modulus);
}

void CmObject::dump(std::ostream& out) const {
  out << "Object - " << getClassName() << " at " << static_cast<const void*>(this) << '\n';
}

void CmObject::release() { delete this; }
void CmObject::retain() {}
int CmObject::getRefCount() const { return 1; }

bool CmObject::addDependent(CmObject* dependent) { return FDependencies::instance().add(this, dependent); }
bool CmObject::removeDependent(CmObject* dependent) { return FDependencies::instance().remove(this, dependent); }
void CmObject::changed(int message) { FDependencies::instance().changed(this, message); }
void CmObject::deferChanged(int message) { FDependencies::instance().deferChanged(this, message); }
void CmObject::update(int) {}
void CmObject::update(CmObject*, int) {}

bool CmObject::readFromArchive(FObjectArchive&) { return true; }
bool CmObject::writeToArchive(FObjectArchive&) const { return true; }
bool CmObject::storeAttributes(FAttributes&) const { return false; }
bool CmObject::restoreAttributes(const FAttributes&) { return false; }

bool CmObject::isArchivable() const { return true; }
bool CmObject::isCopyable() const { return true; }
int CmObject::queryValue(int) const { return 0; }
bool CmObject::isReferenceCounted() const { return false; }

}  // namespace vantor
