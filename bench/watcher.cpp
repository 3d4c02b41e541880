// Preloaded into a program with a window: ends it at an event and writes the result to
// descriptor 3. ZEL_BENCH_UNTIL names the event:
//
//   window      the first paint of the window is on the screen; prints the colour in the middle of
//               the window's upper half
//   dialog      after that, the first paint of the dialog that a click on the button
//               "Configuracao" opens; prints the milliseconds since the click

#include <QAbstractButton>
#include <QCoreApplication>
#include <QDialog>
#include <QEvent>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QWidget>

#include <chrono>
#include <cstdlib>
#include <unistd.h>

namespace
{

using Clock = std::chrono::steady_clock;

[[noreturn]] void report(const QByteArray &text)
{
    const bool isWritten = ::write(3, text.constData(), size_t(text.size())) == text.size();
    std::_Exit(isWritten ? EXIT_SUCCESS : EXIT_FAILURE);
}

/// The colour in the middle of the upper half of @p window on the screen. The window system replies
/// after all earlier drawing.
QColor pixelOnScreen(const QWidget &window)
{
    const QPixmap pixel = QGuiApplication::primaryScreen()->grabWindow(
        window.winId(), window.width() / 2, window.height() / 4, 1, 1);
    return pixel.toImage().pixelColor(0, 0);
}

class Watcher : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() != QEvent::Paint || !watched->isWidgetType()) {
            return false;
        }
        const QWidget *window = static_cast<QWidget *>(watched)->window();
        const bool isDialog = qobject_cast<const QDialog *>(window) != nullptr;
        // Queued: the window is flushed to the window system after its last paint event.
        if (isDialog && wantsDialog) {
            wantsDialog = false;
            QMetaObject::invokeMethod(
                this, [this, window] { onDialogPainted(*window); }, Qt::QueuedConnection);
        } else if (!isDialog && wantsWindow) {
            wantsWindow = false;
            QMetaObject::invokeMethod(
                this, [this, window] { onWindowPainted(*window); }, Qt::QueuedConnection);
        }
        return false;
    }

private:
    void onWindowPainted(const QWidget &window)
    {
        const QColor colour = pixelOnScreen(window);
        if (qgetenv("ZEL_BENCH_UNTIL") == "window") {
            report(colour.name().toLatin1());
        }
        for (QAbstractButton *button : window.findChildren<QAbstractButton *>()) {
            if (button->text() == QLatin1String("Configuracao")) {
                wantsDialog = true;
                click = Clock::now();
                button->click();
            }
        }
    }

    [[noreturn]] void onDialogPainted(const QWidget &dialog) const
    {
        pixelOnScreen(dialog);
        const std::chrono::duration<double, std::milli> elapsed = Clock::now() - click;
        report(QByteArray::number(elapsed.count()));
    }

    bool wantsWindow = true;
    bool wantsDialog = false;
    Clock::time_point click;
};

void watch()
{
    qunsetenv("LD_PRELOAD"); // child processes must not load this module
    QCoreApplication *app = QCoreApplication::instance();
    app->installEventFilter(new Watcher(app));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(watch)
