#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/FClass.h"
#include "foundation/FClassRegistry.h"
#include "model/MModelInit.h"
#include "model/undo/MCommand.h"

namespace vantor {
namespace {

bool isCommandClass(const FClass& descriptor) {
  for (const FClass* c = &descriptor; c != nullptr; c = c->getBaseClass()) {
    if (std::string(c->getClassName()) == "MCommand") return true;
  }
  return false;
}

// Archives and scripts create commands by name: every registered command
// class must come out whole, with a description, and one made without a
// target must refuse to perform instead of touching nothing (or crashing).
TEST(CommandClasses, EveryRegisteredCommandIsCreatedByNameAndRefusesToPerformWithoutTarget) {
  initializeModel();
  std::vector<std::string> names;
  FClassRegistry::instance().forEach([&](const FClass& descriptor) {
    // The model's own classes (the tests register commands of their own).
    const std::string name = descriptor.getClassName();
    if (isCommandClass(descriptor) && !descriptor.isAbstract() && name[0] == 'M') names.push_back(name);
  });
  EXPECT_GE(names.size(), 30u);
  for (const std::string& name : names) {
    FRef<CmObject> object(FClassRegistry::instance().create(name));
    auto* command = dynamic_cast<MCommand*>(object.get());
    ASSERT_NE(command, nullptr) << name;
    EXPECT_TRUE(object->isClass(name.c_str())) << name;
    EXPECT_FALSE(command->description().empty()) << name;
    // An empty macro has nothing to refuse.
    if (name != "MMacroCommand") {
      EXPECT_FALSE(command->perform()) << name;
    }
  }
}

}  // namespace
}  // namespace vantor
