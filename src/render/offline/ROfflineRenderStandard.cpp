// renderProject() with the instruments Vantor ships; kept apart from the
// render itself so that a program may render with instruments of its own.
#include "render/offline/ROfflineRender.h"

#include "render/RInstrumentFactory.h"

namespace vantor {

bool renderProject(PDocument& document, const std::filesystem::path& path, const RRenderSettings& settings,
                   RRenderResult* result, std::string* error, const std::function<bool(double)>& progress) {
  RRenderSettings resolved = settings;
  if (settings.soundFont == "default") {
    resolved.soundFont = installedSoundFont();
    if (resolved.soundFont.empty()) {
      *error = "No General MIDI SoundFont is installed (looked for /usr/share/sounds/sf2/default-GM.sf2)";
      return false;
    }
  }
  return renderProject(document, path, resolved, RStandardInstrumentFactory(), result, error, progress);
}

}  // namespace vantor
