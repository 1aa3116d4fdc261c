#include "platform/linux/PulseLibrary.h"

namespace vantry {

using namespace Qt::StringLiterals;

PulseLibrary::PulseLibrary()
    : library(u"pulse"_s, 0)
{
    library.find("pa_strerror", strerror);
    library.find("pa_mainloop_new", mainloop_new);
    library.find("pa_mainloop_free", mainloop_free);
    library.find("pa_mainloop_get_api", mainloop_get_api);
    library.find("pa_mainloop_prepare", mainloop_prepare);
    library.find("pa_mainloop_poll", mainloop_poll);
    library.find("pa_mainloop_dispatch", mainloop_dispatch);
    library.find("pa_context_new", context_new);
    library.find("pa_context_unref", context_unref);
    library.find("pa_context_connect", context_connect);
    library.find("pa_context_disconnect", context_disconnect);
    library.find("pa_context_get_state", context_get_state);
    library.find("pa_context_errno", context_errno);
    library.find("pa_context_get_source_info_by_name", context_get_source_info_by_name);
    library.find("pa_operation_unref", operation_unref);
    library.find("pa_operation_get_state", operation_get_state);
    library.find("pa_stream_new", stream_new);
    library.find("pa_stream_unref", stream_unref);
    library.find("pa_stream_connect_record", stream_connect_record);
    library.find("pa_stream_disconnect", stream_disconnect);
    library.find("pa_stream_get_state", stream_get_state);
    library.find("pa_stream_peek", stream_peek);
    library.find("pa_stream_drop", stream_drop);
}

} // namespace vantry
