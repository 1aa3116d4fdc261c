#pragma once

#include "platform/linux/LazyLibrary.h"

#include <pulse/pulseaudio.h>

namespace vantry {

/// The functions of libpulse that are used, under their names without the prefix.
struct PulseLibrary
{
    PulseLibrary();

    LazyLibrary library;
    decltype(&::pa_strerror) strerror;
    decltype(&::pa_mainloop_new) mainloop_new;
    decltype(&::pa_mainloop_free) mainloop_free;
    decltype(&::pa_mainloop_get_api) mainloop_get_api;
    decltype(&::pa_mainloop_prepare) mainloop_prepare;
    decltype(&::pa_mainloop_poll) mainloop_poll;
    decltype(&::pa_mainloop_dispatch) mainloop_dispatch;
    decltype(&::pa_context_new) context_new;
    decltype(&::pa_context_unref) context_unref;
    decltype(&::pa_context_connect) context_connect;
    decltype(&::pa_context_disconnect) context_disconnect;
    decltype(&::pa_context_get_state) context_get_state;
    decltype(&::pa_context_errno) context_errno;
    decltype(&::pa_context_get_source_info_by_name) context_get_source_info_by_name;
    decltype(&::pa_operation_unref) operation_unref;
    decltype(&::pa_operation_get_state) operation_get_state;
    decltype(&::pa_stream_new) stream_new;
    decltype(&::pa_stream_unref) stream_unref;
    decltype(&::pa_stream_connect_record) stream_connect_record;
    decltype(&::pa_stream_disconnect) stream_disconnect;
    decltype(&::pa_stream_get_state) stream_get_state;
    decltype(&::pa_stream_peek) stream_peek;
    decltype(&::pa_stream_drop) stream_drop;
};

} // namespace vantry
