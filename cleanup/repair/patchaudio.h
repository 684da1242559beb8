// The audio of a patch: context read, made at a rate that the methods are at home at, and brought back to the
// recording's.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "cleanup/repair/patchmethods.h"
#include "foundation/outcome.h"
#include "tesslib/audiostream.h"

namespace Orvane {

struct PatchJob {
    int64_t start, end;                 // frames in the file, exclusive
    std::optional<PatchMethod> method;  // none: the best
    int preamp = 0;                     // tenths of a decibel
};

struct PatchAudio {
    PatchMethod used = PatchMethod::APA;  // the first channel's pick when the best was wanted
    std::vector<int16_t> samples[2];      // end - start of them, for each of the wanted channels
};

// `channels`: bit 0 left, bit 1 right. Reads `stream`, a recording's chain, with all stages behind the repairs off.
// With the best method wanted, both channels take the one that fits the first of them. Refused where there is no room
// for the methods.
Foundation::Result<PatchAudio> MakePatch(Tesslib::PCMStream& stream, int channels, const PatchJob& job);

}  // namespace Orvane
