#include "Platform/Linux/Audio/PulseStream.h"

namespace vorlin {

void EndStream::operator()(pa_stream* stream) const
{
    pa_stream_set_read_callback(stream, nullptr, nullptr);
    pa_stream_set_suspended_callback(stream, nullptr, nullptr);
    pa_stream_set_moved_callback(stream, nullptr, nullptr);
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    if (pa_stream_get_state(stream) == PA_STREAM_CREATING) {
        // It cannot be ended before the server has made it; the connection keeps it until then.
        pa_stream_set_state_callback(
            stream,
            [](pa_stream* made, void*) {
                if (pa_stream_get_state(made) == PA_STREAM_READY) {
                    pa_stream_disconnect(made);
                }
            },
            nullptr);
    } else {
        pa_stream_disconnect(stream);
    }
    pa_stream_unref(stream);
}

void CancelOperation::operator()(pa_operation* operation) const
{
    pa_operation_cancel(operation);
    pa_operation_unref(operation);
}

} // namespace vorlin
