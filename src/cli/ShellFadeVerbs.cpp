// Shell verbs on fades: the own fades of audio events and the project's
// automatic fades.

#include <charconv>
#include <cmath>
#include <cstdio>

#include "audio/pool/AudioCluster.h"
#include "audio/pool/MAudioEvent.h"
#include "audio/pool/MAudioFadeCommand.h"
#include "cli/MixerText.h"
#include "cli/ShellSession.h"
#include "model/edit/MAutoFadeCommand.h"
#include "model/tree/MProject.h"

namespace vantor::cli {

namespace {

// What the options of `fade` and `autofade` give; the words before the
// first option are left in words.
struct FadeOptions {
  std::optional<double> inMs;
  std::optional<double> outMs;
  std::optional<MFadeCurve> curve;
  ShellArgs words;
};

std::optional<double> milliseconds(ShellSession& s, const std::string& text) {
  double value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  if (ec != std::errc() || end != text.data() + text.size() || !std::isfinite(value) || value < 0) {
    s.fail("bad fade length \"" + text + "\" (milliseconds from 0)");
    return std::nullopt;
  }
  return value;
}

bool readFadeOptions(ShellSession& s, const ShellArgs& a, FadeOptions* options) {
  for (size_t i = 0; i < a.size(); ++i) {
    const std::string& word = a[i];
    if (word.rfind("--", 0) != 0) {
      options->words.push_back(word);
      continue;
    }
    if (word != "--in" && word != "--out" && word != "--curve") return s.fail("unknown option \"" + word + "\"");
    if (i + 1 >= a.size()) return s.fail(word + " needs a value");
    const std::string& value = a[++i];
    if (word == "--curve") {
      options->curve = parseFadeCurve(value);
      if (!options->curve) return s.fail("unknown curve \"" + value + "\" (linear, sine, sqrt, log, exp)");
      continue;
    }
    auto ms = milliseconds(s, value);
    if (!ms) return false;
    (word == "--in" ? options->inMs : options->outMs) = *ms;
  }
  return true;
}

std::optional<MAudioFade> fadeOf(const std::optional<double>& ms, MFadeCurve curve, double rate) {
  if (!ms) return std::nullopt;
  return MAudioFade{static_cast<int64_t>(std::llround(*ms * rate / 1000.0)), curve};
}

bool fadeEvents(ShellSession& s, const ShellArgs& a) {
  FadeOptions options;
  if (!readFadeOptions(s, a, &options)) return false;
  if (options.words.empty() || (!options.inMs && !options.outMs)) {
    return s.fail("usage: fade EVENT... [--in MS] [--out MS] [--curve CURVE]");
  }
  std::vector<FRef<MAudioEvent>> events;
  double rate = 0;
  for (const std::string& ref : options.words) {
    MEvent* named = s.event(ref);
    if (named == nullptr) return false;
    auto* event = dynamic_cast<MAudioEvent*>(named);
    if (event == nullptr) return s.fail("\"" + ref + "\" is not an audio event");
    const AudioCluster* cluster = event->getClip() != nullptr ? event->getClip()->getCluster() : nullptr;
    const double eventRate = cluster != nullptr ? cluster->sampleRate() : 0;
    if (eventRate <= 0) return s.fail("the clip of \"" + ref + "\" has no sample rate");
    if (rate != 0 && eventRate != rate) return s.fail("the events' clips have different sample rates");
    rate = eventRate;
    events.push_back(FRef<MAudioEvent>::share(event));
  }
  const MFadeCurve curve = options.curve.value_or(MFadeCurve::kLinear);
  return s.perform(makeRef<MAudioFadeCommand>(std::move(events), fadeOf(options.inMs, curve, rate),
                                              fadeOf(options.outMs, curve, rate)));
}

void printAutoFades(ShellSession& s, const MAutoFadeSetting& fades) {
  char text[160];
  std::snprintf(text, sizeof text, "automatic fade in %s, %.2f ms, %s; fade out %s, %.2f ms, %s\n",
                fades.isFadeInOn() ? "on" : "off", fades.getFadeInLength(), fadeCurveName(fades.getFadeInCurve()),
                fades.isFadeOutOn() ? "on" : "off", fades.getFadeOutLength(), fadeCurveName(fades.getFadeOutCurve()));
  s.out() << text;
}

bool autoFades(ShellSession& s, const ShellArgs& a) {
  MAutoFadeSetting* current = s.project().getAutoFadeSetting();
  if (current == nullptr) return s.fail("the project has no automatic fade setting");
  if (a.empty()) {
    printAutoFades(s, *current);
    return true;
  }
  FadeOptions options;
  if (!readFadeOptions(s, a, &options)) return false;
  if (options.words.size() > 1) return s.fail("usage: autofade [on|off] [--in MS] [--out MS] [--curve CURVE]");
  MAutoFadeSetting fades = *current;
  // A length given turns its edge on; on or off, when given, sets both.
  if (options.inMs) {
    fades.setFadeInLength(*options.inMs);
    fades.setFadeInOn(true);
  }
  if (options.outMs) {
    fades.setFadeOutLength(*options.outMs);
    fades.setFadeOutOn(true);
  }
  if (!options.words.empty()) {
    auto on = s.onOff(options.words, 0, true);
    if (!on) return false;
    fades.setFadeInOn(*on);
    fades.setFadeOutOn(*on);
  }
  if (options.curve) {
    fades.setFadeInCurve(*options.curve);
    fades.setFadeOutCurve(*options.curve);
  }
  return s.perform(makeRef<MAutoFadeCommand>(FRef<MAutoFadeSetting>::share(current), fades));
}

}  // namespace

void addFadeVerbs(std::vector<ShellVerb>& verbs) {
  verbs.push_back({"fade", "EVENT... [--in MS] [--out MS] [--curve linear|sine|sqrt|log|exp]",
                   "set the own fades of audio events (0 removes one; no longer than the event)", fadeEvents});
  verbs.push_back({"autofade", "[on|off] [--in MS] [--out MS] [--curve CURVE]",
                   "show or set the project's automatic fades (a length turns its edge on; up to 1000 ms)", autoFades});
}

}  // namespace vantor::cli
