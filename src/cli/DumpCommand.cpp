#include "cli/DumpCommand.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "cli/JsonWriter.h"
#include "cli/ShellReferences.h"
#include "document/PDocument.h"
#include "document/PDocumentMessages.h"
#include "foundation/FFileStream.h"
#include "foundation/FObjectArchive.h"
#include "foundation/FProjectContainer.h"

namespace vantor::cli {

namespace {

using nlohmann::json;

// What the archive reader met, in the order met: a record's members follow
// it one level deeper. Kept small (a project of a hundred thousand parts
// has several hundred thousand of these) and written out only once every
// root has been read, so that a damaged file prints nothing but its error.
struct TraceItem {
  enum class Kind : uint8_t { kRecord, kReference, kNull };
  uint32_t number = 0;  // the record's number, or the one referred to
  uint32_t length = 0;  // the record's member length
  uint16_t depth = 0;
  uint16_t classIndex = 0;
  Kind kind = Kind::kNull;
  bool skipped = false;  // a record of a class this program does not know
  bool failed = false;   // a record of a known class whose read failed
};

struct ClassRow {
  std::string name;
  int32_t firstSize = 0;
  int16_t version = 0;
};

struct RootDump {
  const FContainerRoot* root = nullptr;
  uint32_t magic = 0;
  uint32_t totalLength = 0;
  std::vector<ClassRow> classes;
  std::vector<TraceItem> items;

  const std::string& className(const TraceItem& item) const {
    static const std::string none;
    return item.classIndex < classes.size() ? classes[item.classIndex].name : none;
  }
};

class RecordList : public FArchiveTrace {
 public:
  explicit RecordList(RootDump& dump) : dump_(dump) {}

  void onHeader(uint32_t magic, uint32_t totalLength, const std::vector<FClassEntry>& classes) override {
    dump_.magic = magic;
    dump_.totalLength = totalLength;
    for (const FClassEntry& entry : classes) dump_.classes.push_back({entry.name, entry.firstSize, entry.version});
  }
  void onRecordBegin(int, uint32_t number, const FClassEntry& entry, uint32_t length, bool known) override {
    TraceItem item = at(TraceItem::Kind::kRecord, number);
    item.length = length;
    item.classIndex = entry.index;
    item.skipped = !known;
    open_.push_back(dump_.items.size());
    dump_.items.push_back(item);
  }
  void onRecordEnd(int, uint32_t, bool ok) override {
    TraceItem& item = dump_.items[open_.back()];
    open_.pop_back();
    item.failed = !ok && !item.skipped;
  }
  void onBackReference(int, uint32_t number) override {
    dump_.items.push_back(at(TraceItem::Kind::kReference, number));
  }
  void onNull(int) override { dump_.items.push_back(at(TraceItem::Kind::kNull, 0)); }

 private:
  TraceItem at(TraceItem::Kind kind, uint32_t number) const {
    TraceItem item;
    item.kind = kind;
    item.number = number;
    item.depth = static_cast<uint16_t>(open_.size());
    return item;
  }
  RootDump& dump_;
  std::vector<size_t> open_;  // items of the records being read
};

// ---- JSON --------------------------------------------------------------

json describeHeader(const RootDump& dump) {
  json table = json::array();
  for (size_t i = 0; i < dump.classes.size(); ++i) {
    const ClassRow& row = dump.classes[i];
    table.push_back({{"index", i}, {"name", row.name}, {"firstSize", row.firstSize}, {"version", row.version}});
  }
  return {{"magic", dump.magic},
          {"magicText", fourCCText(dump.magic)},
          {"totalLength", dump.totalLength},
          {"classes", std::move(table)}};
}

// Closes a record's object: its members are written, its later keys follow.
void endRecord(JsonWriter& writer, const TraceItem& record) {
  writer.end();
  writer.key("record");
  writer.value(record.number);
  if (record.skipped) {
    writer.key("skipped");
    writer.value(true);
  }
  writer.end();
}

void writeRecords(JsonWriter& writer, const RootDump& dump) {
  writer.beginArray();
  std::vector<const TraceItem*> open;
  for (const TraceItem& item : dump.items) {
    for (; open.size() > item.depth; open.pop_back()) endRecord(writer, *open.back());
    if (item.kind == TraceItem::Kind::kNull) {
      writer.value({{"null", true}});
    } else if (item.kind == TraceItem::Kind::kReference) {
      writer.value({{"reference", item.number}});
    } else {
      writer.beginObject();
      writer.key("class");
      writer.value(dump.className(item));
      if (item.failed) {
        writer.key("failed");
        writer.value(true);
      }
      writer.key("length");
      writer.value(item.length);
      writer.key("members");
      writer.beginArray();
      open.push_back(&item);
    }
  }
  for (; !open.empty(); open.pop_back()) endRecord(writer, *open.back());
  writer.end();
}

void writeJson(std::ostream& out, const std::string& path, uint32_t formType, const std::vector<RootDump>& dumps) {
  JsonWriter writer(out);
  writer.beginObject();
  writer.key("file");
  writer.value(path);
  writer.key("formType");
  writer.value(fourCCText(formType));
  writer.key("roots");
  writer.beginArray();
  for (const RootDump& dump : dumps) {
    writer.beginObject();
    writer.key("archiveSize");
    writer.value(dump.root->archiveLength);
    writer.key("className");
    writer.value(dump.root->className);
    writer.key("header");
    writer.value(describeHeader(dump));
    writer.key("name");
    writer.value(dump.root->name);
    writer.key("records");
    writeRecords(writer, dump);
    writer.end();
  }
  writer.end();
  writer.end();
}

// ---- Text --------------------------------------------------------------

void printRecords(std::ostream& out, const RootDump& dump) {
  for (const TraceItem& item : dump.items) {
    out << std::string(2 * (item.depth + size_t{1}), ' ');
    if (item.kind == TraceItem::Kind::kNull) {
      out << "null\n";
    } else if (item.kind == TraceItem::Kind::kReference) {
      out << "-> #" << item.number << '\n';
    } else {
      out << '#' << item.number << ' ' << printable(dump.className(item)) << " (" << item.length << " bytes)";
      if (item.skipped) out << " skipped: unknown class";
      if (item.failed) out << " failed";
      out << '\n';
    }
  }
}

void printHuman(std::ostream& out, const std::vector<RootDump>& dumps) {
  for (const RootDump& dump : dumps) {
    out << "Root " << quotedText(dump.root->name) << ' ' << printable(dump.root->className) << ", archive "
        << dump.root->archiveLength << " bytes\n";
    out << "  magic " << printable(fourCCText(dump.magic)) << ", total length " << dump.totalLength << ", "
        << dump.classes.size() << " classes\n";
    for (size_t i = 0; i < dump.classes.size(); ++i) {
      const ClassRow& row = dump.classes[i];
      out << "    [" << i << "] " << quotedText(row.name) << " first size " << row.firstSize << ", version "
          << row.version << '\n';
    }
    printRecords(out, dump);
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
  std::vector<RootDump> dumps(reader.roots().size());
  for (size_t i = 0; i < dumps.size(); ++i) {
    dumps[i].root = &reader.roots()[i];
    RecordList list(dumps[i]);
    bool ok = false;
    // The objects are not needed: only what the reader met.
    (void)reader.readRoot(dumps[i].root->name, &ok, &list);
    if (!ok) return invalid();
  }
  if (asJson) {
    writeJson(context.out, path, reader.formType(), dumps);
  } else {
    printHuman(context.out, dumps);
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
