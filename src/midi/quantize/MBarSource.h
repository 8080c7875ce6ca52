#pragma once
// Where bars lie, for quantize: the grid restarts at every bar line, so a
// quantize setting asks a bar source for the bar of each position.

#include <cstdint>

namespace vantor {

class MSignatureTrackNode;

// One bar: [start, end) in pulses on the project's time line.
struct MBarSpan {
  int64_t start = 0;
  int64_t end = 0;
};

class MBarSource {
 public:
  virtual ~MBarSource() = default;
  // The bar that contains a whole-pulse position.
  virtual MBarSpan barAt(int64_t position) const = 0;
};

// The bars of a project's signature track (signature changes and odd
// meters included).
class MSignatureBarSource : public MBarSource {
 public:
  explicit MSignatureBarSource(const MSignatureTrackNode& track) : track_(track) {}
  MBarSpan barAt(int64_t position) const override;

 private:
  const MSignatureTrackNode& track_;
};

// Bars of one fixed length from position 0 (tests, benchmarks, material
// without a project). length must be above 0.
class MFixedBarSource : public MBarSource {
 public:
  explicit MFixedBarSource(int64_t length) : length_(length > 0 ? length : 1920) {}
  MBarSpan barAt(int64_t position) const override;

 private:
  int64_t length_;
};

}  // namespace vantor
