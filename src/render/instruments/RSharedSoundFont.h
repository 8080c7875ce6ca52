#pragma once
// A SoundFont loaded once per process and shared by the FluidSynth
// instruments that play it. FluidSynth loads a SoundFont's samples into
// every synthesizer that loads the file (measured with a 6 MB SoundFont:
// 50 to 70 ms and 8.5 MB for each track), so one synthesizer loads it here
// and each instrument's synthesizer gets a view of it: the view's presets
// are the loaded ones, and starting a note reads their zones and samples
// without changing them. A further track then costs 2 to 10 ms and 3 MB
// (its own synthesizer's voices).
//
// Threads: acquire() may run on any thread but the audio thread. Voices
// count the uses of a sample without synchronisation (the counts only
// guard unloading, which waits here for the last instrument): instruments
// sharing a SoundFont are meant to render on one thread, as an engine's
// tracks do.

#include <memory>
#include <string>
#include <vector>

typedef struct _fluid_hashtable_t fluid_settings_t;
typedef struct _fluid_synth_t fluid_synth_t;
typedef struct _fluid_sfont_t fluid_sfont_t;
typedef struct _fluid_preset_t fluid_preset_t;

namespace vantor {

class RSharedSoundFont {
 public:
  // The SoundFont at `path`, loaded now unless an instrument already holds
  // it; null when the file does not load as a SoundFont.
  static std::shared_ptr<RSharedSoundFont> acquire(const std::string& path);

  ~RSharedSoundFont();
  RSharedSoundFont(const RSharedSoundFont&) = delete;
  RSharedSoundFont& operator=(const RSharedSoundFont&) = delete;

  // Puts a view of the SoundFont on `synth`'s stack (the synthesizer owns
  // the view). This object must outlive the synthesizer.
  [[nodiscard]] bool addTo(fluid_synth_t* synth);

 private:
  struct View;
  RSharedSoundFont() = default;
  static const char* viewName(fluid_sfont_t* view);
  static fluid_preset_t* viewPreset(fluid_sfont_t* view, int bank, int program);
  static void viewIterationStart(fluid_sfont_t* view);
  static fluid_preset_t* viewIterationNext(fluid_sfont_t* view);
  static int viewFree(fluid_sfont_t* view);

  fluid_settings_t* settings_ = nullptr;
  fluid_synth_t* loader_ = nullptr;  // holds the loaded SoundFont
  fluid_sfont_t* sfont_ = nullptr;
  std::vector<fluid_preset_t*> presets_;
  std::string name_;
};

}  // namespace vantor
