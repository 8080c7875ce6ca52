#include "foundation/FObjectArchive.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "foundation/FClass.h"
#include "foundation/FClassRegistry.h"
#include "foundation/FMemoryStream.h"
#include "foundation/FReadStream.h"

namespace vantor {

namespace {
// The smallest class entry: an empty string (5 bytes), first size, version.
constexpr int64_t kMinClassEntry = 11;
// The smallest class entry of the older header: an empty string, three
// 16-bit values.
constexpr int64_t kMinOldClassEntry = 11;
// Tag and length in front of a record's members.
constexpr int64_t kRecordHead = 6;
}  // namespace

// ---- object index ----------------------------------------------------------

void FObjectIndex::clear() {
  slots_.clear();
  count_ = 0;
}

size_t FObjectIndex::slotOf(const CmObject* object) const {
  // The address in 16-byte steps: objects made one after the other (a
  // tree as it was built or read) land in neighbouring slots, so a walk over
  // them touches the table in order instead of missing the cache each time.
  // Addresses a whole table apart share a slot; the probe moves on.
  return static_cast<size_t>(reinterpret_cast<uintptr_t>(object) >> 4) & (slots_.size() - 1);
}

uint32_t FObjectIndex::find(const CmObject* object) const {
  if (slots_.empty()) return kNone;
  for (size_t i = slotOf(object);; i = (i + 1) & (slots_.size() - 1)) {
    if (slots_[i].object == object) return slots_[i].number;
    if (slots_[i].object == nullptr) return kNone;
  }
}

void FObjectIndex::grow() {
  std::vector<Slot> old = std::move(slots_);
  slots_.assign(old.empty() ? 1024 : old.size() * 2, Slot{});
  count_ = 0;
  for (const Slot& slot : old) {
    if (slot.object != nullptr) insert(slot.object, slot.number);
  }
}

void FObjectIndex::insert(const CmObject* object, uint32_t number) {
  // At most half full, so probes stay short.
  if ((count_ + 1) * 2 > slots_.size()) grow();
  size_t i = slotOf(object);
  while (slots_[i].object != nullptr) i = (i + 1) & (slots_.size() - 1);
  slots_[i] = {object, number};
  ++count_;
}

void FObjectIndex::erase(const CmObject* object) {
  if (slots_.empty()) return;
  const size_t mask = slots_.size() - 1;
  size_t i = slotOf(object);
  while (slots_[i].object != object) {
    if (slots_[i].object == nullptr) return;
    i = (i + 1) & mask;
  }
  // Shift later members of the probe run back into the hole.
  for (size_t j = (i + 1) & mask; slots_[j].object != nullptr; j = (j + 1) & mask) {
    const size_t home = slotOf(slots_[j].object);
    if (((j - home) & mask) >= ((j - i) & mask)) {
      slots_[i] = slots_[j];
      i = j;
    }
  }
  slots_[i] = Slot{};
  --count_;
}

// ---- archive ---------------------------------------------------------------

FObjectArchive::FObjectArchive(FStream& stream) : base_(stream), current_(&stream) {}

FObjectArchive::~FObjectArchive() { releaseTable(); }

void FObjectArchive::releaseTable() {
  for (const ReadPlace& place : read_) {
    if (place.held()) place.object()->release();
  }
  read_ = {};
  openStack_.clear();
  deepOpen_.clear();
}

void FObjectArchive::pushOpen(const CmObject* object) {
  if (openStack_.size() >= kShallow) deepOpen_.insert(object);
  openStack_.push_back(object);
}

void FObjectArchive::popOpen() {
  if (openStack_.size() > kShallow) deepOpen_.erase(deepOpen_.find(openStack_.back()));
  openStack_.pop_back();
}

bool FObjectArchive::isBeingRead(const CmObject* object) const {
  if (object == nullptr) return false;
  const size_t shallow = std::min(openStack_.size(), kShallow);
  for (size_t i = 0; i < shallow; ++i) {
    if (openStack_[i] == object) return true;
  }
  return !deepOpen_.empty() && deepOpen_.count(object) > 0;
}

// ---- writing ---------------------------------------------------------------

uint16_t FObjectArchive::classIndexOf(const FClass& cls) {
  // Objects of one class tend to come in runs: the last class is kept.
  if (&cls == lastClass_) return lastClassIndex_;
  auto it = classIndex_.find(&cls);
  if (it == classIndex_.end()) {
    FClassEntry entry;
    entry.name = cls.getClassName();
    entry.version = cls.getClassVersion();
    entry.index = classCounter_++;
    classes_.push_back(entry);
    it = classIndex_.emplace(&cls, entry.index).first;
  }
  lastClass_ = &cls;
  lastClassIndex_ = it->second;
  return it->second;
}

bool FObjectArchive::writeHeader(uint32_t totalLength) {
  FStream& s = *current_;
  bool ok =
      s.writeUInt32(kMagic) && s.writeUInt32(totalLength) && s.writeUInt32(static_cast<uint32_t>(classes_.size()));
  for (const FClassEntry& entry : classes_) {
    ok = ok && s.writeString(entry.name) && s.writeInt32(entry.firstSize) && s.writeInt16(entry.version);
  }
  return ok;
}

bool FObjectArchive::writeArchive(const CmObject* root) {
  classes_.clear();
  classIndex_.clear();
  lastClass_ = nullptr;
  written_.clear();
  writtenIndex_.clear();
  lost_.clear();
  classCounter_ = 0;
  failed_ = false;
  depth_ = 0;

  FMemoryStream records;
  records.setSwap(base_.swap());
  records.reserve(int64_t{1} << 16);
  records_ = &records;
  current_ = &records;
  const bool ok = writeObject(root);
  current_ = &base_;
  records_ = nullptr;
  if (!ok || failed_) {
    failed_ = true;
    return false;
  }
  int64_t total = 12 + records.position();
  for (const FClassEntry& entry : classes_) total += FStream::stringSize(entry.name) + 6;
  if (total > std::numeric_limits<uint32_t>::max()) {
    failed_ = true;
    return false;
  }
  const int64_t start = base_.position();
  const std::vector<uint8_t>& bytes = records.data();
  if (!writeHeader(static_cast<uint32_t>(total)) || !base_.writeRaw(bytes.data(), static_cast<int64_t>(bytes.size())) ||
      base_.position() - start != total) {
    failed_ = true;
  }
  return !failed_;
}

bool FObjectArchive::writeNull() {
  // Null members have a class entry of their own, with an empty name.
  if (classIndex_.find(nullptr) == classIndex_.end()) {
    FClassEntry entry;
    entry.index = classCounter_++;
    classes_.push_back(entry);
    classIndex_.emplace(nullptr, entry.index);
  }
  return current_->writeUInt16(kNullTag);
}

bool FObjectArchive::writeObject(const CmObject* object) {
  if (failed_) return false;
  if (object != nullptr && !object->isArchivable()) object = nullptr;
  const bool ok = object == nullptr ? writeNull() : depth_ < kMaxDepth && writeRecord(object);
  if (!ok) failed_ = true;
  return ok;
}

bool FObjectArchive::writeRecord(const CmObject* object) {
  FStream& s = *current_;
  const uint32_t found = writtenIndex_.find(object);
  if (found != FObjectIndex::kNone) return s.writeUInt16(kReferenceTag) && s.writeUInt32(found + 1);

  const auto number = static_cast<uint32_t>(written_.size());
  const uint16_t classIndex = classIndexOf(object->getClass());
  written_.push_back({object, classIndex, 0});
  writtenIndex_.insert(object, number);
  const int64_t recordStart = s.position();
  if (!s.writeUInt16(classIndex) || !s.writeUInt32(0)) return false;
  ++depth_;
  const bool ok = object->writeToArchive(*this);
  --depth_;
  if (failed_) return false;
  if (!ok) {
    dropRecord(object, number, recordStart);
    return writeNull();
  }
  const int64_t size = s.position() - recordStart - kRecordHead;
  if (size > std::numeric_limits<uint32_t>::max()) return false;
  // The length goes in front of the members, in the stream's byte order.
  uint32_t bits = static_cast<uint32_t>(size);
  if (s.swap() != 0) bits = __builtin_bswap32(bits);
  std::memcpy(records_->at(recordStart + 2), &bits, 4);
  written_[number].size = static_cast<uint32_t>(size);
  FClassEntry& cls = classes_[classIndex];
  if (cls.firstSize == -1) cls.firstSize = static_cast<int32_t>(size);
  return true;
}

void FObjectArchive::dropRecord(const CmObject* object, uint32_t number, int64_t recordStart) {
  // The object and every object first written inside its record go: they
  // were numbered after it, so they are the tail of the table.
  for (size_t i = number; i < written_.size(); ++i) writtenIndex_.erase(written_[i].object);
  written_.resize(number);
  records_->truncate(recordStart);
  lost_.push_back(object->getClassName());
}

// ---- reading ---------------------------------------------------------------

bool FObjectArchive::readHeader(uint32_t* totalLength) {
  FStream& s = *current_;
  uint32_t magic = 0;
  if (!s.readUInt32(&magic)) return false;
  if (magic == kOldMagic) {
    uint32_t recordsLength = 0;
    uint32_t ignored = 0;
    if (!s.readUInt32(&recordsLength) || !s.readUInt32(&ignored)) return false;
    return skipOldClassTable(recordsLength, totalLength);
  }
  if (magic != kMagic) return false;
  uint32_t count = 0;
  if (!s.readUInt32(totalLength) || !s.readUInt32(&count)) return false;
  const int64_t left = s.remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) * kMinClassEntry > left) return false;
  classes_.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    FClassEntry entry;
    if (!s.readString(&entry.name) || !s.readInt32(&entry.firstSize) || !s.readInt16(&entry.version)) {
      return false;
    }
    entry.index = static_cast<uint16_t>(std::min<uint32_t>(i, 0xFFFF));
    classes_.push_back(std::move(entry));
  }
  if (trace_ != nullptr) trace_->onHeader(magic, *totalLength, classes_);
  return true;
}

bool FObjectArchive::skipOldClassTable(uint32_t recordsLength, uint32_t* totalLength) {
  FStream& s = *current_;
  uint32_t count = 0;
  if (!s.readUInt32(&count)) return false;
  const int64_t left = s.remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) * kMinOldClassEntry > left) return false;
  // The entries are read only to be passed over: the class table stays
  // empty, so the records that follow can name no class.
  uint64_t total = static_cast<uint64_t>(recordsLength) + 16;
  std::string name;
  for (uint32_t i = 0; i < count; ++i) {
    if (!s.readString(&name) || !s.skip(6)) return false;
    total += static_cast<uint64_t>(FStream::stringSize(name)) + 6;
  }
  if (total > std::numeric_limits<uint32_t>::max()) return false;
  *totalLength = static_cast<uint32_t>(total);
  if (trace_ != nullptr) trace_->onHeader(kOldMagic, *totalLength, classes_);
  return true;
}

FRef<CmObject> FObjectArchive::readArchive(bool* ok) {
  releaseTable();
  classes_.clear();
  failed_ = false;
  depth_ = 0;
  current_ = &base_;
  const int64_t start = base_.position();
  uint32_t total = 0;
  FRef<CmObject> root;
  if (!readHeader(&total)) {
    failed_ = true;
  } else {
    root = readObject();
    const int64_t end = start + static_cast<int64_t>(total);
    if (base_.position() != end && !base_.seek(end)) failed_ = true;
  }
  releaseTable();
  if (failed_) root = nullptr;
  if (ok != nullptr) *ok = !failed_;
  return root;
}

const FClass* FObjectArchive::resolve(FClassEntry& entry) {
  if (!entry.isResolved) {
    entry.resolved = entry.name.empty() ? nullptr : FClassRegistry::instance().find(entry.name);
    entry.isResolved = true;
  }
  return entry.resolved;
}

FRef<CmObject> FObjectArchive::readObject() {
  lastBackReference_ = false;
  lastOpen_ = false;
  if (failed_) return nullptr;
  uint16_t tag = 0;
  if (!current_->readUInt16(&tag)) {
    failed_ = true;
    return nullptr;
  }
  if (tag == kNullTag) {
    if (trace_ != nullptr) trace_->onNull(depth_);
    return nullptr;
  }
  if (tag == kReferenceTag) return readBackReference();
  if (tag >= classes_.size() || depth_ >= kMaxDepth) {
    failed_ = true;
    return nullptr;
  }
  return readFirstRecord(tag);
}

FRef<CmObject> FObjectArchive::readBackReference() {
  uint32_t number = 0;
  if (!current_->readUInt32(&number) || number == 0 || number > read_.size() || read_[number - 1].object() == nullptr) {
    failed_ = true;
    return nullptr;
  }
  const ReadPlace& place = read_[number - 1];
  lastBackReference_ = true;
  lastOpen_ = isBeingRead(place.object());
  if (trace_ != nullptr) trace_->onBackReference(depth_, number);
  // A plain object has exactly one owner, the member that read its record;
  // a second holder would delete it twice. Its back reference (the writer
  // emits one when such an object is reached twice) therefore reads
  // successfully as no object.
  if (!place.held()) return nullptr;
  return FRef<CmObject>::share(place.object());
}

FRef<CmObject> FObjectArchive::readFirstRecord(uint16_t classIndex) {
  uint32_t length = 0;
  if (!current_->readUInt32(&length)) {
    failed_ = true;
    return nullptr;
  }
  const int64_t left = current_->remaining();
  if (left != FStream::kUnknown && length > left) {
    failed_ = true;
    return nullptr;
  }
  FClassEntry& entry = classes_[classIndex];
  const FClass* cls = resolve(entry);
  const auto number = static_cast<uint32_t>(read_.size() + 1);
  const size_t at = number - 1;
  read_.emplace_back();

  FReadStream record(*current_, length);
  FStream* outer = current_;
  const int16_t outerVersion = currentVersion_;
  current_ = &record;
  currentVersion_ = entry.version;
  FRef<CmObject> object = cls != nullptr ? cls->newInstance() : nullptr;
  if (trace_ != nullptr) trace_->onRecordBegin(depth_, number, entry, length, object != nullptr);
  if (object) {
    // The table holds a reference on shared objects while the archive is
    // read; plain objects are only marked, never held.
    const bool shared = object->isReferenceCounted();
    if (shared) object->retain();
    read_[at] = ReadPlace(object.get(), shared);
    ++depth_;
    pushOpen(object.get());
    const bool ok = object->readFromArchive(*this);
    popOpen();
    --depth_;
    if (!ok) {
      if (read_[at].held()) object->release();
      read_[at] = {};
      object = nullptr;
    }
  }
  current_ = outer;
  currentVersion_ = outerVersion;
  lastBackReference_ = false;
  lastOpen_ = false;
  if (!record.close()) failed_ = true;
  // Records are read front to back: the bytes up to this record's end are
  // done with.
  int64_t unused = 0;
  base_.releaseBefore(current_->directBytes(&unused));
  if (trace_ != nullptr) trace_->onRecordEnd(depth_, number, object != nullptr && !failed_);
  return object;
}

}  // namespace vantor
