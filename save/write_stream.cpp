#include "save/write_stream.h"

#include "foundation/lasterror.h"
#include "foundation/messages.h"
#include "foundation/safefile.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

// Ends an attempt: the first reason stays the last error.
int GiveUp(FileStream& writer, int result) {
    LastError reason = GetLastError();
    writer.Close(CLOSE_FAILED_AND_DELETE);
    SetLastError(reason);
    return result;
}

}  // namespace

int CheckForm(const FileStream& writer, const SampleForm& asked, int32_t n_channels) {
    SampleForm nearest = asked;
    writer.AdjustFormat(nearest.samplerate, nearest.bit_depth, n_channels);
    const std::string name(GetFileFormatInfo(writer.file_format).name);
    if (asked.samplerate && nearest.samplerate != asked.samplerate) {
        return FailContents(fmt::sprintf("%s files cannot hold %d Hz; the nearest they can is %d Hz", name,
                                         asked.samplerate, nearest.samplerate));
    }
    if (asked.bit_depth && nearest.bit_depth != asked.bit_depth) {
        return FailContents(fmt::sprintf("%s files cannot hold %d bits; the nearest they can is %d bits", name,
                                         asked.bit_depth, nearest.bit_depth));
    }
    return 0;
}

int ChooseForm(FileStream& writer, SampleForm& form, const SampleForm& source, int32_t n_channels) {
    if (int error = CheckForm(writer, form, n_channels)) return error;
    if (!form.samplerate) form.samplerate = source.samplerate;
    if (!form.bit_depth) {
        form.bit_depth = source.bit_depth;
        form.int32 = source.int32;
    }
    writer.AdjustFormat(form.samplerate, form.bit_depth, n_channels);
    writer.SetInt32Samples(form.int32);
    return writer.SetSBC(form.samplerate, form.bit_depth, n_channels);
}

int WriteStream(PCMStream& stream, FileStream& writer, const std::string& filename, OldFile old_file, uint32_t flags,
                uint8_t channel_mode, const SaveProgress& progress) {
    std::string temporary = TemporaryName(filename);
    int64_t total = stream.GetTotalSamples(flags);
    if (int result = writer.Open(temporary, OM_CREATE, 0, 0, total); result < 0) return result;
    if (progress && !progress(0, total)) return GiveUp(writer, 1);
    if (int result = CopySamples(stream, writer, flags, channel_mode, progress)) return GiveUp(writer, result);
    if (!writer.Close(CLOSE_FINISH)) {
        RemoveFile(temporary);
        return ERR_IO;
    }
    if (const int error = FlushPathToDisk(temporary)) {
        RemoveFile(temporary);
        return FailWrite(temporary, error);
    }
    if (int error = PutInPlace(temporary, filename, old_file)) return error;
    if (progress) progress(total, total);
    return 0;
}

}  // namespace Orvane
