#include "support/TestMain.h"

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

using Properties = QMap<QString, QString>;

/// The sheet in the file @p name beside this test.
StyleSheet sheetInFile(const QString &name)
{
    QFile file(QStringLiteral(ZEL_SHEETS) + u'/' + name);
    return StyleSheet(file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll())
                                                     : QString());
}

QString storePath()
{
    return QDir(TestEnvironment::configHome()).filePath(u"Orvandale/ZEL.conf"_s);
}

/// Writes the theme's store the way a player with a text editor would.
void writeStore(const QByteArray &content)
{
    QVERIFY(QDir().mkpath(QFileInfo(storePath()).path()));
    QFile file(storePath());
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

QByteArray readStore()
{
    QFile file(storePath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QColor colorAt(QWidget &widget, QPoint point)
{
    return widget.grab().toImage().pixelColor(point);
}

} // namespace

class TestZelTheme : public TestBase
{
    Q_OBJECT

private slots:
    void init();

    void theModesAndInputStylesHaveTheirNumbers();
    void theModesAndInputStylesHaveShortNames();

    void theStoredSpellingDecidesTheMode_data();
    void theStoredSpellingDecidesTheMode();
    void withoutAStoreTheModeIsDark();
    void aSavedModeIsLoadedAgain_data();
    void aSavedModeIsLoadedAgain();
    void theModeLivesInAStoreOfItsOwn();
    void savingKeepsWhatElseTheStoreHolds();
    void aStaleLockDelaysNoSave();

    void theApplicationGetsStyleFontAndSheet_data();
    void theApplicationGetsStyleFontAndSheet();
    void noPaletteIsSetOnPurpose();

    void aSheetHasItsRulesInOrderAndNoOthers_data();
    void aSheetHasItsRulesInOrderAndNoOthers();
    void aRuleHasItsPropertiesAndNoOthers_data();
    void aRuleHasItsPropertiesAndNoOthers();
    void aTabLosesItsBottomBorderAfterItGotABorder_data();
    void aTabLosesItsBottomBorderAfterItGotABorder();

    void aLineEditIsNamedAfterItsStyle_data();
    void aLineEditIsNamedAfterItsStyle();
    void aSpinBoxIsMarkedAsInput();
    void aComboBoxIsMarkedAsInputAndKeepsItsFrame();
    void aTextAreaIsMarkedAndHasNoFrame();
    void noWidgetIsHarmless();
    void theNamesBindTheWidgetsToTheirRules_data();
    void theNamesBindTheWidgetsToTheirRules();
    void textStaysInPlaceWhenAnInputGetsTheFocus_data();
    void textStaysInPlaceWhenAnInputGetsTheFocus();

    void aKitSheetHasItsRules_data();
    void aKitSheetHasItsRules();
    void everyKitSheetIsReadableByQt_data();
    void everyKitSheetIsReadableByQt();
    void aTypeHasItsAccent_data();
    void aTypeHasItsAccent();
    void aBadgeIsPaintedInTheAccentOfItsType_data();
    void aBadgeIsPaintedInTheAccentOfItsType();
    void anAccentButtonIgnoresTheMouseOnPurpose();
    void aHeaderBarFadesFromTheFirstColorToTheSecond();
};

void TestZelTheme::init()
{
    TestBase::init();
    QFile::remove(storePath());
    qApp->setStyleSheet(QString());
}

void TestZelTheme::theModesAndInputStylesHaveTheirNumbers()
{
    QCOMPARE(static_cast<int>(Mode::Dark), 0);
    QCOMPARE(static_cast<int>(Mode::Light), 1);
    QCOMPARE(static_cast<int>(InputStyle::Default), 0);
    QCOMPARE(static_cast<int>(InputStyle::Search), 1);
    QCOMPARE(static_cast<int>(InputStyle::Path), 2);
    QCOMPARE(static_cast<int>(InputStyle::Header), 3);
}

void TestZelTheme::theModesAndInputStylesHaveShortNames()
{
    QCOMPARE(ZelTheme::Dark, Mode::Dark);
    QCOMPARE(ZelTheme::Light, Mode::Light);
    QCOMPARE(ZelTheme::Default, InputStyle::Default);
    QCOMPARE(ZelTheme::Search, InputStyle::Search);
    QCOMPARE(ZelTheme::Path, InputStyle::Path);
    QCOMPARE(ZelTheme::Header, InputStyle::Header);
}

void TestZelTheme::theStoredSpellingDecidesTheMode_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<Mode>("mode");

    QTest::newRow("light") << "[General]\ntheme=light\n"_ba << Mode::Light;
    QTest::newRow("dark") << "[General]\ntheme=dark\n"_ba << Mode::Dark;
    QTest::newRow("light, capital") << "[General]\ntheme=Light\n"_ba << Mode::Dark;
    QTest::newRow("light, all capitals") << "[General]\ntheme=LIGHT\n"_ba << Mode::Dark;
    QTest::newRow("light and a blank") << "[General]\ntheme=\"light \"\n"_ba << Mode::Dark;
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
    QFETCH(const Mode, mode);

    writeStore(content);
    QCOMPARE(ZelTheme::loadPreferredMode(), mode);
}

void TestZelTheme::withoutAStoreTheModeIsDark()
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
    QTest::newRow("neither") << static_cast<Mode>(2) << "[General]\ntheme=dark\n"_ba << Mode::Dark;
}

void TestZelTheme::aSavedModeIsLoadedAgain()
{
    QFETCH(const Mode, saved);
    QFETCH(const QByteArray, content);
    QFETCH(const Mode, loaded);

    ZelTheme::savePreferredMode(saved);
    QCOMPARE(readStore(), content);
    QCOMPARE(ZelTheme::loadPreferredMode(), loaded);
}

void TestZelTheme::theModeLivesInAStoreOfItsOwn()
{
    QSettings launcher(QSettings::IniFormat, QSettings::UserScope, u"Orvandale"_s,
                       u"zel_launcher"_s);
    launcher.setValue(u"theme", u"light"_s);
    launcher.sync();
    QCOMPARE(launcher.fileName(), TestEnvironment::settingsFile());
    QCOMPARE(ZelTheme::loadPreferredMode(), Mode::Dark);

    ZelTheme::savePreferredMode(Mode::Dark);
    launcher.sync();
    QCOMPARE(launcher.value(u"theme").toString(), u"light"_s);
    QCOMPARE(launcher.allKeys(), QStringList{u"theme"_s});
    QVERIFY(QFile::exists(storePath()));
}

void TestZelTheme::savingKeepsWhatElseTheStoreHolds()
{
    writeStore("[General]\nother=7\ntheme=dark\n");
    ZelTheme::savePreferredMode(Mode::Light);
    QCOMPARE(readStore(), "[General]\nother=7\ntheme=light\n"_ba);
}

void TestZelTheme::aStaleLockDelaysNoSave()
{
    writeStore("[General]\ntheme=dark\n");
    QFile lock(storePath() + u".lock"_s);
    QVERIFY(lock.open(QIODevice::WriteOnly));
    lock.close();
    QElapsedTimer clock;
    clock.start();
    ZelTheme::savePreferredMode(Mode::Light);
    QVERIFY2(clock.elapsed() < 15'000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(readStore(), "[General]\ntheme=light\n"_ba);
    QVERIFY(!lock.exists());
}

void TestZelTheme::theApplicationGetsStyleFontAndSheet_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::newRow("dark") << Mode::Dark;
    QTest::newRow("light") << Mode::Light;
}

void TestZelTheme::theApplicationGetsStyleFontAndSheet()
{
    QFETCH(const Mode, mode);

    QApplication::setStyle(u"Windows"_s);
    QFont heavy(u"serif"_s, 20, QFont::Bold);
    QApplication::setFont(heavy);

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

void TestZelTheme::aSheetHasItsRulesInOrderAndNoOthers_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<QString>("file");
    QTest::newRow("dark") << Mode::Dark << u"dark.qss"_s;
    QTest::newRow("light") << Mode::Light << u"light.qss"_s;
    QTest::newRow("neither is dark") << static_cast<Mode>(2) << u"dark.qss"_s;
}

void TestZelTheme::aSheetHasItsRulesInOrderAndNoOthers()
{
    QFETCH(const Mode, mode);
    QFETCH(const QString, file);

    const StyleSheet expected = sheetInFile(file);
    QCOMPARE(expected.error, QString());
    const StyleSheet sheet(ZelTheme::globalStyleSheet(mode));
    QCOMPARE(sheet.error, QString());
    QCOMPARE(sheet.selectors(), expected.selectors());
}

void TestZelTheme::aRuleHasItsPropertiesAndNoOthers_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<QString>("selector");
    QTest::addColumn<Properties>("properties");

    for (const Mode mode : {Mode::Dark, Mode::Light}) {
        const char *const name = mode == Mode::Dark ? "dark" : "light";
        for (const StyleRule &rule : sheetInFile(QLatin1StringView(name) + u".qss"_s).rules) {
            QTest::addRow("%s: %s", name, qPrintable(rule.selector))
                << mode << rule.selector << rule.properties;
        }
    }
}

void TestZelTheme::aRuleHasItsPropertiesAndNoOthers()
{
    QFETCH(const Mode, mode);
    QFETCH(const QString, selector);
    QFETCH(const Properties, properties);

    QCOMPARE(StyleSheet(ZelTheme::globalStyleSheet(mode)).properties(selector), properties);
}

void TestZelTheme::aTabLosesItsBottomBorderAfterItGotABorder_data()
{
    theApplicationGetsStyleFontAndSheet_data();
}

void TestZelTheme::aTabLosesItsBottomBorderAfterItGotABorder()
{
    QFETCH(const Mode, mode);

    const StyleSheet sheet(ZelTheme::globalStyleSheet(mode));
    for (const StyleRule &rule : sheet.rules) {
        if (rule.selector == u"QTabBar::tab") {
            QVERIFY(rule.order.indexOf(u"border") < rule.order.indexOf(u"border-bottom"));
        }
    }
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
    QTest::newRow("out of range") << static_cast<InputStyle>(4) << u"ZelInput"_s << false;
    QTest::newRow("negative") << static_cast<InputStyle>(-1) << u"ZelInput"_s << false;
}

void TestZelTheme::aLineEditIsNamedAfterItsStyle()
{
    QFETCH(const InputStyle, style);
    QFETCH(const QString, name);
    QFETCH(const bool, hasClearButton);

    QLineEdit edit;
    ZelTheme::styleLineEdit(&edit, style);
    QCOMPARE(edit.objectName(), name);
    QCOMPARE(edit.isClearButtonEnabled(), hasClearButton);
    QCOMPARE(edit.minimumHeight(), 38);
    QVERIFY(!edit.hasFrame());
    QVERIFY(edit.styleSheet().isEmpty());
}

void TestZelTheme::aSpinBoxIsMarkedAsInput()
{
    QSpinBox box;
    ZelTheme::styleSpinBox(&box);
    QCOMPARE(box.objectName(), u"ZelInput"_s);
    QCOMPARE(box.minimumHeight(), 38);
    QVERIFY(!box.hasFrame());
}

void TestZelTheme::aComboBoxIsMarkedAsInputAndKeepsItsFrame()
{
    QComboBox box;
    ZelTheme::styleComboBox(&box);
    QCOMPARE(box.objectName(), u"ZelInput"_s);
    QCOMPARE(box.minimumHeight(), 38);
    QVERIFY(box.hasFrame());
}

void TestZelTheme::aTextAreaIsMarkedAndHasNoFrame()
{
    QTextEdit edit;
    QCOMPARE(edit.frameShape(), QFrame::StyledPanel);
    const int minimumHeight = edit.minimumHeight();
    ZelTheme::styleTextArea(&edit);
    QCOMPARE(edit.objectName(), u"ZelTextArea"_s);
    QCOMPARE(edit.frameShape(), QFrame::NoFrame);
    QCOMPARE(edit.minimumHeight(), minimumHeight);
}

void TestZelTheme::noWidgetIsHarmless()
{
    ZelTheme::styleLineEdit(nullptr, InputStyle::Path);
    ZelTheme::styleLineEdit(nullptr, InputStyle::Default);
    ZelTheme::styleSpinBox(nullptr);
    ZelTheme::styleComboBox(nullptr);
    ZelTheme::styleTextArea(nullptr);
}

void TestZelTheme::theNamesBindTheWidgetsToTheirRules_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("path");

    QTest::newRow("dark") << Mode::Dark << u"#2a2a42"_s << u"#1e1e32"_s;
    QTest::newRow("light") << Mode::Light << u"#ffffff"_s << u"#f9f9fb"_s;
}

void TestZelTheme::theNamesBindTheWidgetsToTheirRules()
{
    QFETCH(const Mode, mode);
    QFETCH(const QString, input);
    QFETCH(const QString, path);

    ZelTheme::apply(*qApp, mode);
    QLineEdit edit;
    ZelTheme::styleLineEdit(&edit, InputStyle::Default);
    QLineEdit pathEdit;
    ZelTheme::styleLineEdit(&pathEdit, InputStyle::Path);
    QSpinBox spinBox;
    ZelTheme::styleSpinBox(&spinBox);
    QComboBox comboBox;
    ZelTheme::styleComboBox(&comboBox);

    // Inside the border, left of the padded text.
    const QPoint point(6, 19);
    for (QWidget *widget : {static_cast<QWidget *>(&edit), static_cast<QWidget *>(&pathEdit),
                            static_cast<QWidget *>(&spinBox), static_cast<QWidget *>(&comboBox)}) {
        widget->resize(200, 40);
        QCOMPARE(colorAt(*widget, point).name(), widget == &pathEdit ? path : input);
    }
}

void TestZelTheme::textStaysInPlaceWhenAnInputGetsTheFocus_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<InputStyle>("style");

    for (const Mode mode : {Mode::Dark, Mode::Light}) {
        const char *const name = mode == Mode::Dark ? "dark" : "light";
        QTest::addRow("%s default", name) << mode << InputStyle::Default;
        QTest::addRow("%s search", name) << mode << InputStyle::Search;
        QTest::addRow("%s path", name) << mode << InputStyle::Path;
        QTest::addRow("%s header", name) << mode << InputStyle::Header;
    }
}

void TestZelTheme::textStaysInPlaceWhenAnInputGetsTheFocus()
{
    QFETCH(const Mode, mode);
    QFETCH(const InputStyle, style);

    ZelTheme::apply(*qApp, mode);
    QWidget window;
    QLineEdit edit(u"text"_s, &window);
    ZelTheme::styleLineEdit(&edit, style);
    edit.resize(200, 44);
    QLineEdit other(&window);
    other.move(0, 60);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));

    other.setFocus();
    QTRY_VERIFY(other.hasFocus());
    edit.setCursorPosition(0);
    const QRect blurred = edit.inputMethodQuery(Qt::ImCursorRectangle).toRect();
    edit.setFocus();
    QTRY_VERIFY(edit.hasFocus());
    QCOMPARE(edit.inputMethodQuery(Qt::ImCursorRectangle).toRect().left(), blurred.left());
}

void TestZelTheme::aKitSheetHasItsRules_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("active sidebar button, dark")
        << ZelTheme::sidebarButtonStyle(true, Mode::Dark)
        << uR"(QPushButton { text-align: left; padding: 11px 14px; border: none; border-radius: 10px;
    background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 #3d5a9e, stop:1 #5b4a9e);
    color: #ffffff; font-weight: 700 })"_s;
    QTest::newRow("inactive sidebar button, dark")
        << ZelTheme::sidebarButtonStyle(false, Mode::Dark)
        << uR"(QPushButton { text-align: left; padding: 11px 14px; border: none; border-radius: 10px;
    background: transparent; color: #b8b8d0; font-weight: 500 }
QPushButton:hover { background: rgba(255,255,255,0.06); color: #ffffff })"_s;
    QTest::newRow("active sidebar button, light")
        << ZelTheme::sidebarButtonStyle(true, Mode::Light)
        << uR"(QPushButton { text-align: left; padding: 10px 14px; border: none; border-radius: 10px;
    background: #FFFFFF; color: #1D1D1F; font-weight: 600 })"_s;
    QTest::newRow("inactive sidebar button, light")
        << ZelTheme::sidebarButtonStyle(false, Mode::Light)
        << uR"(QPushButton { text-align: left; padding: 10px 14px; border: none; border-radius: 10px;
    background: transparent; color: #3A3A3C; font-weight: 500 }
QPushButton:hover { background: rgba(255,255,255,0.55) })"_s;

    QTest::newRow("primary button, dark")
        << ZelTheme::primaryButtonStyle(Mode::Dark)
        << uR"(QPushButton { color: white; border: none; border-radius: 10px; padding: 10px 18px;
    background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #5b8def, stop:1 #3d6fd4);
    font-weight: 700 }
QPushButton:hover {
    background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #6b9dff, stop:1 #4d7fe4) }
QPushButton:disabled { background: #2a3550; color: #666 })"_s;
    QTest::newRow("primary button, light")
        << ZelTheme::primaryButtonStyle(Mode::Light)
        << uR"(QPushButton { background: #007AFF; color: white; border: none; border-radius: 10px;
    padding: 10px 18px; font-weight: 600 }
QPushButton:hover { background: #0066D6 }
QPushButton:disabled { background: #B0D4FF; color: #F5F5F7 })"_s;

    QTest::newRow("secondary button, dark")
        << ZelTheme::secondaryButtonStyle(Mode::Dark)
        << uR"(QPushButton { background: #2f2f48; color: #c8d8ff; border: 1px solid #4a4a68;
    border-radius: 10px; padding: 10px 18px; font-weight: 600 }
QPushButton:hover { background: #3a3a58 }
QPushButton:disabled { color: #555 })"_s;
    QTest::newRow("secondary button, light")
        << ZelTheme::secondaryButtonStyle(Mode::Light)
        << uR"(QPushButton { background: #FFFFFF; color: #007AFF; border: 1px solid #D2D2D7;
    border-radius: 10px; padding: 10px 18px; font-weight: 600 }
QPushButton:hover { background: #F2F2F7 })"_s;

    QTest::newRow("danger button, dark")
        << ZelTheme::dangerButtonStyle(Mode::Dark)
        << uR"(QPushButton { color: white; border: none; border-radius: 10px; padding: 10px 18px;
    background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #e74c3c, stop:1 #c0392b);
    font-weight: 700 }
QPushButton:hover { background: #f05a4a }
QPushButton:disabled { background: #4a2828; color: #666 })"_s;
    QTest::newRow("danger button, light")
        << ZelTheme::dangerButtonStyle(Mode::Light)
        << uR"(QPushButton { background: #FF3B30; color: white; border: none; border-radius: 10px;
    padding: 10px 18px; font-weight: 600 }
QPushButton:hover { background: #E0352B })"_s;

    QTest::newRow("card, dark")
        << ZelTheme::cardStyle(Mode::Dark)
        << u"QWidget#Card { background: #222236; border: 1px solid #3a3a55; border-radius: 14px }"_s;
    QTest::newRow("card, light")
        << ZelTheme::cardStyle(Mode::Light)
        << u"QWidget#Card { background: #FFFFFF; border: 1px solid #E5E5EA; border-radius: 16px }"_s;
    QTest::newRow("log view")
        << ZelTheme::logViewStyle()
        << uR"(QTextEdit { background: #0d0d14; color: #e0e0f0; border: 1px solid #2a2a42;
    border-radius: 12px; padding: 8px;
    font-family: "JetBrains Mono", "SF Mono", "Consolas", monospace;
    selection-background-color: #4a6090 })"_s;
    QTest::newRow("accent button")
        << ZelTheme::accentButtonStyle(u"#12ab34"_s)
        << uR"(QPushButton { background: #12ab34; color: white; border: none; border-radius: 8px;
    padding: 8px 14px; font-weight: 600; min-height: 20px }
QPushButton:hover { background: #12ab34 }
QPushButton:disabled { background: #444; color: #888 })"_s;
    QTest::newRow("header bar")
        << ZelTheme::headerBarStyle(u"#111111"_s, u"#222222"_s)
        << uR"(QWidget#HeaderBar { border: none; border-radius: 0; min-height: 72px;
    background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 #111111, stop:1 #222222) }
QWidget#HeaderBar QLabel { background: transparent; border: none }
QWidget#HeaderBar QPushButton { min-height: 38px })"_s;
}

void TestZelTheme::aKitSheetHasItsRules()
{
    QFETCH(const QString, text);
    QFETCH(const QString, expected);

    const StyleSheet sheet(text);
    QCOMPARE(sheet.error, QString());
    const StyleSheet expectedSheet(expected);
    QCOMPARE(sheet.selectors(), expectedSheet.selectors());
    for (qsizetype i = 0; i < sheet.rules.size(); ++i) {
        QCOMPARE(sheet.rules.at(i).properties, expectedSheet.rules.at(i).properties);
    }
}

void TestZelTheme::everyKitSheetIsReadableByQt_data()
{
    aKitSheetHasItsRules_data();
}

void TestZelTheme::everyKitSheetIsReadableByQt()
{
    QFETCH(const QString, text);

    // A sheet that cannot be read is a warning, which fails the test.
    QWidget widget;
    widget.setStyleSheet(text);
    widget.ensurePolished();
    QCOMPARE(widget.styleSheet(), text);
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
    QTest::newRow("DB and a blank") << u"DB "_s << other;
    QTest::newRow("unknown") << u"WEB"_s << other;
    QTest::newRow("empty") << QString() << other;
}

void TestZelTheme::aTypeHasItsAccent()
{
    QFETCH(const QString, type);
    QFETCH(const QString, color);
    QCOMPARE(ZelTheme::accentForType(type), color);
}

void TestZelTheme::aBadgeIsPaintedInTheAccentOfItsType_data()
{
    aTypeHasItsAccent_data();
}

void TestZelTheme::aBadgeIsPaintedInTheAccentOfItsType()
{
    QFETCH(const QString, type);
    QFETCH(const QString, color);
    QCOMPARE(ZelTheme::typeBadgeStyle(type),
             u"QLabel#TypeBadge { background: "_s + color + u"; color: white; }"_s);
}

void TestZelTheme::anAccentButtonIgnoresTheMouseOnPurpose()
{
    const StyleSheet sheet(ZelTheme::accentButtonStyle(u"rgba(1, 2, 3, 0.5)"_s));
    QCOMPARE(sheet.properties(u"QPushButton:hover"_s),
             Properties({{u"background"_s, u"rgba(1, 2, 3, 0.5)"_s}}));
    QCOMPARE(sheet.properties(u"QPushButton"_s).value(u"background"_s), u"rgba(1, 2, 3, 0.5)"_s);
}

void TestZelTheme::aHeaderBarFadesFromTheFirstColorToTheSecond()
{
    QWidget bar;
    bar.setObjectName(u"HeaderBar"_s);
    bar.setAttribute(Qt::WA_StyledBackground);
    bar.setStyleSheet(ZelTheme::headerBarStyle(u"#ff0000"_s, u"#0000ff"_s));
    bar.resize(256, 80);
    QVERIFY(colorAt(bar, {0, 40}).red() > 250);
    QVERIFY(colorAt(bar, {0, 40}).blue() < 5);
    QVERIFY(colorAt(bar, {255, 40}).blue() > 250);
    QVERIFY(colorAt(bar, {255, 40}).red() < 5);
}

ZEL_GUI_TEST_MAIN(TestZelTheme)

#include "tst_zeltheme.moc"
