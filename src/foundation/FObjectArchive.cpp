#include "foundation/FObjectArchive.h"

#include <limits>

#include "foundation/FClass.h"
#include "foundation/FClassRegistry.h"
#include "foundation/FMemoryStream.h"
#include "foundation/FReadStream.h"

namespace vantor {

namespace {
// The smallest class entry: an empty string (5 bytes), first size, version.
constexpr int64_t kMinClassEntry = 11;
constexpr int64_t kMinOldClassEntry = 11;
}  // namespace

FObjectArchive::FObjectArchive(FStream& stream) : base_(stream), current_(&stream) {}

FObjectArchive::~FObjectArchive() { releaseTable(); }

void FObjectArchive::releaseTable() {
  for (CmObject* object : read_) {
    if (object != nullptr) object->release();
  }
  read_.clear();
  open_.clear();
  openStack_.clear();
}

bool FObjectArchive::isBeingRead(const CmObject* object) const {
  for (const CmObject* open : openStack_) {
    if (open == object) return true;
  }
  return false;
}

// ---- writing ---------------------------------------------------------------

uint16_t FObjectArchive::classIndexOf(const FClass& cls) {
  auto it = classIndex_.find(&cls);
  if (it != classIndex_.end()) return it->second;
  FClassEntry entry;
  entry.name = cls.getClassName();
  entry.version = cls.getClassVersion();
  entry.index = classCounter_++;
  classes_.push_back(entry);
  classIndex_.emplace(&cls, entry.index);
  return entry.index;
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
  written_.clear();
  writtenIndex_.clear();
  classCounter_ = 0;
  failed_ = false;
  depth_ = 0;

  FCountingStream counter;
  counter.setSwap(base_.swap());
  current_ = &counter;
  measuring_ = true;
  bool ok = writeObject(root) && writeHeader(0);
  measuring_ = false;
  current_ = &base_;
  const int64_t total = counter.count();
  if (!ok || failed_ || total > std::numeric_limits<uint32_t>::max()) {
    failed_ = true;
    return false;
  }
  const int64_t start = base_.position();
  ok = writeHeader(static_cast<uint32_t>(total)) && writeObject(root);
  if (!ok || failed_ || base_.position() - start != total) failed_ = true;
  return !failed_;
}

bool FObjectArchive::writeObject(const CmObject* object) {
  if (failed_) return false;
  if (object != nullptr && !object->isArchivable()) object = nullptr;
  if (object == nullptr) {
    // Null members have a class entry of their own, with an empty name.
    if (measuring_ && classIndex_.find(nullptr) == classIndex_.end()) {
      FClassEntry entry;
      entry.index = classCounter_++;
      classes_.push_back(entry);
      classIndex_.emplace(nullptr, entry.index);
    }
    return current_->writeUInt16(kNullTag) || (failed_ = true, false);
  }
  if (depth_ >= kMaxDepth) {
    failed_ = true;
    return false;
  }
  if (!writeRecord(object)) failed_ = true;
  return !failed_;
}

bool FObjectArchive::writeRecord(const CmObject* object) {
  FStream& s = *current_;
  auto found = writtenIndex_.find(object);
  if (found != writtenIndex_.end()) {
    FObjectEntry& entry = written_[found->second];
    if (measuring_) {
      entry.state = FObjectEntry::kShared;
    } else if (entry.state != FObjectEntry::kWritten) {
      return writeRecordBody(entry, object);
    }
    return s.writeUInt16(kReferenceTag) && s.writeUInt32(found->second + 1);
  }
  // Every object of the writing pass was met in the measuring pass; one that
  // was not means a class wrote differently the second time.
  if (!measuring_) return false;
  FObjectEntry entry;
  entry.object = object;
  entry.classIndex = classIndexOf(object->getClass());
  const auto index = static_cast<uint32_t>(written_.size());
  written_.push_back(entry);
  writtenIndex_.emplace(object, index);
  if (!s.writeUInt16(entry.classIndex) || !s.writeUInt32(0)) return false;
  const int64_t before = s.position();
  ++depth_;
  const bool ok = object->writeToArchive(*this);
  --depth_;
  if (!ok) return false;
  const int64_t size = s.position() - before;
  if (size > std::numeric_limits<uint32_t>::max()) return false;
  written_[index].size = static_cast<uint32_t>(size);
  FClassEntry& cls = classes_[entry.classIndex];
  if (cls.firstSize == -1) cls.firstSize = static_cast<int32_t>(size);
  return true;
}

bool FObjectArchive::writeRecordBody(FObjectEntry& entry, const CmObject* object) {
  FStream& s = *current_;
  entry.state = FObjectEntry::kWritten;
  const uint32_t size = entry.size;
  if (!s.writeUInt16(entry.classIndex) || !s.writeUInt32(size)) return false;
  const int64_t before = s.position();
  ++depth_;
  const bool ok = object->writeToArchive(*this);
  --depth_;
  return ok && s.position() - before == size;
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
    return readOldClassTable(recordsLength, totalLength);
  }
  if (magic != kMagic) return false;
  uint32_t count = 0;
  if (!s.readUInt32(totalLength) || !s.readUInt32(&count)) return false;
  const int64_t left = s.remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) * kMinClassEntry > left) return false;
  for (uint32_t i = 0; i < count; ++i) {
    FClassEntry entry;
    if (!s.readString(&entry.name) || !s.readInt32(&entry.firstSize) || !s.readInt16(&entry.version)) {
      return false;
    }
    classes_.push_back(std::move(entry));
  }
  if (trace_ != nullptr) trace_->onHeader(magic, *totalLength, classes_);
  return true;
}

bool FObjectArchive::readOldClassTable(uint32_t recordsLength, uint32_t* totalLength) {
  FStream& s = *current_;
  uint32_t count = 0;
  if (!s.readUInt32(&count)) return false;
  const int64_t left = s.remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) * kMinOldClassEntry > left) return false;
  uint64_t total = static_cast<uint64_t>(recordsLength) + 16;
  for (uint32_t i = 0; i < count; ++i) {
    FClassEntry entry;
    uint16_t version = 0;
    uint16_t unused = 0;
    if (!s.readString(&entry.name) || !s.readUInt16(&version) || !s.readUInt16(&unused) || !s.readUInt16(&unused)) {
      return false;
    }
    entry.version = static_cast<int16_t>(version);
    total += static_cast<uint64_t>(FStream::stringSize(entry.name)) + 6;
    classes_.push_back(std::move(entry));
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
  if (!current_->readUInt32(&number) || number == 0 || number > read_.size() || read_[number - 1] == nullptr) {
    failed_ = true;
    return nullptr;
  }
  lastBackReference_ = true;
  lastOpen_ = open_[number - 1];
  if (trace_ != nullptr) trace_->onBackReference(depth_, number);
  return FRef<CmObject>::share(read_[number - 1]);
}

FRef<CmObject> FObjectArchive::readFirstRecord(uint16_t classIndex) {
  uint32_t length = 0;
  const int64_t left = current_->remaining();
  if (!current_->readUInt32(&length) || (left != FStream::kUnknown && length > left - 4)) {
    failed_ = true;
    return nullptr;
  }
  FClassEntry& entry = classes_[classIndex];
  const FClass* cls = resolve(entry);
  const auto number = static_cast<uint32_t>(read_.size() + 1);
  read_.push_back(nullptr);
  open_.push_back(true);

  FReadStream record(*current_, length);
  FStream* outer = current_;
  const int16_t outerVersion = currentVersion_;
  current_ = &record;
  currentVersion_ = entry.version;
  FRef<CmObject> object = cls != nullptr ? cls->newInstance() : nullptr;
  if (trace_ != nullptr) trace_->onRecordBegin(depth_, number, entry, length, object != nullptr);
  if (object) {
    // Only reference-counted objects may be shared by back references; the
    // table holds a reference on them while the archive is read.
    if (object->isReferenceCounted()) {
      object->retain();
      read_[number - 1] = object.get();
    }
    ++depth_;
    openStack_.push_back(object.get());
    const bool ok = object->readFromArchive(*this);
    openStack_.pop_back();
    --depth_;
    if (!ok) {
      if (read_[number - 1] != nullptr) {
        read_[number - 1] = nullptr;
        object->release();
      }
      object = nullptr;
    }
  }
  current_ = outer;
  currentVersion_ = outerVersion;
  open_[number - 1] = false;
  lastBackReference_ = false;
  lastOpen_ = false;
  if (!record.close()) failed_ = true;
  if (trace_ != nullptr) trace_->onRecordEnd(depth_, number, object != nullptr && !failed_);
  return object;
}

}  // namespace vantor
