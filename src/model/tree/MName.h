#pragma once
// The rule for names that users give tracks, parts, events and markers: one
// check that every command making or renaming something applies, so that
// every front end refuses the same names.
//
// A new name is UTF-8 text of at most kMaxNameBytes bytes without a NUL: a
// NUL would cut the name short in the project file, and the bound keeps a
// runaway script from storing megabytes in a name. Tabs, line breaks and
// other control characters are allowed; front ends that print names show
// them escaped. Names read from project files are kept as they are (files
// of older programs may hold names in an 8-bit encoding); only new names
// are checked. An empty name is allowed (a new marker has one).

#include <cstddef>
#include <string>
#include <string_view>

namespace vantor {

inline constexpr size_t kMaxNameBytes = 1024;

// True when name may be given to something; otherwise *error (when not
// null) says why in words a user understands.
[[nodiscard]] bool isValidName(std::string_view name, std::string* error = nullptr);

// True when text is well-formed UTF-8 (no overlong forms, no surrogates,
// nothing above U+10FFFF).
bool isUtf8(std::string_view text);
// The length in bytes of the well-formed UTF-8 sequence that starts at
// text[index], or 0 when none starts there.
size_t utf8SequenceLength(std::string_view text, size_t index);

}  // namespace vantor
