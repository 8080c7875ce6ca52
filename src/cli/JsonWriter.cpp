#include "cli/JsonWriter.h"

#include <ostream>
#include <string>

namespace vantor::cli {

namespace {
constexpr int kIndent = 2;

std::string dumped(const nlohmann::json& value, int indent) {
  return value.dump(indent, ' ', false, nlohmann::json::error_handler_t::replace);
}
}  // namespace

void JsonWriter::indent(size_t depth) {
  for (size_t i = 0; i < depth * kIndent; ++i) out_.put(' ');
}

void JsonWriter::beginItem() {
  if (afterKey_) {
    afterKey_ = false;
    return;
  }
  if (levels_.empty()) return;
  out_ << (levels_.back().empty ? "\n" : ",\n");
  levels_.back().empty = false;
  indent(levels_.size());
}

void JsonWriter::open(char opener) {
  beginItem();
  out_.put(opener);
  levels_.push_back({opener == '{' ? '}' : ']'});
}

void JsonWriter::end() {
  const Level level = levels_.back();
  levels_.pop_back();
  // An empty container stays on its line: "[]", "{}".
  if (!level.empty) {
    out_.put('\n');
    indent(levels_.size());
  }
  out_.put(level.closer);
  if (levels_.empty()) out_.put('\n');
}

void JsonWriter::key(std::string_view name) {
  beginItem();
  out_ << dumped(nlohmann::json(name), -1) << ": ";
  afterKey_ = true;
}

void JsonWriter::value(const nlohmann::json& value) {
  beginItem();
  // The value is printed on its own, from column 0: each of its line
  // breaks gets the indent of this depth (strings never hold a raw one).
  const std::string text = dumped(value, kIndent);
  size_t from = 0;
  for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', from)) {
    out_.write(text.data() + from, static_cast<std::streamsize>(at + 1 - from));
    indent(levels_.size());
    from = at + 1;
  }
  out_.write(text.data() + from, static_cast<std::streamsize>(text.size() - from));
  if (levels_.empty()) out_.put('\n');
}

}  // namespace vantor::cli
