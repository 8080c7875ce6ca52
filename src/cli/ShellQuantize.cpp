#include "cli/ShellQuantize.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>

#include "cli/ShellReferences.h"
#include "document/PDocument.h"
#include "document/PMidiPreferences.h"
#include "midi/events/MMidiPart.h"
#include "midi/quantize/MBarSource.h"
#include "midi/quantize/MQuantizePresetValue.h"
#include "model/time/MSignatureTrack.h"
#include "model/tree/MProject.h"
#include "model/tree/MTrackEvent.h"
#include "model/undo/MCommand.h"

namespace vantor::cli {

namespace {

std::optional<long> number(const std::string& text, long min, long max) {
  long value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size() || value < min || value > max) return std::nullopt;
  return value;
}

// "1/16" -> 4.
std::optional<int16_t> gridOf(const std::string& text) {
  if (text.rfind("1/", 0) != 0) return std::nullopt;
  const auto n = number(text.substr(2), 1, 128);
  if (!n || (*n & (*n - 1)) != 0) return std::nullopt;
  int16_t grid = 0;
  while ((1L << grid) < *n) ++grid;
  return grid;
}

std::optional<int16_t> typeOf(const std::string& text) {
  if (text == "straight") return MGridQuantize::kStraight;
  if (text == "triplet") return MGridQuantize::kTriplet;
  if (text == "dotted") return MGridQuantize::kDotted;
  return std::nullopt;
}

bool setFunction(QuantizeRequest* r, MQuantizeFunction f, bool* chosen, std::string* error) {
  if (*chosen && r->function != f) {
    *error = "choose one of --lengths, --ends, --undo, --freeze and --iterative";
    return false;
  }
  *chosen = true;
  r->function = f;
  return true;
}

// The option at args[i] with its value at args[i + 1]; false with *error.
bool readValued(const ShellArgs& args, size_t* i, QuantizeRequest* r, bool* chosen, std::string* error) {
  const std::string& option = args[*i];
  static const char* const kValued[] = {"--track",    "--grid",   "--type", "--tuplet",   "--swing",
                                        "--magnetic", "--random", "--seed", "--iterative"};
  if (std::find(std::begin(kValued), std::end(kValued), option) == std::end(kValued)) {
    *error = "unknown option \"" + option + "\"";
    return false;
  }
  if (*i + 1 >= args.size()) {
    *error = option + " needs a value";
    return false;
  }
  const std::string& value = args[++*i];
  if (option == "--grid" || option == "--type" || option == "--tuplet" || option == "--swing") r->gridGiven = true;
  const auto bad = [&](const char* what) {
    *error = "bad " + option + " value \"" + value + "\" (" + what + ")";
    return false;
  };
  if (option == "--track") {
    r->tracks.push_back(value);
  } else if (option == "--grid") {
    const auto grid = gridOf(value);
    if (!grid) return bad("1/1, 1/2, 1/4 ... 1/128");
    r->grid = *grid;
  } else if (option == "--type") {
    const auto type = typeOf(value);
    if (!type) return bad("straight, triplet or dotted");
    r->type = *type;
  } else if (option == "--tuplet") {
    const auto tuplet = number(value, 1, 64);
    if (!tuplet) return bad("1 to 64");
    r->tuplet = static_cast<int16_t>(*tuplet);
  } else if (option == "--swing" || option == "--magnetic" || option == "--iterative") {
    const auto percent = number(value, 0, 100);
    if (!percent) return bad("a whole percentage, 0 to 100");
    if (option == "--swing") r->swing = *percent / 100.0;
    if (option == "--magnetic") r->magnetic = *percent / 100.0;
    if (option == "--iterative") {
      r->strength = static_cast<float>(*percent) / 100.0f;
      return setFunction(r, MQuantizeFunction::kIterative, chosen, error);
    }
  } else if (option == "--random") {
    const auto ticks = number(value, 0, 480);
    if (!ticks) return bad("0 to 480 pulses");
    r->random = static_cast<int32_t>(*ticks);
  } else if (option == "--seed") {
    const auto seed = number(value, 0, 4294967295L);
    if (!seed) return bad("0 to 4294967295");
    r->seed = static_cast<uint32_t>(*seed);
  }
  return true;
}

// The MIDI parts of track with their content origins; false when the
// track holds no MIDI parts by its kind.
bool midiPartsOf(MTrackEvent& track, std::vector<MQuantizePart>* parts) {
  if (trackKindName(track) != "MIDI") return false;
  for (MEvent* event : eventsOf(track.getNode())) {
    auto* placement = dynamic_cast<MMidiPartEvent*>(event);
    auto* part = placement != nullptr ? dynamic_cast<MMidiPart*>(placement->getNode()) : nullptr;
    const auto same = [part](const MQuantizePart& p) { return p.part == part; };
    // A track named twice, or parts sharing their content, count once.
    if (part != nullptr && std::none_of(parts->begin(), parts->end(), same)) {
      parts->push_back({part, placement->getContentOrigin()});
    }
  }
  return true;
}

}  // namespace

bool parseQuantizeOptions(const ShellArgs& args, QuantizeRequest* request, std::string* error) {
  bool chosen = request->function != MQuantizeFunction::kQuantize;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--lengths" || a == "--ends" || a == "--undo" || a == "--freeze") {
      const MQuantizeFunction f = a == "--lengths" ? MQuantizeFunction::kLengths
                                  : a == "--ends"  ? MQuantizeFunction::kEnds
                                  : a == "--undo"  ? MQuantizeFunction::kUndo
                                                   : MQuantizeFunction::kFreeze;
      if (!setFunction(request, f, &chosen, error)) return false;
    } else if (!readValued(args, &i, request, &chosen, error)) {
      return false;
    }
  }
  return true;
}

MGridQuantize currentGrid(ShellSession& session) {
  MGridQuantize setting = *session.currentQuantize().setting();
  if (setting.getSwing() <= 0.0) setting.setSwing(defaultQuantizeSwing(session.context().preferences));
  return setting;
}

bool runQuantize(ShellSession& session, const QuantizeRequest& request, size_t* changed) {
  *changed = 0;
  MProject& project = session.project();
  std::vector<MQuantizePart> parts;
  if (request.tracks.empty()) {
    for (MTrackEvent* track : listTracks(project)) (void)midiPartsOf(*track, &parts);
  }
  for (const std::string& name : request.tracks) {
    MTrackEvent* track = session.track(name);
    if (track == nullptr) return false;
    if (!midiPartsOf(*track, &parts)) return session.fail("\"" + track->getName() + "\" is not a MIDI track");
  }
  const PPreferences& preferences = session.context().preferences;
  MQuantizeSettings settings = quantizeSettings(preferences);
  settings.seed = request.seed;
  if (request.random) settings.randomAmount = *request.random;
  if (request.strength) settings.iterativeStrength = *request.strength;
  MGridQuantize setting(request.grid, request.type, request.swing.value_or(defaultQuantizeSwing(preferences)), 0.0,
                        request.tuplet);
  if (!request.gridGiven) setting = currentGrid(session);
  setting.setMaxDiff(request.magnetic);
  const MSignatureBarSource bars(*project.getSignatureNode());
  FRef<MCommand> command = makeQuantizeCommand(request.function, parts, setting, bars, settings, changed);
  if (!command) return true;
  if (!session.perform(command)) {
    *changed = 0;
    return false;
  }
  return true;
}

}  // namespace vantor::cli
