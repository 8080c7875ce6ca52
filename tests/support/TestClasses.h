#pragma once
// Small persistent classes for archive tests: a node with a value, a text,
// and child members that may be shared, null or cyclic.

#include <string>
#include <vector>

#include "foundation/FAttributes.h"
#include "foundation/FClass.h"
#include "foundation/FObjectArchive.h"
#include "foundation/FRef.h"
#include "foundation/FShared.h"
#include "support/ArchiveBytes.h"

namespace vantor::test {

class TNode : public FShared {
  VANTOR_CLASS(TNode)
 public:
  int32_t value = 0;
  std::string text;
  std::vector<FRef<TNode>> children;  // may hold nulls

  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override {
    FStream& s = archive.stream();
    if (!s.writeInt32(value) || !s.writeString(text) || !s.writeUInt32(static_cast<uint32_t>(children.size())))
      return false;
    for (const auto& child : children)
      if (!archive.writeObject(child.get())) return false;
    return true;
  }
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override {
    FStream& s = archive.stream();
    uint32_t count = 0;
    if (!s.readInt32(&value) || !s.readString(&text) || !s.readUInt32(&count)) return false;
    if (count > s.remaining()) return false;
    // Children may close a cycle, so they are read as plain objects.
    for (uint32_t i = 0; i < count; ++i) {
      FRef<CmObject> object(archive.readObject());
      if (archive.failed()) return false;
      auto* child = dynamic_cast<TNode*>(object.get());
      if (object && child == nullptr) return false;
      children.push_back(FRef<TNode>::share(child));
    }
    return true;
  }
};

// Writes two extra 32-bit words that its reader ignores.
class TTrailing : public FShared {
  VANTOR_CLASS(TTrailing)
 public:
  int32_t value = 0;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override {
    return archive.stream().writeInt32(value) && archive.stream().writeInt32(-1) && archive.stream().writeInt32(-2);
  }
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override { return archive.stream().readInt32(&value); }
  // Restores from a set only when it holds "value".
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override {
    int64_t v = 0;
    if (!attributes.getInt("value", &v)) return false;
    value = static_cast<int32_t>(v);
    return true;
  }
};

// A class whose reader always fails.
class TBroken : public FShared {
  VANTOR_CLASS(TBroken)
 public:
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override { return archive.stream().writeInt32(7); }
  [[nodiscard]] bool readFromArchive(FObjectArchive&) override { return false; }
};

// A class whose writer fails after writing a member object and some bytes.
class TUnwritable : public FShared {
  VANTOR_CLASS(TUnwritable)
 public:
  FRef<CmObject> member;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override {
    return archive.stream().writeInt32(5) && archive.writeObject(member.get()) && false;
  }
};

// A plain (not reference-counted) object, and a holder that owns one and
// refers to it a second time without owning it.
class TPlain : public CmObject {
  VANTOR_CLASS(TPlain)
 public:
  int32_t value = 0;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override {
    return archive.stream().writeInt32(value);
  }
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override { return archive.stream().readInt32(&value); }
};

class TPlainHolder : public FShared {
  VANTOR_CLASS(TPlainHolder)
 public:
  FRef<CmObject> owned;
  const CmObject* second = nullptr;
  bool secondWasRead = false;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override {
    return archive.writeObject(owned.get()) && archive.writeObject(second);
  }
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override {
    owned = archive.readObject();
    FRef<CmObject> again = archive.readObject();
    secondWasRead = archive.lastWasBackReference();
    second = again.get();
    return !archive.failed();
  }
};

// Registers the test classes (idempotent).
void registerTestClasses();

}  // namespace vantor::test
