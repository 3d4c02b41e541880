#include "support/TestMain.h"

#include "support/process/Child.h"
#include "support/windows/Contrast.h"
#include "support/windows/MessageBoxAnswerer.h"
#include "ui/MessageBox.h"
#include "ui/SettingsDialog.h"
#include "ui/StandardLook.h"
#include "ui/ZelPalette.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QPainter>
#include <QPushButton>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QToolButton>

#include <private/qguiapplication_p.h>
#include <qpa/qplatformtheme.h>
#include <qpa/qplatformthemeplugin.h>
#include <qpa/qwindowsysteminterface.h>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;
using ZelTheme::Mode;

namespace
{

/// A platform theme with its own fonts, palettes, button texts and button order.
class Desktop : public QPlatformTheme
{
public:
    QDialogButtonBox::ButtonLayout buttonLayout = QDialogButtonBox::KdeLayout;

    const QFont *font(Font /*type*/) const override { return &desktopFont; }
    const QPalette *palette(Palette /*type*/) const override { return &desktopPalette; }
    QString standardButtonText(int /*button*/) const override { return u"Desktop"_s; }
    QVariant themeHint(ThemeHint hint) const override
    {
        return hint == DialogButtonBoxLayout ? buttonLayout : QPlatformTheme::themeHint(hint);
    }

private:
    QFont desktopFont{u"serif"_s, 14, QFont::Black, true};
    QPalette desktopPalette{Qt::magenta};
};

/// Makes Desktop the platform theme of a program that starts with QT_QPA_PLATFORMTHEME=desktop.
class DesktopPlugin : public QPlatformThemePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QPlatformThemeFactoryInterface_iid FILE "desktop.json")

public:
    QPlatformTheme *create(const QString & /*key*/, const QStringList & /*parameters*/) override
    {
        return new Desktop;
    }
};

using Visit = std::function<void(QWidget &)>;

void visitSettingsDialog(const Visit &visit)
{
    SettingsDialog dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    visit(dialog);
}

void visitQuestion(const Visit &visit)
{
    MessageBoxAnswerer answerer;
    answerer.expect(QMessageBox::No, visit);
    MessageBox::ask(nullptr, u"ZEL Launcher"_s, u"Texto"_s);
}

/// Class, font, colours and text of every visible widget of @p window.
QStringList looks(const QWidget &window)
{
    QStringList looks;
    for (const QWidget *widget : window.findChildren<QWidget *>()) {
        if (widget->isVisible()) {
            const QPalette palette = widget->palette();
            looks.append(u"%1 %2 %3 %4 %5"_s.arg(
                QLatin1StringView(widget->metaObject()->className()), widget->font().toString(),
                palette.color(QPalette::Text).name(), palette.color(QPalette::Button).name(),
                widget->property("text").toString()));
        }
    }
    return looks;
}

QStringList looksIn(void (*visitWindow)(const Visit &))
{
    QStringList result;
    visitWindow([&result](const QWidget &window) { result = looks(window); });
    return result;
}

/// The looks of both windows in a program that is started with the platform theme @p name.
QByteArray looksUnder(const QString &name, const QStringList &childArguments)
{
    Child child(childArguments);
    child.setVariable(u"QT_QPA_PLATFORMTHEME"_s, name);
    // The offscreen platform warns about windows of fixed size.
    child.setVariable(u"QT_LOGGING_RULES"_s, u"default.warning=false"_s);
    return child.output();
}

/// Takes the mode, and "as it is" for windows without the launcher's look.
QByteArray childAnswer(const QStringList &arguments)
{
    std::unique_ptr<StandardLook> look;
    if (arguments.value(1) != u"as it is"_s) {
        const Mode mode = arguments.first() == u"light"_s ? Mode::Light : Mode::Dark;
        ZelTheme::apply(*qApp, mode);
        look = std::make_unique<StandardLook>(mode);
    }
    return (looksIn(&visitSettingsDialog) + looksIn(&visitQuestion)).join(u'\n').toUtf8();
}

/// Counts changes of the application's font and palette and of the style of widgets.
class ChangeCounter : public QObject
{
public:
    ChangeCounter() { qApp->installEventFilter(this); }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        changes += event->type() == QEvent::StyleChange ||
                   (watched == qApp && (event->type() == QEvent::ApplicationFontChange ||
                                        event->type() == QEvent::ApplicationPaletteChange));
        return false;
    }

    int changes = 0;
};

} // namespace

class TestStandardLook : public TestBase
{
    Q_OBJECT

private slots:
    void cleanup();

    void theDesktopThemeHasNoEffect_data();
    void theDesktopThemeHasNoEffect();
    void aChangeOfTheDesktopThemeHasNoEffect_data();
    void aChangeOfTheDesktopThemeHasNoEffect();
    void aChangeOfLanguageKeepsTheTexts_data() { aChangeOfTheDesktopThemeHasNoEffect_data(); }
    void aChangeOfLanguageKeepsTheTexts();
    void standardButtonsHavePortugueseTexts_data();
    void standardButtonsHavePortugueseTexts();
    void theButtonsOfAFileDialogAreTranslated();
    void aBlackIconOfAFileDialogIsReadable_data();
    void aBlackIconOfAFileDialogIsReadable();
    void theIconsBelongToTheMode_data();
    void theIconsBelongToTheMode();
    void theButtonsKeepTheDesktopsOrder();
    void aThemeChangeIsHandledOnce();

private:
    /// Makes @p theme the platform theme and sends the change events.
    static void change(QPlatformTheme *theme);

    using Visitor = void (*)(const Visit &);
    QPlatformTheme *const ownTheme = QGuiApplicationPrivate::platform_theme;
    Desktop desktop;
};

void TestStandardLook::cleanup()
{
    change(ownTheme);
}

void TestStandardLook::change(QPlatformTheme *theme)
{
    QGuiApplicationPrivate::platform_theme = theme;
    QWindowSystemInterface::handleThemeChange();
    QWindowSystemInterface::sendWindowSystemEvents(QEventLoop::AllEvents);
}

void TestStandardLook::theDesktopThemeHasNoEffect_data()
{
    QTest::addColumn<QString>("mode");
    QTest::newRow("dark") << u"dark"_s;
    QTest::newRow("light") << u"light"_s;
}

void TestStandardLook::theDesktopThemeHasNoEffect()
{
    QFETCH(const QString, mode);
    const QByteArray expected = looksUnder(u"none"_s, {mode});
    QCOMPARE_GE(expected.count('\n'), 10);
    QCOMPARE(looksUnder(u"desktop"_s, {mode}), expected);
    QVERIFY(looksUnder(u"desktop"_s, {mode, u"as it is"_s}) !=
            looksUnder(u"none"_s, {mode, u"as it is"_s}));
}

void TestStandardLook::aChangeOfTheDesktopThemeHasNoEffect_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<Visitor>("visitWindow");

    QTest::newRow("settings dialog, dark") << Mode::Dark << &visitSettingsDialog;
    QTest::newRow("settings dialog, light") << Mode::Light << &visitSettingsDialog;
    QTest::newRow("question, dark") << Mode::Dark << &visitQuestion;
    QTest::newRow("question, light") << Mode::Light << &visitQuestion;
}

void TestStandardLook::aChangeOfTheDesktopThemeHasNoEffect()
{
    QFETCH(const Mode, mode);
    QFETCH(const Visitor, visitWindow);
    const auto look = startUp(mode);
    const QFont font = QApplication::font();
    const QPalette palette = QApplication::palette();
    const QFont desktopFont(u"serif"_s, 14, QFont::Black);

    QStringList expected;
    visitWindow([&](const QWidget &window) {
        expected = looks(window);
        QApplication::setFont(desktopFont);
        QApplication::setFont(desktopFont, "QWidget");
        QVERIFY(looks(window) != expected);
        QTRY_COMPARE(QApplication::font(), font);
        QTRY_COMPARE(looks(window), expected);
        QApplication::setPalette(QPalette(Qt::magenta));
        QTRY_COMPARE(QApplication::palette(), palette);
        QCOMPARE(looks(window), expected);
        change(&desktop);
        QCoreApplication::processEvents();
        QCOMPARE(looks(window), expected);
    });
    QCOMPARE(looksIn(visitWindow), expected);
}

void TestStandardLook::aChangeOfLanguageKeepsTheTexts()
{
    QFETCH(const Mode, mode);
    QFETCH(const Visitor, visitWindow);
    change(&desktop);
    const auto look = startUp(mode);

    visitWindow([](const QWidget &window) {
        const QStringList expected = looks(window);
        StandardTexts other;
        QVERIFY(QCoreApplication::installTranslator(&other));
        QCoreApplication::processEvents(); // the windows are told by an event
        QCOMPARE(looks(window), expected);
    });
}

void TestStandardLook::standardButtonsHavePortugueseTexts_data()
{
    QTest::addColumn<QDialogButtonBox::StandardButton>("button");
    QTest::addColumn<QString>("text");

    QTest::newRow("ok") << QDialogButtonBox::Ok << u"OK"_s;
    QTest::newRow("cancel") << QDialogButtonBox::Cancel << u"Cancelar"_s;
    QTest::newRow("yes") << QDialogButtonBox::Yes << u"&Sim"_s;
    QTest::newRow("no") << QDialogButtonBox::No << u"&Nao"_s;
    QTest::newRow("not used by the launcher") << QDialogButtonBox::Help << u"Desktop"_s;
}

void TestStandardLook::standardButtonsHavePortugueseTexts()
{
    QFETCH(const QDialogButtonBox::StandardButton, button);
    change(&desktop);
    const auto look = startUp(Mode::Dark);

    QDialogButtonBox box(button);
    QPushButton other(u"Outro"_s, &box);
    box.show();
    QTEST(box.button(button)->text(), "text");
    QCOMPARE(other.text(), u"Outro"_s);
}

void TestStandardLook::theButtonsOfAFileDialogAreTranslated()
{
    change(&desktop);
    const auto look = startUp(Mode::Dark);

    QFileDialog chooser;
    chooser.setOption(QFileDialog::DontUseNativeDialog);
    chooser.show();
    const auto *box = chooser.findChild<QDialogButtonBox *>();
    QCOMPARE(box->button(QDialogButtonBox::Cancel)->text(), u"Cancelar"_s);
    QCOMPARE(box->button(QDialogButtonBox::Open)->text(), u"&Abrir"_s);
}

void TestStandardLook::aBlackIconOfAFileDialogIsReadable_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<QColor>("drawn");
    QTest::addColumn<QColor>("expected");
    const QColor darkText = ZelPalette::forMode(Mode::Dark).color(QPalette::ButtonText);
    QTest::newRow("black, dark mode") << Mode::Dark << QColor(Qt::black) << darkText;
    QTest::newRow("dark grey, dark mode") << Mode::Dark << QColor(63, 63, 63) << darkText;
    QTest::newRow("grey, dark mode") << Mode::Dark << QColor(64, 64, 64) << QColor(64, 64, 64);
    QTest::newRow("black, light mode") << Mode::Light << QColor(Qt::black) << QColor(Qt::black);
}

void TestStandardLook::aBlackIconOfAFileDialogIsReadable()
{
    QFETCH(const Mode, mode);
    QFETCH(const QColor, drawn);
    const auto look = startUp(mode);
    QPixmap pixmap(16, 16);
    pixmap.fill(Qt::transparent);
    QPainter(&pixmap).fillRect(0, 0, 8, 16, drawn);

    QFileDialog chooser;
    chooser.setOption(QFileDialog::DontUseNativeDialog);
    auto *button = chooser.findChild<QToolButton *>(u"toParentButton"_s);
    button->setIcon(pixmap);
    QToolButton other;
    other.setIcon(pixmap);
    chooser.show();
    other.show();
    const QImage shown = button->icon().pixmap(16).toImage();
    QTEST(shown.pixelColor(7, 8), "expected");
    QCOMPARE(shown.pixelColor(8, 8).alpha(), 0);
    QCOMPARE(other.icon().pixmap(16).toImage().pixelColor(7, 8), drawn); // no file dialog
}

void TestStandardLook::theIconsBelongToTheMode_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<QStringList>("installed");
    QTest::addColumn<QString>("chosen");
    QTest::addColumn<QString>("expected");

    const QStringList both{u"kind"_s, u"kind-dark"_s};
    QTest::newRow("dark for light") << Mode::Dark << both << u"kind"_s << u"kind-dark"_s;
    QTest::newRow("dark for dark") << Mode::Dark << both << u"kind-dark"_s << u"kind-dark"_s;
    QTest::newRow("light for light") << Mode::Light << both << u"kind"_s << u"kind"_s;
    QTest::newRow("light for dark") << Mode::Light << both << u"kind-dark"_s << u"kind"_s;

    const QStringList capitals{u"Kind"_s, u"Kind-Dark"_s};
    QTest::newRow("dark, capitals") << Mode::Dark << capitals << u"Kind"_s << u"Kind-Dark"_s;
    QTest::newRow("dark, already, capitals")
        << Mode::Dark << QStringList{u"Kind-Dark"_s, u"Kind-Dark-dark"_s} << u"Kind-Dark"_s
        << u"Kind-Dark"_s;
    QTest::newRow("dark, both spellings")
        << Mode::Dark << QStringList{u"kind-dark"_s, u"kind-Dark"_s} << u"kind"_s << u"kind-dark"_s;
    QTest::newRow("light, capitals") << Mode::Light << capitals << u"Kind-Dark"_s << u"Kind"_s;

    QTest::newRow("no dark one") << Mode::Dark << QStringList{u"kind"_s} << u"kind"_s << u"kind"_s;
    QTest::newRow("no light one") << Mode::Light << QStringList{u"kind-dark"_s} << u"kind-dark"_s
                                  << u"kind-dark"_s;
}

void TestStandardLook::theIconsBelongToTheMode()
{
    QFETCH(const Mode, mode);
    QFETCH(const QStringList, installed);
    QFETCH(const QString, chosen);
    QFETCH(const QString, expected);
    const QTemporaryDir folder;
    for (const QString &name : installed) {
        QVERIFY(QDir(folder.path()).mkdir(name));
        QFile index(folder.filePath(name + u"/index.theme"_s));
        QVERIFY(index.open(QIODevice::WriteOnly));
    }
    // A folder without an index is not a theme.
    QVERIFY(QDir(folder.path()).mkpath(u"other/kind-dark"_s));
    const QStringList paths = QIcon::themeSearchPaths();
    const QString name = QIcon::themeName();
    const auto restore = qScopeGuard([&paths, &name] {
        QIcon::setThemeSearchPaths(paths);
        QIcon::setThemeName(name);
    });
    QIcon::setThemeSearchPaths({folder.filePath(u"other"_s), folder.path()});
    QIcon::setThemeName(chosen);

    const auto look = startUp(mode);
    QCOMPARE(QIcon::themeName(), expected);

    // A change of the icon theme alone changes neither fonts nor palettes.
    QWidget window;
    window.show();
    QCoreApplication::processEvents();
    QIcon::setThemeName(chosen);
    change(ownTheme);
    QTRY_COMPARE(QIcon::themeName(), expected);
}

void TestStandardLook::theButtonsKeepTheDesktopsOrder()
{
    for (const auto layout : {QDialogButtonBox::KdeLayout, QDialogButtonBox::GnomeLayout}) {
        desktop.buttonLayout = layout;
        change(&desktop);
        const auto look = startUp(Mode::Dark);
        visitSettingsDialog([layout](const QWidget &window) {
            const auto *box = window.findChild<QDialogButtonBox *>();
            const int cancel = box->button(QDialogButtonBox::Cancel)->x();
            const int ok = box->button(QDialogButtonBox::Ok)->x();
            QCOMPARE(cancel < ok, layout == QDialogButtonBox::GnomeLayout);
        });
    }
}

void TestStandardLook::aThemeChangeIsHandledOnce()
{
    const auto look = startUp(Mode::Dark);
    const QFont font = QApplication::font();
    QWidget window;
    window.show();
    const ChangeCounter counter;
    QApplication::setFont(QFont(u"serif"_s));
    QTRY_COMPARE(QApplication::font(), font);
    const int changes = counter.changes;
    for (int turn = 0; turn < 10; ++turn) {
        QCoreApplication::processEvents();
    }
    QCOMPARE(counter.changes, changes);
}

Q_IMPORT_PLUGIN(DesktopPlugin)

int main(int argc, char *argv[])
{
    return runTestWithChildren<TestStandardLook, QApplication>(argc, argv, childAnswer);
}

#include "tst_standardlook.moc"
