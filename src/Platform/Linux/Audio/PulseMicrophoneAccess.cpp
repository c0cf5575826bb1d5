#include "Platform/Linux/Audio/PulseMicrophoneAccess.h"

#include <memory>

namespace vorlin {

PulseMicrophoneAccess::PulseMicrophoneAccess(PulseContext& context, MainLoop& loop)
    : context(context), sourceWatch(std::make_shared<Subscription>())
{
    auto hear = lifetime.guard([this](bool present) {
        hasAnswered = true;
        isGranted.set(present);
    });
    auto tell = [&loop, hear](const DefaultSource& source) {
        if (source.state == DefaultSource::State::unknown) {
            return; // an answer follows
        }
        const bool present = source.state == DefaultSource::State::present;
        loop.post([hear, present] { hear(present); });
    };
    context.thread().post([&context, watch = sourceWatch, tell] {
        *watch = context.defaultSource().observe(tell);
        tell(context.defaultSource().get());
    });
}

PulseMicrophoneAccess::~PulseMicrophoneAccess()
{
    context.thread().post([watch = std::move(sourceWatch)] { watch->reset(); });
}

} // namespace vorlin
