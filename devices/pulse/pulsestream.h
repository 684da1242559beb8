// Streams of the sound server, driven by the thread of a connection of their own.
#pragma once

#include "devices/driver.h"
#include "devices/pulse/pulseconnection.h"

namespace Tesslib {

// What recording and playing streams have in common.
class PulseStream {
protected:
    ~PulseStream() { Close(); }

    // Connects and makes the stream, with the state callback set; the caller connects it to a device.
    Foundation::Outcome Make(const StreamRequest& request, int channels);
    // After connecting to a device, which answered `result`: waits until the server has agreed. `function` is what was
    // called.
    Foundation::Outcome AwaitReady(int result, std::string_view function);
    // Asks, with `ask`, what the stream's device runs at.
    template <class Info>
    void AskDeviceRate(pa_operation* (*ask)(pa_context*, uint32_t, void (*)(pa_context*, const Info*, int, void*),
                                            void*));
    Foundation::Outcome Cork(bool corked);
    void Close();

    // On the connection's thread: the stream has ended, other than by Close.
    virtual void StreamEnded() = 0;

    PulseConnection connection;
    pa_stream* stream = nullptr;
    StreamRequest request;
    StreamFormat format;
    bool rate_answered = false;  // the server has filled in format.device_rate, or has nothing to say
    size_t frame_bytes = 0;
    bool running = false;  // under a hold of the connection
    bool priority_raised = false;
};

class PulseCapture : public CaptureDriver, private PulseStream {
public:
    ~PulseCapture() override { Close(); }
    Foundation::Result<StreamFormat> Open(const StreamRequest& request, CaptureSink& sink) override;
    Foundation::Outcome Start() override;
    void Stop() override { Close(); }

private:
    void Read();
    void StreamEnded() override;

    CaptureSink* sink = nullptr;
};

class PulsePlayback : public PlaybackDriver, private PulseStream {
public:
    ~PulsePlayback() override { Close(); }
    Foundation::Result<StreamFormat> Open(const StreamRequest& request, PlaybackSource& source) override;
    Foundation::Outcome Start() override;
    void Halt() override;
    void Stop() override { Close(); }

private:
    void Fill(size_t n_bytes);
    void StreamEnded() override;

    PlaybackSource* source = nullptr;
    int64_t n_handed_over = 0;  // frames since the start
};

}  // namespace Tesslib
