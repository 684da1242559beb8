// The client library of the sound server, which is looked for when first needed: without it the program does without
// the server. Everything here is called as the library's own documentation says.
#pragma once

#include <pulse/pulseaudio.h>

#include "foundation/outcome.h"

namespace Tesslib {

#define ORVANE_PULSE_FUNCTIONS(X)          \
    X(pa_context_connect)                  \
    X(pa_context_disconnect)               \
    X(pa_context_errno)                    \
    X(pa_context_get_server_info)          \
    X(pa_context_get_sink_info_by_index)   \
    X(pa_context_get_sink_info_list)       \
    X(pa_context_get_source_info_by_index) \
    X(pa_context_get_source_info_list)     \
    X(pa_context_get_state)                \
    X(pa_context_new)                      \
    X(pa_context_set_state_callback)       \
    X(pa_context_set_subscribe_callback)   \
    X(pa_context_subscribe)                \
    X(pa_context_unref)                    \
    X(pa_operation_unref)                  \
    X(pa_proplist_free)                    \
    X(pa_proplist_gets)                    \
    X(pa_proplist_new)                     \
    X(pa_proplist_sets)                    \
    X(pa_stream_begin_write)               \
    X(pa_stream_connect_playback)          \
    X(pa_stream_connect_record)            \
    X(pa_stream_cork)                      \
    X(pa_stream_disconnect)                \
    X(pa_stream_drop)                      \
    X(pa_stream_flush)                     \
    X(pa_stream_get_device_index)          \
    X(pa_stream_get_latency)               \
    X(pa_stream_get_state)                 \
    X(pa_stream_is_suspended)              \
    X(pa_stream_new_with_proplist)         \
    X(pa_stream_peek)                      \
    X(pa_stream_set_moved_callback)        \
    X(pa_stream_set_read_callback)         \
    X(pa_stream_set_state_callback)        \
    X(pa_stream_set_suspended_callback)    \
    X(pa_stream_set_write_callback)        \
    X(pa_stream_unref)                     \
    X(pa_stream_writable_size)             \
    X(pa_stream_write)                     \
    X(pa_strerror)                         \
    X(pa_threaded_mainloop_free)           \
    X(pa_threaded_mainloop_get_api)        \
    X(pa_threaded_mainloop_lock)           \
    X(pa_threaded_mainloop_new)            \
    X(pa_threaded_mainloop_start)          \
    X(pa_threaded_mainloop_stop)           \
    X(pa_threaded_mainloop_unlock)

struct PulseLibrary {
#define ORVANE_DECLARE(name) decltype(&::name) name = nullptr;
    ORVANE_PULSE_FUNCTIONS(ORVANE_DECLARE)
#undef ORVANE_DECLARE

    // Why the library cannot be used; success when it can.
    Foundation::Outcome available;
};

// Loaded on the first call. Any thread.
const PulseLibrary& Pulse();

}  // namespace Tesslib
