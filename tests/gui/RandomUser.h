#pragma once

#include <QApplication>
#include <QClipboard>
#include <QPointer>
#include <QRandomGenerator>
#include <QTest>
#include <QWheelEvent>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <array>
#include <iterator>

/// Random input for the topmost window: clicks, drags, wheel turns, keys, texts, resizes and
/// closes.
class RandomUser
{
public:
    explicit RandomUser(quint32 seed)
        : random(seed)
    {
    }

    /// The window that receives input; null when none is open.
    static QWindow *foremostWindow()
    {
        QWidget *widget = QApplication::activePopupWidget();
        if (widget == nullptr) {
            widget = QApplication::activeModalWidget();
        }
        for (QWidget *window : QApplication::topLevelWidgets()) {
            if (widget == nullptr && window->isVisible() && window->windowType() == Qt::Window) {
                widget = window;
            }
        }
        return widget != nullptr ? widget->windowHandle() : nullptr;
    }

    /// Presses and releases a key. The press may destroy the window.
    static void clickKey(QWindow *window, Qt::Key key, const QString &text = {},
                         Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        const QPointer<QWindow> guard(window);
        QTest::simulateEvent(window, true, key, modifiers, text, false);
        if (guard) {
            QTest::simulateEvent(window, false, key, modifiers, text, false);
        }
    }

    void act()
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
            enterText(window);
        } else if (kind < 99) {
            window->setGeometry(random.bounded(-500, 1500), random.bounded(-500, 1000),
                                random.bounded(1, 1600), random.bounded(1, 1200));
        } else {
            window->close();
        }
    }

private:
    bool chance(int percent) { return random.bounded(100) < percent; }
    template<typename List> auto oneOf(const List &list)
    {
        return *std::next(list.begin(), random.bounded(int(list.size())));
    }
    QPoint pointIn(QRect area)
    {
        return area.topLeft() + QPoint(random.bounded(std::max(area.width(), 1)),
                                       random.bounded(std::max(area.height(), 1)));
    }

    /// A place in the window, mostly one where a control is.
    QPoint place(QWindow *window)
    {
        const QRect area(QPoint(), window->size());
        QList<QRect> controls{area};
        const QWidget *root = QWidget::find(window->winId());
        if (root != nullptr && chance(85)) {
            for (const QWidget *child : root->findChildren<QWidget *>()) {
                const QRect rect(child->mapTo(root, QPoint()), child->size());
                if (child->isVisible() && child->focusPolicy() != Qt::NoFocus &&
                    child->window() == root && area.intersects(rect)) {
                    controls << (rect & area);
                }
            }
        }
        return pointIn(oneOf(controls));
    }

    void useMouse(QWindow *window)
    {
        static constexpr std::array modifiers{Qt::NoModifier, Qt::ShiftModifier,
                                              Qt::ControlModifier};
        static constexpr std::array otherButtons{Qt::RightButton, Qt::MiddleButton};
        const Qt::MouseButton button = chance(90) ? Qt::LeftButton : oneOf(otherButtons);
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
        // The press may have closed, opened or shrunk a window. A drag ends elsewhere.
        const bool isDrag = kind == 2;
        if (QWindow *there = foremostWindow(); there != nullptr && (isDrag || there == pressed)) {
            const bool isElsewhere = isDrag || !QRect(QPoint(), there->size()).contains(point);
            QTest::mouseRelease(there, button, held, isElsewhere ? place(there) : point);
        }
    }

    void turnWheel(QWindow *window)
    {
        const QPoint point = place(window);
        const QPoint angle(chance(10) ? 120 : 0, 120 * (random.bounded(7) - 3));
        QWheelEvent event(point, window->mapToGlobal(point), QPoint(), angle, Qt::NoButton,
                          chance(90) ? Qt::NoModifier : Qt::ControlModifier, Qt::NoScrollPhase,
                          false);
        QCoreApplication::sendEvent(window, &event);
    }

    void pressKey(QWindow *window)
    {
        static constexpr std::array keys{
            Qt::Key_Tab,    Qt::Key_Tab,      Qt::Key_Tab,    Qt::Key_Tab, Qt::Key_Backtab,
            Qt::Key_Space,  Qt::Key_Return,   Qt::Key_Escape, Qt::Key_Up,  Qt::Key_Down,
            Qt::Key_Left,   Qt::Key_Right,    Qt::Key_Home,   Qt::Key_End, Qt::Key_PageUp,
            Qt::Key_Delete, Qt::Key_PageDown, Qt::Key_F2,     Qt::Key_F4,  Qt::Key_Backspace,
            Qt::Key_Menu,   Qt::Key_A,        Qt::Key_C,      Qt::Key_V,   Qt::Key_X,
            Qt::Key_Z,      Qt::Key_N,        Qt::Key_S,      Qt::Key_O,   Qt::Key_9};
        static constexpr std::array modifiers{Qt::NoModifier, Qt::NoModifier, Qt::ShiftModifier,
                                              Qt::ControlModifier, Qt::AltModifier};
        const Qt::Key key = oneOf(keys);
        const bool isLetter = key >= Qt::Key_0 && key <= Qt::Key_Z;
        clickKey(window, key, isLetter ? QString(QChar(ushort(key))) : QString(), oneOf(modifiers));
    }

    /// Enters an unusual text, pasted if it is long. It has no slash, so it cannot name another
    /// folder.
    void enterText(QWindow *window)
    {
        static const QString characters = QStringLiteral(
            "abcXYZ019 .:;%12'\"\\<>&$`~*?[]{}()|#@!=+,_-\t\u00e7\u00e3\u0416\u4f8b\u200b\u202e");
        QString text;
        for (int length = random.bounded(1, chance(3) ? 3000 : 12); length > 0; --length) {
            text += chance(4) ? QString::fromUcs4(U"\U0001F3AE", 1) : QString(oneOf(characters));
        }
        if (text.size() > 12 || chance(20)) {
            QGuiApplication::clipboard()->setText(text);
            clickKey(window, Qt::Key_V, {}, Qt::ControlModifier);
            return;
        }
        for (const QChar character : text) {
            if (foremostWindow() != window) {
                return; // a key has opened or closed a window
            }
            clickKey(window, Qt::Key_unknown, character);
        }
    }

    QRandomGenerator random;
};
