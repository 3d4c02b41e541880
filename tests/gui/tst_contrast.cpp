#include "support/TestMain.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>

#include <memory>

#include "gui/LauncherWindow.h"
#include "settings/LauncherSettings.h"
#include "support/windows/Contrast.h"
#include "ui/SettingsDialog.h"
#include "ui/ZelPalette.h"

using namespace Qt::StringLiterals;
using ZelTheme::Mode;

namespace
{

/// The text area of @p widget, without arrows, clear button or indicator.
QRect textArea(const QWidget *widget)
{
    constexpr int frame = 4;
    constexpr int arrows = 32;
    if (qobject_cast<const QCheckBox *>(widget) != nullptr) {
        return widget->rect().adjusted(24, 0, 0, 0);
    }
    const bool isOnlyText = qobject_cast<const QPushButton *>(widget) != nullptr ||
                            qobject_cast<const QLabel *>(widget) != nullptr;
    return widget->rect().adjusted(frame, frame, isOnlyText ? -frame : -arrows, -frame);
}

bool hasText(const QWidget *widget)
{
    if (const auto *label = qobject_cast<const QLabel *>(widget)) {
        // Deliberate: the hint has the same grey in both modes.
        return !label->text().isEmpty() && !label->styleSheet().contains(u"#a0a0b8");
    }
    return qobject_cast<const QCheckBox *>(widget) || qobject_cast<const QComboBox *>(widget) ||
           qobject_cast<const QSpinBox *>(widget) || qobject_cast<const QPushButton *>(widget) ||
           widget->objectName().startsWith(u"ZelInput");
}

} // namespace

/// The contrast of every visible text to its background.
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
    void theBackgroundAroundTheGroupsIsTheDialogs_data() { addModesAndDesktops(); }
    void theBackgroundAroundTheGroupsIsTheDialogs();
    void aCheckedBoxDiffersFromAnUncheckedOne_data() { addModesAndDesktops(); }
    void aCheckedBoxDiffersFromAnUncheckedOne();
    void aDisabledControlIsReadableAndDiffers_data() { addModesAndDesktops(); }
    void aDisabledControlIsReadableAndDiffers();

private:
    void open();
    /// Scrolls @p widget into view.
    QWidget *shown(QWidget *widget) const;

    std::unique_ptr<StandardLook> look;
    std::unique_ptr<SettingsDialog> dialog;
    QScrollArea *scrollArea = nullptr;
};

void TestContrast::open()
{
    look = startUpAsInRow();
    LauncherSettings &settings = LauncherSettings::instance();
    settings.clientDir = u"/jogo"_s;
    settings.patchBaseUrl = u"https://example.org/patch/"_s;
    settings.websiteUrl = u"https://example.org/"_s;
    settings.newsUrl = u"https://example.org/news"_s;
    dialog = std::make_unique<SettingsDialog>();
    for (QPushButton *button : dialog->findChildren<QPushButton *>()) {
        button->setIcon(QIcon());
    }
    dialog->show();
    QVERIFY(QTest::qWaitForWindowExposed(dialog.get()));
    scrollArea = dialog->findChild<QScrollArea *>();
    QVERIFY(scrollArea != nullptr);
}

QWidget *TestContrast::shown(QWidget *widget) const
{
    scrollArea->ensureWidgetVisible(widget);
    return widget;
}

void TestContrast::theMainWindowIsReadable()
{
    look = startUpAsInRow();
    LauncherWindow launcher;
    QVERIFY(QTest::qWaitForWindowExposed(&launcher.window));

    QCOMPARE_GE(textContrast(launcher.status, launcher.status->rect()), readable);
    // Footer and buttons have the same colours in both modes.
    for (const QWidget *fixed : std::initializer_list<const QWidget *>{
             launcher.footer, launcher.play, launcher.settings, launcher.cancel}) {
        QCOMPARE_GE(textContrast(fixed, fixed->rect()), 3.0);
    }
    for (QWidget *button : {launcher.play, launcher.settings}) {
        const QImage enabled = picture(button, button->rect());
        button->setEnabled(false);
        QVERIFY(picture(button, button->rect()) != enabled);
    }
    QCOMPARE_GE(textContrast(launcher.play), readableWhenDisabled);
}

void TestContrast::everyTextOfTheDialogIsReadable()
{
    open();
    int texts = 0;
    for (QWidget *widget : dialog->findChildren<QWidget *>()) {
        if (hasText(widget) && widget->isVisible()) {
            ++texts;
            const double measured = textContrast(shown(widget), textArea(widget));
            QVERIFY2(measured >= readable, qPrintable(u"%1 %2: %3"_s.arg(
                                               QLatin1StringView(widget->metaObject()->className()),
                                               widget->objectName(), QString::number(measured))));
        }
    }
    QCOMPARE_GT(texts, 37);
}

void TestContrast::everyGroupTitleIsReadable()
{
    open();
    const auto groups = dialog->findChildren<QGroupBox *>();
    QCOMPARE(groups.size(), 6);
    for (const QGroupBox *group : groups) {
        scrollArea->ensureVisible(0, group->y());
        const QFontMetrics metrics = group->fontMetrics();
        const QRect title(14, 2, 10 + metrics.horizontalAdvance(group->title()), metrics.height());
        QCOMPARE_GE(textContrast(group, title), readable);
    }
}

void TestContrast::theBackgroundAroundTheGroupsIsTheDialogs()
{
    open();
    QFETCH(const Mode, mode);
    const QColor ground = ZelPalette::forMode(mode).color(QPalette::Window);
    const QWidget *content = scrollArea->widget();
    QCOMPARE(picture(dialog.get(), dialog->rect()).pixelColor(1, 1), ground);
    QCOMPARE(picture(content, content->rect()).pixelColor(2, 2), ground);
    QVERIFY(background(picture(dialog->findChild<QGroupBox *>())) != ground);
}

void TestContrast::aCheckedBoxDiffersFromAnUncheckedOne()
{
    open();
    const auto boxes = dialog->findChildren<QCheckBox *>();
    QCOMPARE(boxes.size(), 5);
    for (QCheckBox *box : boxes) {
        box->setChecked(false);
        const QImage unchecked = picture(shown(box));
        box->setChecked(true);
        const QImage checked = picture(box);
        int different = 0;
        for (int y = 0; y < checked.height(); ++y) {
            for (int x = 0; x < checked.width(); ++x) {
                different += contrast(checked.pixelColor(x, y), unchecked.pixelColor(x, y)) > 1.5;
            }
        }
        QCOMPARE_GE(different, 30);
    }
}

void TestContrast::aDisabledControlIsReadableAndDiffers()
{
    open();
    const auto controls = dialog->findChildren<QAbstractButton *>();
    int texts = 0;
    for (QAbstractButton *control : controls) {
        if (!control->text().isEmpty()) {
            ++texts;
            const QImage enabled = picture(shown(control), control->rect());
            control->setEnabled(false);
            QVERIFY(picture(control, control->rect()) != enabled);
            QCOMPARE_GE(textContrast(control, textArea(control)), readableWhenDisabled);
        }
    }
    QCOMPARE(texts, 11); // five check boxes, "Buscar", three "...", OK and Cancel
}

ZEL_GUI_TEST_MAIN(TestContrast)

#include "tst_contrast.moc"
