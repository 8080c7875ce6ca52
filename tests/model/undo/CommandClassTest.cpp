#include <gtest/gtest.h>

#include <string>

#include "foundation/FClass.h"
#include "foundation/FClassRegistry.h"
#include "model/MModelInit.h"
#include "model/undo/MCommand.h"

namespace vantor {
namespace {

// Every command class with its base, as the command framework names them.
struct ClassRow {
  const char* name;
  const char* base;
};
const ClassRow kCommandClasses[] = {
    {"MMacroCommand", "MCommand"},
    {"MInsertCommand", "MCommand"},
    {"MRemoveCommand", "MCommand"},
    {"MInsertTrackCommand", "MCommand"},
    {"MRemoveTrackCommand", "MCommand"},
    {"MMoveTrackCommand", "MCommand"},
    {"MReplaceCommand", "MCommand"},
    {"MSplitCommand", "MReplaceCommand"},
    {"MMoveInsideCommand", "MCommand"},
    {"MMoveCommand", "MCommand"},
    {"MSimpleMoveCommand", "MCommand"},
    {"MSizeCommand", "MCommand"},
    {"MSizeStartCommand", "MSizeCommand"},
    {"MSizeEndCommand", "MSizeCommand"},
    {"MOffsetCommand", "MSizeCommand"},
    {"MLengthCommand", "MSizeCommand"},
    {"MMoveStartCommand", "MSizeStartCommand"},
    {"MMoveEndCommand", "MCommand"},
    {"MPriorityCommand", "MCommand"},
    {"MVerticalCommand", "MCommand"},
    {"MMuteCommand", "MCommand"},
    {"MEditLockCommand", "MCommand"},
    {"MRenameCommand", "MCommand"},
    {"MColorCommand", "MCommand"},
    {"MVGroupCreateCommand", "MCommand"},
    {"MVGroupRemoveCommand", "MCommand"},
    {"MSetNodeCommand", "MCommand"},
    {"MNodeDomainCommand", "MCommand"},
    {"MEventDomainCommand", "MCommand"},
    {"MRemoveOverlapsPostCommand", "MMacroCommand"},
    {"MShuffleMoveVCommand", "MMacroCommand"},
    {"MShuffleMoveCommand", "MMacroCommand"},
};

TEST(CommandClasses, EveryCommandIsCreatedByNameWithItsBaseChain) {
  initializeModel();
  for (const ClassRow& row : kCommandClasses) {
    const FClass* descriptor = FClassRegistry::instance().find(row.name);
    ASSERT_NE(descriptor, nullptr) << row.name;
    ASSERT_NE(descriptor->getBaseClass(), nullptr) << row.name;
    EXPECT_STREQ(descriptor->getBaseClass()->getClassName(), row.base) << row.name;
    FRef<CmObject> object(FClassRegistry::instance().create(row.name));
    ASSERT_TRUE(object) << row.name;
    EXPECT_TRUE(object->isClass(row.name));
    EXPECT_TRUE(object->isKindOf(row.base)) << row.name;
    EXPECT_TRUE(object->isKindOf("MCommand")) << row.name;
    EXPECT_TRUE(object->isKindOf("FShared")) << row.name;
    // A command made by name has no target: it cannot be performed.
    auto* command = dynamic_cast<MCommand*>(object.get());
    ASSERT_NE(command, nullptr) << row.name;
    if (std::string(row.name) != "MMacroCommand") {
      EXPECT_FALSE(command->perform()) << row.name;
    }
    EXPECT_FALSE(command->description().empty()) << row.name;
  }
  const FClass* base = FClassRegistry::instance().find("MCommand");
  ASSERT_NE(base, nullptr);
  EXPECT_TRUE(base->isAbstract());
  EXPECT_STREQ(base->getBaseClass()->getClassName(), "FShared");
  EXPECT_NE(FClassRegistry::instance().find("GUndoManager"), nullptr);
  EXPECT_NE(FClassRegistry::instance().find("GUndoAction"), nullptr);
}

}  // namespace
}  // namespace vantor
