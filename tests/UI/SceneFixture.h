#pragma once

#include "HUDModel.h"
#include "UI/OverlayScene.h"
#include "fakes/FakeAudioInput.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakeTranscriber.h"
#include "simulation/SimulatedLoop.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>

#include <memory>
#include <string>

namespace vorlin {

/// The overlay's view of a dictation that the test plays.
class SceneFixture : public testing::Test {
protected:
    SimulatedLoop loop;
    FakeAudioInput microphone;
    FakeDefaults defaults;
    FakeLocale locale;
    Preferences preferences{defaults, locale};
    Dictation dictation{loop, microphone};
    std::shared_ptr<FakeTranscriber> engine = std::make_shared<FakeTranscriber>();
    HUDModel model{loop, dictation, preferences};
    std::unique_ptr<OverlayScene> scene = std::make_unique<OverlayScene>(model);

    SceneFixture() { scene->setAppearance(false, true); }

    void listen();
    void hear(const std::string& text);
    /// A dictation that could not begin, and says why.
    void fail(const std::string& notice);
    /// Levels like those of speech.
    void speak();

    /// The panel's picture as it is now, `scale` pixels to a point.
    QImage picture(double scale = 1);

    /// Where the symbol or the meter stands in a picture, the capsule's whole height.
    QRect symbolSlot(const QImage& picture) const;
    /// Where the text stands if there is no hint, the capsule's whole height.
    QRect textSlot(const QImage& picture) const;

    /// What a person sees: the panel over one colour.
    static QImage over(const QImage& picture, const QColor& background);
};

/// Where the capsule is in a picture: its pixels that are more than half there.
QRect capsule(const QImage& picture);

/// What is drawn on the capsule within `area`: the pixels that are not of its plain colour.
QRect ink(const QImage& picture, const QRect& area);

/// Where two pictures of one size differ; null where they are the same.
QRect difference(const QImage& one, const QImage& other);

} // namespace vorlin
