#include "PressTimes.h"

#include <chrono>
#include <utility>

namespace vorlin {

namespace {

constexpr auto bounce = std::chrono::seconds(1);
/// By how much the process that tells a release may be quicker than that of its press.
constexpr auto overtaking = std::chrono::milliseconds(250);

} // namespace

bool PressTimes::note(TimePoint now, Told told)
{
    const auto before = std::exchange(latest, Event{now, told});
    if (!before) {
        return true;
    }
    if (told && before->told && *told >= *before->told) {
        return *told - *before->told >= bounce;
    }
    return now - before->came >= bounce;
}

BoundKey::Press BoundKey::press(TimePoint now)
{
    const bool isPerson = times.note(now);
    const auto release = std::exchange(early, std::nullopt);
    if (isDown) {
        return isPerson ? Press::again : Press::repeats;
    }
    if (release && now - *release < overtaking) {
        return Press::tap;
    }
    isDown = true;
    return Press::begins;
}

bool BoundKey::release(TimePoint now)
{
    if (!isDown) {
        early = now;
    }
    return letGo();
}

bool BoundKey::letGo()
{
    return std::exchange(isDown, false);
}

} // namespace vorlin
