#include "cli/DumpCommand.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <ostream>
#include <sstream>

#include "cli/ShellReferences.h"
#include "document/PDocument.h"
#include "document/PDocumentMessages.h"
#include "foundation/FFileStream.h"
#include "foundation/FObjectArchive.h"
#include "foundation/FProjectContainer.h"

namespace vantor::cli {

namespace {

using nlohmann::json;

// Collects what the archive reader meets into a JSON tree.
class RecordTree : public FArchiveTrace {
 public:
  json header;
  json root = json::array();

  void onHeader(uint32_t magic, uint32_t totalLength, const std::vector<FClassEntry>& classes) override {
    header = {{"magic", magic}, {"magicText", fourCCText(magic)}, {"totalLength", totalLength}};
    json table = json::array();
    for (size_t i = 0; i < classes.size(); ++i) {
      table.push_back({{"index", i},
                       {"name", classes[i].name},
                       {"firstSize", classes[i].firstSize},
                       {"version", classes[i].version}});
    }
    header["classes"] = std::move(table);
  }
  void onRecordBegin(int, uint32_t number, const FClassEntry& entry, uint32_t length, bool known) override {
    json record = {{"record", number}, {"class", entry.name}, {"length", length}};
    if (!known) record["skipped"] = true;
    record["members"] = json::array();
    stack_.push_back(std::move(record));
  }
  void onRecordEnd(int, uint32_t, bool ok) override {
    json record = std::move(stack_.back());
    stack_.pop_back();
    if (!ok && !record.contains("skipped")) record["failed"] = true;
    add(std::move(record));
  }
  void onBackReference(int, uint32_t number) override { add({{"reference", number}}); }
  void onNull(int) override { add({{"null", true}}); }

 private:
  void add(json item) {
    if (stack_.empty()) {
      root.push_back(std::move(item));
    } else {
      stack_.back()["members"].push_back(std::move(item));
    }
  }
  std::vector<json> stack_;
};

void printRecords(std::ostream& out, const json& items, int depth) {
  for (const json& item : items) {
    out << std::string(static_cast<size_t>(2 * depth), ' ');
    if (item.contains("null")) {
      out << "null\n";
    } else if (item.contains("reference")) {
      out << "-> #" << item["reference"].get<uint32_t>() << '\n';
    } else {
      out << '#' << item["record"].get<uint32_t>() << ' ' << printable(item["class"].get<std::string>()) << " ("
          << item["length"].get<uint32_t>() << " bytes)";
      if (item.contains("skipped")) out << " skipped: unknown class";
      if (item.contains("failed")) out << " failed";
      out << '\n';
      printRecords(out, item["members"], depth + 1);
    }
  }
}

void printHuman(std::ostream& out, const json& dump) {
  for (const json& root : dump["roots"]) {
    out << "Root " << quotedText(root["name"].get<std::string>()) << ' '
        << printable(root["className"].get<std::string>()) << ", archive " << root["archiveSize"].get<uint32_t>()
        << " bytes\n";
    const json& header = root["header"];
    out << "  magic " << printable(header["magicText"].get<std::string>()) << ", total length "
        << header["totalLength"].get<uint32_t>() << ", " << header["classes"].size() << " classes\n";
    for (const json& cls : header["classes"]) {
      out << "    [" << cls["index"].get<size_t>() << "] " << quotedText(cls["name"].get<std::string>())
          << " first size " << cls["firstSize"].get<int32_t>() << ", version " << cls["version"].get<int>() << '\n';
    }
    printRecords(out, root["records"], 1);
  }
}

int runDump(CliContext& context, const std::string& path, bool asJson) {
  FRef<FFileStream> file = makeRef<FFileStream>();
  if (!file->open(path, FFileStream::Mode::kRead)) {
    context.messages.report(FUserMessages::Severity::kError, PDocument::cannotOpenMessage(path, file->lastError()));
    return kExitDataError;
  }
  FContainerReader reader(*file);
  const auto invalid = [&] {
    context.messages.report(FUserMessages::Severity::kError, formatMessage(kInvalidProject, {path}));
    return kExitDataError;
  };
  if (!reader.open(kProjectFormType)) return invalid();
  json dump = {{"file", path}, {"formType", fourCCText(reader.formType())}, {"roots", json::array()}};
  for (const FContainerRoot& root : reader.roots()) {
    RecordTree tree;
    bool ok = false;
    FRef<CmObject> object = reader.readRoot(root.name, &ok, &tree);
    if (!ok) return invalid();
    dump["roots"].push_back({{"name", root.name},
                             {"className", root.className},
                             {"archiveSize", root.archiveLength},
                             {"header", tree.header},
                             {"records", tree.root}});
  }
  if (asJson) {
    printJson(context.out, dump);
  } else {
    printHuman(context.out, dump);
  }
  return kExitOk;
}

}  // namespace

void addDumpCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* command = app.add_subcommand("dump", "Show the roots, class tables and object records of a project file");
  auto path = std::make_shared<std::string>();
  auto asJson = std::make_shared<bool>(false);
  command->add_option("FILE", *path, "Project file (.vpr)")->required();
  command->add_flag("--json", *asJson, "Print one JSON object instead of text");
  command->callback([&context, exitCode, path, asJson] { *exitCode = runDump(context, *path, *asJson); });
}

}  // namespace vantor::cli
