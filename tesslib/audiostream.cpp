#include "tesslib/audiostream.h"

#include "foundation/assert.h"

namespace Tesslib {

int32_t SamplesPerFrame(int32_t samplerate) {
    switch (samplerate) {
        case 8000:
        case 11025:
            return 288;
        case 16000:
        case 22050:
            return 576;
        case 0:
        case 32000:
        case 44100:
        case 48000:
            return 1152;
        case 88200:
        case 96000:
            return 2304;
        case 176400:
        case 192000:
            return 4608;
        case 352800:
        case 384000:
            return 9216;
        case 705600:
        case 768000:
            return 18432;
        case 1411200:
        case 1536000:
            return 36864;
    }
    ORVANE_ASSERT(!"samplerate is known");
    return 1152;
}

}  // namespace Tesslib
