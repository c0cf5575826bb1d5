#include "Models/EngineSpeeds.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace vorlin {

namespace {

constexpr double longest = 3600;

/// A number of seconds, if it is one.
std::optional<double> seconds(const std::optional<DefaultsValue>& stored)
{
    const auto* number = stored ? std::get_if<double>(&*stored) : nullptr;
    const bool sensible = number != nullptr && *number >= 0 && *number <= longest;
    return sensible ? std::optional(*number) : std::nullopt;
}

} // namespace

void EngineSpeeds::measure(const std::string& id, const EngineSpeed& speed)
{
    if (speed.sentence < 1) {
        return;
    }
    store.set(id + ".sentence", speed.sentence);
    store.set(id + ".wait", speed.wait);
    measured.set(measured.get() + 1);
}

std::optional<EngineSpeed> EngineSpeeds::speed(const std::string& id) const
{
    const auto sentence = seconds(store.value(id + ".sentence"));
    const auto wait = seconds(store.value(id + ".wait"));
    if (!sentence || !wait || *sentence < 1) {
        return std::nullopt;
    }
    return EngineSpeed{*sentence, *wait};
}

std::string EngineSpeeds::text(const std::string& id) const
{
    const auto known = speed(id);
    if (!known) {
        return {};
    }
    std::array<char, 64> line{};
    // No wait is shorter than what the text can say.
    std::snprintf(line.data(), line.size(), "About %.1f s after a sentence of %.0f s",
                  std::max(known->wait, 0.1), known->sentence);
    return line.data();
}

} // namespace vorlin
