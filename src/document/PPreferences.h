#pragma once
// The system's settings in one object, by key ("Maximum Undo", "Auto Save",
// ...). Stored as a readable text file, by default
// $XDG_CONFIG_HOME/vantor/preferences (~/.config when the variable is unset):
//
//   # comment
//   Maximum Undo = 100
//   Auto Save = on
//
// one "key = value" per line; keys may hold blanks but no "=". Keys the
// program does not know are kept and written back. A value can be
// overridden for one run of a command without being saved.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantor {

// Keys of the settings declared by the document layer.
inline constexpr const char* kMaximumUndoKey = "Maximum Undo";
inline constexpr const char* kAutoSaveKey = "Auto Save";
// Minutes between automatic saves.
inline constexpr const char* kAutoSaveIntervalKey = "Auto Save Interval";
// The automatic save file that holds changes not yet saved to its project
// ("" when none): left set after a crash, so the next run can offer it.
inline constexpr const char* kAutoSaveStateKey = "Auto Save State";

class PPreferences {
 public:
  enum class Kind { kText, kInteger, kBoolean };
  // A setting the program knows: its kind, default (in file form) and, for
  // integers, the accepted range.
  struct Setting {
    std::string key;
    Kind kind = Kind::kText;
    std::string defaultValue;
    int64_t minimum = 0;
    int64_t maximum = 0;
  };

  // Declares a setting for every preferences object. The document layer's
  // settings are declared from the start; other layers declare theirs from
  // their initialisers. A second declaration of a key replaces the first.
  static void declare(Setting setting);
  static std::optional<Setting> declared(std::string_view key);
  // The keys of every declared setting, in the order of declaration.
  static std::vector<std::string> declaredKeys();

  // Every declared setting at its default; bound to no file.
  PPreferences() = default;

  // $XDG_CONFIG_HOME/vantor/preferences, or ~/.config/vantor/preferences.
  static std::string defaultPath();

  // Reads the file at path and binds the object to it. A missing file is no
  // preferences yet (true, defaults). Damaged lines (no "=", an empty key, a
  // value the declared setting refuses) are skipped and counted; the
  // defaults stay for them. False only when the file exists but cannot be
  // read; values are then unchanged.
  [[nodiscard]] bool load(const std::string& path);
  // Writes the stored values (not the overrides) safely to the bound file,
  // creating its folder. False when bound to no file or the write failed;
  // the previous file is then unchanged.
  [[nodiscard]] bool save() const;
  [[nodiscard]] bool saveAs(const std::string& path);
  const std::string& path() const { return path_; }
  size_t rejectedLines() const { return rejected_; }

  // The value in effect: the override, else the stored value, else the
  // declared default, else "".
  std::string getString(std::string_view key) const;
  // The value as an integer / on-off switch; 0 / false when it is not one.
  int64_t getInt(std::string_view key) const;
  bool getBool(std::string_view key) const;

  // Stores a value. False (and no change) when the key is empty, holds "="
  // or a line break, or the value holds a line break or is refused by the
  // declared setting. Booleans are stored as "on" / "off".
  [[nodiscard]] bool set(std::string_view key, std::string_view value);
  [[nodiscard]] bool setInt(std::string_view key, int64_t value);
  [[nodiscard]] bool setBool(std::string_view key, bool value);
  // Removes a stored value, so the default applies again.
  void reset(std::string_view key);
  bool isStored(std::string_view key) const;

  // Gives a value for this object's lifetime only: never saved. Checked like
  // set().
  [[nodiscard]] bool override(std::string_view key, std::string_view value);
  void clearOverrides() { overrides_.clear(); }

  // The text of the file save() writes.
  std::string toText() const;

 private:
  using Entries = std::vector<std::pair<std::string, std::string>>;
  static const std::string* find(const Entries& entries, std::string_view key);
  static void put(Entries* entries, std::string_view key, std::string value);
  // Checks key and value; *normalized receives the value as stored.
  static bool accept(std::string_view key, std::string_view value, std::string* normalized);
  void parse(std::string_view text);

  Entries values_;  // stored values, in the order of the file, then of setting
  Entries overrides_;
  std::string path_;
  size_t rejected_ = 0;
};

}  // namespace vantor
