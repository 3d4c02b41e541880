#include "support/TestMain.h"

#include "support/files/Disk.h"
#include "support/windows/StyleSheet.h"
#include "ui/ZelTheme.h"

#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFont>
#include <QImage>
#include <QLineEdit>
#include <QPalette>
#include <QSettings>
#include <QSpinBox>
#include <QStyle>
#include <QTextEdit>

using namespace Qt::StringLiterals;
using ZelTheme::InputStyle;
using ZelTheme::Mode;

namespace
{

QString storePath()
{
    return QDir(TestEnvironment::configHome()).filePath(u"Orvandale/ZEL.conf"_s);
}

/// The style sheet in the file @p name beside this test.
QString fileBeside(const QString &name)
{
    return QString::fromUtf8(Disk::read(QStringLiteral(ZEL_SHEETS) + u'/' + name));
}

/// The rules of a style sheet in its order, each with its properties sorted by name.
QStringList rulesOf(const QString &text)
{
    const StyleSheet sheet(text);
    QStringList rules{sheet.error};
    for (const StyleRule &rule : sheet.rules) {
        QString line = rule.selector;
        for (const auto &[name, value] : rule.properties.asKeyValueRange()) {
            line += u"; "_s + name + u": "_s + value;
        }
        rules.append(line);
    }
    return rules;
}

void addModes()
{
    QTest::addColumn<Mode>("mode");
    QTest::newRow("dark") << Mode::Dark;
    QTest::newRow("light") << Mode::Light;
}

} // namespace

class TestZelTheme : public TestBase
{
    Q_OBJECT

private slots:
    void init();

    void theModesAndInputStylesHaveTheirNumbers();

    void theStoredSpellingDecidesTheMode_data();
    void theStoredSpellingDecidesTheMode();
    void withoutASettingsFileTheModeIsDark();
    void aSavedModeIsLoadedAgain_data();
    void aSavedModeIsLoadedAgain();
    void theModeHasItsOwnSettingsFile();
    void savingKeepsOtherKeys();
    void aFullDiskKeepsTheStoredMode();
    void aStaleLockDelaysNoSave();

    void theApplicationGetsStyleFontAndSheet_data() { addModes(); }
    void theApplicationGetsStyleFontAndSheet();
    void noPaletteIsSetOnPurpose();

    void aSheetHasItsRulesAndNoOthers_data();
    void aSheetHasItsRulesAndNoOthers();
    void aTabLosesItsBottomBorderAfterItGotABorder_data() { addModes(); }
    void aTabLosesItsBottomBorderAfterItGotABorder();

    void aLineEditIsNamedAfterItsStyle_data();
    void aLineEditIsNamedAfterItsStyle();
    void theOtherInputsAreNamedToo();
    void aNullWidgetIsIgnored();
    void theNamesBindTheWidgetsToTheirRules_data() { addModes(); }
    void theNamesBindTheWidgetsToTheirRules();
    void textStaysInPlaceWhenAnInputGetsTheFocus_data() { addModes(); }
    void textStaysInPlaceWhenAnInputGetsTheFocus();

    void aTypeHasItsAccent_data();
    void aTypeHasItsAccent();
};

void TestZelTheme::init()
{
    TestBase::init();
    QFile::remove(storePath());
    qApp->setStyleSheet(QString());
}

void TestZelTheme::theModesAndInputStylesHaveTheirNumbers()
{
    // The short names, too.
    QCOMPARE(QList({ZelTheme::Dark, ZelTheme::Light}), QList({Mode::Dark, Mode::Light}));
    QCOMPARE(QList({Mode(0), Mode(1)}), QList({Mode::Dark, Mode::Light}));
    const QList styles{InputStyle(0), InputStyle(1), InputStyle(2), InputStyle(3)};
    QCOMPARE(styles,
             QList({ZelTheme::Default, ZelTheme::Search, ZelTheme::Path, ZelTheme::Header}));
    QCOMPARE(styles, QList({InputStyle::Default, InputStyle::Search, InputStyle::Path,
                            InputStyle::Header}));
}

void TestZelTheme::theStoredSpellingDecidesTheMode_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<Mode>("mode");

    QTest::newRow("light") << "[General]\ntheme=light\n"_ba << Mode::Light;
    QTest::newRow("dark") << "[General]\ntheme=dark\n"_ba << Mode::Dark;
    QTest::newRow("light, capital") << "[General]\ntheme=Light\n"_ba << Mode::Dark;
    QTest::newRow("light, all capitals") << "[General]\ntheme=LIGHT\n"_ba << Mode::Dark;
    QTest::newRow("light and a space") << "[General]\ntheme=\"light \"\n"_ba << Mode::Dark;
    QTest::newRow("unknown word") << "[General]\ntheme=blue\n"_ba << Mode::Dark;
    QTest::newRow("number of light") << "[General]\ntheme=1\n"_ba << Mode::Dark;
    QTest::newRow("empty") << "[General]\ntheme=\n"_ba << Mode::Dark;
    QTest::newRow("list") << "[General]\ntheme=light, light\n"_ba << Mode::Dark;
    QTest::newRow("other key") << "[General]\nTheme=light\n"_ba << Mode::Dark;
    QTest::newRow("other group") << "[ui]\ntheme=light\n"_ba << Mode::Dark;
    QTest::newRow("no key") << QByteArray() << Mode::Dark;
}

void TestZelTheme::theStoredSpellingDecidesTheMode()
{
    QFETCH(const QByteArray, content);
    Disk::write(storePath(), content);
    QTEST(ZelTheme::loadPreferredMode(), "mode");
}

void TestZelTheme::withoutASettingsFileTheModeIsDark()
{
    QCOMPARE(ZelTheme::loadPreferredMode(), Mode::Dark);
    QVERIFY(!QFile::exists(storePath()));
}

void TestZelTheme::aSavedModeIsLoadedAgain_data()
{
    QTest::addColumn<Mode>("saved");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<Mode>("loaded");

    QTest::newRow("light") << Mode::Light << "[General]\ntheme=light\n"_ba << Mode::Light;
    QTest::newRow("dark") << Mode::Dark << "[General]\ntheme=dark\n"_ba << Mode::Dark;
    QTest::newRow("neither") << Mode(2) << "[General]\ntheme=dark\n"_ba << Mode::Dark;
}

void TestZelTheme::aSavedModeIsLoadedAgain()
{
    QFETCH(const Mode, saved);
    ZelTheme::savePreferredMode(saved);
    QTEST(Disk::read(storePath()), "content");
    QTEST(ZelTheme::loadPreferredMode(), "loaded");
}

void TestZelTheme::theModeHasItsOwnSettingsFile()
{
    const QByteArray launcherSettings = "[General]\ntheme=light\n"_ba;
    Disk::write(TestEnvironment::settingsFile(), launcherSettings);
    QCOMPARE(ZelTheme::loadPreferredMode(), Mode::Dark);

    ZelTheme::savePreferredMode(Mode::Dark);
    QCOMPARE(Disk::read(TestEnvironment::settingsFile()), launcherSettings);
    QVERIFY(QFile::exists(storePath()));
}

void TestZelTheme::savingKeepsOtherKeys()
{
    Disk::write(storePath(), "[General]\nother=7\ntheme=dark\n"_ba);
    ZelTheme::savePreferredMode(Mode::Light);
    QCOMPARE(Disk::read(storePath()), "[General]\nother=7\ntheme=light\n"_ba);
}

void TestZelTheme::aFullDiskKeepsTheStoredMode()
{
    ZelTheme::savePreferredMode(Mode::Light);
    {
        const Disk::SizeLimit full(10);
        ZelTheme::savePreferredMode(Mode::Dark);
    }
    QCOMPARE(ZelTheme::loadPreferredMode(), Mode::Light);
    QCOMPARE(Disk::read(storePath()), "[General]\ntheme=light\n"_ba);
}

void TestZelTheme::aStaleLockDelaysNoSave()
{
    const QString lock = storePath() + u".lock"_s;
    Disk::write(lock, QByteArray());
    QElapsedTimer clock;
    clock.start();
    ZelTheme::savePreferredMode(Mode::Light);
    QCOMPARE_LT(clock.elapsed(), 15'000);
    QCOMPARE(Disk::read(storePath()), "[General]\ntheme=light\n"_ba);
    QVERIFY(!QFile::exists(lock));
}

void TestZelTheme::theApplicationGetsStyleFontAndSheet()
{
    QFETCH(const Mode, mode);
    QApplication::setStyle(u"Windows"_s);
    QApplication::setFont(QFont(u"serif"_s, 20, QFont::Bold));

    ZelTheme::apply(*qApp, mode);

    QCOMPARE(qApp->styleSheet(), ZelTheme::globalStyleSheet(mode));
    const QFont font = QApplication::font();
    QCOMPARE(font.families(), QStringList({u"Inter"_s, u"Segoe UI"_s, u"Ubuntu"_s, u"Cantarell"_s,
                                           u"Helvetica Neue"_s, u"sans-serif"_s}));
    QCOMPARE(font.pointSize(), 10);
    QCOMPARE(font.weight(), QFont::Normal);
    // A style sheet wraps the style.
    qApp->setStyleSheet(QString());
    QCOMPARE(QApplication::style()->name(), u"fusion"_s);
}

void TestZelTheme::noPaletteIsSetOnPurpose()
{
    ZelTheme::apply(*qApp, Mode::Dark);
    QVERIFY(!QCoreApplication::testAttribute(Qt::AA_SetPalette));
    QCOMPARE(QApplication::palette().resolveMask(), QPalette::ResolveMask(0));

    QPalette palette;
    palette.setColor(QPalette::Window, Qt::magenta);
    QApplication::setPalette(palette);
    ZelTheme::apply(*qApp, Mode::Light);
    QCOMPARE(QApplication::palette().color(QPalette::Window), QColor(Qt::magenta));
    QApplication::setPalette(QPalette());
}

void TestZelTheme::aSheetHasItsRulesAndNoOthers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    const QString dark = fileBeside(u"dark.qss"_s);
    QTest::newRow("global, dark") << ZelTheme::globalStyleSheet(Mode::Dark) << dark;
    QTest::newRow("global, neither is dark") << ZelTheme::globalStyleSheet(Mode(2)) << dark;
    QTest::newRow("global, light")
        << ZelTheme::globalStyleSheet(Mode::Light) << fileBeside(u"light.qss"_s);
    const QString buttonsAndPanels =
        ZelTheme::sidebarButtonStyle(true, Mode::Dark) +
        ZelTheme::sidebarButtonStyle(false, Mode::Dark) +
        ZelTheme::sidebarButtonStyle(true, Mode::Light) +
        ZelTheme::sidebarButtonStyle(false, Mode::Light) +
        ZelTheme::primaryButtonStyle(Mode::Dark) + ZelTheme::primaryButtonStyle(Mode::Light) +
        ZelTheme::secondaryButtonStyle(Mode::Dark) + ZelTheme::secondaryButtonStyle(Mode::Light) +
        ZelTheme::dangerButtonStyle(Mode::Dark) + ZelTheme::dangerButtonStyle(Mode::Light) +
        ZelTheme::cardStyle(Mode::Dark) + ZelTheme::cardStyle(Mode::Light) +
        ZelTheme::logViewStyle() + ZelTheme::accentButtonStyle(u"rgba(1, 2, 3, 0.5)"_s) +
        ZelTheme::headerBarStyle(u"#111111"_s, u"#222222"_s);
    QTest::newRow("buttons and panels")
        << buttonsAndPanels << fileBeside(u"buttons-and-panels.qss"_s);
}

void TestZelTheme::aSheetHasItsRulesAndNoOthers()
{
    QFETCH(const QString, text);
    QFETCH(const QString, expected);
    QCOMPARE(rulesOf(text), rulesOf(expected));

    // Qt warns about a style sheet that it cannot parse, which fails the test.
    QWidget widget;
    widget.setStyleSheet(text);
    widget.ensurePolished();
}

void TestZelTheme::aTabLosesItsBottomBorderAfterItGotABorder()
{
    QFETCH(const Mode, mode);
    const QString rules = ZelTheme::globalStyleSheet(mode);
    const QString tab = rules.section(u"QTabBar::tab {"_s, 1).section(u'}', 0, 0);
    QVERIFY(tab.contains(u" border:"));
    QCOMPARE_LT(tab.indexOf(u" border:"), tab.indexOf(u" border-bottom:"));
}

void TestZelTheme::aLineEditIsNamedAfterItsStyle_data()
{
    QTest::addColumn<InputStyle>("style");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("hasClearButton");

    QTest::newRow("default") << InputStyle::Default << u"ZelInput"_s << false;
    QTest::newRow("search") << InputStyle::Search << u"ZelInputSearch"_s << false;
    QTest::newRow("path") << InputStyle::Path << u"ZelInputPath"_s << true;
    QTest::newRow("header") << InputStyle::Header << u"ZelInputHeader"_s << false;
    QTest::newRow("out of range") << InputStyle(4) << u"ZelInput"_s << false;
    QTest::newRow("negative") << InputStyle(-1) << u"ZelInput"_s << false;
}

void TestZelTheme::aLineEditIsNamedAfterItsStyle()
{
    QFETCH(const InputStyle, style);
    QLineEdit edit;
    ZelTheme::styleLineEdit(&edit, style);
    QTEST(edit.objectName(), "name");
    QTEST(edit.isClearButtonEnabled(), "hasClearButton");
    QCOMPARE(edit.minimumHeight(), 38);
    QVERIFY(!edit.hasFrame());
    QVERIFY(edit.styleSheet().isEmpty());
}

void TestZelTheme::theOtherInputsAreNamedToo()
{
    QSpinBox spinBox;
    ZelTheme::styleSpinBox(&spinBox);
    QCOMPARE(spinBox.objectName(), u"ZelInput"_s);
    QCOMPARE(spinBox.minimumHeight(), 38);
    QVERIFY(!spinBox.hasFrame());

    QComboBox comboBox;
    ZelTheme::styleComboBox(&comboBox);
    QCOMPARE(comboBox.objectName(), u"ZelInput"_s);
    QCOMPARE(comboBox.minimumHeight(), 38);
    QVERIFY(comboBox.hasFrame());

    QTextEdit textArea;
    ZelTheme::styleTextArea(&textArea);
    QCOMPARE(textArea.objectName(), u"ZelTextArea"_s);
    QCOMPARE(textArea.frameShape(), QFrame::NoFrame);
    QCOMPARE(textArea.minimumHeight(), QTextEdit().minimumHeight());
}

void TestZelTheme::aNullWidgetIsIgnored()
{
    ZelTheme::styleLineEdit(nullptr, InputStyle::Path);
    ZelTheme::styleLineEdit(nullptr, InputStyle::Default);
    ZelTheme::styleSpinBox(nullptr);
    ZelTheme::styleComboBox(nullptr);
    ZelTheme::styleTextArea(nullptr);
}

void TestZelTheme::theNamesBindTheWidgetsToTheirRules()
{
    QFETCH(const Mode, mode);
    ZelTheme::apply(*qApp, mode);
    QLineEdit edit;
    ZelTheme::styleLineEdit(&edit);
    QLineEdit pathEdit;
    ZelTheme::styleLineEdit(&pathEdit, InputStyle::Path);
    QSpinBox spinBox;
    ZelTheme::styleSpinBox(&spinBox);
    QComboBox comboBox;
    ZelTheme::styleComboBox(&comboBox);

    const QString inputColor = mode == Mode::Dark ? u"#2a2a42"_s : u"#ffffff"_s;
    const QString pathColor = mode == Mode::Dark ? u"#1e1e32"_s : u"#f9f9fb"_s;
    // Inside the border, left of the padded text.
    const QPoint point(6, 19);
    for (QWidget *widget :
         std::initializer_list<QWidget *>{&edit, &pathEdit, &spinBox, &comboBox}) {
        widget->resize(200, 40);
        QCOMPARE(widget->grab().toImage().pixelColor(point).name(),
                 widget == &pathEdit ? pathColor : inputColor);
    }
}

void TestZelTheme::textStaysInPlaceWhenAnInputGetsTheFocus()
{
    QFETCH(const Mode, mode);
    ZelTheme::apply(*qApp, mode);
    for (const InputStyle style :
         {InputStyle::Default, InputStyle::Search, InputStyle::Path, InputStyle::Header}) {
        QWidget window;
        QLineEdit edit(u"text"_s, &window);
        ZelTheme::styleLineEdit(&edit, style);
        edit.resize(200, 44);
        QLineEdit other(&window);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));

        const auto cursorX = [&edit](QLineEdit &focused) {
            focused.setFocus();
            edit.setCursorPosition(0);
            return edit.inputMethodQuery(Qt::ImCursorRectangle).toRect().left();
        };
        const int blurred = cursorX(other);
        QTRY_VERIFY(other.hasFocus());
        QCOMPARE(cursorX(edit), blurred);
        QVERIFY(edit.hasFocus());
    }
}

void TestZelTheme::aTypeHasItsAccent_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("color");

    const QString other = u"#5b8def"_s;
    QTest::newRow("DB") << u"DB"_s << u"#4a90d9"_s;
    QTest::newRow("GS") << u"GS"_s << u"#50b86c"_s;
    QTest::newRow("API") << u"API"_s << u"#e67e22"_s;
    QTest::newRow("CLIENT") << u"CLIENT"_s << u"#e74c3c"_s;
    QTest::newRow("TOOL") << u"TOOL"_s << u"#9b59b6"_s;
    QTest::newRow("client in lower case") << u"client"_s << other;
    QTest::newRow("DB and a space") << u"DB "_s << other;
    QTest::newRow("unknown") << u"WEB"_s << other;
    QTest::newRow("empty") << QString() << other;
}

void TestZelTheme::aTypeHasItsAccent()
{
    QFETCH(const QString, type);
    QFETCH(const QString, color);
    QCOMPARE(ZelTheme::accentForType(type), color);
    QCOMPARE(ZelTheme::typeBadgeStyle(type),
             u"QLabel#TypeBadge { background: "_s + color + u"; color: white; }"_s);
}

ZEL_GUI_TEST_MAIN(TestZelTheme)

#include "tst_zeltheme.moc"
