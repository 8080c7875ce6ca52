#include "model/MModelInit.h"

#include "foundation/FInitializer.h"

namespace vantor {

void initializeModel() {
  FInitializer::add("foundation", FInitializer::kFoundation, registerFoundationClasses);
  FInitializer::add("model", FInitializer::kModel, [] {
    registerTreeClasses();
    registerTempoClasses();
    registerCommandClasses();
    registerMarkerClasses();
  });
  FInitializer::runAll();
}

}  // namespace vantor
