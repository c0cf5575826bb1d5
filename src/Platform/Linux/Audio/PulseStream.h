#pragma once

#include <pulse/operation.h>
#include <pulse/stream.h>

#include <memory>

namespace vorlin {

/// Ends a stream on the server, without further callbacks; also one that is only being made.
struct EndStream {
    void operator()(pa_stream* stream) const;
};

struct CancelOperation {
    void operator()(pa_operation* operation) const;
};

/// To own a stream. Sound thread.
using PulseStream = std::unique_ptr<pa_stream, EndStream>;

/// To own a question to the server, which is not answered any more once this is gone. Sound
/// thread.
using PulseOperation = std::unique_ptr<pa_operation, CancelOperation>;

} // namespace vorlin
