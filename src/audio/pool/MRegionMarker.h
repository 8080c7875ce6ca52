#pragma once
// A region: a named range of a clip. Start and length are frames of the
// clip (its material as PClipMaterial lays it out); the origin is the
// project position the region's material belongs at, in pulses, as the
// clip's "Origin Time Attribute".

#include <cstdint>
#include <string>

#include "foundation/FShared.h"

namespace vantor {

class MRegionMarker : public FShared {
  VANTOR_CLASS(MRegionMarker)
 public:
  MRegionMarker() = default;
  MRegionMarker(std::string name, int64_t start, int64_t length, double origin = 0)
      : name_(std::move(name)), start_(start), length_(length), origin_(origin) {}
  MRegionMarker(const MRegionMarker& other)
      : FShared(), name_(other.name_), start_(other.start_), length_(other.length_), origin_(other.origin_) {}

  const std::string& getName() const { return name_; }
  void setName(std::string name) { name_ = std::move(name); }
  int64_t getStart() const { return start_; }
  void setStart(int64_t frame) { start_ = frame; }
  int64_t getLength() const { return length_; }
  void setLength(int64_t frames) { length_ = frames; }
  int64_t getEnd() const { return start_ + length_; }
  double getOrigin() const { return origin_; }
  void setOrigin(double pulses) { origin_ = pulses; }

  // Archive, version 1: "Name" (string), "Start", "Length" (64-bit),
  // "Origin" (double). Version 0 stored start and length as 32-bit values
  // and no origin. A negative start or length is refused.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;
  // The same fields under "Name", "Start", "Length" and "Origin".
  [[nodiscard]] bool storeAttributes(FAttributes& attributes) const override;
  [[nodiscard]] bool restoreAttributes(const FAttributes& attributes) override;

 private:
  std::string name_;
  int64_t start_ = 0;
  int64_t length_ = 0;
  double origin_ = 0;
};

}  // namespace vantor
