#include "foundation/FAttributes.h"

#include <unordered_map>

#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(FAttributes, FShared, 0)

const FAttributes::Value* FAttributes::findValue(std::string_view key) const {
  for (const Entry& entry : entries_) {
    if (entry.key == key) return &entry.value;
  }
  return nullptr;
}

void FAttributes::set(std::string_view key, Value value) {
  for (Entry& entry : entries_) {
    if (entry.key == key) {
      entry.value = std::move(value);
      return;
    }
  }
  entries_.push_back({std::string(key), std::move(value)});
}

void FAttributes::setInt(std::string_view key, int64_t value) { set(key, value); }
void FAttributes::setFloat(std::string_view key, double value) { set(key, value); }
void FAttributes::setString(std::string_view key, std::string value) { set(key, std::move(value)); }
void FAttributes::setBytes(std::string_view key, Bytes value) { set(key, std::move(value)); }
void FAttributes::setObject(std::string_view key, FRef<CmObject> object) { set(key, std::move(object)); }
void FAttributes::setAttributes(std::string_view key, FRef<FAttributes> attributes) { set(key, std::move(attributes)); }

bool FAttributes::getInt(std::string_view key, int64_t* out) const {
  *out = 0;
  const Value* value = findValue(key);
  if (value == nullptr || !std::holds_alternative<int64_t>(*value)) return false;
  *out = std::get<int64_t>(*value);
  return true;
}

bool FAttributes::getFloat(std::string_view key, double* out) const {
  *out = 0;
  const Value* value = findValue(key);
  if (value == nullptr) return false;
  if (const auto* d = std::get_if<double>(value)) {
    *out = *d;
    return true;
  }
  if (const auto* i = std::get_if<int64_t>(value)) {
    *out = static_cast<double>(*i);
    return true;
  }
  return false;
}

bool FAttributes::getString(std::string_view key, std::string* out) const {
  out->clear();
  const Value* value = findValue(key);
  if (value == nullptr || !std::holds_alternative<std::string>(*value)) return false;
  *out = std::get<std::string>(*value);
  return true;
}

bool FAttributes::getBytes(std::string_view key, Bytes* out) const {
  out->clear();
  const Value* value = findValue(key);
  if (value == nullptr || !std::holds_alternative<Bytes>(*value)) return false;
  *out = std::get<Bytes>(*value);
  return true;
}

CmObject* FAttributes::getObject(std::string_view key) const {
  const Value* value = findValue(key);
  if (value == nullptr || !std::holds_alternative<FRef<CmObject>>(*value)) return nullptr;
  return std::get<FRef<CmObject>>(*value).get();
}

FAttributes* FAttributes::getAttributes(std::string_view key) const {
  const Value* value = findValue(key);
  if (value == nullptr || !std::holds_alternative<FRef<FAttributes>>(*value)) return nullptr;
  return std::get<FRef<FAttributes>>(*value).get();
}

bool FAttributes::contains(std::string_view key) const { return findValue(key) != nullptr; }

bool FAttributes::remove(std::string_view key) {
  return std::erase_if(entries_, [&](const Entry& entry) { return entry.key == key; }) > 0;
}

std::vector<std::string> FAttributes::keys() const {
  std::vector<std::string> result;
  result.reserve(entries_.size());
  for (const Entry& entry : entries_) result.push_back(entry.key);
  return result;
}

bool FAttributes::kindOf(std::string_view key, Kind* out) const {
  const Value* value = findValue(key);
  if (value == nullptr) return false;
  *out = static_cast<Kind>(value->index() + 1);
  return true;
}

bool FAttributes::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  if (!s.writeString(className_) || !s.writeUInt32(static_cast<uint32_t>(entries_.size()))) return false;
  for (const Entry& entry : entries_) {
    const auto kind = static_cast<uint16_t>(entry.value.index() + 1);
    if (!s.writeString(entry.key) || !s.writeUInt16(kind)) return false;
    bool ok = false;
    switch (static_cast<Kind>(kind)) {
      case Kind::kInteger:
        ok = s.writeInt64(std::get<int64_t>(entry.value));
        break;
      case Kind::kFloat:
        ok = s.writeDouble(std::get<double>(entry.value));
        break;
      case Kind::kString:
        ok = s.writeString(std::get<std::string>(entry.value));
        break;
      case Kind::kBytes: {
        const Bytes& bytes = std::get<Bytes>(entry.value);
        ok = s.writeUInt32(static_cast<uint32_t>(bytes.size())) &&
             s.writeRaw(bytes.data(), static_cast<int64_t>(bytes.size()));
        break;
      }
      case Kind::kObject:
        ok = archive.writeObject(std::get<FRef<CmObject>>(entry.value).get());
        break;
      case Kind::kAttributes:
        ok = archive.writeObject(std::get<FRef<FAttributes>>(entry.value).get());
        break;
    }
    if (!ok) return false;
  }
  return true;
}

bool FAttributes::readValue(FObjectArchive& archive, uint16_t kind, Value* out) {
  FStream& s = archive.stream();
  switch (static_cast<Kind>(kind)) {
    case Kind::kInteger: {
      int64_t v = 0;
      if (!s.readInt64(&v)) return false;
      *out = v;
      return true;
    }
    case Kind::kFloat: {
      double v = 0;
      if (!s.readDouble(&v)) return false;
      *out = v;
      return true;
    }
    case Kind::kString: {
      std::string v;
      if (!s.readString(&v)) return false;
      *out = std::move(v);
      return true;
    }
    case Kind::kBytes: {
      uint32_t size = 0;
      if (!s.readUInt32(&size)) return false;
      const int64_t left = s.remaining();
      if (left != FStream::kUnknown && size > left) return false;
      Bytes v(size);
      if (!s.readRaw(v.data(), size)) return false;
      *out = std::move(v);
      return true;
    }
    case Kind::kObject: {
      FRef<CmObject> v = archive.readObject();
      // A set that held an object still being read would hold itself.
      if (archive.failed() || archive.lastWasOpenRecord()) return false;
      *out = std::move(v);
      return true;
    }
    case Kind::kAttributes: {
      FRef<FAttributes> v;
      if (!archive.readObjectAs(&v)) return false;
      *out = std::move(v);
      return true;
    }
  }
  return false;
}

bool FAttributes::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  uint32_t count = 0;
  if (!s.readString(&className_) || !s.readUInt32(&count)) return false;
  entries_.clear();
  // A key met again replaces the earlier value in its place, as set() does;
  // the index makes that one hash lookup per entry instead of a scan.
  std::unordered_map<std::string, size_t> index;
  for (uint32_t i = 0; i < count; ++i) {
    std::string key;
    uint16_t kind = 0;
    Value value;
    if (!s.readString(&key) || !s.readUInt16(&kind) || !readValue(archive, kind, &value)) return false;
    auto [at, added] = index.try_emplace(std::move(key), entries_.size());
    if (added) {
      entries_.push_back({at->first, std::move(value)});
    } else {
      entries_[at->second].value = std::move(value);
    }
  }
  return true;
}

}  // namespace vantor
