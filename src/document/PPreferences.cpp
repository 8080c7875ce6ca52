#include "document/PPreferences.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <system_error>

#include "document/PSafeFile.h"
#include "foundation/FFileStream.h"
#include "model/undo/GUndoManager.h"

namespace vantor {

namespace {

struct Declarations {
  std::mutex mutex;
  std::vector<PPreferences::Setting> settings;
};

Declarations& declarations() {
  // The document layer's own settings. "Maximum Undo" is the position of
  // its control: 0 to 1000 actions, where 1000 (the default) is unlimited.
  // "Auto Save Interval" is in minutes:
  // a whole number of minutes is what users set, and an hour a day at most
  // keeps "never" a matter of "Auto Save = off".
  static Declarations* d =
      new Declarations{{},
                       {
                           {kMaximumUndoKey, PPreferences::Kind::kInteger, std::to_string(GMaxUndoValue::kDefault),
                            GMaxUndoValue::kMinimum, GMaxUndoValue::kMaximum},
                           {kAutoSaveKey, PPreferences::Kind::kBoolean, "on", 0, 0},
                           {kAutoSaveIntervalKey, PPreferences::Kind::kInteger, "5", 1, 1440},
                           {kAutoSaveStateKey, PPreferences::Kind::kText, "", 0, 0},
                       }};
  return *d;
}

std::string_view trim(std::string_view text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return text;
}

bool parseInt(std::string_view text, int64_t* out) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), *out);
  return ec == std::errc() && end == text.data() + text.size() && !text.empty();
}

// On-off switches accept the usual spellings in any case.
std::optional<bool> parseBool(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
  if (lower == "on" || lower == "yes" || lower == "true" || lower == "1") return true;
  if (lower == "off" || lower == "no" || lower == "false" || lower == "0") return false;
  return std::nullopt;
}

bool hasLineBreak(std::string_view text) { return text.find_first_of("\r\n") != std::string_view::npos; }

}  // namespace

void PPreferences::declare(Setting setting) {
  Declarations& d = declarations();
  std::lock_guard lock(d.mutex);
  for (Setting& existing : d.settings) {
    if (existing.key == setting.key) {
      existing = std::move(setting);
      return;
    }
  }
  d.settings.push_back(std::move(setting));
}

std::optional<PPreferences::Setting> PPreferences::declared(std::string_view key) {
  Declarations& d = declarations();
  std::lock_guard lock(d.mutex);
  for (const Setting& s : d.settings) {
    if (s.key == key) return s;
  }
  return std::nullopt;
}

std::vector<std::string> PPreferences::declaredKeys() {
  Declarations& d = declarations();
  std::lock_guard lock(d.mutex);
  std::vector<std::string> keys;
  for (const Setting& s : d.settings) keys.push_back(s.key);
  return keys;
}

std::string PPreferences::defaultPath() {
  const char* config = std::getenv("XDG_CONFIG_HOME");
  std::filesystem::path base;
  if (config != nullptr && config[0] == '/') {
    base = config;
  } else {
    const char* home = std::getenv("HOME");
    base = std::filesystem::path(home != nullptr ? home : ".") / ".config";
  }
  return (base / "vantor" / "preferences").string();
}

const std::string* PPreferences::find(const Entries& entries, std::string_view key) {
  for (const auto& [k, v] : entries) {
    if (k == key) return &v;
  }
  return nullptr;
}

void PPreferences::put(Entries* entries, std::string_view key, std::string value) {
  for (auto& [k, v] : *entries) {
    if (k == key) {
      v = std::move(value);
      return;
    }
  }
  entries->emplace_back(std::string(key), std::move(value));
}

bool PPreferences::accept(std::string_view key, std::string_view value, std::string* normalized) {
  if (key.empty() || key != trim(key) || key.find('=') != std::string_view::npos || hasLineBreak(key) ||
      key.front() == '#' || hasLineBreak(value)) {
    return false;
  }
  const std::optional<Setting> setting = declared(key);
  if (setting && setting->kind == Kind::kInteger) {
    int64_t number = 0;
    if (!parseInt(trim(value), &number) || number < setting->minimum || number > setting->maximum) return false;
    *normalized = std::to_string(number);
    return true;
  }
  if (setting && setting->kind == Kind::kBoolean) {
    const std::optional<bool> on = parseBool(trim(value));
    if (!on) return false;
    *normalized = *on ? "on" : "off";
    return true;
  }
  // Text keeps inner blanks; the file form cannot hold blanks at either end.
  *normalized = std::string(trim(value));
  return true;
}

void PPreferences::parse(std::string_view text) {
  while (!text.empty()) {
    const size_t end = text.find('\n');
    const std::string_view line = trim(text.substr(0, end));
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    if (line.empty() || line.front() == '#') continue;
    const size_t equals = line.find('=');
    std::string value;
    if (equals == std::string_view::npos || !accept(trim(line.substr(0, equals)), line.substr(equals + 1), &value)) {
      ++rejected_;
      continue;
    }
    put(&values_, trim(line.substr(0, equals)), std::move(value));
  }
}

bool PPreferences::load(const std::string& path) {
  FFileStream file;
  if (!file.open(path, FFileStream::Mode::kRead)) {
    if (PSafeFile::exists(path)) return false;
    values_.clear();
    rejected_ = 0;
    path_ = path;
    return true;
  }
  std::string text(static_cast<size_t>(file.remaining()), '\0');
  if (!file.readRaw(text.data(), static_cast<int64_t>(text.size()))) return false;
  values_.clear();
  rejected_ = 0;
  path_ = path;
  parse(text);
  return true;
}

std::string PPreferences::toText() const {
  std::string text = "# Vantor preferences: one \"key = value\" per line.\n";
  for (const auto& [key, value] : values_) text += key + " = " + value + "\n";
  // Settings at their default are listed as comments, so the file shows
  // every setting while a changed default still reaches those not set.
  std::vector<Setting> settings;
  {
    Declarations& d = declarations();
    std::lock_guard lock(d.mutex);
    settings = d.settings;
  }
  for (const Setting& s : settings) {
    if (find(values_, s.key) == nullptr) text += "# " + s.key + " = " + s.defaultValue + "\n";
  }
  return text;
}

bool PPreferences::save() const {
  if (path_.empty()) return false;
  std::error_code ec;
  std::filesystem::create_directories(PSafeFile::folderOf(path_), ec);
  const std::string text = toText();
  std::string error;
  return PSafeFile::write(
      path_, [&](FStream& s) { return s.writeRaw(text.data(), static_cast<int64_t>(text.size())); }, &error);
}

bool PPreferences::saveAs(const std::string& path) {
  path_ = path;
  return save();
}

std::string PPreferences::getString(std::string_view key) const {
  if (const std::string* v = find(overrides_, key)) return *v;
  if (const std::string* v = find(values_, key)) return *v;
  const std::optional<Setting> setting = declared(key);
  return setting ? setting->defaultValue : std::string();
}

int64_t PPreferences::getInt(std::string_view key) const {
  int64_t value = 0;
  return parseInt(trim(getString(key)), &value) ? value : 0;
}

bool PPreferences::getBool(std::string_view key) const { return parseBool(trim(getString(key))).value_or(false); }

bool PPreferences::set(std::string_view key, std::string_view value) {
  std::string normalized;
  if (!accept(key, value, &normalized)) return false;
  put(&values_, key, std::move(normalized));
  return true;
}

bool PPreferences::setInt(std::string_view key, int64_t value) { return set(key, std::to_string(value)); }

bool PPreferences::setBool(std::string_view key, bool value) { return set(key, value ? "on" : "off"); }

void PPreferences::reset(std::string_view key) {
  values_.erase(std::remove_if(values_.begin(), values_.end(), [&](const auto& e) { return e.first == key; }),
                values_.end());
}

bool PPreferences::isStored(std::string_view key) const { return find(values_, key) != nullptr; }

bool PPreferences::override(std::string_view key, std::string_view value) {
  std::string normalized;
  if (!accept(key, value, &normalized)) return false;
  put(&overrides_, key, std::move(normalized));
  return true;
}

}  // namespace vantor
