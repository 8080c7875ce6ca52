#include "document/FAutoSaver.h"

#include <algorithm>

namespace vantor {

FAutoSavers& FAutoSavers::instance() {
  static FAutoSavers* list = new FAutoSavers;
  return *list;
}

void FAutoSavers::add(FAutoSaver* saver) {
  if (saver != nullptr && !contains(saver)) savers_.push_back(saver);
}

void FAutoSavers::remove(FAutoSaver* saver) {
  savers_.erase(std::remove(savers_.begin(), savers_.end(), saver), savers_.end());
}

bool FAutoSavers::contains(const FAutoSaver* saver) const {
  return std::find(savers_.begin(), savers_.end(), saver) != savers_.end();
}

int FAutoSavers::runDue(const FClock& clock) {
  int written = 0;
  // A saver may add or remove savers while it saves; run over a copy and
  // skip those removed meanwhile.
  const std::vector<FAutoSaver*> due = savers_;
  for (FAutoSaver* saver : due) {
    if (contains(saver) && saver->autoSaveIfDue(clock)) ++written;
  }
  return written;
}

}  // namespace vantor
