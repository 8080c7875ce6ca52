#include "midi/quantize/MQuantizePattern.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MQuantizePattern, MMidiQuantize, 0)

namespace {

std::string positionsText(const std::vector<double>& positions) {
  std::string text;
  char buffer[64];
  for (double p : positions) {
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, p);
    if (!text.empty()) text += ' ';
    text.append(buffer, result.ptr);
  }
  return text;
}

bool parsePositions(const std::string& text, std::vector<double>* out) {
  const char* at = text.data();
  const char* end = at + text.size();
  while (at < end) {
    if (*at == ' ') {
      ++at;
      continue;
    }
    double value = 0;
    const auto result = std::from_chars(at, end, value);
    if (result.ec != std::errc()) return false;
    out->push_back(value);
    at = result.ptr;
  }
  return true;
}

}  // namespace

bool MQuantizePattern::valid(int32_t span, const std::vector<double>& positions) {
  if (span < 0) return false;
  for (size_t i = 0; i < positions.size(); ++i) {
    const double p = positions[i];
    if (!std::isfinite(p) || p < 0.0 || (i > 0 && !(p > positions[i - 1])) || (span > 0 && p >= span)) return false;
  }
  return true;
}

bool MQuantizePattern::setPattern(int32_t span, std::vector<double> positions) {
  if (!valid(span, positions)) return false;
  span_ = span;
  positions_ = std::move(positions);
  return true;
}

double MQuantizePattern::gridPoint(int index) const {
  const auto count = static_cast<int>(positions_.size());
  if (index < 0 || count == 0) return std::numeric_limits<double>::infinity();
  if (span_ == 0) return index < count ? positions_[index] : std::numeric_limits<double>::infinity();
  return static_cast<double>(span_) * (index / count) + positions_[index % count];
}

FRef<MMidiQuantize> MQuantizePattern::copy() const {
  auto* pattern = new MQuantizePattern;
  pattern->span_ = span_;
  pattern->positions_ = positions_;
  return FRef<MMidiQuantize>(pattern);
}

bool MQuantizePattern::operator==(const MQuantizePattern& other) const {
  return span_ == other.span_ && positions_ == other.positions_;
}

bool MQuantizePattern::writeToArchive(FObjectArchive& archive) const {
  FStream& s = archive.stream();
  if (!s.writeInt32(span_) || !s.writeUInt32(static_cast<uint32_t>(positions_.size()))) return false;
  for (double p : positions_) {
    if (!s.writeDouble(p)) return false;
  }
  return true;
}

bool MQuantizePattern::readFromArchive(FObjectArchive& archive) {
  FStream& s = archive.stream();
  int32_t span = 0;
  uint32_t count = 0;
  if (!s.readInt32(&span) || !s.readUInt32(&count)) return false;
  // Every offset takes eight bytes: a count beyond what is left is damage.
  const int64_t left = s.remaining();
  if (left != FStream::kUnknown && static_cast<int64_t>(count) * 8 > left) return false;
  std::vector<double> positions;
  for (uint32_t i = 0; i < count; ++i) {
    double p = 0;
    if (!s.readDouble(&p)) return false;
    positions.push_back(p);
  }
  return setPattern(span, std::move(positions));
}

bool MQuantizePattern::storeAttributes(FAttributes& attributes) const {
  attributes.setClassName(getClassName());
  attributes.setInt("Pattern", span_);
  attributes.setString("Positions", positionsText(positions_));
  return true;
}

bool MQuantizePattern::restoreAttributes(const FAttributes& attributes) {
  int64_t span = span_;
  std::string text;
  std::vector<double> positions = positions_;
  if (attributes.contains("Pattern") && (!attributes.getInt("Pattern", &span) || span > INT32_MAX)) return false;
  if (attributes.getString("Positions", &text)) {
    positions.clear();
    if (!parsePositions(text, &positions)) return false;
  }
  return span >= 0 && setPattern(static_cast<int32_t>(span), std::move(positions));
}

}  // namespace vantor
