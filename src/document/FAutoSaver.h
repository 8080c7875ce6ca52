#pragma once
// Automatic saving: objects that can save themselves on a timer register in
// the "AutoSavers" list; the program's idle loop runs the list with its
// clock, and each saver decides by itself whether a save is due.

#include <cstddef>
#include <vector>

#include "foundation/FClock.h"

namespace vantor {

class FAutoSaver {
 public:
  virtual ~FAutoSaver() = default;
  // Writes an automatic save when one is due at the clock's time. True when
  // a save was written.
  virtual bool autoSaveIfDue(const FClock& clock) = 0;
};

// The "AutoSavers" list. It holds its savers without owning them; a saver
// removes itself before it is destroyed. Used from the user thread only.
class FAutoSavers {
 public:
  static constexpr const char* kName = "AutoSavers";

  // The program's list.
  static FAutoSavers& instance();

  // Adds a saver once; adding it again does nothing.
  void add(FAutoSaver* saver);
  void remove(FAutoSaver* saver);
  bool contains(const FAutoSaver* saver) const;
  size_t count() const { return savers_.size(); }

  // Gives every saver its chance, in order of addition. Returns the number
  // of saves written.
  int runDue(const FClock& clock);

 private:
  std::vector<FAutoSaver*> savers_;
};

}  // namespace vantor
