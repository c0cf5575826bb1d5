#include "HUDModel.h"

#include <utility>

namespace vorlin {

using Phase = Dictation::Phase;

HUDModel::HUDModel(MainLoop& loop, const Dictation& dictation, const Preferences& preferences)
    : loop(loop), dictation(dictation), preferences(preferences)
{
    const auto follow = [this](const auto& source) {
        sources.push_back(source.observe([this](const auto&) { sessionChanged(); }));
    };
    follow(dictation.phase);
    follow(dictation.transcript);
    follow(dictation.notice);
    follow(dictation.micSilent);
    sources.push_back(dictation.levels.observe([this](const Dictation::Levels&) { updateBars(); }));
    sources.push_back(preferences.observe([this] { readSettings(); }));
    readSettings();
    sessionChanged();
}

void HUDModel::readSettings()
{
    settings.set(HUDSettings::read(preferences));
    update();
}

void HUDModel::setHasEscape(bool has)
{
    if (std::exchange(hasEscape, has) != has) {
        sessionChanged();
    }
}

HUDSession HUDModel::session() const
{
    return {dictation.phase.get(), dictation.transcript.get(), dictation.notice.get(),
            dictation.micSilent.get(), hasEscape};
}

void HUDModel::sessionChanged()
{
    announceSoon();
    if (dictation.phase.get() == Phase::idle && !dictation.notice.get()) {
        return; // on its way out
    }
    shown = session();
    update();
}

void HUDModel::update()
{
    view.set(HUDView::of(shown, settings.get()));
    updateBars();
}

void HUDModel::updateBars()
{
    const auto& levels = dictation.levels.get();
    const HUDLayout& layout = view.get().layout;
    if (view.get().showWaveform) {
        waveform.set(waveformBars(levels, layout.waveform));
    }
    if (view.get().showMeter) {
        meter.set(meterBars(meterLevels(levels), layout.meterHeight, layout.meterBarWidth));
    }
}

void HUDModel::announceSoon()
{
    if (std::exchange(announcing, true)) {
        return;
    }
    loop.post(lifetime.guard([this] {
        announcing = false;
        announce();
    }));
}

void HUDModel::announce()
{
    const bool preview = dictation.isDemo.get() && dictation.phase.get() == Phase::listening;
    std::string text = preview ? "" : hudAnnouncement(session());
    if (text == announced) {
        return;
    }
    announced = text;
    if (!text.empty()) {
        announcement.set({announcement.get().number + 1, std::move(text)});
    }
}

} // namespace vorlin
