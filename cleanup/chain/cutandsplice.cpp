#include "cleanup/chain/cutandsplice.h"

#include <algorithm>

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {

PCMCutAndSplice::PCMCutAndSplice(PCMStream* source, FileHistoryEntry* entry, CriticalSection& stack_lock)
    : PCMStream(source, 0), ListWatcher(stack_lock), entry(entry), stack_lock(stack_lock) {}

// A cross-fade covers the splice length round its cut's start. One that would have to begin before the one before it
// has ended begins at once behind it.
void PCMCutAndSplice::Locate(int64_t offset) {
    applied_offset = 0;
    next_cut = nullptr;
    next_fade_start = INT64_MAX;
    fade_left = 0;
    cross_fade_eof = false;
    int64_t fade_end = 0;
    for (const CutAndSpliceCorrection& cut : entry->decided.cuts) {
        int64_t fade_start = std::max(cut.start_time - cut.splice_length / 2, fade_end);
        fade_end = fade_start + cut.splice_length;
        if (fade_end > offset) {
            next_cut = &cut;
            next_fade_start = fade_start;
            return;
        }
        applied_offset += cut.Length();
    }
}

// Makes the cross-fade of next_cut, which begins at `position` of the edited timeline.
int PCMCutAndSplice::PrepareCrossFade(int64_t position, uint32_t flags) {
    int32_t n = next_cut->splice_length;
    fade_pos = 0;
    fade_left = 0;
    if (n == 0) return 0;
    size_t values = static_cast<size_t>(n) * 2;
    if (fade_buffer.size() < values) {
        fade_buffer.resize(values);
        far_side.resize(values);
    }
    int64_t near_start = position + applied_offset;
    int32_t n_near = source->Read(near_start, fade_buffer.data(), n, flags);
    if (n_near < 0) return n_near;
    std::fill(fade_buffer.begin() + 2 * n_near, fade_buffer.begin() + 2 * n, 0.0f);
    int32_t n_far = source->Read(near_start + next_cut->Length(), far_side.data(), n, flags);
    if (n_far < 0) return n_far;
    if (n_far < n) {
        n = n_far;
        cross_fade_eof = true;
    }
    for (int32_t i = 0; i < n; ++i) {
        for (int32_t j = 2 * i; j < 2 * i + 2; ++j) {
            fade_buffer[j] = (fade_buffer[j] * static_cast<float>(n - i) + far_side[j] * static_cast<float>(i)) /
                             static_cast<float>(n);
        }
    }
    fade_left = n;
    return 0;
}

int32_t PCMCutAndSplice::Read(int64_t offset, float* buffer, int32_t n_samples, uint32_t flags) {
    if (flags & PCM_NO_CUTS) return source->Read(offset, buffer, n_samples, flags);
    Locked guard(stack_lock);
    if (recompute || offset != prev_offset) Locate(offset);
    recompute = false;
    int32_t done = 0;
    while (done < n_samples) {
        int64_t position = offset + done;
        if (fade_left > 0) {
            int32_t n = std::min(fade_left, n_samples - done);
            const float* from = fade_buffer.data() + 2 * static_cast<size_t>(fade_pos);
            std::copy(from, from + 2 * static_cast<size_t>(n), buffer + 2 * static_cast<size_t>(done));
            fade_pos += n;
            fade_left -= n;
            done += n;
            if (fade_left == 0 && !cross_fade_eof) Locate(position + n);
            continue;
        }
        if (cross_fade_eof) break;
        int64_t room = next_fade_start - position;
        if (room > 0) {
            int32_t wanted = static_cast<int32_t>(std::min<int64_t>(room, n_samples - done));
            int32_t n = source->Read(position + applied_offset, buffer + 2 * static_cast<size_t>(done), wanted, flags);
            if (n < 0) {
                recompute = true;
                return n;
            }
            done += n;
            if (n < wanted) break;
            continue;
        }
        // At the cut, or (after a jump) inside its cross-fade: what lies before the position is passed over.
        if (int error = PrepareCrossFade(next_fade_start, flags); error < 0) {
            recompute = true;
            return error;
        }
        int32_t passed = static_cast<int32_t>(std::min<int64_t>(-room, fade_left));
        fade_pos += passed;
        fade_left -= passed;
        if (fade_left == 0 && !cross_fade_eof) Locate(position);
    }
    prev_offset = offset + done;
    return done;
}

int64_t PCMCutAndSplice::GetTotalSamples(uint32_t flags) {
    int64_t total = source->GetTotalSamples(flags);
    if (flags & PCM_NO_CUTS) return total;
    Locked guard(stack_lock);
    return std::max<int64_t>(0, total - entry->decided.cuts.TotalLength());
}

bool PCMCutAndSplice::AltersAudio(int64_t position, int64_t n_samples, uint32_t flags) {
    if (flags & PCM_NO_CUTS) return false;
    Locked guard(stack_lock);
    const CutAndSpliceCorrection* first = entry->decided.cuts.First();
    return first && first->start_time - first->splice_length / 2 <= position + n_samples;
}

}  // namespace Orvane
