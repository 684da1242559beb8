// One repair made outside a block of a scan: the audio around it, read for the purpose, and the detector's view of it.
#pragma once

#include "cleanup/declick/scanreader.h"
#include "cleanup/repair/repairclick.h"
#include "foundation/outcome.h"

namespace Orvane {

// Frames at 44100 Hz at each end of a repair of `n` samples that fade into the real audio.
constexpr int RepairPad(int64_t n) {
    return n > 60 ? 6 : 0;
}

// Solves the samples of `repair`, a record of `channel` at the recording's rate, over the range it has, on the audio
// with all other repairs applied; the record itself must not be in force. A failure when the audio cannot be read. The
// caller brackets the change when `repair` is in a list.
Foundation::Result<RepairResult> MakeRepair(ScanReader& reader, ClickRepairer& repairer, int channel,
                                            int32_t samplerate, ClickRepair& repair);

}  // namespace Orvane
