// A turntable that is not there: it plays an audio file as if it were a record, and can fail in every way that a real
// device does. For trying out, for machines without sound, and for tests.
#pragma once

#include <string>
#include <string_view>

#include "devices/driver.h"
#include "foundation/clock.h"

namespace Tesslib {

// What happens from the start of capture on; times in seconds of the device's own clock, -1: never.
struct TurntableScript {
    std::string record;    // an audio file
    double needle_up = 5;  // silence, with a little noise, until the needle lands
    int channels = 2;      // 1, 2 or 4: the pair twice
    bool dop = false;      // DSD carrier words in place of the sound
    double drift_ppm = 0;  // how much faster its clock runs
    bool refuses = false;  // to be opened
    double disconnect_at = -1;
    double stall_at = -1;  // delivers nothing for `stall_ms`, and then all of it
    double stall_ms = 0;
    double gap_at = -1;  // loses `gap_frames`
    int64_t gap_frames = 0;
};

// "FILE" or "FILE?needle-up=5&channels=4&dop=1&drift=200&refuse=1&disconnect=12.5&stall=3:500&gap=4:1152".
Foundation::Result<TurntableScript> ParseTurntable(std::string_view key);

// After the landing, a thump of 60 ms, the file's samples come exactly as they are, if the device is opened at the
// file's rate, and behind them a run-out groove without end.
class Turntable : public CaptureDriver {
public:
    explicit Turntable(Foundation::Clock& clock);
    ~Turntable() override;

    // The key is as in ParseTurntable.
    Foundation::Result<StreamFormat> Open(const StreamRequest& request, CaptureSink& sink) override;
    Foundation::Outcome Start() override;
    void Stop() override;

    static int64_t ThumpFrames(int32_t rate) { return rate * 60 / 1000; }

private:
    class Motor;

    Foundation::Clock& clock;
    std::unique_ptr<Motor> motor;
};

}  // namespace Tesslib
