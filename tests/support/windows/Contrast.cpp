#include "support/windows/Contrast.h"

#include <QApplication>
#include <QHash>
#include <QTest>

#include <algorithm>
#include <cmath>

using ZelTheme::Mode;

namespace
{

double luminance(const QColor &color)
{
    const auto linear = [](double channel) {
        return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

using ColorCounts = QHash<QRgb, int>;

/// How many pixels have each colour.
ColorCounts colorCounts(const QImage &image)
{
    ColorCounts counts;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            ++counts[image.pixel(x, y)];
        }
    }
    return counts;
}

QColor mostFrequent(const ColorCounts &counts)
{
    return QColor::fromRgb(std::max_element(counts.begin(), counts.end()).key());
}

} // namespace

double contrast(const QColor &first, const QColor &second)
{
    const auto [darker, brighter] = std::minmax({luminance(first), luminance(second)});
    return (brighter + 0.05) / (darker + 0.05);
}

QImage picture(const QWidget *widget, QRect area)
{
    constexpr int frame = 4;
    if (area.isNull()) {
        area = widget->rect().adjusted(frame, frame, -frame, -frame);
    }
    QWidget *window = widget->window();
    return window->grab(area.translated(widget->mapTo(window, QPoint()))).toImage();
}

QColor background(const QImage &image)
{
    return mostFrequent(colorCounts(image));
}

double textContrast(const QWidget *widget, QRect area)
{
    const ColorCounts counts = colorCounts(picture(widget, area));
    const QColor ground = mostFrequent(counts);
    double most = 1;
    for (const QRgb color : counts.keys()) {
        most = std::max(most, contrast(QColor::fromRgb(color), ground));
    }
    return most;
}

std::unique_ptr<StandardLook> startUp(Mode mode, const QPalette &desktopPalette)
{
    qApp->setStyleSheet(QString());
    QApplication::setPalette(desktopPalette);
    ZelTheme::apply(*qApp, mode);
    return std::make_unique<StandardLook>(mode);
}

void addModesAndDesktops()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<QPalette>("desktopPalette");
    QTest::newRow("dark on a light desktop") << Mode::Dark << QPalette(QColor(0xefefef));
    QTest::newRow("dark on a dark desktop") << Mode::Dark << QPalette(QColor(0x303030));
    QTest::newRow("light on a light desktop") << Mode::Light << QPalette(QColor(0xefefef));
    QTest::newRow("light on a dark desktop") << Mode::Light << QPalette(QColor(0x303030));
}

std::unique_ptr<StandardLook> startUpAsInRow()
{
    QFETCH(const Mode, mode);
    QFETCH(const QPalette, desktopPalette);
    return startUp(mode, desktopPalette);
}
