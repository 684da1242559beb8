// The level overview of an album, from the waveform files of its recordings or else from their audio.
#pragma once

#include "collection/dataobjects.h"
#include "foundation/outcome.h"
#include "waveform/waveformdata.h"

namespace Orvane {

// Reads the recordings in use, end to end. The progress display shows how far it is, and may cancel. The overview is
// only usable when all could be read. Main thread.
Foundation::Outcome ReadAlbumOverview(const AlbumInfo& album, WaveformOverview& overview);

}  // namespace Orvane
