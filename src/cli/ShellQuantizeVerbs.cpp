// Shell verbs for MIDI notes: add a note to a MIDI part, list a part's
// notes, and the quantize functions.

#include <cmath>
#include <cstdio>
#include <ostream>

#include "cli/ShellQuantize.h"
#include "cli/ShellReferences.h"
#include "cli/ShellSession.h"
#include "midi/events/MMidiNote.h"
#include "midi/events/MMidiPart.h"
#include "model/edit/MInsertCommand.h"

namespace vantor::cli {

namespace {

std::string pulses(double value) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, value == std::floor(value) ? "%.0f" : "%.3f", value);
  return buffer;
}

MMidiPartEvent* midiPart(ShellSession& s, const std::string& text) {
  MEvent* event = s.event(text);
  if (event == nullptr) return nullptr;
  auto* part = dynamic_cast<MMidiPartEvent*>(event);
  if (part == nullptr || part->getNode() == nullptr) {
    (void)s.fail("\"" + text + "\" is not a MIDI part");
    return nullptr;
  }
  return part;
}

bool addNote(ShellSession& s, const ShellArgs& a) {
  if (a.size() < 4 || a.size() > 5) return s.fail("usage: note add PART POSITION PITCH LENGTH [VELOCITY]");
  MMidiPartEvent* part = midiPart(s, a[0]);
  if (part == nullptr) return false;
  const auto position = s.position(a[1]);
  if (!position) return false;
  const auto pitch = s.integer(a[2], 0, 127, "pitch");
  if (!pitch) return false;
  const auto length = s.length(a[3]);
  if (!length) return false;
  if (*length <= 0) return s.fail("the length must be above 0");
  const auto velocity = a.size() > 4 ? s.integer(a[4], 1, 127, "velocity") : std::optional<long>(100);
  if (!velocity) return false;
  // Typed on the project's time line; inside the part it counts from the
  // part's content origin.
  FRef<MMidiNote> note = makeRef<MMidiNote>();
  note->setStart(*position - part->getContentOrigin());
  note->setLength(*length);
  note->setData1(static_cast<uint8_t>(*pitch));
  note->setData2(static_cast<uint8_t>(*velocity));
  return s.perform(makeRef<MInsertCommand>(FRef<MEvent>::share(part), FRef<MEvent>(note)));
}

bool listNotes(ShellSession& s, const ShellArgs& a) {
  if (a.size() != 1) return s.fail("usage: notes PART");
  MMidiPartEvent* part = midiPart(s, a[0]);
  if (part == nullptr) return false;
  size_t number = 0;
  for (MEvent* event : eventsOf(part->getNode())) {
    ++number;
    const auto* note = dynamic_cast<const MMidiNote*>(event);
    if (note == nullptr) continue;
    // Positions on the project's time line, as they are typed.
    const double origin = part->getContentOrigin();
    s.out() << number << "  start " << pulses(origin + note->getStart()) << "  length " << pulses(note->getLength())
            << "  pitch " << int(note->getData1()) << "  velocity " << int(note->getData2());
    if (note->getInitialStartOffset() != 0.0 || note->getInitialLengthOffset() != 0.0) {
      s.out() << "  (initial start " << pulses(origin + note->getInitialStart()) << ", length "
              << pulses(note->getInitialLength()) << ")";
    }
    s.out() << "\n";
  }
  return true;
}

ShellHandler quantizeVerb(MQuantizeFunction function, bool takesStrength) {
  return [function, takesStrength](ShellSession& s, const ShellArgs& a) {
    QuantizeRequest request;
    request.function = function;
    ShellArgs options = a;
    if (takesStrength) {
      if (a.empty()) return s.fail("usage: quantize iterative STRENGTH [OPTIONS]");
      const auto strength = s.integer(a[0], 0, 100, "strength");
      if (!strength) return false;
      request.strength = static_cast<float>(*strength) / 100.0f;
      options.erase(options.begin());
    }
    std::string error;
    if (!parseQuantizeOptions(options, &request, &error)) return s.fail(error);
    size_t changed = 0;
    if (!runQuantize(s, request, &changed)) return false;
    s.out() << quantizeFunctionName(request.function) << ": " << changed << (changed == 1 ? " note" : " notes")
            << " changed\n";
    return true;
  };
}

}  // namespace

void addQuantizeVerbs(std::vector<ShellVerb>& verbs) {
  verbs.push_back({"note add", "PART POSITION PITCH LENGTH [VELOCITY]",
                   "add a note to a MIDI part (pitch 0-127, velocity 1-127, default 100)", addNote});
  verbs.push_back({"notes", "PART", "list the notes of a MIDI part", listNotes});
  const char* const options =
      "[--track T] [--grid 1/N] [--type straight|triplet|dotted] [--tuplet N] [--swing %] [--magnetic %] "
      "[--random TICKS] [--seed N]";
  verbs.push_back({"quantize lengths", options, "\"Quantize Lengths\" of the notes of MIDI tracks",
                   quantizeVerb(MQuantizeFunction::kLengths, false)});
  verbs.push_back({"quantize ends", options, "\"Quantize Ends\" of the notes of MIDI tracks",
                   quantizeVerb(MQuantizeFunction::kEnds, false)});
  verbs.push_back({"quantize undo", "[--track T]", "\"Undo Quantize\": notes back to their initial places",
                   quantizeVerb(MQuantizeFunction::kUndo, false)});
  verbs.push_back({"quantize freeze", "[--track T]", "\"Freeze Quantize\": the current places become initial",
                   quantizeVerb(MQuantizeFunction::kFreeze, false)});
  verbs.push_back({"quantize iterative", std::string("STRENGTH% ") + options,
                   "\"Iterative Quantize\": move notes STRENGTH % of the way to the grid",
                   quantizeVerb(MQuantizeFunction::kIterative, true)});
  verbs.push_back({"quantize", std::string(options) + " [--lengths|--ends|--undo|--freeze|--iterative %]",
                   "\"Quantize\" the notes of MIDI tracks (all by default) onto the grid",
                   quantizeVerb(MQuantizeFunction::kQuantize, false)});
}

}  // namespace vantor::cli
