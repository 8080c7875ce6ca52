#pragma once
// The object archive: a class table, then one record per object, so that
// graphs with shared objects and cycles survive a write and a read, and a
// reader skips what it does not understand.
//
// Header: magic 0x61526348, 32-bit total length (header and records),
// 32-bit class count, then per class its name (string), first size (32-bit)
// and version (16-bit). An older header with magic 0x41726368 ("Arch") is
// read too: magic, a 32-bit length of the records, a 32-bit value that is
// ignored, the class count, then per class its name and three 16-bit values.
// Its class entries are skipped and not kept, so such an archive yields its
// root only when that is no object; it still leaves the stream at its end.
//
// Records: 0xFFFE for no object; class index, 32-bit member length and the
// members for the first record of an object; 0xFFFF and a 32-bit reference
// number for an object already written. Reference numbers count from 1: the
// n-th record of the archive (in order of first appearance) is number n.
// Number 0 names no object.
//
// A reader keeps a place in its object table for every first record, also
// for records of unknown classes and for objects whose read failed (these
// places hold no object), so numbering stays aligned with the writer's.
// Objects nested inside a skipped record are not seen and cannot be numbered;
// a back reference that lands on an empty place fails the read.
//
// Writing measures each record before it reaches the stream: the records are
// built once in memory, each record's length is filled in when its object has
// written its members, and then the header (whose total length is now known)
// and the records go to the stream. An object whose writeToArchive fails is
// taken out again (its entry and the bytes it wrote) and written as no
// object; the archive goes on and lostObjects() names its class.

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "foundation/CmObject.h"
#include "foundation/FMemoryStream.h"
#include "foundation/FRef.h"
#include "foundation/FStream.h"

namespace vantor {

class FClass;

class FClassEntry : public CmObject {
 public:
  std::string name;         // class name; empty for the null entry
  int32_t firstSize = -1;   // member length of the first object written
  int16_t version = 0;      // class version
  uint16_t index = 0xFFFF;  // position in the class table (0xFFFF from there on, where no tag reaches)
  // Resolved once per entry when reading; nullptr for unknown classes.
  const FClass* resolved = nullptr;
  bool isResolved = false;
};

// One object written: its class and the length of its members.
struct FObjectEntry {
  const CmObject* object = nullptr;
  uint16_t classIndex = 0;
  uint32_t size = 0;
};

// Object to reference number while writing: open addressing over a
// power-of-two table, erase by shifting back (no tombstones).
class FObjectIndex {
 public:
  static constexpr uint32_t kNone = 0xFFFFFFFF;
  void clear();
  uint32_t find(const CmObject* object) const;
  void insert(const CmObject* object, uint32_t number);
  void erase(const CmObject* object);

 private:
  size_t slotOf(const CmObject* object) const;
  void grow();
  struct Slot {
    const CmObject* object = nullptr;
    uint32_t number = 0;
  };
  std::vector<Slot> slots_;
  size_t count_ = 0;
};

// What a reader meets, for tools that show an archive's structure. Record
// numbers are the reference numbers of the archive.
class FArchiveTrace {
 public:
  virtual ~FArchiveTrace() = default;
  virtual void onHeader(uint32_t magic, uint32_t totalLength, const std::vector<FClassEntry>& classes) = 0;
  // A first record; known is false when the class is unknown and skipped.
  virtual void onRecordBegin(int depth, uint32_t recordNumber, const FClassEntry& entry, uint32_t length,
                             bool known) = 0;
  virtual void onRecordEnd(int depth, uint32_t recordNumber, bool ok) = 0;
  virtual void onBackReference(int depth, uint32_t recordNumber) = 0;
  virtual void onNull(int depth) = 0;
};

class FObjectArchive {
 public:
  static constexpr uint32_t kMagic = 0x61526348;
  static constexpr uint32_t kOldMagic = 0x41726368;
  static constexpr uint16_t kNullTag = 0xFFFE;
  static constexpr uint16_t kReferenceTag = 0xFFFF;
  // Deepest nesting of records; deeper data fails instead of using the stack.
  static constexpr int kMaxDepth = 1000;

  explicit FObjectArchive(FStream& stream);
  ~FObjectArchive();
  FObjectArchive(const FObjectArchive&) = delete;
  FObjectArchive& operator=(const FObjectArchive&) = delete;

  // Writes the header and the graph reached from root (which may be null).
  // False when the stream failed or the graph nests deeper than kMaxDepth;
  // an object whose class fails to write is left out (lostObjects()).
  [[nodiscard]] bool writeArchive(const CmObject* root);
  // Class names of the objects the last write left out, in order.
  const std::vector<std::string>& lostObjects() const { return lost_; }
  // Reads an archive and returns its root, or nullptr when the archive is
  // invalid (ok reports the difference between an invalid archive and a valid
  // one whose root is no object). Leaves the stream at the archive's end
  // whenever the header could be read.
  FRef<CmObject> readArchive(bool* ok = nullptr);

  // Writes one object-valued member (nullptr allowed).
  [[nodiscard]] bool writeObject(const CmObject* object);
  // Reads one object-valued member: the object, or nullptr for no object or
  // a failure (failed() tells which).
  FRef<CmObject> readObject();
  // Reads an owning member expected to be of class T (or derived). An object
  // of another class is released and fails the read, and so does a back
  // reference to an object whose record is still being read: owned through
  // this member, it would hold itself (a cycle of references that nothing
  // frees). Cyclic data is read through readObject() instead.
  template <class T>
  [[nodiscard]] bool readObjectAs(FRef<T>* out);
  // Whether the last readObject() returned an object met before (a back
  // reference), and whether that object's record was still being read.
  bool lastWasBackReference() const { return lastBackReference_; }
  bool lastWasOpenRecord() const { return lastOpen_; }
  // Whether object's record is being read now (it encloses the current one).
  bool isBeingRead(const CmObject* object) const;

  // The version of the class whose record is being read.
  int16_t currentClassVersion() const { return currentVersion_; }
  // The stream to read and write members through (a bounded reader while a
  // record is read).
  FStream& stream() { return *current_; }
  bool failed() const { return failed_; }
  // Marks the archive as failed; every further object read returns nullptr.
  void fail() { failed_ = true; }

  void setTrace(FArchiveTrace* trace) { trace_ = trace; }
  const std::vector<FClassEntry>& classTable() const { return classes_; }

 private:
  static constexpr size_t kShallow = 32;

  bool writeHeader(uint32_t totalLength);
  bool writeRecord(const CmObject* object);
  bool writeNull();
  void dropRecord(const CmObject* object, uint32_t number, int64_t recordStart);
  uint16_t classIndexOf(const FClass& cls);
  bool readHeader(uint32_t* totalLength);
  bool skipOldClassTable(uint32_t recordsLength, uint32_t* totalLength);
  FRef<CmObject> readBackReference();
  FRef<CmObject> readFirstRecord(uint16_t classIndex);
  const FClass* resolve(FClassEntry& entry);
  void pushOpen(const CmObject* object);
  void popOpen();
  void releaseTable();

  FStream& base_;
  FStream* current_;
  bool failed_ = false;
  int16_t currentVersion_ = 0;
  int depth_ = 0;
  std::vector<FClassEntry> classes_;
  uint16_t classCounter_ = 0;
  // Writing: entries in order of first appearance (the n-th has reference
  // number n), and the records being built.
  std::vector<FObjectEntry> written_;
  FObjectIndex writtenIndex_;
  FMemoryStream* records_ = nullptr;
  std::vector<std::string> lost_;
  // Class entries by descriptor; nullptr keys the entry of null members.
  std::unordered_map<const FClass*, uint16_t> classIndex_;
  const FClass* lastClass_ = nullptr;
  uint16_t lastClassIndex_ = 0;
  // Reading: one place per first record, one word each (an archive may
  // hold millions): the object made (none when the class is unknown or the
  // read failed), and whether the place holds a reference on it, which it
  // does on shared objects while the archive is read. Objects are aligned
  // to 8 bytes, so the flag takes the address's lowest bit. Whether a
  // record is still being read is told by the stack of open records.
  class ReadPlace {
   public:
    ReadPlace() = default;
    ReadPlace(CmObject* object, bool held) : word_(reinterpret_cast<uintptr_t>(object) | (held ? 1 : 0)) {}
    CmObject* object() const { return reinterpret_cast<CmObject*>(word_ & ~uintptr_t{1}); }
    bool held() const { return (word_ & 1) != 0; }

   private:
    uintptr_t word_ = 0;
  };
  std::vector<ReadPlace> read_;
  std::vector<const CmObject*> openStack_;  // the objects of the open records
  // Open objects below the first kShallow levels, so that asking whether an
  // object is being read costs no more than kShallow comparisons.
  std::unordered_multiset<const CmObject*> deepOpen_;
  bool lastBackReference_ = false;
  bool lastOpen_ = false;
  FArchiveTrace* trace_ = nullptr;
};

template <class T>
bool FObjectArchive::readObjectAs(FRef<T>* out) {
  *out = nullptr;
  FRef<CmObject> object = readObject();
  if (!object) return !failed_;
  if (lastOpen_ || !(*out = refCast<T>(std::move(object)))) {
    failed_ = true;
    return false;
  }
  return true;
}

}  // namespace vantor
