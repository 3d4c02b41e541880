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

} // namespace

double contrast(const QColor &first, const QColor &second)
{
    const double a = luminance(first);
    const double b = luminance(second);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

QColor background(const QImage &image)
{
    QHash<QRgb, int> count;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            ++count[image.pixel(x, y)];
        }
    }
    QRgb most = 0;
    for (const auto &[color, pixels] : count.asKeyValueRange()) {
        if (pixels > count.value(most)) {
            most = color;
        }
    }
    return QColor::fromRgb(most);
}

double measuredContrast(const QImage &image)
{
    const QColor ground = background(image);
    double most = 1;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            most = std::max(most, contrast(image.pixelColor(x, y), ground));
        }
    }
    return most;
}

QImage picture(const QWidget *widget, const QRect &area)
{
    QWidget *window = widget->window();
    return window->grab(area.translated(widget->mapTo(window, QPoint()))).toImage();
}

QImage inside(const QWidget *widget)
{
    constexpr int frame = 4;
    return picture(widget, widget->rect().adjusted(frame, frame, -frame, -frame));
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
    QTest::newRow("dark on a light desktop") << Mode::Dark << desktop("#efefef");
    QTest::newRow("dark on a dark desktop") << Mode::Dark << desktop("#303030");
    QTest::newRow("light on a light desktop") << Mode::Light << desktop("#efefef");
    QTest::newRow("light on a dark desktop") << Mode::Light << desktop("#303030");
}

QPalette desktop(const char *name)
{
    return {QColor(QLatin1String(name))};
}
