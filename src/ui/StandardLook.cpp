#include "ui/StandardLook.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QIcon>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QToolButton>

#include <utility>

#include "ui/ZelPalette.h"

namespace
{

/// The launcher's text for a standard button, or a null string. A translator is not enough: some
/// texts of platform themes do not go through it.
QString standardButtonText(QDialogButtonBox::StandardButton button)
{
    switch (button) {
    case QDialogButtonBox::Ok:
        return QStringLiteral("OK");
    case QDialogButtonBox::Cancel:
        return QStringLiteral("Cancelar");
    case QDialogButtonBox::Yes:
        return QStringLiteral("&Sim");
    case QDialogButtonBox::No:
        return QStringLiteral("&Nao");
    default:
        return {};
    }
}

void setStandardText(QPushButton *button)
{
    const auto *box = qobject_cast<QDialogButtonBox *>(button->parentWidget());
    const QString text =
        box == nullptr ? QString() : standardButtonText(box->standardButton(button));
    if (!text.isNull()) {
        button->setText(text);
    }
}

/// True if no pixel of @p image is lighter than a dark grey.
bool isBlack(const QImage &image)
{
    constexpr int darkGrey = 63;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            if (qAlpha(pixel) > 0 && qGray(pixel) > darkGrey) {
                return false;
            }
        }
    }
    return !image.isNull();
}

/// Repaints a black icon in the colour of the button's text. Without an icon theme, Qt 6.10 has
/// black arrows in its file dialog.
void recolorBlackIcon(QToolButton *button)
{
    QPixmap pixmap = button->icon().pixmap(button->iconSize());
    if (isBlack(pixmap.toImage())) {
        QPainter painter(&pixmap);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(pixmap.rect(), button->palette().color(QPalette::ButtonText));
        painter.end();
        button->setIcon(pixmap);
    }
}

bool isIconTheme(const QString &name)
{
    for (const QString &folder : QIcon::themeSearchPaths()) {
        if (QFileInfo::exists(folder + u'/' + name + QStringLiteral("/index.theme"))) {
            return true;
        }
    }
    return false;
}

/// Selects the variant of the desktop's icon theme for @p mode, if it is installed: in the other
/// variant, the file chooser's icons have the colour of their background.
void setIconTheme(ZelTheme::Mode mode)
{
    const QString name = QIcon::themeName();
    const QString dark = QStringLiteral("-dark");
    QStringList variants;
    if (mode == ZelTheme::Mode::Light && name.endsWith(dark, Qt::CaseInsensitive)) {
        variants = {name.chopped(dark.size())};
    } else if (mode == ZelTheme::Mode::Dark && !name.endsWith(dark, Qt::CaseInsensitive)) {
        variants = {name + dark, name + QStringLiteral("-Dark")};
    }
    for (const QString &variant : std::as_const(variants)) {
        if (isIconTheme(variant)) {
            QIcon::setThemeName(variant);
            return;
        }
    }
}

} // namespace

StandardLook::StandardLook(ZelTheme::Mode themeMode)
    : mode(themeMode)
    , font(QApplication::font())
    , palette(ZelPalette::forMode(themeMode))
{
    connect(&restoreTimer, &QTimer::timeout, this, &StandardLook::restore);
    restore();
    QCoreApplication::installTranslator(&texts);
    QCoreApplication::instance()->installEventFilter(this);
}

bool StandardLook::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::ApplicationFontChange:
    case QEvent::ApplicationPaletteChange:
        if (watched != qApp) { // a window gets the events of restore() after it
            break;
        }
        [[fallthrough]];
    case QEvent::ThemeChange:
        // A theme change sends several events; restore once, after the last one.
        restoreTimer.start(0);
        break;
    case QEvent::Polish:
    case QEvent::LanguageChange:
        if (auto *button = qobject_cast<QPushButton *>(watched)) {
            setStandardText(button);
        }
        break;
    case QEvent::Show:
        if (auto *button = qobject_cast<QToolButton *>(watched);
            button != nullptr && mode == ZelTheme::Mode::Dark &&
            qobject_cast<QFileDialog *>(button->window()) != nullptr) {
            recolorBlackIcon(button);
        }
        break;
    default:
        break;
    }
    return false;
}

void StandardLook::restore()
{
    // Also clears the fonts of single widget classes, which Qt takes from the platform theme when
    // ZelTheme::apply() sets the style sheet.
    QApplication::setFont(font);
    QApplication::setPalette(palette);
    setIconTheme(mode);
    // Without this, widgets keep the fonts that the style sheet derived from the desktop's font.
    qApp->setStyleSheet(qApp->styleSheet());
    // The timer repeats, and the events of the calls above have started it again.
    restoreTimer.stop();
}
