#include "foundation/FInitializer.h"

#include <algorithm>
#include <mutex>

#include "foundation/CmIDLink.h"
#include "foundation/FAttributes.h"
#include "foundation/FClass.h"
#include "foundation/FClassRegistry.h"

namespace vantor {

VANTOR_DEFINE_CLASS(FInitializer, FShared, 0)
VANTOR_DEFINE_CLASS(FTerminator, FShared, 0)

namespace {

struct Pending {
  std::string name;
  int level;
  size_t order;
  std::function<void()> work;
  bool done = false;
};

struct Schedule {
  std::mutex mutex;
  std::vector<Pending> initializers;
  std::vector<std::pair<std::string, std::function<void()>>> terminators;
  size_t nextOrder = 0;
};

Schedule& schedule() {
  static Schedule* s = new Schedule;
  return *s;
}

}  // namespace

FInitializer::FInitializer(std::string name, int level, std::function<void()> work)
    : name_(std::move(name)), level_(level), work_(std::move(work)) {}

void FInitializer::add(std::string name, int level, std::function<void()> work) {
  Schedule& s = schedule();
  std::lock_guard lock(s.mutex);
  for (const Pending& p : s.initializers) {
    if (p.name == name) return;  // each module initialises once
  }
  s.initializers.push_back({std::move(name), level, s.nextOrder++, std::move(work)});
}

void FInitializer::runAll() {
  Schedule& s = schedule();
  std::vector<Pending*> due;
  {
    std::lock_guard lock(s.mutex);
    for (Pending& p : s.initializers) {
      if (!p.done) due.push_back(&p);
    }
    std::stable_sort(due.begin(), due.end(), [](const Pending* a, const Pending* b) {
      return a->level != b->level ? a->level < b->level : a->order < b->order;
    });
    for (Pending* p : due) p->done = true;
  }
  for (Pending* p : due) p->work();
}

void FTerminator::add(std::string name, std::function<void()> work) {
  Schedule& s = schedule();
  std::lock_guard lock(s.mutex);
  s.terminators.emplace_back(std::move(name), std::move(work));
}

void FTerminator::runAll() {
  std::vector<std::pair<std::string, std::function<void()>>> due;
  {
    Schedule& s = schedule();
    std::lock_guard lock(s.mutex);
    due.swap(s.terminators);
  }
  for (auto it = due.rbegin(); it != due.rend(); ++it) it->second();
}

void registerFoundationClasses() {
  CmObject::classDescriptor();
  FClass::classDescriptor();
  FShared::classDescriptor();
  FThreadShared::classDescriptor();
  CmIDLink::classDescriptor();
  FInitializer::classDescriptor();
  FTerminator::classDescriptor();
  static const FClass attributesAlias(FAttributes::classDescriptor(), "Attributes");
}

void initializeFoundation() {
  FInitializer::add("foundation", FInitializer::kFoundation, registerFoundationClasses);
  FInitializer::runAll();
}

}  // namespace vantor
