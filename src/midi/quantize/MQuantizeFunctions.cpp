#include "midi/quantize/MQuantizeFunctions.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "midi/events/MMidiPart.h"
#include "midi/quantize/MBarSource.h"
#include "model/tree/MEventContainer.h"

namespace vantor {

namespace {

// The step that lengths and ends keep to.
double lengthStep(const MMidiQuantize& setting) {
  const auto* grid = dynamic_cast<const MGridQuantize*>(&setting);
  const double step = grid != nullptr ? grid->gridStep() : MMidiQuantize::kPPQ / 4;
  return step > 0.0 && std::isfinite(step) ? step : MMidiQuantize::kPPQ / 4;
}

struct Context {
  MQuantizeFunction function;
  double origin;
  const MMidiQuantize& setting;
  const MBarSource& bars;
  const MQuantizeSettings& settings;
  MQuantizeRandom& random;
};

// The new start (project pulses) of "Quantize" and "Iterative Quantize".
double newStart(const Context& c, double initial, double current) {
  double position = c.setting.quantize(initial, c.bars, MQuantizeMode::kNearest);
  if (c.function == MQuantizeFunction::kQuantize && c.settings.randomAmount > 0) {
    position += c.settings.randomAmount * (2.0 * c.random.next() / 32767.0 - 1.0);
  }
  if (c.function == MQuantizeFunction::kIterative) {
    position += (current - position) * (1.0 - static_cast<double>(c.settings.iterativeStrength));
  }
  return position;
}

// The new values of note, or false when it stays as it is.
bool valuesFor(const Context& c, MMidiNote& note, MNoteValues* out) {
  MNoteValues v = currentValues(note);
  const double initialStart = note.getInitialStart();
  const double initialLength = note.getInitialLength();
  const double tolerance =
      c.function == MQuantizeFunction::kQuantize ? std::max(c.settings.nonQuantize, kMinTolerance) : kMinTolerance;
  switch (c.function) {
    case MQuantizeFunction::kQuantize:
    case MQuantizeFunction::kIterative: {
      const double current = c.origin + note.getStart();
      const double position = newStart(c, c.origin + initialStart, current);
      if (std::fabs(position - current) < tolerance) return false;
      v.start = position - c.origin;
      v.initialStartOffset = initialStart - v.start;
      break;
    }
    case MQuantizeFunction::kLengths:
    case MQuantizeFunction::kEnds: {
      const double step = lengthStep(c.setting);
      double length = 0;
      if (c.function == MQuantizeFunction::kLengths) {
        length = std::max(1.0, std::ceil(initialLength / step - 0.5)) * step;
      } else {
        const double start = c.origin + note.getStart();
        length = c.setting.quantize(start + initialLength, c.bars, MQuantizeMode::kNearest) - start;
        length = std::max(length, step);
      }
      if (std::fabs(length - note.getLength()) < tolerance) return false;
      v.length = length;
      v.initialLengthOffset = initialLength - length;
      break;
    }
    case MQuantizeFunction::kUndo:
      if (v.initialStartOffset == 0.0 && v.initialLengthOffset == 0.0) return false;
      v = {v.note, initialStart, initialLength, 0.0, 0.0};
      break;
    case MQuantizeFunction::kFreeze:
      if (v.initialStartOffset == 0.0 && v.initialLengthOffset == 0.0) return false;
      v.initialStartOffset = 0.0;
      v.initialLengthOffset = 0.0;
      break;
  }
  *out = std::move(v);
  return true;
}

}  // namespace

const char* quantizeFunctionName(MQuantizeFunction function) {
  switch (function) {
    case MQuantizeFunction::kQuantize:
      return "Quantize";
    case MQuantizeFunction::kIterative:
      return "Iterative Quantize";
    case MQuantizeFunction::kLengths:
      return "Quantize Lengths";
    case MQuantizeFunction::kEnds:
      return "Quantize Ends";
    case MQuantizeFunction::kUndo:
      return "Undo Quantize";
    case MQuantizeFunction::kFreeze:
      return "Freeze Quantize";
  }
  return "Quantize";
}

int MQuantizeRandom::next() {
  // The classic linear congruential generator: portable and repeatable.
  state_ = state_ * 1103515245u + 12345u;
  return static_cast<int>((state_ / 65536u) % 32768u);
}

void collectQuantizeValues(MQuantizeFunction function, const MQuantizePart& part, const MMidiQuantize& setting,
                           const MBarSource& bars, const MQuantizeSettings& settings, MQuantizeRandom& random,
                           std::vector<MNoteValues>* out) {
  const MEventContainer* events = part.part != nullptr ? part.part->events() : nullptr;
  if (events == nullptr) return;
  const Context context{function, part.origin, setting, bars, settings, random};
  for (const auto& event : *events) {
    auto* note = dynamic_cast<MMidiNote*>(event.get());
    if (part.selectedOnly && note != nullptr && !note->hasFlag(MEventFlag::kSelected)) continue;
    MNoteValues values;
    if (note != nullptr && valuesFor(context, *note, &values)) out->push_back(std::move(values));
  }
}

FRef<MCommand> makeQuantizeCommand(MQuantizeFunction function, const std::vector<MQuantizePart>& parts,
                                   const MMidiQuantize& setting, const MBarSource& bars,
                                   const MQuantizeSettings& settings, size_t* changed) {
  MQuantizeRandom random(settings.seed);
  std::vector<MNoteValues> values;
  for (const MQuantizePart& part : parts)
    collectQuantizeValues(function, part, setting, bars, settings, random, &values);
  if (changed != nullptr) *changed = values.size();
  if (values.empty()) return nullptr;
  if (function == MQuantizeFunction::kFreeze) return FRef<MCommand>(new MNoteFreezeCommand(std::move(values)));
  return FRef<MCommand>(new MNoteQuantizeCommand(quantizeFunctionName(function), std::move(values)));
}

size_t autoQuantizeImported(MMidiPart& part, double origin, const MMidiQuantize& setting, const MBarSource& bars,
                            const MQuantizeSettings& settings) {
  if (!settings.autoQuantize || part.events() == nullptr) return 0;
  MQuantizeRandom random(settings.seed);
  std::vector<MNoteValues> values;
  collectQuantizeValues(MQuantizeFunction::kQuantize, {&part, origin, false}, setting, bars, settings, random, &values);
  for (MNoteValues& v : values) {
    v.note->setStart(v.start);
    v.note->setInitialStartOffset(v.initialStartOffset);
  }
  part.events()->sortAfterAppend();
  return values.size();
}

std::string quantizeName(const MGridQuantize& setting) {
  char buffer[96];
  const int denominator = setting.getGrid() >= 0 && setting.getGrid() < 31 ? 1 << setting.getGrid() : 0;
  if (setting.getType() == MGridQuantize::kTriplet || setting.getType() == MGridQuantize::kDotted) {
    std::snprintf(buffer, sizeof buffer, "1/%d %s", denominator,
                  setting.getType() == MGridQuantize::kTriplet ? "Triplet" : "Dotted");
  } else {
    std::snprintf(buffer, sizeof buffer, "1/%d Note", denominator);
  }
  std::string name = buffer;
  if (setting.getTuplet() >= 2) {
    std::snprintf(buffer, sizeof buffer, "%d-let", setting.getTuplet());
    name += std::string(" ") + buffer;
  }
  if (setting.getSwing() > 0.0) {
    std::snprintf(buffer, sizeof buffer, "Sw-%d%%", static_cast<int>(std::lround(setting.getSwing() * 100)));
    name += std::string(" ") + buffer;
  }
  return name;
}

const std::vector<MQuantizePreset>& quantizePresets() {
  static const std::vector<MQuantizePreset> presets = [] {
    std::vector<MQuantizePreset> list;
    for (int16_t grid = 0; grid <= 6; ++grid) list.push_back({grid, MGridQuantize::kStraight, 1, 0.0});
    for (int16_t grid = 1; grid <= 5; ++grid) list.push_back({grid, MGridQuantize::kTriplet, 1, 0.0});
    for (int16_t grid = 1; grid <= 5; ++grid) list.push_back({grid, MGridQuantize::kDotted, 1, 0.0});
    list.push_back({2, MGridQuantize::kStraight, 5, 0.0});
    list.push_back({3, MGridQuantize::kStraight, 1, 0.5});
    list.push_back({4, MGridQuantize::kStraight, 1, 0.5});
    return list;
  }();
  return presets;
}

FRef<MGridQuantize> quantizePreset(std::string_view name) {
  for (const MQuantizePreset& p : quantizePresets()) {
    FRef<MGridQuantize> setting(new MGridQuantize(p.grid, p.type, p.swing, 0.0, p.tuplet));
    if (quantizeName(*setting) == name) return setting;
  }
  return nullptr;
}

}  // namespace vantor
