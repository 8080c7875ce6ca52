#include "document/PMidiPreferences.h"

#include "document/PPreferences.h"

namespace vantor {

void declareMidiPreferences() {
  using K = PPreferences::Kind;
  PPreferences::declare({kNonQuantizeKey, K::kInteger, "0", 0, 1920});
  PPreferences::declare({kQuantizeSwingKey, K::kInteger, "0", 0, 100});
  PPreferences::declare({kRandomQuantizeKey, K::kInteger, "0", 0, 480});
  PPreferences::declare({kIterativeStrengthKey, K::kInteger, "60", 0, 100});
  PPreferences::declare({kAutoQuantizeKey, K::kBoolean, "off", 0, 0});
  PPreferences::declare({kQuantizeKey, K::kText, MQuantizePresetValue::kDefaultName, 0, 0});
}

MQuantizeSettings quantizeSettings(const PPreferences& preferences) {
  MQuantizeSettings settings;
  settings.nonQuantize = static_cast<double>(preferences.getInt(kNonQuantizeKey));
  settings.randomAmount = static_cast<int32_t>(preferences.getInt(kRandomQuantizeKey));
  // Held as a 32-bit float fraction, as the function takes it.
  settings.iterativeStrength = static_cast<float>(preferences.getInt(kIterativeStrengthKey)) / 100.0f;
  settings.autoQuantize = preferences.getBool(kAutoQuantizeKey);
  return settings;
}

double defaultQuantizeSwing(const PPreferences& preferences) {
  return static_cast<double>(preferences.getInt(kQuantizeSwingKey)) / 100.0;
}

MQuantizePresetValue initialQuantize(const PPreferences& preferences) {
  MQuantizePresetValue current(preferences.getString(kQuantizeKey));
  current.setAutoQuantize(preferences.getBool(kAutoQuantizeKey));
  return current;
}

}  // namespace vantor
