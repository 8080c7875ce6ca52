#pragma once
// The signature track: time signature changes in position order, which
// divide musical positions (pulses) into bars.
//
// Bars begin at each signature's own position and run with its bar length.
// Signatures that edits add start on a bar line, so bars meet end to end; a
// file from elsewhere may hold one off a bar line. Then the bar of a
// position (barAt) still runs its full length past it, while bar numbers
// count the interrupted bar as one bar and start afresh at the signature
// (numberedBar). Bar 1 begins at the first signature (position 0 in
// every project this program makes). Before the first signature its bars
// extend backwards with the first signature's length; those bars are
// numbered 0, -1, ... A track without any signature (only through damaged
// data) reads as 4/4 from position 0.

#include <cstddef>
#include <cstdint>
#include <optional>

#include "model/time/MTimeSignatureEvent.h"
#include "model/tree/MAccessor.h"
#include "model/tree/MArrayNode.h"

namespace vantor {

// One bar: [start, end) in pulses, and the signature that rules it (nullptr
// on a track without signatures).
struct MBar {
  int64_t start = 0;
  int64_t end = 0;
  const MTimeSignatureEvent* signature = nullptr;
  int64_t length() const { return end - start; }
};

class MSignatureTrackNode : public MListNode {
  VANTOR_CLASS(MSignatureTrackNode)
 public:
  // One signature: 4/4 at position 0.
  MSignatureTrackNode();

  size_t signatureCount() const;
  // The signature at index (in position order), or nullptr.
  MTimeSignatureEvent* signature(size_t index) const;
  // The signature in force at position: the last one at or before it;
  // before every signature, the first one; nullptr for an empty track.
  MTimeSignatureEvent* signatureAt(int64_t position) const;

  // The bar that contains a whole-pulse position (O(log n)): from the
  // signature in force there and its bar length, never cut short by the
  // next signature.
  MBar barAt(int64_t position) const;
  // Bar number as bar text counts it: from barStart(number), ending where
  // the next signature starts if that lies inside the bar.
  MBar numberedBar(int64_t number) const;
  // The 1-based number of the bar that contains position (bars before the
  // first signature count 0, -1, ...). Walks the signatures: O(n).
  int64_t barNumberAt(int64_t position) const;
  // The first pulse of bar number (1-based; 0 and below lie before the
  // first signature).
  int64_t barStart(int64_t number) const;

  // Moves later signatures so they keep their bar numbers after changed's
  // bar length went from oldBarLength to newBarLength: with n whole old bars
  // between changed and the next signature (integer division), every
  // signature from the next one on moves by (newBarLength - oldBarLength) * n
  // pulses. Returns the move made; 0 (nothing moved) when the product is 0,
  // when changed is not here or is the last one, when oldBarLength is not
  // positive, or when a position would leave the 32-bit range.
  int32_t shiftFollowing(MTimeSignatureEvent* changed, int32_t oldBarLength, int32_t newBarLength);
  // The move shiftFollowing() would make, without making it.
  int32_t followingShift(const MTimeSignatureEvent* changed, int32_t oldBarLength, int32_t newBarLength) const;
  // The same move when it can be made: nullopt when the exact product
  // leaves the 32-bit range or a moved signature would reach changed's
  // position or leave 0 to 2147483647 (commands then refuse rather than
  // leave later bars renumbered).
  std::optional<int32_t> plannedShift(const MTimeSignatureEvent* changed, int32_t oldBarLength,
                                      int32_t newBarLength) const;
  // Moves every signature after changed by delta pulses (undo applies the
  // recorded move backwards with it). False, and nothing moved, when changed
  // is not here or a moved signature would reach changed's position or leave
  // the 32-bit range.
  [[nodiscard]] bool moveFollowing(const MTimeSignatureEvent* changed, int32_t delta);

  FRef<MAccessor> getWriteAccessor() override;
  FRef<MAccessor> getReadAccessor() override;

  // Archive: the list node's members (Name, Domain, "Events"). Reading
  // replaces the signature the constructor made and fails on a member that
  // is not a time signature event.
  [[nodiscard]] bool readFromArchive(FObjectArchive& archive) override;
  [[nodiscard]] bool writeToArchive(FObjectArchive& archive) const override;

 private:
  // The events through the const accessor (the non-const override hides it).
  const MEventContainer* constEvents() const { return static_cast<const MDataNode*>(this)->events(); }
  // Index of the last signature at or before position, or npos before all.
  size_t indexAt(int64_t position) const;
};

// Accessor over the signature track: it holds only time signature events.
class MSignatureTrackAccessor : public MListAccessor {
  VANTOR_CLASS(MSignatureTrackAccessor)
 public:
  using MListAccessor::MListAccessor;
  // Refuses events that are not time signature events.
  [[nodiscard]] bool insert(FRef<MEvent> event) override;
  MTimeSignatureEvent* signatureAt(size_t index) const;
};

}  // namespace vantor
