#include <algorithm>

#include "foundation/assert.h"
#include "tesslib/stages.h"

using namespace Foundation;

namespace Tesslib {
namespace {

// Four frames at the end of a cut stream may be needed for a bit reservoir or a decoder's delay.
constexpr int32_t kTailFrames = 4;

}  // namespace

ChopPCMStream::ChopPCMStream(PCMStream* source, int64_t start, int64_t end, uint32_t flags)
    : PCMStream(source, source->GetSampleRate(flags)), start(start) {
    if (flags & PCM_RAW_DOP) {  // the carrier's markers alternate
        this->start &= ~int64_t{1};
        end &= ~int64_t{1};
    }
    end = std::min(end, source->GetTotalSamples(flags));
    length = std::max<int64_t>(end - this->start, 0);
}

int32_t ChopPCMStream::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) {
    int64_t offset = start + position;
    ORVANE_ASSERT(offset >= 0);
    if (position >= length) return 0;
    n_samples = static_cast<int32_t>(std::min<int64_t>(n_samples, length - position));
    return source->Read(offset, buffer, n_samples, flags);
}

bool ChopPCMStream::AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) {
    return source->AltersAudio(start + position, n_samples, flags);
}

ChopFrameSource::ChopFrameSource(FrameSource* source, int64_t start, int64_t end, uint32_t flags)
    : FrameSource(source->codec, source->samplerate, source->n_channels, source->samples_per_frame),
      source(source),
      construction_flags(flags) {
    auto frame_of = [this](int64_t sample) {
        int64_t frame = samples_per_frame == 0 ? 0 : sample / samples_per_frame;
        return std::clamp<int64_t>(frame, INT32_MIN, INT32_MAX - 1);
    };
    first_frame = static_cast<int32_t>(frame_of(start));
    int32_t end_frame = end < 0 ? INT32_MAX : static_cast<int32_t>(frame_of(end) + 1);
    last_frame = std::max(first_frame, std::min(end_frame, source->GetTotalFrames()));
}

int32_t ChopFrameSource::GetCurrentFrame() {
    return current_frame < 0 ? -1 : current_frame - first_frame;
}

int ChopFrameSource::SeekToFrame(int32_t frame) {
    current_frame = frame + first_frame;
    return source->SeekToFrame(current_frame);
}

int ChopFrameSource::ReadFrame(FRAME& frame, uint32_t flags) {
    ORVANE_ASSERT(this->current_frame >= 0);
    if (current_frame >= last_frame) return ERR_LIMIT;
    int result = source->ReadFrame(frame, flags);
    if (result == 0) ++current_frame;
    return result;
}

int32_t ChopFrameSource::GetTotalFrames() {
    int32_t total = last_frame - first_frame;
    return construction_flags & PCM_FORCE_FRAMES ? total : std::max(total - kTailFrames, 0);
}

}  // namespace Tesslib
