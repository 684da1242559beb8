// The level overview of an album, from the waveform files of its recordings or else from their audio.
#pragma once

#include "collection/dataobjects.h"
#include "waveform/waveformdata.h"

namespace Orvane {

// Reads the recordings in use, end to end. The progress display shows how far it is, and may cancel. False then, and
// when a recording cannot be read, with the reason as last error; the overview is only usable on true. Main thread.
bool ReadAlbumOverview(const AlbumInfo& album, WaveformOverview& overview);

}  // namespace Orvane
