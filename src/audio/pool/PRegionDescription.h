#pragma once
// The text by which clips and regions are described when they are
// transferred (dragged or copied out of the clip and region views), and the
// parser that reads it back on paste. One record per region:
//
//   <region id="7">                      <region type = "join" id="8">
//   <filename>/audio/a.wav</filename>    <segment type="silence">
//   <start>0</start>                     <length>100</length>
//   <end>44100</end>                     </segment>
//   </region>                            <segment>
//                                        <filename>/audio/b.wav</filename>
//                                        <start>10</start>
//                                        <length>500</length>
//                                        </segment>
//                                        </region>
//
// Layout: every tag on a line of its own, lines ended by "\n", records one
// after the other with nothing between them. Positions and lengths are
// sample frames, written in decimal.
//
// File names: "&", "<" and ">" are written as "&amp;", "&lt;" and "&gt;",
// and bytes below 0x20 (a newline in a name, say) as "&#N;", so that no
// name can end its element early or split its line; every other byte,
// including non-UTF-8 ones, is written as it is. The parser undoes these,
// also accepts "&quot;", "&apos;" and "&#xH;", and keeps the blanks of a
// name as they are.
//
// The parser allows any white space between tags (so "\r\n" line ends
// too) and around the numbers, and attributes in either order with blanks
// around "=". It refuses anything else: unknown tags or attributes, a
// missing or repeated field, a negative position, an end before the start,
// a filename in a silence segment, numbers beyond their range, unfinished
// text. It works in one pass over the text, so its time and memory are
// linear in the text's length.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantor {

// One piece of a joined region: samples of a file, or a gap of silence.
struct PRegionSegment {
  bool silence = false;
  std::string fileName;  // empty for silence
  int64_t start = 0;     // first frame in the file; 0 for silence
  int64_t length = 0;    // frames
  bool operator==(const PRegionSegment&) const = default;
};

// One region as transferred. A plain region is a range of one file; a
// joined region is a sequence of segments (joined is then true and
// fileName, start and end are unused).
struct PRegionDescription {
  int32_t id = 0;
  bool joined = false;
  std::string fileName;
  int64_t start = 0;  // first frame in the file
  int64_t end = 0;    // frame behind the last one, start <= end
  std::vector<PRegionSegment> segments;
  bool operator==(const PRegionDescription&) const = default;
};

// The text of regions, in order. Positions and lengths must be
// non-negative and a plain region's end at or after its start (what the
// parser accepts); the writer asserts it.
std::string writeRegionDescriptions(const std::vector<PRegionDescription>& regions);

// Reads text written by writeRegionDescriptions (see the rules above).
// Returns the regions, or nothing with *error set to a message that names
// the line and what was wrong; text without any region is an empty list.
std::optional<std::vector<PRegionDescription>> parseRegionDescriptions(std::string_view text, std::string* error);

// "Invalid region description (line %d): %s", the parser's message.
inline constexpr const char* kInvalidRegionDescriptionFormat = "Invalid region description (line %d): %s";

}  // namespace vantor
