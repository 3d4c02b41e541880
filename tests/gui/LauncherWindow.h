#pragma once

#include <QFrame>
#include <QGuiApplication>
#include <QLabel>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>

#include <algorithm>

#include "app/MainWindow.h"
#include "patch/PatchManager.h"
#include "support/process/FakeClient.h"
#include "support/windows/MessageBoxAnswerer.h"

/// A shown main window, with its widgets found by position and text.
class LauncherWindow
{
public:
    LauncherWindow()
    {
        // A closed window must not end the test program's event loops.
        QGuiApplication::setQuitOnLastWindowClosed(false);
        window.show();
        patchManager = window.findChild<PatchManager *>();
        process = window.findChild<QProcess *>();
        frame = window.findChild<QFrame *>(QStringLiteral("LauncherBottom"));
        play = button(QStringLiteral("Iniciar"));
        settings = button(QStringLiteral("Configuracao"));
        cancel = button(QStringLiteral("Cancelar"));
        const QList<QProgressBar *> bars = fromTopToBottom<QProgressBar>();
        const QList<QLabel *> labels = fromTopToBottom<QLabel>();
        if (patchManager == nullptr || process == nullptr || bars.size() != 2 ||
            labels.size() != 3) {
            qFatal("the main window lacks a part");
        }
        upperBar = bars.at(0);
        lowerBar = bars.at(1);
        picture = labels.at(0);
        status = labels.at(1);
        footer = labels.at(2);
    }

    static void click(QPushButton *button) { QTest::mouseClick(button, Qt::LeftButton); }

    /// Clicks "Iniciar", closes the message box with OK and returns its contents.
    MessageBoxAnswerer::Box boxAfterPlay() const
    {
        MessageBoxAnswerer user;
        user.expect(QMessageBox::Ok);
        click(play);
        return user.isDone() ? user.last() : MessageBoxAnswerer::Box();
    }
    /// Clicks "Iniciar" and waits until the program has recorded its start.
    void start(const FakeProgram &program) const
    {
        const int before = program.startCount();
        click(play);
        QCOMPARE(status->text(), QStringLiteral("Jogo em execucao..."));
        QTRY_COMPARE(program.startCount(), before + 1);
    }
    /// Waits until the window reports the game's end and is idle.
    void waitForEnd(int code) const
    {
        QTRY_COMPARE(status->text(), QStringLiteral("Jogo encerrado (codigo %1).").arg(code));
        QVERIFY(isIdle());
    }

    /// Whether both buttons that a busy window disables are enabled.
    bool isIdle() const { return play->isEnabled() && settings->isEnabled(); }
    /// Whether both of these buttons are disabled.
    bool isBusy() const { return !play->isEnabled() && !settings->isEnabled(); }
    /// The bars' percentages.
    QList<int> progress() const { return {upperBar->value(), lowerBar->value()}; }

    MainWindow window;
    PatchManager *patchManager = nullptr;
    QProcess *process = nullptr;
    QFrame *frame = nullptr;
    QLabel *picture = nullptr;
    QLabel *status = nullptr;
    QLabel *footer = nullptr;
    QProgressBar *upperBar = nullptr;
    QProgressBar *lowerBar = nullptr;
    QPushButton *play = nullptr;
    QPushButton *settings = nullptr;
    QPushButton *cancel = nullptr;

private:
    QPushButton *button(const QString &text) const
    {
        const QList<QPushButton *> buttons = window.findChildren<QPushButton *>();
        for (QPushButton *candidate : buttons) {
            if (candidate->text() == text) {
                return candidate;
            }
        }
        qFatal("the main window has no button \"%s\"", qPrintable(text));
    }

    template<typename Widget> QList<Widget *> fromTopToBottom() const
    {
        QList<Widget *> widgets = window.findChildren<Widget *>();
        // QLabel inherits QFrame.
        std::sort(widgets.begin(), widgets.end(), [this](const Widget *a, const Widget *b) {
            return a->mapTo(&window, QPoint()).y() < b->mapTo(&window, QPoint()).y();
        });
        return widgets;
    }
};
