#include "UI/HUDBridge.h"

namespace vorlin {

HUDBridge::HUDBridge(const HUDModel& model) : model(model)
{
    changes.push_back(model.view.observe([this](const HUDView&) { Q_EMIT viewChanged(); }));
    changes.push_back(model.waveform.observe([this](const HUDBars&) { Q_EMIT waveformChanged(); }));
    changes.push_back(model.meter.observe([this](const HUDBars&) { Q_EMIT meterChanged(); }));
}

void HUDBridge::setAppearance(bool dark, bool reducedMotion)
{
    if (dark != darkDesktop || reducedMotion != withoutMotion) {
        darkDesktop = dark;
        withoutMotion = reducedMotion;
        Q_EMIT appearanceChanged();
    }
}

HUDBridge::Tint HUDBridge::tint() const
{
    switch (view().tint) {
    case HUDTint::red: return Red;
    case HUDTint::orange: return Orange;
    case HUDTint::secondary: break;
    }
    return Secondary;
}

QString HUDBridge::toQString(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QList<double> HUDBridge::heights(const HUDBars& bars)
{
    return {bars.heights.begin(), bars.heights.end()};
}

} // namespace vorlin
