#include "model/time/MTimeSignatureEvent.h"

#include <cmath>
#include <string>

#include "foundation/FAttributes.h"
#include "foundation/FObjectArchive.h"
#include "model/tree/MDataNode.h"

namespace vantor {

VANTOR_DEFINE_CLASS(MTimeSignatureEvent, MEvent, 0)

MTimeSignatureEvent::MTimeSignatureEvent() { updateFirstFlag(); }

MTimeSignatureEvent::MTimeSignatureEvent(int32_t position, uint16_t numerator, uint16_t denominator)
    : position_(position), numerator_(numerator), denominator_(denominator) {
  updateFirstFlag();
}

void MTimeSignatureEvent::setStart(double pulses) {
  // The integer part of value + 0.5, as the signature track has always
  // rounded; truncation (not floor) is kept for negative values too.
  const double value = pulses + 0.5;
  int32_t position = 0;
  if (value >= 2147483647.0) {
    position = 2147483647;
  } else if (value <= -2147483648.0) {
    position = -2147483647 - 1;
  } else if (!std::isnan(value)) {
    position = static_cast<int32_t>(value);
  }
  setPosition(position);
}

void MTimeSignatureEvent::setPosition(int32_t position) {
  position_ = position;
  updateFirstFlag();
}

void MTimeSignatureEvent::updateFirstFlag() { setFlag(MEventFlag::kFirst, position_ == 0); }

void MTimeSignatureEvent::setSignature(uint16_t numerator, uint16_t denominator) {
  numerator_ = numerator;
  denominator_ = denominator;
}

uint16_t MTimeSignatureEvent::getSubNumerator(int index) const {
  return index >= 0 && index < kSubNumerators ? subNumerators_[index] : 0;
}

void MTimeSignatureEvent::setSubNumerator(int index, uint16_t value) {
  if (index >= 0 && index < kSubNumerators) subNumerators_[index] = value;
}

int32_t MTimeSignatureEvent::barLength() const {
  if (denominator_ == 0) return kWholeNote;
  const int32_t length = (kWholeNote / denominator_) * numerator_;
  return length > 0 ? length : kWholeNote;
}

int32_t MTimeSignatureEvent::beatLength() const {
  const int32_t beat = denominator_ == 0 ? 0 : kWholeNote / denominator_;
  return beat > 0 ? beat : kWholeNote / 4;
}

bool MTimeSignatureEvent::writeToArchive(FObjectArchive& archive) const {
  if (!MEvent::writeToArchive(archive)) return false;
  FStream& s = archive.stream();
  return s.writeInt32(position_) && s.writeUInt16(numerator_) && s.writeUInt16(denominator_) &&
         s.writeUInt16(subNumerators_[0]) && s.writeUInt16(subNumerators_[1]) && s.writeUInt16(subNumerators_[2]) &&
         s.writeUInt16(getFlags() & persistentFlagsMask());
}

bool MTimeSignatureEvent::readFromArchive(FObjectArchive& archive) {
  if (!MEvent::readFromArchive(archive)) return false;
  FStream& s = archive.stream();
  int32_t position = 0;
  uint16_t values[2 + kSubNumerators] = {};
  uint16_t flags = 0;
  if (!s.readInt32(&position)) return false;
  for (uint16_t& value : values) {
    if (!s.readUInt16(&value)) return false;
  }
  if (!s.readUInt16(&flags)) return false;
  numerator_ = values[0];
  denominator_ = values[1];
  for (int i = 0; i < kSubNumerators; ++i) subNumerators_[i] = values[2 + i];
  setFlags(getFlags() | flags);
  setPosition(position);
  return true;
}

bool MTimeSignatureEvent::storeAttributes(FAttributes& attributes) const {
  if (!MEvent::storeAttributes(attributes)) return false;
  attributes.setInt("Position", position_);
  attributes.setInt("Numerator", numerator_);
  attributes.setInt("Denominator", denominator_);
  for (int i = 0; i < kSubNumerators; ++i) {
    attributes.setInt("SubNumerator" + std::to_string(i + 1), subNumerators_[i]);
  }
  return true;
}

bool MTimeSignatureEvent::restoreAttributes(const FAttributes& attributes) {
  if (!MEvent::restoreAttributes(attributes)) return false;
  int64_t value = 0;
  if (attributes.getInt("Numerator", &value)) numerator_ = static_cast<uint16_t>(value);
  if (attributes.getInt("Denominator", &value)) denominator_ = static_cast<uint16_t>(value);
  for (int i = 0; i < kSubNumerators; ++i) {
    if (attributes.getInt("SubNumerator" + std::to_string(i + 1), &value)) {
      subNumerators_[i] = static_cast<uint16_t>(value);
    }
  }
  if (attributes.getInt("Position", &value)) setStart(static_cast<double>(value));
  updateFirstFlag();
  return true;
}

}  // namespace vantor
