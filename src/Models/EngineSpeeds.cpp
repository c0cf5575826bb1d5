#include "Models/EngineSpeeds.h"

#include <algorithm>
#include <cmath>

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
    // No wait is shorter than what the text can say. Whole numbers look the same in every locale.
    const auto tenths = std::max(std::llround(known->wait * 10), 1LL);
    return "About " + std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) +
           " s after a sentence of " + std::to_string(std::llround(known->sentence)) + " s";
}

} // namespace vorlin
