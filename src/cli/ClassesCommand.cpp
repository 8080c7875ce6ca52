#include "cli/ClassesCommand.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <ostream>

#include "foundation/FClass.h"
#include "foundation/FClassRegistry.h"
#include "foundation/FRef.h"

namespace vantor::cli {

namespace {

int runClasses(CliContext& context, bool asJson) {
  nlohmann::json classes = nlohmann::json::array();
  int failures = 0;
  FClassRegistry::instance().forEach([&](const FClass& cls) {
    nlohmann::json entry = {{"name", cls.getClassName()},
                            {"storedName", cls.getStoredName()},
                            {"base", cls.getBaseClass() != nullptr ? cls.getBaseClass()->getClassName() : ""},
                            {"version", cls.getClassVersion()},
                            {"abstract", cls.isAbstract()},
                            {"alias", cls.isAlias()}};
    if (!cls.isAbstract()) {
      FRef<CmObject> object(FClassRegistry::instance().create(cls.getClassName()));
      // An alias creates its class under the class's own name.
      const bool created = object && (cls.isAlias() || object->isClass(cls.getClassName()));
      entry["created"] = created;
      if (!created) ++failures;
    }
    classes.push_back(std::move(entry));
  });
  if (asJson) {
    printJson(context.out, nlohmann::json{{"classes", classes}, {"failures", failures}});
  } else {
    for (const auto& c : classes) {
      context.out << c["name"].get<std::string>();
      if (!c["base"].get<std::string>().empty()) context.out << " : " << c["base"].get<std::string>();
      if (c["version"].get<int>() != 0) context.out << "  (version " << c["version"].get<int>() << ")";
      if (c["alias"].get<bool>()) context.out << "  (alias)";
      if (c["abstract"].get<bool>()) context.out << "  (abstract)";
      if (c.contains("created") && !c["created"].get<bool>()) context.out << "  CANNOT BE CREATED";
      context.out << '\n';
    }
  }
  return failures == 0 ? kExitOk : kExitDataError;
}

}  // namespace

void addClassesCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* command = app.add_subcommand("classes", "List the registered classes and create each concrete one by name");
  auto asJson = std::make_shared<bool>(false);
  command->add_flag("--json", *asJson, "Print one JSON object instead of text");
  command->callback([&context, exitCode, asJson] { *exitCode = runClasses(context, *asJson); });
}

}  // namespace vantor::cli
