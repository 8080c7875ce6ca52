#include "render/instruments/RSharedSoundFont.h"

#include <fluidsynth.h>

#include <filesystem>
#include <map>
#include <mutex>

namespace vantor {

// One synthesizer's view: the shared SoundFont and where the view's own
// preset iteration stands (the shared SoundFont's iteration is never moved).
struct RSharedSoundFont::View {
  RSharedSoundFont* shared = nullptr;
  size_t next = 0;
};

namespace {

std::mutex& cacheMutex() {
  static std::mutex mutex;
  return mutex;
}

std::map<std::string, std::weak_ptr<RSharedSoundFont>>& cache() {
  static std::map<std::string, std::weak_ptr<RSharedSoundFont>> loaded;
  return loaded;
}

// FluidSynth prints to the terminal by default; the library never does.
void quietLogging() {
  static std::once_flag once;
  std::call_once(once, [] {
    for (int level = FLUID_PANIC; level <= FLUID_DBG; ++level) fluid_set_log_function(level, nullptr, nullptr);
  });
}

std::string cacheKey(const std::string& path) {
  std::error_code ec;
  const std::filesystem::path canonical = std::filesystem::weakly_canonical(path, ec);
  return ec ? path : canonical.string();
}

}  // namespace

std::shared_ptr<RSharedSoundFont> RSharedSoundFont::acquire(const std::string& path) {
  if (path.empty()) return nullptr;
  quietLogging();
  const std::string key = cacheKey(path);
  std::lock_guard lock(cacheMutex());
  const auto found = cache().find(key);
  if (found != cache().end()) {
    if (std::shared_ptr<RSharedSoundFont> held = found->second.lock()) return held;
    cache().erase(found);
  }

  std::shared_ptr<RSharedSoundFont> font(new RSharedSoundFont);
  font->name_ = path;
  font->settings_ = new_fluid_settings();
  if (!font->settings_) return nullptr;
  // The loading synthesizer never plays: one voice, no effects.
  fluid_settings_setint(font->settings_, "synth.polyphony", 1);
  fluid_settings_setint(font->settings_, "synth.reverb.active", 0);
  fluid_settings_setint(font->settings_, "synth.chorus.active", 0);
  fluid_settings_setint(font->settings_, "synth.dynamic-sample-loading", 0);
  font->loader_ = new_fluid_synth(font->settings_);
  if (!font->loader_) return nullptr;
  const int id = fluid_synth_sfload(font->loader_, path.c_str(), 0);
  if (id == FLUID_FAILED) return nullptr;
  font->sfont_ = fluid_synth_get_sfont_by_id(font->loader_, id);
  if (!font->sfont_) return nullptr;
  fluid_sfont_iteration_start(font->sfont_);
  while (fluid_preset_t* preset = fluid_sfont_iteration_next(font->sfont_)) font->presets_.push_back(preset);
  cache().emplace(key, font);
  return font;
}

RSharedSoundFont::~RSharedSoundFont() {
  if (loader_) delete_fluid_synth(loader_);
  if (settings_) delete_fluid_settings(settings_);
}

bool RSharedSoundFont::addTo(fluid_synth_t* synth) {
  fluid_sfont_t* view = new_fluid_sfont(viewName, viewPreset, viewIterationStart, viewIterationNext, viewFree);
  if (!view) return false;
  fluid_sfont_set_data(view, new View{this, 0});
  if (fluid_synth_add_sfont(synth, view) == FLUID_FAILED) {
    viewFree(view);
    return false;
  }
  return true;
}

const char* RSharedSoundFont::viewName(fluid_sfont_t* view) {
  return static_cast<View*>(fluid_sfont_get_data(view))->shared->name_.c_str();
}

fluid_preset_t* RSharedSoundFont::viewPreset(fluid_sfont_t* view, int bank, int program) {
  return fluid_sfont_get_preset(static_cast<View*>(fluid_sfont_get_data(view))->shared->sfont_, bank, program);
}

void RSharedSoundFont::viewIterationStart(fluid_sfont_t* view) { static_cast<View*>(fluid_sfont_get_data(view))->next = 0; }

fluid_preset_t* RSharedSoundFont::viewIterationNext(fluid_sfont_t* view) {
  View* v = static_cast<View*>(fluid_sfont_get_data(view));
  return v->next < v->shared->presets_.size() ? v->shared->presets_[v->next++] : nullptr;
}

int RSharedSoundFont::viewFree(fluid_sfont_t* view) {
  delete static_cast<View*>(fluid_sfont_get_data(view));
  delete_fluid_sfont(view);
  return 0;
}

}  // namespace vantor
