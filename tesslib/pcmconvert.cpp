#include <algorithm>

#include "foundation/assert.h"
#include "foundation/muldiv.h"
#include "tesslib/stages.h"

using namespace Foundation;

namespace Tesslib {

PCMConvert::PCMConvert(PCMStream* source, int32_t output_frequency)
    : PCMStream(source, output_frequency), convert_from(source->GetSampleRate(0)), convert_to(output_frequency) {
    int32_t input_frequency = convert_from;
    ORVANE_ASSERT(output_frequency != input_frequency);
}

int64_t PCMConvert::GetTotalSamples(uint32_t flags) {
    int64_t total = source->GetTotalSamples(flags);
    return total == kEndless ? kEndless : MulDiv64(total, convert_to, convert_from);
}

int32_t PCMConvert::Read(int64_t position, float* buffer, int32_t n_samples, uint32_t flags) {
    bool jump = position != next_position;
    if (jump) {
        phase = std::max(convert_from, convert_to);
        carry = 0;
        next_position = -1;
    }
    int32_t need = MulDiv(n_samples, convert_from, convert_to) + 2;
    size_t room = 2 * static_cast<size_t>(std::max(need, carry));
    std::copy_n(input.begin() + 2 * input_first, 2 * carry, input.begin());
    input_first = 0;
    if (input.size() < room) input.resize(room);
    need -= carry;

    int32_t available = carry;
    if (need > 0) {
        // Not moved on by the leftover pairs: a few are heard twice, which nobody can tell.
        int64_t from = MulDiv64(position, convert_from, convert_to);
        int32_t got = source->Read(from, input.data() + 2 * carry, need, flags);
        if (got <= 0) {
            next_position = -1;
            return got;
        }
        available += got;
    }
    if (jump && available > 0) {
        prev_left = input[0];
        prev_right = input[1];
    }
    int32_t produced =
        convert_to < convert_from ? Down(buffer, n_samples, available) : Up(buffer, n_samples, available);
    carry = available - input_first;
    next_position = position + produced;
    return produced;
}

// Each output pair is the mean of the input pairs nearest to it.
int32_t PCMConvert::Down(float* buffer, int32_t n_samples, int32_t available) {
    int32_t out = 0;
    int32_t in = 0;
    while (out < n_samples && in < available) {
        float left = 0;
        float right = 0;
        int32_t taken = 0;
        for (; phase >= convert_to / 2 && in < available; phase -= convert_to, ++in, ++taken) {
            left += input[2 * in];
            right += input[2 * in + 1];
        }
        phase += convert_from;
        buffer[2 * out] = left / static_cast<float>(taken);
        buffer[2 * out + 1] = right / static_cast<float>(taken);
        ++out;
    }
    input_first = in;
    return out;
}

// Straight lines between the input pairs, in as many steps as fall to each.
int32_t PCMConvert::Up(float* buffer, int32_t n_samples, int32_t available) {
    int32_t out = 0;
    for (int32_t in = 0; in < available; ++in) {
        float left = input[2 * in];
        float right = input[2 * in + 1];
        int32_t steps = phase / convert_from;
        for (int32_t k = 1; k <= steps; ++k) {
            if (out == n_samples) {
                input_first = in;
                return out;
            }
            phase -= convert_from;
            float part = static_cast<float>(k);
            float whole = static_cast<float>(steps);
            buffer[2 * out] = prev_left + part * (left - prev_left) / whole;
            buffer[2 * out + 1] = prev_right + part * (right - prev_right) / whole;
            ++out;
        }
        phase += convert_to;
        prev_left = left;
        prev_right = right;
    }
    input_first = available;
    return out;
}

}  // namespace Tesslib
