#include "devices/pulse/pulsestream.h"

#include <algorithm>
#include <string>

#include "foundation/platform.h"

namespace Tesslib {

using Foundation::Outcome;
using Foundation::Result;

namespace {

constexpr int kUsualLatencyMs = 60;  // of playing

}  // namespace

Outcome PulseStream::Make(const StreamRequest& wanted, int channels) {
    request = wanted;
    if (Outcome connected = connection.ConnectAndWait(request.name); !connected) return connected;
    const PulseLibrary& pulse = Pulse();
    pa_sample_spec spec{};
    spec.format = request.bits == 16 ? PA_SAMPLE_S16LE : request.bits == 24 ? PA_SAMPLE_S24LE : PA_SAMPLE_FLOAT32LE;
    spec.rate = static_cast<uint32_t>(request.rate);
    spec.channels = static_cast<uint8_t>(channels);
    pa_channel_map map{};
    map.channels = spec.channels;
    for (int i = 0; i < channels; ++i) map.map[i] = static_cast<pa_channel_position_t>(PA_CHANNEL_POSITION_AUX0 + i);
    if (channels == 2) {
        map.map[0] = PA_CHANNEL_POSITION_FRONT_LEFT;
        map.map[1] = PA_CHANNEL_POSITION_FRONT_RIGHT;
    }
    frame_bytes = static_cast<size_t>(request.bits / 8 * channels);
    format = {request.rate, request.rate, request.bits, channels};

    PulseConnection::Hold hold(connection);
    pa_proplist* properties = pulse.pa_proplist_new();
    pulse.pa_proplist_sets(properties, "media.role", "production");
    // A server that can switch its device to this rate does so, and converts nothing.
    pulse.pa_proplist_sets(properties, "node.force-rate", std::to_string(request.rate).c_str());
    stream = pulse.pa_stream_new_with_proplist(connection.Context(), "Orvane", &spec, &map, properties);
    pulse.pa_proplist_free(properties);
    if (!stream) return connection.Failure(request.name, "pa_stream_new_with_proplist");
    pulse.pa_stream_set_state_callback(
        stream,
        [](pa_stream* changed, void* self) {
            auto& owner = *static_cast<PulseStream*>(self);
            if (owner.running && !PA_STREAM_IS_GOOD(Pulse().pa_stream_get_state(changed))) owner.StreamEnded();
            owner.connection.changed.Set();
        },
        this);
    return {};
}

Outcome PulseStream::AwaitReady(int result, std::string_view function) {
    const PulseLibrary& pulse = Pulse();
    pa_stream_state_t state = PA_STREAM_FAILED;
    if (result == 0) {
        const bool answered = connection.WaitFor(
            [&] {
                state = pulse.pa_stream_get_state(stream);
                return state == PA_STREAM_READY || !PA_STREAM_IS_GOOD(state);
            },
            PulseConnection::kAnswerMs);
        if (answered && state == PA_STREAM_READY) return {};
        if (!answered)
            return DeviceCallFailed(request.name, PA_ERR_TIMEOUT, pulse.pa_strerror(PA_ERR_TIMEOUT), function);
    }
    return connection.Failure(request.name, function);
}

template <class Info>
void PulseStream::AskDeviceRate(pa_operation* (*ask)(pa_context*, uint32_t,
                                                     void (*)(pa_context*, const Info*, int, void*), void*)) {
    {
        PulseConnection::Hold hold(connection);
        rate_answered = false;
        Forget(ask(
            connection.Context(), Pulse().pa_stream_get_device_index(stream),
            [](pa_context*, const Info* info, int end, void* self) {
                auto& asker = *static_cast<PulseStream*>(self);
                if (info) asker.format.device_rate = static_cast<int32_t>(info->sample_spec.rate);
                if (end != 0) asker.rate_answered = true;
                asker.connection.changed.Set();
            },
            this));
    }
    connection.WaitFor([this] { return rate_answered; }, PulseConnection::kAnswerMs);
}

Outcome PulseStream::Cork(bool corked) {
    pa_operation* operation = Pulse().pa_stream_cork(stream, corked, nullptr, nullptr);
    if (!operation) return connection.Failure(request.name, "pa_stream_cork");
    Forget(operation);
    return {};
}

void PulseStream::Close() {
    const PulseLibrary& pulse = Pulse();
    if (stream) {
        PulseConnection::Hold hold(connection);
        running = false;
        // The server may still answer before it lets the stream go; nobody is here to hear it then.
        pulse.pa_stream_set_state_callback(stream, nullptr, nullptr);
        pulse.pa_stream_set_moved_callback(stream, nullptr, nullptr);
        pulse.pa_stream_set_read_callback(stream, nullptr, nullptr);
        pulse.pa_stream_set_suspended_callback(stream, nullptr, nullptr);
        pulse.pa_stream_set_write_callback(stream, nullptr, nullptr);
        pulse.pa_stream_disconnect(stream);
        pulse.pa_stream_unref(stream);
        stream = nullptr;
    }
    connection.Disconnect();
}

Result<StreamFormat> PulseCapture::Open(const StreamRequest& wanted, CaptureSink& to) {
    const PulseLibrary& pulse = Pulse();
    Close();
    sink = &to;
    if (Outcome made = Make(wanted, wanted.channels); !made) return Close(), made;
    int result;
    {
        PulseConnection::Hold hold(connection);
        pulse.pa_stream_set_read_callback(
            stream, [](pa_stream*, size_t, void* self) { static_cast<PulseCapture*>(self)->Read(); }, this);
        const auto gone = [](pa_stream* changed, void* self) {
            auto& capture = *static_cast<PulseCapture*>(self);
            if (capture.running && Pulse().pa_stream_is_suspended(changed) != 0) capture.StreamEnded();
        };
        pulse.pa_stream_set_suspended_callback(stream, gone, this);
        pulse.pa_stream_set_moved_callback(
            stream,
            [](pa_stream*, void* self) {
                auto& capture = *static_cast<PulseCapture*>(self);
                if (capture.running) capture.StreamEnded();
            },
            this);
        pa_buffer_attr attributes{};
        attributes.maxlength = static_cast<uint32_t>(-1);  // as much as the server keeps for a slow client
        const int frames = request.hardware_frames > 0 ? request.hardware_frames : request.block_frames;
        attributes.fragsize = static_cast<uint32_t>(static_cast<size_t>(frames) * frame_bytes);
        const auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_START_CORKED | PA_STREAM_DONT_MOVE |
                                                          PA_STREAM_ADJUST_LATENCY | PA_STREAM_NO_REMIX_CHANNELS);
        result = pulse.pa_stream_connect_record(stream, request.key.empty() ? nullptr : request.key.c_str(),
                                                &attributes, flags);
    }
    if (Outcome ready = AwaitReady(result, "pa_stream_connect_record"); !ready) return Close(), ready;
    AskDeviceRate<pa_source_info>(pulse.pa_context_get_source_info_by_index);
    return format;
}

Outcome PulseCapture::Start() {
    PulseConnection::Hold hold(connection);
    running = true;
    return Cork(false);
}

void PulseCapture::Read() {
    const PulseLibrary& pulse = Pulse();
    if (!priority_raised) {
        priority_raised = true;
        Foundation::SetThreadPriority(Foundation::ThreadPriority::Highest);
    }
    const void* data;
    size_t n_bytes;
    while (pulse.pa_stream_peek(stream, &data, &n_bytes) == 0 && n_bytes > 0) {
        if (running) sink->Frames(data, static_cast<int64_t>(n_bytes / frame_bytes));
        pulse.pa_stream_drop(stream);
    }
}

void PulseCapture::StreamEnded() {
    running = false;
    sink->Ended();
}

Result<StreamFormat> PulsePlayback::Open(const StreamRequest& wanted, PlaybackSource& from) {
    const PulseLibrary& pulse = Pulse();
    Close();
    source = &from;
    if (Outcome made = Make(wanted, 2); !made) return Close(), made;
    int result;
    {
        PulseConnection::Hold hold(connection);
        pulse.pa_stream_set_write_callback(
            stream,
            [](pa_stream*, size_t n_bytes, void* self) {
                auto& playback = *static_cast<PulsePlayback*>(self);
                if (playback.running) playback.Fill(n_bytes);
            },
            this);
        const int frames =
            request.hardware_frames > 0 ? request.hardware_frames : request.rate * kUsualLatencyMs / 1000;
        pa_buffer_attr attributes{};
        attributes.maxlength = static_cast<uint32_t>(-1);
        attributes.tlength = static_cast<uint32_t>(static_cast<size_t>(frames) * frame_bytes);
        attributes.prebuf = 0;
        attributes.minreq = static_cast<uint32_t>(-1);
        const auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_START_CORKED | PA_STREAM_ADJUST_LATENCY |
                                                          PA_STREAM_AUTO_TIMING_UPDATE | PA_STREAM_INTERPOLATE_TIMING);
        result = pulse.pa_stream_connect_playback(stream, request.key.empty() ? nullptr : request.key.c_str(),
                                                  &attributes, flags, nullptr, nullptr);
    }
    if (Outcome ready = AwaitReady(result, "pa_stream_connect_playback"); !ready) return Close(), ready;
    AskDeviceRate<pa_sink_info>(pulse.pa_context_get_sink_info_by_index);
    return format;
}

Outcome PulsePlayback::Start() {
    PulseConnection::Hold hold(connection);
    running = true;
    n_handed_over = 0;
    // The server has asked while nothing was to be had, and does not ask twice.
    Fill(Pulse().pa_stream_writable_size(stream));
    return Cork(false);
}

void PulsePlayback::Halt() {
    PulseConnection::Hold hold(connection);
    running = false;
    Forget(Pulse().pa_stream_cork(stream, 1, nullptr, nullptr));
    Forget(Pulse().pa_stream_flush(stream, nullptr, nullptr));
}

void PulsePlayback::Fill(size_t n_bytes) {
    const PulseLibrary& pulse = Pulse();
    if (n_bytes == static_cast<size_t>(-1)) return;
    n_bytes -= n_bytes % frame_bytes;
    while (n_bytes > 0) {
        void* out = nullptr;
        size_t room = n_bytes;
        if (pulse.pa_stream_begin_write(stream, &out, &room) < 0 || !out) return;
        room = std::min(room, n_bytes);
        room -= room % frame_bytes;
        pa_usec_t latency_us = 0;
        int negative = 0;
        int64_t latency = n_handed_over;  // until the server tells, nothing has been heard
        if (pulse.pa_stream_get_latency(stream, &latency_us, &negative) == 0) {
            latency = negative ? 0 : static_cast<int64_t>(latency_us) * request.rate / 1000000;
        }
        const auto n_frames = static_cast<int64_t>(room / frame_bytes);
        source->Take(out, n_frames, latency);
        pulse.pa_stream_write(stream, out, room, nullptr, 0, PA_SEEK_RELATIVE);
        n_handed_over += n_frames;
        n_bytes -= room;
    }
}

void PulsePlayback::StreamEnded() {
    running = false;
    source->Ended();
}

}  // namespace Tesslib
