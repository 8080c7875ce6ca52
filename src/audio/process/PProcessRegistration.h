#pragma once
// Registration of the offline process classes, run by initializeAudio().

#include <vector>

namespace vantor {

void registerAudioProcessClasses();
// The class names of the processes a user can choose, in menu order.
const std::vector<const char*>& audioProcessClassNames();

}  // namespace vantor
