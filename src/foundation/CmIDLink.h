#pragma once
// An identified link: an object with a 32-bit ID by which other objects refer
// to it. Links are reference counted (single-threaded, like FShared) so that
// the node that holds one, the commands that take it out and put it back, and
// an archive that meets it twice can all hold it safely.

#include <cstdint>

#include "foundation/FClass.h"

namespace vantor {

class CmIDLink : public CmObject {
  VANTOR_CLASS(CmIDLink)
 public:
  CmIDLink() = default;
  // A copy is a new link: one reference, and no ID until it is registered.
  CmIDLink(const CmIDLink& other) : CmObject(other) {}
  CmIDLink& operator=(const CmIDLink&) { return *this; }

  uint32_t getID() const { return id_; }
  void setID(uint32_t id) { id_ = id; }

  void retain() override { ++refCount_; }
  void release() override;
  int getRefCount() const override { return refCount_; }
  bool isReferenceCounted() const override { return true; }

 private:
  uint32_t id_ = 0;
  int32_t refCount_ = 1;
};

}  // namespace vantor
