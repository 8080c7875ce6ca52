#pragma once
// A keyed attribute set: integers, floating point values, strings, byte
// blocks, objects and nested sets, with the class name of the object it
// describes. Keys keep the order in which they were first set.

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "foundation/FRef.h"
#include "foundation/FShared.h"

namespace vantor {

class FAttributes : public FShared {
  VANTOR_CLASS(FAttributes)
 public:
  using Bytes = std::vector<uint8_t>;
  // Value kinds as stored in archives; the numbers are part of the format.
  enum class Kind : uint16_t { kInteger = 1, kFloat = 2, kString = 3, kBytes = 4, kObject = 5, kAttributes = 6 };

  FAttributes() = default;
  explicit FAttributes(std::string className) : className_(std::move(className)) {}

  const std::string& className() const { return className_; }
  void setClassName(std::string name) { className_ = std::move(name); }

  void setInt(std::string_view key, int64_t value);
  void setFloat(std::string_view key, double value);
  void setString(std::string_view key, std::string value);
  void setBytes(std::string_view key, Bytes value);
  // Holds object (which may be null) under key; the set takes a reference.
  void setObject(std::string_view key, FRef<CmObject> object);
  void setAttributes(std::string_view key, FRef<FAttributes> attributes);

  // Each get fails (leaving *out zeroed or empty) when the key is missing or
  // holds another kind. getFloat also accepts an integer value.
  [[nodiscard]] bool getInt(std::string_view key, int64_t* out) const;
  [[nodiscard]] bool getFloat(std::string_view key, double* out) const;
  [[nodiscard]] bool getString(std::string_view key, std::string* out) const;
  [[nodiscard]] bool getBytes(std::string_view key, Bytes* out) const;
  // Borrowed pointers, valid while the set holds them; nullptr when absent.
  CmObject* getObject(std::string_view key) const;
  FAttributes* getAttributes(std::string_view key) const;

  bool contains(std::string_view key) const;
  bool remove(std::string_view key);
  size_t count() const { return entries_.size(); }
  std::vector<std::string> keys() const;
  // The kind of the value under key; false when the key is missing.
  bool kindOf(std::string_view key, Kind* out) const;

  // Archive layout: class name (string), 32-bit entry count, then per entry
  // the key (string), the 16-bit kind and the value: integers as 64 bits,
  // floats as doubles, strings as strings, byte blocks as a 32-bit length and
  // the bytes, objects and nested sets as object records.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  using Value = std::variant<int64_t, double, std::string, Bytes, FRef<CmObject>, FRef<FAttributes>>;
  struct Entry {
    std::string key;
    Value value;
  };
  const Value* findValue(std::string_view key) const;
  // Reads one value of the stored kind; false for an unknown kind.
  [[nodiscard]] static bool readValue(FObjectArchive& archive, uint16_t kind, Value* out);
  void set(std::string_view key, Value value);

  std::string className_;
  std::vector<Entry> entries_;
};

}  // namespace vantor
