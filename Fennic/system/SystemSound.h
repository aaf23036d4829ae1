#pragma once

#include <QString>

namespace fennic {

// The few sounds Fennic makes, played through the desktop's sound service (libcanberra,
// loaded when first needed). Silent, never failing, when there is no such library, no sound
// file or no audio device.
namespace SystemSound {

// Starts playing the named sound ("Purr", the Trash sound) and returns at once: the sound
// service is reached from a background thread.
void play(const QString& name);

// The file of a named sound, shipped in share/fennic/sounds (beside the executable's prefix or
// in the build tree); empty when it is not there.
QString file(const QString& name);

}  // namespace SystemSound
}  // namespace fennic
