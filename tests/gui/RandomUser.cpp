#include "gui/RandomUser.h"

#include <QApplication>
#include <QClipboard>
#include <QPointer>
#include <QTest>
#include <QThread>
#include <QTimerEvent>
#include <QWheelEvent>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{

/// Where the user's next act goes; null when no window is open.
QWidget *foremost()
{
    if (QWidget *popup = QApplication::activePopupWidget()) {
        return popup;
    }
    if (QWidget *modal = QApplication::activeModalWidget()) {
        return modal;
    }
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (window->isVisible() && window->windowType() == Qt::Window) {
            return window;
        }
    }
    return nullptr;
}

QWindow *foremostWindow()
{
    const QWidget *widget = foremost();
    return widget != nullptr ? widget->windowHandle() : nullptr;
}

/// Presses and releases a key. The window may not live to see its release.
void clickKey(QWindow *window, Qt::Key key, const QString &text, Qt::KeyboardModifiers modifiers)
{
    const QPointer<QWindow> guard(window);
    QTest::simulateEvent(window, true, key, modifiers, text, false);
    if (guard) {
        QTest::simulateEvent(window, false, key, modifiers, text, false);
    }
}

} // namespace

RandomUser::RandomUser(quint32 seed)
    : random(seed)
{
}

void RandomUser::act(int count)
{
    left = count;
    outermostLevel = QThread::currentThread()->loopLevel() + 1;
    timer = startTimer(0);
    loop.exec();
}

void RandomUser::timerEvent(QTimerEvent *event)
{
    // A new timer for each act: one and the same does not fire again before its act returns, and
    // an act that opens a dialog returns when that is closed.
    killTimer(event->timerId());
    timer = startTimer(0);
    // Some acts look for events by themselves. Only what runs a loop is a dialog, a list or a drag.
    const int level = QThread::currentThread()->loopLevel();
    if (level <= actingLevel) {
        return;
    }
    const int outerLevel = std::exchange(actingLevel, level);
    const bool isOutermost = level == outermostLevel;
    if (left > 0) {
        --left;
        beforeAct(isOutermost);
        actOnce();
        afterAct();
    } else if (!closeForemost(isOutermost) && isAtRest()) {
        killTimer(timer);
        loop.quit();
    }
    actingLevel = outerLevel;
}

void RandomUser::actOnce()
{
    QWindow *window = foremostWindow();
    if (window == nullptr) {
        return;
    }
    const int kind = random.bounded(100);
    if (kind < 50) {
        useMouse(window);
    } else if (kind < 58) {
        turnWheel(window);
    } else if (kind < 88) {
        pressKey(window);
    } else if (kind < 97) {
        type(window);
    } else {
        changeWindow(window);
    }
}

/// Closes the foremost list, box or dialog, or ends the drag. False when there is nothing to close.
bool RandomUser::closeForemost(bool isOutermost)
{
    if (QWidget *popup = QApplication::activePopupWidget()) {
        popup->close();
        return true;
    }
    if (QWidget *modal = QApplication::activeModalWidget()) {
        modal->close();
        return true;
    }
    if (isOutermost) {
        return false;
    }
    if (QWindow *window = foremostWindow()) {
        clickKey(window, Qt::Key_Escape, {}, Qt::NoModifier);
    }
    return true;
}

/// A place in the window, mostly one where a control is.
QPoint RandomUser::place(QWindow *window)
{
    const QRect area(QPoint(), window->size());
    const QWidget *root = QWidget::find(window->winId());
    QList<QWidget *> controls;
    if (root != nullptr && chance(85)) {
        const QList<QWidget *> children = root->findChildren<QWidget *>();
        for (QWidget *child : children) {
            if (child->isVisible() && child->focusPolicy() != Qt::NoFocus &&
                child->window() == root) {
                controls << child;
            }
        }
    }
    if (!controls.isEmpty()) {
        const QWidget *control = oneOf(controls);
        const QPoint inside(random.bounded(std::max(control->width(), 1)),
                            random.bounded(std::max(control->height(), 1)));
        const QPoint point = control->mapTo(root, inside);
        if (area.contains(point)) {
            return point;
        }
    }
    return {random.bounded(std::max(area.width(), 1)), random.bounded(std::max(area.height(), 1))};
}

void RandomUser::useMouse(QWindow *window)
{
    static constexpr std::array modifiers{Qt::NoModifier, Qt::ShiftModifier, Qt::ControlModifier};
    const Qt::MouseButton button = chance(90)   ? Qt::LeftButton
                                   : chance(50) ? Qt::RightButton
                                                : Qt::MiddleButton;
    const Qt::KeyboardModifiers held = chance(90) ? Qt::NoModifier : oneOf(modifiers);
    const QPoint point = place(window);
    const int kind = random.bounded(8);
    if (kind == 0) {
        QTest::mouseMove(window, point);
        return;
    }
    if (kind == 1) {
        QTest::mouseDClick(window, button, held, point);
        return;
    }
    const QPointer<QWindow> pressed(window);
    QTest::mousePress(window, button, held, point);
    // What was pressed may be gone, and something else be there. A drag ends elsewhere.
    const bool isDrag = kind == 2;
    if (QWindow *there = foremostWindow(); there != nullptr && (isDrag || there == pressed)) {
        QTest::mouseRelease(there, button, held, isDrag ? place(there) : point);
    }
}

void RandomUser::turnWheel(QWindow *window)
{
    const QPoint point = place(window);
    const QPoint angle(chance(10) ? 120 : 0, 120 * (random.bounded(7) - 3));
    QWheelEvent event(point, window->mapToGlobal(point), QPoint(), angle, Qt::NoButton,
                      chance(90) ? Qt::NoModifier : Qt::ControlModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(window, &event);
}

void RandomUser::pressKey(QWindow *window)
{
    static constexpr std::array keys{
        Qt::Key_Tab,      Qt::Key_Tab,   Qt::Key_Tab,    Qt::Key_Backtab, Qt::Key_Space,
        Qt::Key_Return,   Qt::Key_Tab,   Qt::Key_Escape, Qt::Key_Up,      Qt::Key_Down,
        Qt::Key_Left,     Qt::Key_Right, Qt::Key_Home,   Qt::Key_End,     Qt::Key_PageUp,
        Qt::Key_PageDown, Qt::Key_F2,    Qt::Key_F4,     Qt::Key_Delete,  Qt::Key_Backspace,
        Qt::Key_Menu,     Qt::Key_A,     Qt::Key_C,      Qt::Key_V,       Qt::Key_X,
        Qt::Key_Z,        Qt::Key_N,     Qt::Key_S,      Qt::Key_O,       Qt::Key_9};
    static constexpr std::array modifiers{Qt::NoModifier, Qt::NoModifier, Qt::ShiftModifier,
                                          Qt::ControlModifier, Qt::AltModifier};
    const Qt::Key key = oneOf(keys);
    const bool isLetter = key >= Qt::Key_0 && key <= Qt::Key_Z;
    clickKey(window, key, isLetter ? QString(QChar(ushort(key))) : QString(), oneOf(modifiers));
}

/// A text that nobody would enter. It has no slash, so that it leads to no other folder.
QString RandomUser::text()
{
    static const QString characters =
        u"abcXYZ019 .:;%12'\"\\<>&$`~*?[]{}()|#@!=+,_-\t\u00e7\u00e3\u0416\u4f8b\u200b\u202e\ufeff"_s;
    QString words;
    for (int length = random.bounded(1, chance(3) ? 3000 : 12); length > 0; --length) {
        words += chance(4) ? QString::fromUcs4(U"\U0001F3AE", 1)
                           : QString(characters.at(random.bounded(int(characters.size()))));
    }
    return words;
}

void RandomUser::type(QWindow *window)
{
    const QString words = text();
    if (words.size() > 12 || chance(20)) {
        QGuiApplication::clipboard()->setText(words);
        clickKey(window, Qt::Key_V, {}, Qt::ControlModifier);
        return;
    }
    for (const QChar character : words) {
        if (foremostWindow() != window) {
            return; // a letter has opened or closed something
        }
        clickKey(window, Qt::Key_unknown, character, Qt::NoModifier);
    }
}

void RandomUser::changeWindow(QWindow *window)
{
    if (chance(70)) {
        window->resize(random.bounded(1, 1600), random.bounded(1, 1200));
    } else if (chance(50)) {
        window->setPosition(random.bounded(-500, 1500), random.bounded(-500, 1000));
    } else {
        window->close();
    }
}
