#pragma once
// Writes one JSON document piece by piece as it is produced, in exactly the
// form printJson gives the whole document at once (two spaces of indent per
// level, bytes that are not UTF-8 shown as U+FFFD), so that a listing of a
// hundred thousand items never exists as a JSON tree.
//
// The caller opens and closes containers and writes the members of an
// object in the order printJson would: by key, bytewise ascending.

#include <nlohmann/json.hpp>

#include <iosfwd>
#include <string_view>
#include <vector>

namespace vantor::cli {

class JsonWriter {
 public:
  explicit JsonWriter(std::ostream& out) : out_(out) {}

  void beginObject() { open('{'); }
  void beginArray() { open('['); }
  // Closes the innermost container; closing the outermost one ends the
  // document with a line end, as printJson does.
  void end();
  // Names the next member of the innermost object.
  void key(std::string_view name);
  // Writes a whole value: a member (after key()) or an array element.
  void value(const nlohmann::json& value);

 private:
  struct Level {
    char closer;
    bool empty = true;
  };
  void open(char opener);
  // The line break and indent in front of an element, unless a key has
  // already written them.
  void beginItem();
  void indent(size_t depth);

  std::ostream& out_;
  std::vector<Level> levels_;
  bool afterKey_ = false;
};

}  // namespace vantor::cli
