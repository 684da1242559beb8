// A client of a capture device that keeps what it hears.
#pragma once

#include <mutex>
#include <vector>

#include "devices/wave.h"

namespace OrvaneTest {

class CaptureClient {
public:
    // The callback for WaveInSettings; `client` is the CaptureClient.
    static void Callback(void* client, Tesslib::WaveBuffer* buffer) {
        static_cast<CaptureClient*>(client)->Take(buffer);
    }

    Tesslib::AbstractWaveIn* device = nullptr;

    std::vector<float> Heard() const {
        std::lock_guard hold(mutex);
        return heard;
    }
    size_t Values() const {
        std::lock_guard hold(mutex);
        return heard.size();
    }
    int Failures() const {
        std::lock_guard hold(mutex);
        return failures;
    }

private:
    void Take(Tesslib::WaveBuffer* buffer) {
        std::lock_guard hold(mutex);
        if (!buffer) {
            ++failures;
            return;
        }
        const float* values = buffer->data.get();
        heard.insert(heard.end(), values, values + buffer->bytes_recorded / sizeof(float));
        device->ReleaseBuffer(buffer);
    }

    mutable std::mutex mutex;
    std::vector<float> heard;
    int failures = 0;
};

}  // namespace OrvaneTest
