#pragma once

#include "HUDModel.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <vector>

namespace vorlin {

/// Shows the overlay's values to its view, as they are, and tells when they change. Main loop.
class HUDBridge final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("the program's own")

    Q_PROPERTY(QString text READ text NOTIFY viewChanged)
    Q_PROPERTY(bool rightToLeft READ rightToLeft NOTIFY viewChanged)
    Q_PROPERTY(bool showWaveform READ showWaveform NOTIFY viewChanged)
    Q_PROPERTY(bool showMeter READ showMeter NOTIFY viewChanged)
    Q_PROPERTY(bool showEsc READ showEsc NOTIFY viewChanged)
    Q_PROPERTY(QString esc READ esc CONSTANT)
    Q_PROPERTY(QString icon READ icon NOTIFY viewChanged)
    Q_PROPERTY(vorlin::HUDBridge::Tint tint READ tint NOTIFY viewChanged)
    Q_PROPERTY(double horizontal READ horizontal NOTIFY viewChanged)
    Q_PROPERTY(double vertical READ vertical NOTIFY viewChanged)

    Q_PROPERTY(double scale READ scale NOTIFY viewChanged)
    Q_PROPERTY(double outerPadding READ outerPadding NOTIFY viewChanged)
    Q_PROPERTY(double horizontalPadding READ horizontalPadding NOTIFY viewChanged)
    Q_PROPERTY(double verticalPadding READ verticalPadding NOTIFY viewChanged)
    Q_PROPERTY(double wrappedPadding READ wrappedPadding NOTIFY viewChanged)
    Q_PROPERTY(double cornerRadius READ cornerRadius NOTIFY viewChanged)
    Q_PROPERTY(double spacing READ spacing NOTIFY viewChanged)
    Q_PROPERTY(double leadingWidth READ leadingWidth NOTIFY viewChanged)
    Q_PROPERTY(double symbolSize READ symbolSize NOTIFY viewChanged)
    Q_PROPERTY(double textSize READ textSize NOTIFY viewChanged)
    Q_PROPERTY(double escSize READ escSize NOTIFY viewChanged)
    Q_PROPERTY(double maxTextWidth READ maxTextWidth NOTIFY viewChanged)
    Q_PROPERTY(double maxTextHeight READ maxTextHeight NOTIFY viewChanged)
    Q_PROPERTY(int mostLines READ mostLines NOTIFY viewChanged)
    Q_PROPERTY(bool keepsBeginning READ keepsBeginning NOTIFY viewChanged)
    Q_PROPERTY(bool centersRow READ centersRow NOTIFY viewChanged)
    Q_PROPERTY(double waveformWidth READ waveformWidth NOTIFY viewChanged)
    Q_PROPERTY(double waveformHeight READ waveformHeight NOTIFY viewChanged)
    Q_PROPERTY(double meterHeight READ meterHeight NOTIFY viewChanged)

    Q_PROPERTY(QList<double> waveformBars READ waveformBars NOTIFY waveformChanged)
    Q_PROPERTY(double waveformBarWidth READ waveformBarWidth NOTIFY waveformChanged)
    Q_PROPERTY(double waveformGap READ waveformGap NOTIFY waveformChanged)
    Q_PROPERTY(double waveformRadius READ waveformRadius NOTIFY waveformChanged)
    Q_PROPERTY(QList<double> meterBars READ meterBars NOTIFY meterChanged)
    Q_PROPERTY(double meterBarWidth READ meterBarWidth NOTIFY meterChanged)
    Q_PROPERTY(double meterGap READ meterGap NOTIFY meterChanged)
    Q_PROPERTY(double meterRadius READ meterRadius NOTIFY meterChanged)

    Q_PROPERTY(bool dark READ dark NOTIFY appearanceChanged)
    Q_PROPERTY(bool reducedMotion READ reducedMotion NOTIFY appearanceChanged)

public:
    enum Tint { Red, Orange, Secondary };
    Q_ENUM(Tint)

    /// `model` must outlive this object.
    explicit HUDBridge(const HUDModel& model);

    /// How the person has set up the desktop.
    void setAppearance(bool dark, bool reducedMotion);

    QString text() const { return QString::fromStdString(view().text); }
    bool rightToLeft() const { return view().rightToLeft; }
    bool showWaveform() const { return view().showWaveform; }
    bool showMeter() const { return view().showMeter; }
    bool showEsc() const { return view().showEsc; }
    QString esc() const { return toQString(HUDView::esc); }
    QString icon() const { return toQString(view().icon); }
    Tint tint() const;
    /// Where the rounded rectangle sits in the panel: 0 is left or top, 1 right or bottom.
    double horizontal() const { return static_cast<int>(view().horizontal) / 2.0; }
    double vertical() const { return static_cast<int>(view().vertical) / 2.0; }

    double scale() const { return layout().scale; }
    double outerPadding() const { return layout().outerPadding; }
    double horizontalPadding() const { return layout().horizontalPadding; }
    double verticalPadding() const { return layout().verticalPadding; }
    double wrappedPadding() const { return layout().wrappedPadding; }
    double cornerRadius() const { return layout().cornerRadius; }
    double spacing() const { return layout().spacing; }
    double leadingWidth() const { return layout().leadingWidth; }
    double symbolSize() const { return layout().symbolSize; }
    double textSize() const { return layout().textSize; }
    double escSize() const { return layout().escSize; }
    double maxTextWidth() const { return layout().maxTextWidth; }
    double maxTextHeight() const { return layout().maxTextHeight; }
    int mostLines() const { return layout().mostLines; }
    bool keepsBeginning() const { return layout().kept == HUDKept::beginning; }
    /// Otherwise its slots stand beside the first line.
    bool centersRow() const { return layout().rowAlignment == VerticalAlignment::center; }
    double waveformWidth() const { return layout().waveform.width; }
    double waveformHeight() const { return layout().waveform.height; }
    double meterHeight() const { return layout().meterHeight; }

    QList<double> waveformBars() const { return heights(model.waveform.get()); }
    double waveformBarWidth() const { return model.waveform.get().barWidth; }
    double waveformGap() const { return model.waveform.get().gap; }
    double waveformRadius() const { return model.waveform.get().cornerRadius; }
    QList<double> meterBars() const { return heights(model.meter.get()); }
    double meterBarWidth() const { return model.meter.get().barWidth; }
    double meterGap() const { return model.meter.get().gap; }
    double meterRadius() const { return model.meter.get().cornerRadius; }

    bool dark() const { return darkDesktop; }
    bool reducedMotion() const { return withoutMotion; }

Q_SIGNALS:
    void viewChanged();
    void waveformChanged();
    void meterChanged();
    void appearanceChanged();

private:
    const HUDView& view() const { return model.view.get(); }
    const HUDLayout& layout() const { return view().layout; }
    static QString toQString(std::string_view text);
    static QList<double> heights(const HUDBars& bars);

    const HUDModel& model;
    bool darkDesktop = false;
    bool withoutMotion = false;
    std::vector<Subscription> changes;
};

} // namespace vorlin
