#include "support/TestMain.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSlider>
#include <QSpinBox>
#include <QToolButton>

#include <memory>

#include "gui/LauncherWindow.h"
#include "settings/LauncherSettings.h"
#include "support/windows/Contrast.h"
#include "ui/SettingsDialog.h"

using ZelTheme::Mode;

namespace
{

/// Where @p widget has its text, without its arrows, its clear button or its mark.
QRect textArea(const QWidget *widget)
{
    constexpr int frame = 4;
    constexpr int marks = 32;
    if (qobject_cast<const QCheckBox *>(widget) != nullptr) {
        return widget->rect().adjusted(24, 0, 0, 0);
    }
    const bool isButton = qobject_cast<const QPushButton *>(widget) != nullptr;
    const bool isLabel = qobject_cast<const QLabel *>(widget) != nullptr;
    return widget->rect().adjusted(frame, frame, isButton || isLabel ? -frame : -marks, -frame);
}

} // namespace

/// Every visible text of the windows against what is behind it.
class TestContrast : public TestBase
{
    Q_OBJECT

private slots:
    void theMainWindowIsReadable_data() { addModesAndDesktops(); }
    void theMainWindowIsReadable();
    void everyTextOfTheDialogIsReadable_data() { addModesAndDesktops(); }
    void everyTextOfTheDialogIsReadable();
    void everyGroupTitleIsReadable_data() { addModesAndDesktops(); }
    void everyGroupTitleIsReadable();
    void theDialogsButtonsAreReadable_data() { addModesAndDesktops(); }
    void theDialogsButtonsAreReadable();
    void aCheckedBoxDiffersFromAnUncheckedOne_data() { addModesAndDesktops(); }
    void aCheckedBoxDiffersFromAnUncheckedOne();
    void aDisabledCheckBoxIsReadable_data() { addModesAndDesktops(); }
    void aDisabledCheckBoxIsReadable();
    void aDisabledControlDiffersFromAnEnabledOne_data() { addModesAndDesktops(); }
    void aDisabledControlDiffersFromAnEnabledOne();

private:
    void open();
    /// A picture of @p widget, scrolled into view.
    QImage scrolledTo(QWidget *widget) const;
    /// How well the text of @p widget can be read, scrolled into view.
    double textContrast(QWidget *widget) const;

    std::unique_ptr<StandardLook> look;
    std::unique_ptr<SettingsDialog> dialog;
    QScrollArea *scrollArea = nullptr;
};

void TestContrast::open()
{
    QFETCH(const Mode, mode);
    QFETCH(const QPalette, desktopPalette);
    look = startUp(mode, desktopPalette);
    LauncherSettings &settings = LauncherSettings::instance();
    settings.clientDir = QStringLiteral("/jogo");
    settings.patchBaseUrl = QStringLiteral("https://example.org/patch/");
    settings.websiteUrl = QStringLiteral("https://example.org/");
    settings.newsUrl = QStringLiteral("https://example.org/news");
    dialog = std::make_unique<SettingsDialog>();
    dialog->show();
    QVERIFY(QTest::qWaitForWindowExposed(dialog.get()));
    scrollArea = dialog->findChild<QScrollArea *>();
    QVERIFY(scrollArea != nullptr);
}

QImage TestContrast::scrolledTo(QWidget *widget) const
{
    scrollArea->ensureWidgetVisible(widget);
    return inside(widget);
}

double TestContrast::textContrast(QWidget *widget) const
{
    scrollArea->ensureWidgetVisible(widget);
    return measuredContrast(picture(widget, textArea(widget)));
}

void TestContrast::theMainWindowIsReadable()
{
    QFETCH(const Mode, mode);
    QFETCH(const QPalette, desktopPalette);
    look = startUp(mode, desktopPalette);
    LauncherWindow launcher;
    QVERIFY(QTest::qWaitForWindowExposed(&launcher.window));

    QCOMPARE_GE(measuredContrast(picture(launcher.status, launcher.status->rect())), readable);
    // The footer's colours and those of the buttons are the window's own in every mode; they only
    // have to be the same on every desktop.
    for (QWidget *fixed : std::initializer_list<QWidget *>{launcher.footer, launcher.play,
                                                           launcher.settings, launcher.cancel}) {
        QCOMPARE_GE(measuredContrast(picture(fixed, fixed->rect())), 3.0);
    }
    launcher.play->setEnabled(false);
    QCOMPARE_GE(measuredContrast(inside(launcher.play)), readableWhenDisabled);
}

void TestContrast::everyTextOfTheDialogIsReadable()
{
    open();
    int texts = 0;
    const QList<QWidget *> widgets = scrollArea->widget()->findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        const auto *label = qobject_cast<QLabel *>(widget);
        const bool isText = (label != nullptr && !label->text().isEmpty()) ||
                            qobject_cast<QCheckBox *>(widget) ||
                            qobject_cast<QComboBox *>(widget) || qobject_cast<QSpinBox *>(widget) ||
                            qobject_cast<QPushButton *>(widget) ||
                            widget->objectName().startsWith(QStringLiteral("ZelInput"));
        if (!isText || !widget->isVisible()) {
            continue;
        }
        if (label != nullptr && label->styleSheet().contains(QStringLiteral("#a0a0b8"))) {
            continue; // the hint's grey is the same in both modes on purpose
        }
        ++texts;
        const double measured = textContrast(widget);
        QVERIFY2(measured >= readable,
                 qPrintable(QStringLiteral("%1 \"%2\": %3")
                                .arg(QLatin1String(widget->metaObject()->className()),
                                     label != nullptr ? label->text() : widget->objectName(),
                                     QString::number(measured))));
    }
    QCOMPARE_GT(texts, 35);
}

void TestContrast::everyGroupTitleIsReadable()
{
    open();
    const QList<QGroupBox *> groups = dialog->findChildren<QGroupBox *>();
    QCOMPARE(groups.size(), 6);
    for (QGroupBox *group : groups) {
        scrollArea->ensureVisible(0, group->y());
        const QRect title(14, 2, 10 + group->fontMetrics().horizontalAdvance(group->title()),
                          group->fontMetrics().height());
        QCOMPARE_GE(measuredContrast(picture(group, title)), readable);
    }
}

void TestContrast::theDialogsButtonsAreReadable()
{
    open();
    const QList<QPushButton *> buttons = dialog->findChildren<QPushButton *>();
    QCOMPARE(buttons.size(), 6); // "Buscar", three "...", OK and Cancel
    for (QPushButton *button : buttons) {
        button->setIcon(QIcon());
        scrollArea->ensureWidgetVisible(button);
        QCOMPARE_GE(measuredContrast(inside(button)), readable);
        button->setEnabled(false);
        QCOMPARE_GE(measuredContrast(inside(button)), readableWhenDisabled);
    }
}

void TestContrast::aCheckedBoxDiffersFromAnUncheckedOne()
{
    open();
    const QList<QCheckBox *> boxes = dialog->findChildren<QCheckBox *>();
    QCOMPARE(boxes.size(), 5);
    for (QCheckBox *box : boxes) {
        box->setChecked(false);
        const QImage unchecked = scrolledTo(box);
        box->setChecked(true);
        const QImage checked = scrolledTo(box);
        int different = 0;
        for (int y = 0; y < checked.height(); ++y) {
            for (int x = 0; x < checked.width(); ++x) {
                different += contrast(checked.pixelColor(x, y), unchecked.pixelColor(x, y)) > 1.5;
            }
        }
        QCOMPARE_GE(different, 30);
    }
}

void TestContrast::aDisabledCheckBoxIsReadable()
{
    open();
    for (QCheckBox *box : dialog->findChildren<QCheckBox *>()) {
        box->setEnabled(false);
        QCOMPARE_GE(textContrast(box), readableWhenDisabled);
    }
}

void TestContrast::aDisabledControlDiffersFromAnEnabledOne()
{
    open();
    LauncherWindow launcher;
    QVERIFY(QTest::qWaitForWindowExposed(&launcher.window));
    QList<QWidget *> controls{launcher.play, launcher.settings};
    for (QCheckBox *box : dialog->findChildren<QCheckBox *>()) {
        controls.append(box);
    }
    for (QPushButton *button : dialog->findChildren<QPushButton *>()) {
        controls.append(button);
    }
    for (QWidget *control : std::as_const(controls)) {
        scrollArea->ensureWidgetVisible(control);
        const QImage enabled = picture(control, control->rect());
        control->setEnabled(false);
        QVERIFY(picture(control, control->rect()) != enabled);
    }
}

ZEL_GUI_TEST_MAIN(TestContrast)

#include "tst_contrast.moc"
