#include "audio/pool/PRegionDescription.h"

#include <cassert>
#include <limits>
#include <utility>

namespace vantor {

namespace {

// ---- Writing ----

void appendEscaped(std::string& out, std::string_view name) {
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '&') {
      out += "&amp;";
    } else if (c == '<') {
      out += "&lt;";
    } else if (c == '>') {
      out += "&gt;";
    } else if (byte < 0x20) {
      out += "&#" + std::to_string(byte) + ";";
    } else {
      out += c;
    }
  }
}

void appendFileName(std::string& out, std::string_view name) {
  out += "<filename>";
  appendEscaped(out, name);
  out += "</filename>\n";
}

void appendNumber(std::string& out, const char* tag, int64_t value) {
  assert(value >= 0);
  out += "<" + std::string(tag) + ">" + std::to_string(value) + "</" + tag + ">\n";
}

void appendSegment(std::string& out, const PRegionSegment& segment) {
  if (segment.silence) {
    out += "<segment type=\"silence\">\n";
  } else {
    out += "<segment>\n";
    appendFileName(out, segment.fileName);
    appendNumber(out, "start", segment.start);
  }
  appendNumber(out, "length", segment.length);
  out += "</segment>\n";
}

void appendRegion(std::string& out, const PRegionDescription& region) {
  const std::string id = std::to_string(region.id);
  if (region.joined) {
    // The blanks around the first "=" belong to the exchanged text.
    out += "<region type = \"join\" id=\"" + id + "\">\n";
    for (const PRegionSegment& segment : region.segments) appendSegment(out, segment);
  } else {
    assert(region.start <= region.end);
    out += "<region id=\"" + id + "\">\n";
    appendFileName(out, region.fileName);
    appendNumber(out, "start", region.start);
    appendNumber(out, "end", region.end);
  }
  out += "</region>\n";
}

// ---- Reading ----

struct Attribute {
  std::string_view name;
  std::string_view value;
};

struct Tag {
  bool closing = false;
  std::string_view name;
  std::vector<Attribute> attributes;

  std::optional<std::string_view> attribute(std::string_view key) const {
    for (const Attribute& a : attributes) {
      if (a.name == key) return a.value;
    }
    return std::nullopt;
  }
};

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool isNameChar(char c) { return c >= 'a' && c <= 'z'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// A cursor over the text that keeps the first error and the line it was on.
class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  std::optional<std::vector<PRegionDescription>> parseAll(std::string* error);

 private:
  bool fail(std::string_view what);
  bool atEnd() const { return at_ >= text_.size(); }
  void skipBlanks();
  bool readTag(Tag* tag);
  bool expectClose(std::string_view name);
  bool readRegion(PRegionDescription* region);
  bool readPlainBody(PRegionDescription* region);
  bool readSegment(const Tag& open, PRegionSegment* segment);
  bool readFileName(std::string* name);
  bool readNumber(std::string_view tag, int64_t* value);
  bool readEntity(std::string* out);
  bool checkAttributes(const Tag& tag, std::initializer_list<std::string_view> allowed);

  std::string_view text_;
  size_t at_ = 0;
  int64_t line_ = 1;  // the line of at_, counted as the cursor moves
  std::string error_;
};

bool Parser::fail(std::string_view what) {
  if (error_.empty()) {
    std::string text = kInvalidRegionDescriptionFormat;
    text.replace(text.find("%d"), 2, std::to_string(line_));
    text.replace(text.find("%s"), 2, what);
    error_ = text;
  }
  return false;
}

void Parser::skipBlanks() {
  while (!atEnd() && isBlank(text_[at_])) {
    if (text_[at_] == '\n') ++line_;
    ++at_;
  }
}

// Reads "<name a = "v" ...>" or "</name>" at the cursor (blanks before it
// skipped).
bool Parser::readTag(Tag* tag) {
  skipBlanks();
  if (atEnd() || text_[at_] != '<') return fail("a tag was expected");
  ++at_;
  tag->closing = !atEnd() && text_[at_] == '/';
  if (tag->closing) ++at_;
  const size_t nameStart = at_;
  while (!atEnd() && isNameChar(text_[at_])) ++at_;
  tag->name = text_.substr(nameStart, at_ - nameStart);
  if (tag->name.empty()) return fail("a tag without a name");
  tag->attributes.clear();
  for (;;) {
    skipBlanks();
    if (atEnd()) return fail("the text ends inside a tag");
    if (text_[at_] == '>') break;
    if (tag->closing) return fail("a closing tag with attributes");
    Attribute attribute;
    const size_t keyStart = at_;
    while (!atEnd() && isNameChar(text_[at_])) ++at_;
    attribute.name = text_.substr(keyStart, at_ - keyStart);
    skipBlanks();
    if (attribute.name.empty() || atEnd() || text_[at_] != '=') return fail("a malformed attribute");
    ++at_;
    skipBlanks();
    if (atEnd() || text_[at_] != '"') return fail("an attribute value without quotes");
    const size_t valueStart = ++at_;
    while (!atEnd() && text_[at_] != '"' && text_[at_] != '\n') ++at_;
    if (atEnd() || text_[at_] != '"') return fail("an unfinished attribute value");
    attribute.value = text_.substr(valueStart, at_ - valueStart);
    ++at_;
    if (tag->attribute(attribute.name)) return fail("a repeated attribute");
    tag->attributes.push_back(attribute);
  }
  ++at_;
  return true;
}

bool Parser::checkAttributes(const Tag& tag, std::initializer_list<std::string_view> allowed) {
  for (const Attribute& a : tag.attributes) {
    bool known = false;
    for (std::string_view name : allowed) known = known || a.name == name;
    if (!known) return fail("an unknown attribute \"" + std::string(a.name) + "\"");
  }
  return true;
}

bool Parser::expectClose(std::string_view name) {
  Tag tag;
  if (!readTag(&tag)) return false;
  if (!tag.closing || tag.name != name) return fail("\"</" + std::string(name) + ">\" was expected");
  return true;
}

// Reads one "&...;" reference at the cursor and appends what it stands for.
bool Parser::readEntity(std::string* out) {
  const size_t end = text_.find(';', at_);
  // The longest reference accepted is "&#x10FFFF;"; a ";" further away
  // belongs to something else.
  if (end == std::string_view::npos || end - at_ > 10) return fail("an unfinished \"&\" reference");
  const std::string_view name = text_.substr(at_ + 1, end - at_ - 1);
  at_ = end + 1;
  static constexpr std::pair<std::string_view, char> kNamed[] = {
      {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
  for (const auto& [entity, c] : kNamed) {
    if (name == entity) {
      out->push_back(c);
      return true;
    }
  }
  if (name.size() < 2 || name[0] != '#') return fail("an unknown \"&\" reference");
  const bool hex = name[1] == 'x';
  const std::string_view digits = name.substr(hex ? 2 : 1);
  if (digits.empty()) return fail("an empty character reference");
  uint32_t code = 0;
  for (const char c : digits) {
    int digit = -1;
    if (isDigit(c)) digit = c - '0';
    if (hex && c >= 'a' && c <= 'f') digit = c - 'a' + 10;
    if (hex && c >= 'A' && c <= 'F') digit = c - 'A' + 10;
    if (digit < 0) return fail("a malformed character reference");
    code = code * (hex ? 16 : 10) + static_cast<uint32_t>(digit);
    if (code > 0x10FFFF) return fail("a character reference out of range");
  }
  if (code == 0) return fail("a character reference to 0");
  if (code < 0x80) {
    out->push_back(static_cast<char>(code));
  } else if (code < 0x800) {
    out->push_back(static_cast<char>(0xC0 | (code >> 6)));
    out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else if (code < 0x10000) {
    out->push_back(static_cast<char>(0xE0 | (code >> 12)));
    out->push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else {
    out->push_back(static_cast<char>(0xF0 | (code >> 18)));
    out->push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
  }
  return true;
}

// The content of a <filename> element whose open tag was read, and its
// closing tag. Blanks in the content are part of the name.
bool Parser::readFileName(std::string* name) {
  name->clear();
  while (!atEnd() && text_[at_] != '<') {
    if (text_[at_] == '&') {
      if (!readEntity(name)) return false;
      continue;
    }
    // No path holds a NUL byte, and the writer could not write it back.
    if (text_[at_] == '\0') return fail("a NUL byte in a file name");
    if (text_[at_] == '\n') ++line_;
    name->push_back(text_[at_++]);
  }
  return expectClose("filename");
}

// A non-negative decimal number, blanks around it allowed, then </tag>.
bool Parser::readNumber(std::string_view tag, int64_t* value) {
  skipBlanks();
  const size_t start = at_;
  int64_t number = 0;
  while (!atEnd() && isDigit(text_[at_])) {
    const int digit = text_[at_] - '0';
    if (number > (std::numeric_limits<int64_t>::max() - digit) / 10) return fail("a number out of range");
    number = number * 10 + digit;
    ++at_;
  }
  if (at_ == start) return fail("a number was expected in <" + std::string(tag) + ">");
  *value = number;
  return expectClose(tag);
}

bool Parser::readSegment(const Tag& open, PRegionSegment* segment) {
  if (!checkAttributes(open, {"type"})) return false;
  const auto type = open.attribute("type");
  if (type && *type != "silence") return fail("an unknown segment type");
  segment->silence = type.has_value();
  bool haveName = false, haveStart = false, haveLength = false;
  for (;;) {
    Tag tag;
    if (!readTag(&tag)) return false;
    if (tag.closing && tag.name == "segment") break;
    if (tag.closing || !tag.attributes.empty()) return fail("an unexpected tag in a segment");
    bool* seen = nullptr;
    if (tag.name == "filename" && !segment->silence) {
      seen = &haveName;
      if (!*seen && !readFileName(&segment->fileName)) return false;
    } else if (tag.name == "start" && !segment->silence) {
      seen = &haveStart;
      if (!*seen && !readNumber(tag.name, &segment->start)) return false;
    } else if (tag.name == "length") {
      seen = &haveLength;
      if (!*seen && !readNumber(tag.name, &segment->length)) return false;
    } else {
      return fail("an unexpected <" + std::string(tag.name) + "> in a segment");
    }
    if (*seen) return fail("a repeated <" + std::string(tag.name) + ">");
    *seen = true;
  }
  if (!haveLength || (!segment->silence && (!haveName || !haveStart))) return fail("a segment with a missing field");
  return true;
}

bool Parser::readPlainBody(PRegionDescription* region) {
  bool haveName = false, haveStart = false, haveEnd = false;
  for (;;) {
    Tag tag;
    if (!readTag(&tag)) return false;
    if (tag.closing && tag.name == "region") break;
    if (tag.closing || !tag.attributes.empty()) return fail("an unexpected tag in a region");
    bool* seen = nullptr;
    if (tag.name == "filename") {
      seen = &haveName;
      if (!*seen && !readFileName(&region->fileName)) return false;
    } else if (tag.name == "start") {
      seen = &haveStart;
      if (!*seen && !readNumber(tag.name, &region->start)) return false;
    } else if (tag.name == "end") {
      seen = &haveEnd;
      if (!*seen && !readNumber(tag.name, &region->end)) return false;
    } else {
      return fail("an unexpected <" + std::string(tag.name) + "> in a region");
    }
    if (*seen) return fail("a repeated <" + std::string(tag.name) + ">");
    *seen = true;
  }
  if (!haveName || !haveStart || !haveEnd) return fail("a region with a missing field");
  if (region->end < region->start) return fail("a region that ends before it starts");
  return true;
}

bool Parser::readRegion(PRegionDescription* region) {
  Tag open;
  if (!readTag(&open)) return false;
  if (open.closing || open.name != "region") return fail("\"<region\" was expected");
  if (!checkAttributes(open, {"type", "id"})) return false;
  const auto id = open.attribute("id");
  if (!id) return fail("a region without an id");
  // An id is a 32-bit signed decimal, as the system's "%d" writes it.
  size_t i = (!id->empty() && (*id)[0] == '-') ? 1 : 0;
  if (i == id->size()) return fail("a malformed region id");
  int64_t value = 0;
  for (; i < id->size(); ++i) {
    if (!isDigit((*id)[i])) return fail("a malformed region id");
    value = value * 10 + ((*id)[i] - '0');
    if (value > int64_t{1} << 31) return fail("a region id out of range");
  }
  if ((*id)[0] == '-') value = -value;
  if (value > std::numeric_limits<int32_t>::max()) return fail("a region id out of range");
  region->id = static_cast<int32_t>(value);
  const auto type = open.attribute("type");
  if (type && *type != "join") return fail("an unknown region type");
  region->joined = type.has_value();
  if (!region->joined) return readPlainBody(region);
  for (;;) {
    Tag tag;
    if (!readTag(&tag)) return false;
    if (tag.closing && tag.name == "region") return true;
    if (tag.closing || tag.name != "segment") return fail("\"<segment\" or \"</region>\" was expected");
    PRegionSegment segment;
    if (!readSegment(tag, &segment)) return false;
    region->segments.push_back(std::move(segment));
  }
}

std::optional<std::vector<PRegionDescription>> Parser::parseAll(std::string* error) {
  std::vector<PRegionDescription> regions;
  for (;;) {
    skipBlanks();
    if (atEnd()) return regions;
    PRegionDescription region;
    if (!readRegion(&region)) break;
    regions.push_back(std::move(region));
  }
  if (error) *error = error_;
  return std::nullopt;
}

}  // namespace

std::string writeRegionDescriptions(const std::vector<PRegionDescription>& regions) {
  std::string out;
  for (const PRegionDescription& region : regions) appendRegion(out, region);
  return out;
}

std::optional<std::vector<PRegionDescription>> parseRegionDescriptions(std::string_view text, std::string* error) {
  return Parser(text).parseAll(error);
}

}  // namespace vantor
