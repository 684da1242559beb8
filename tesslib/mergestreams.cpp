#include <algorithm>

#include "foundation/assert.h"
#include "tesslib/stages.h"

using namespace Foundation;

namespace Tesslib {

MergePCMStreams::MergePCMStreams(const std::vector<RefPtr<PCMStream>>& streams, uint32_t flags)
    : PCMStream(streams.at(0).get(), streams[0]->GetSampleRate(flags)), streams(streams) {}

int64_t MergePCMStreams::GetTotalSamples(uint32_t flags) {
    int64_t total = 0;
    for (const RefPtr<PCMStream>& stream : streams) {
        int64_t length = stream->GetTotalSamples(flags);
        if (length >= kEndless - total) return kEndless;
        total += length;
    }
    return total;
}

int32_t MergePCMStreams::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) {
    // Lengths may depend on the flags, and with them the place that the last read left us at.
    if (position < stream_start || flags != walked_flags) {
        current = 0;
        stream_start = 0;
        walked_flags = flags;
    }
    int last = static_cast<int>(streams.size()) - 1;
    int32_t done = 0;
    while (done < n_samples) {
        int64_t length = streams[current]->GetTotalSamples(flags);
        while (position - stream_start >= length) {
            if (current == last) return done;
            stream_start += length;
            ++current;
            length = streams[current]->GetTotalSamples(flags);
        }
        int64_t offset = position - stream_start;
        int32_t chunk = static_cast<int32_t>(std::min<int64_t>(n_samples - done, length - offset));
        if (last_used >= 0 && last_used != current) streams[last_used]->ReleaseResources();
        last_used = current;

        float* out = buffer + 2 * static_cast<int64_t>(done);
        int32_t got = streams[current]->Read(offset, out, chunk, flags);
        if (got < 0) return got;
        if (got == 0) {
            std::fill_n(out, 2 * static_cast<int64_t>(chunk), 0.0f);
            got = chunk;
        }
        position += got;
        done += got;
    }
    return done;
}

bool MergePCMStreams::AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) {
    int64_t end = n_samples > kEndless - position ? kEndless : position + n_samples;
    int64_t start = 0;
    for (const RefPtr<PCMStream>& stream : streams) {
        int64_t length = stream->GetTotalSamples(flags);
        int64_t stream_end = length > kEndless - start ? kEndless : start + length;
        int64_t first = std::max(position, start);
        int64_t last = std::min(end, stream_end);
        if (first < last && stream->AltersAudio(first - start, last - first, flags)) return true;
        start = stream_end;
    }
    return false;
}

void MergePCMStreams::ReleaseResources() {
    if (last_used >= 0) streams[last_used]->ReleaseResources();
    last_used = -1;
}

MergeFrameSources::MergeFrameSources(const std::vector<RefPtr<FrameSource>>& sources)
    : FrameSource(sources.at(0)->codec, sources[0]->samplerate, sources[0]->n_channels, sources[0]->samples_per_frame),
      sources(sources) {}

int32_t MergeFrameSources::GetTotalFrames() {
    int32_t total = 0;
    for (const RefPtr<FrameSource>& source : sources) total += source->GetTotalFrames();
    return total;
}

int MergeFrameSources::SeekToFrame(int32_t frame) {
    int last = static_cast<int>(sources.size()) - 1;
    int32_t before = 0;
    current = 0;
    while (current < last && before + sources[current]->GetTotalFrames() <= frame) {
        before += sources[current]->GetTotalFrames();
        ++current;
    }
    current_frame = frame;
    return sources[current]->SeekToFrame(frame - before);
}

int MergeFrameSources::ReadFrame(FRAME& frame, uint32_t flags) {
    int last = static_cast<int>(sources.size()) - 1;
    while (true) {
        if (last_used >= 0 && last_used != current) sources[last_used]->ReleaseResources();
        last_used = current;
        int result = sources[current]->ReadFrame(frame, flags);
        if (result == 0) ++current_frame;
        // Anything below "bad contents" is how a source says that it has run out.
        if (result >= ERR_CONTENTS) return result;
        if (current == last) return ERR_LIMIT;
        ++current;
        sources[current]->SeekToFrame(0);
    }
}

void MergeFrameSources::ReleaseResources() {
    if (last_used >= 0) sources[last_used]->ReleaseResources();
    last_used = -1;
}

std::vector<uint8_t> MergeFrameSources::GetExtraData() {
    return sources[current]->GetExtraData();
}

}  // namespace Tesslib
