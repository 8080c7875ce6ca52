#include "cli/PlayCommand.h"

#include <fmt/format.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "document/PDocument.h"
#include "model/time/MPosition.h"
#include "model/time/MTempoTrack.h"
#include "model/tree/MProject.h"
#include "render/RInstrumentFactory.h"
#include "render/RPlaybackEngine.h"
#include "render/engine/RPlanBuilder.h"
#include "render/realtime/REnginePlayTarget.h"
#include "render/realtime/RJackClient.h"
#include "render/realtime/RJackTransport.h"
#include "render/realtime/RStreamedSegmentSource.h"

namespace vantor::cli {

namespace {

struct Options {
  std::string project;
  std::string from;
  std::string to;
  bool cycle = false;
  bool click = false;
  std::string soundFont;
  std::string server;
  bool json = false;
};

// How long the disk thread may take to fill the first buffers.
constexpr auto kPrerollTimeout = std::chrono::seconds(10);
// How often the position line and the keys are looked at.
constexpr auto kPollInterval = std::chrono::milliseconds(40);

// Set by SIGINT, SIGTERM and SIGHUP: playback ends as after `q`, and the
// terminal gets its settings back on the way out.
volatile std::sig_atomic_t gQuitSignal = 0;
void onQuitSignal(int) { gQuitSignal = 1; }

class QuitSignals {
 public:
  QuitSignals() {
    gQuitSignal = 0;
    struct sigaction action {};
    action.sa_handler = onQuitSignal;
    sigemptyset(&action.sa_mask);
    for (int i = 0; i < 3; ++i) sigaction(kSignals[i], &action, &previous_[i]);
  }
  ~QuitSignals() {
    for (int i = 0; i < 3; ++i) sigaction(kSignals[i], &previous_[i], nullptr);
  }
  QuitSignals(const QuitSignals&) = delete;
  QuitSignals& operator=(const QuitSignals&) = delete;

 private:
  static constexpr int kSignals[3] = {SIGINT, SIGTERM, SIGHUP};
  struct sigaction previous_[3];
};

// Standard input in raw mode (keys arrive one by one, unechoed) while this
// lives; signals still arrive (ISIG stays on).
class RawKeys {
 public:
  RawKeys() {
    if (::isatty(STDIN_FILENO) != 1 || ::tcgetattr(STDIN_FILENO, &saved_) != 0) return;
    termios raw = saved_;
    raw.c_lflag &= static_cast<tcflag_t>(~(ICANON | ECHO));
    raw.c_cc[VMIN] = 0;
    raw.c_cc[VTIME] = 0;
    active_ = ::tcsetattr(STDIN_FILENO, TCSANOW, &raw) == 0;
  }
  ~RawKeys() {
    if (active_) ::tcsetattr(STDIN_FILENO, TCSANOW, &saved_);
  }
  RawKeys(const RawKeys&) = delete;
  RawKeys& operator=(const RawKeys&) = delete;

  bool active() const { return active_; }
  // The next key pressed, or 0 when none waits.
  char key() const {
    pollfd in{STDIN_FILENO, POLLIN, 0};
    char c = 0;
    if (!active_ || ::poll(&in, 1, 0) != 1 || ::read(STDIN_FILENO, &c, 1) != 1) return 0;
    return c;
  }

 private:
  termios saved_{};
  bool active_ = false;
};

// The objects of one playback, torn down client first: the server stops
// calling the transport before the engine and the source go.
struct Playback {
  std::unique_ptr<RJackClient> client;
  std::unique_ptr<RStreamedSegmentSource> source;
  RPlaybackEngine engine;
  std::unique_ptr<REnginePlayTarget> target;
  std::unique_ptr<RJackTransport> transport;
  ~Playback() { client.reset(); }
};

struct Range {
  int64_t from = 0;
  int64_t to = 0;
};

// A frame of the plan as the other commands show positions.
struct Clock {
  const MProject& project;
  const MPosition positions;
  int rate;
  explicit Clock(const MProject& p, int sampleRate)
      : project(p), positions(*p.getSignatureNode(), *p.getTempoNode()), rate(sampleRate) {}
  double pulses(int64_t frame) const {
    return project.getTempoNode()->pulsesAt(static_cast<double>(frame) / rate);
  }
  std::string bars(int64_t frame) const { return positions.formatBars(pulses(frame)).value_or("?"); }
  std::string time(int64_t frame) const { return positions.formatTime(pulses(frame)).value_or("?"); }
  std::optional<int64_t> frame(const std::string& text, std::string* error) const {
    const std::optional<double> at = positions.parse(text, error);
    if (!at) return std::nullopt;
    return std::llround(project.getTempoNode()->secondsAt(*at) * rate);
  }
};

bool chooseInstrument(const std::string& soundFont, RInstrumentChoice* choice, std::string* error) {
  if (soundFont.empty()) return true;
  choice->kind = RInstrumentChoice::Kind::kSoundFont;
  choice->soundFont = soundFont == "default" ? installedSoundFont() : soundFont;
  if (choice->soundFont.empty()) {
    *error = "No General MIDI SoundFont is installed (looked for /usr/share/sounds/sf2/default-GM.sf2)";
  }
  return !choice->soundFont.empty();
}

// The range to play: --from (the left locator with --cycle, else 0) to --to
// (the end of the project). Unreadable positions are usage errors (2).
int resolveRange(CliContext& context, const Options& options, const Clock& clock, const RPlaybackPlan& plan,
                 Range* range) {
  std::string error;
  range->from = options.cycle ? plan.leftLocator : 0;
  range->to = plan.end;
  for (auto [text, frame] : {std::pair{&options.from, &range->from}, std::pair{&options.to, &range->to}}) {
    if (text->empty()) continue;
    const std::optional<int64_t> at = clock.frame(*text, &error);
    if (!at) {
      context.err << error << '\n';
      return kExitUsage;
    }
    *frame = *at;
  }
  if (options.cycle && plan.leftLocator >= plan.rightLocator) {
    context.err << "The locators enclose no range to cycle.\n";
    return kExitDataError;
  }
  if (!options.cycle && range->to <= range->from) {
    context.err << fmt::format("Nothing to play from {} to {}.\n", clock.bars(range->from), clock.bars(range->to));
    return kExitDataError;
  }
  return kExitOk;
}

// Opens the client and readies the engine over the streamed source.
bool startPlayback(const Options& options, std::shared_ptr<const RPlaybackPlan> plan, Playback* playback,
                   std::string* error) {
  playback->client = RJackClient::open("vantor", options.server, error);
  if (!playback->client) return false;
  if (playback->client->sampleRate() != plan->sampleRate) {
    *error = fmt::format("The JACK server runs at {} Hz and the project at {} Hz.", playback->client->sampleRate(),
                         plan->sampleRate);
    return false;
  }
  const int period = playback->client->bufferSize();
  playback->source =
      std::make_unique<RStreamedSegmentSource>(plan, RStreamedSegmentSource::Options{2.0, options.cycle});
  const RStandardInstrumentFactory factory;
  if (!playback->engine.prepare(plan, playback->source.get(), factory, period, error)) return false;
  playback->engine.setClick(options.click);
  playback->target = std::make_unique<REnginePlayTarget>(playback->engine, *playback->source, period);
  playback->transport =
      std::make_unique<RJackTransport>(*playback->target, plan->leftLocator, plan->rightLocator);
  return true;
}

void showPosition(std::ostream& err, const Clock& clock, const RJackTransport& transport) {
  const int64_t at = transport.position();
  const char* state = !transport.playing() ? "stopped" : transport.waiting() ? "loading" : "playing";
  err << fmt::format("\r{:>14}  {:>10}  {:<8}", clock.bars(at), clock.time(at), state) << std::flush;
}

// Runs until the end (without a terminal), `q`, a signal or the server's
// going away; false when the server went away.
bool follow(CliContext& context, const Clock& clock, const Range& range, Playback& playback) {
  RJackTransport& transport = *playback.transport;
  const QuitSignals signals;
  const RawKeys keys;
  const bool showing = stderrIsTerminal();
  for (;;) {
    if (gQuitSignal != 0 || playback.client->serverGone()) break;
    bool quit = false;
    for (char key = keys.key(); key != 0; key = keys.key()) {
      if (key == 'q' || key == 'Q') quit = true;
      if (key == ' ') transport.playing() ? transport.stop() : transport.play();
    }
    if (quit) break;
    if (!transport.playing() && transport.position() >= range.to && !keys.active()) break;
    if (!transport.playing() && transport.loops() > 0 && !keys.active()) break;
    if (keys.active() && !transport.playing() && transport.position() >= range.to) transport.locate(range.from);
    if (showing) showPosition(context.err, clock, transport);
    std::this_thread::sleep_for(kPollInterval);
  }
  transport.stop();
  if (showing) context.err << '\n';
  return !playback.client->serverGone();
}

// After the client closed: the transport and the target stay readable.
void printSummary(CliContext& context, const Options& options, const Clock& clock, const Range& range,
                  const Playback& playback, int sampleRate, int bufferSize, uint64_t xruns) {
  const RJackTransport& transport = *playback.transport;
  const auto place = [&clock](int64_t frame) {
    return nlohmann::json{{"frame", frame}, {"bars", clock.bars(frame)}, {"time", clock.time(frame)}};
  };
  if (options.json) {
    printJson(context.out, {{"from", place(range.from)},
                            {"to", place(range.to)},
                            {"position", place(transport.position())},
                            {"cycle", options.cycle},
                            {"loops", transport.loops()},
                            {"framesPlayed", transport.framesPlayed()},
                            {"underruns", playback.target->underruns()},
                            {"xruns", xruns},
                            {"sampleRate", sampleRate},
                            {"bufferSize", bufferSize}});
    return;
  }
  context.out << fmt::format("Played {} frames, stopped at {} ({}), {} underruns, {} xruns\n",
                             transport.framesPlayed(), clock.bars(transport.position()),
                             clock.time(transport.position()), playback.target->underruns(), xruns);
}

int runPlay(CliContext& context, const Options& options) {
  PDocument document(context.messages, context.preferences);
  if (!openProject(context, document, options.project, OpenPurpose::kRead)) return kExitDataError;
  std::string error;
  RPlanOptions planOptions;
  auto plan = std::make_shared<RPlaybackPlan>();
  if (!chooseInstrument(options.soundFont, &planOptions.instrument, &error) ||
      !buildPlaybackPlan(document, planOptions, plan.get(), &error)) {
    context.err << error << '\n';
    return kExitDataError;
  }
  const Clock clock(*document.project(), plan->sampleRate);
  Range range;
  if (const int status = resolveRange(context, options, clock, *plan, &range); status != kExitOk) return status;

  Playback playback;
  if (!startPlayback(options, plan, &playback, &error)) {
    context.err << error << '\n';
    return kExitDataError;
  }
  RJackTransport& transport = *playback.transport;
  transport.setCycle(options.cycle);
  transport.setEnd(range.to);
  // A terminal loops until the user stops; a script hears one pass.
  transport.setLoopLimit(::isatty(STDIN_FILENO) == 1 ? -1 : 1);
  transport.locate(range.from);
  transport.play();  // the transport waits in silence for the first buffers
  if (!playback.client->activate(&transport, &error) || !playback.client->connectToPlayback(&error)) {
    context.err << error << '\n';
    return kExitDataError;
  }
  if (!follow(context, clock, range, playback)) {
    context.err << "The JACK server shut down.\n";
    return kExitDataError;
  }
  // A clip that could not be read played as silence: say which.
  if (const std::string disk = playback.source->diskError(); !disk.empty()) {
    context.messages.report(FUserMessages::Severity::kWarning, disk);
  }
  const int sampleRate = playback.client->sampleRate();
  const int bufferSize = playback.client->bufferSize();
  const uint64_t xruns = playback.client->xruns();
  playback.client.reset();
  printSummary(context, options, clock, range, playback, sampleRate, bufferSize, xruns);
  return kExitOk;
}

}  // namespace

void addPlayCommand(CLI::App& app, CliContext& context, int* exitCode) {
  auto* command = app.add_subcommand("play", "Play a project through the running JACK server");
  auto options = std::make_shared<Options>();
  command->add_option("FILE", options->project, "Project file (.vpr)")->required();
  command->add_option("--from", options->from, "Where to start (pulses, bars, 3.5s or 1:02.250; default the start)");
  command->add_option("--to", options->to, "Where to stop (default the end of the project)");
  command->add_flag("--cycle", options->cycle,
                    "Loop between the locators (from the left locator unless --from); without a terminal, "
                    "one pass of the loop");
  command->add_flag("--click", options->click, "Play the metronome");
  command->add_option("--soundfont", options->soundFont,
                      "Play MIDI tracks through this SoundFont, or \"default\" for the installed one");
  command->add_option("--server", options->server, "The JACK server's name (default $JACK_DEFAULT_SERVER or the default)");
  command->add_flag("--json", options->json,
                    "Print {\"from\", \"to\", \"position\", \"cycle\", \"loops\", \"framesPlayed\", \"underruns\", "
                    "\"sampleRate\", \"bufferSize\"} as JSON at the end");
  command->callback([&context, exitCode, options] { *exitCode = runPlay(context, *options); });
}

}  // namespace vantor::cli
