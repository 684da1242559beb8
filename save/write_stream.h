// Writing any stream as an audio file of its own.
#pragma once

#include <string>

#include "foundation/safefile.h"
#include "save/save_track.h"

namespace Orvane {

// Samples of a file as the user asks for them; 0 leaves the value to whoever knows the source.
struct SampleForm {
    int32_t samplerate = 0;
    int32_t bit_depth = 0;
    bool int32 = false;  // 32-bit samples are integers, where the format knows both
};

// Kind::WrongOptions when a value that is not 0 cannot be had in the format of `writer`.
Foundation::Outcome CheckForm(const Tesslib::FileStream& writer, const SampleForm& asked, int32_t n_channels);

// Fixes what `writer` will write. Fails when a value that is not 0 cannot be had in this format; values of 0 become the
// nearest to `source` that can. `form` then holds what will be written.
Foundation::Outcome ChooseForm(Tesslib::FileStream& writer, SampleForm& form, const SampleForm& source,
                               int32_t n_channels);

// Copies all that `stream` gives with `flags` to the file `filename`, through a temporary file beside it, so that at
// every moment the old file (here or in the Trash) or the whole new one is there; none is kept as a backup.
// `channel_mode` is as an album has it.
Foundation::Outcome WriteStream(Tesslib::PCMStream& stream, Tesslib::FileStream& writer, const std::string& filename,
                                Foundation::OldFile old_file, uint32_t flags, uint8_t channel_mode,
                                const SaveProgress& progress);

}  // namespace Orvane
