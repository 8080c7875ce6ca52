#pragma once
// Ordered start-up and shut-down of the library's modules. Each layer adds an
// initialiser that registers its persistent classes (static libraries would
// otherwise drop registrations that nothing references); initialisers run in
// the order of their level, then of their addition, and terminators in the
// reverse order.

#include <functional>
#include <string>
#include <vector>

#include "foundation/FShared.h"

namespace vantor {

class FInitializer : public FShared {
  VANTOR_CLASS(FInitializer)
 public:
  // Levels by layer: a lower level runs first.
  enum Level { kFoundation = 0, kModel = 10, kMidi = 20, kAudio = 30, kDocument = 40, kApplication = 50 };

  FInitializer() = default;
  FInitializer(std::string name, int level, std::function<void()> work);

  // Adds a module initialiser; it runs at the next runAll().
  static void add(std::string name, int level, std::function<void()> work);
  // Runs every initialiser that has not run yet, in order. Idempotent.
  static void runAll();

  const std::string& name() const { return name_; }
  int level() const { return level_; }

 private:
  std::string name_;
  int level_ = 0;
  std::function<void()> work_;
};

class FTerminator : public FShared {
  VANTOR_CLASS(FTerminator)
 public:
  FTerminator() = default;
  // Adds shut-down work; runAll() runs it in reverse order of addition.
  static void add(std::string name, std::function<void()> work);
  static void runAll();
};

// Registers the foundation's persistent classes and aliases.
void registerFoundationClasses();
// Adds the foundation's initialiser and runs all initialisers added so far.
// Each higher layer has an initialise function of its own that calls the one
// below it first; call the topmost one before using the library.
void initializeFoundation();

}  // namespace vantor
