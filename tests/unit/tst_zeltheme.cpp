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

#include <utility>

using ZelTheme::InputStyle;
using ZelTheme::Mode;

namespace
{

using Properties = QMap<QString, QString>;

/// A rule as the design has it.
struct Rule {
    const char *selector;
    QList<std::pair<const char *, const char *>> properties;
};
using Rules = QList<Rule>;

const Rules darkBaseRules{
    {"QMainWindow, QDialog", {{"background", "#1a1a2e"}}},
    {"QWidget", {{"color", "#e8e8f0"}}},
    {"QLabel", {{"background", "transparent"}, {"color", "#e8e8f0"}}},
    {"QLabel#AppTitle", {{"font-size", "22px"}, {"font-weight", "700"}, {"color", "#ffffff"}}},
    {"QLabel#AppSubtitle", {{"font-size", "12px"}, {"color", "#9898b0"}}},
    {"QLabel#SectionTitle", {{"font-size", "18px"}, {"font-weight", "700"}, {"color", "#ffffff"}}},
    {"QLabel#HeaderTitle",
     {{"font-size", "20px"}, {"font-weight", "700"}, {"color", "#ffffff"}, {"border", "none"}}},
    {"QLabel#HeaderSubtitle",
     {{"font-size", "11px"}, {"color", "rgba(255, 255, 255, 0.82)"}, {"border", "none"}}},
    {"QLabel#HeaderLabel",
     {{"color", "rgba(255, 255, 255, 0.92)"}, {"font-weight", "600"}, {"border", "none"}}},
    {"QLabel#TypeBadge",
     {{"border-radius", "6px"},
      {"padding", "3px 10px"},
      {"font-weight", "700"},
      {"font-size", "11px"}}},
    {"QGroupBox",
     {{"background", "#222236"},
      {"border", "1px solid #3a3a55"},
      {"border-radius", "12px"},
      {"margin-top", "14px"},
      {"padding", "18px 16px 16px 16px"},
      {"font-weight", "600"},
      {"color", "#c8c8e0"}}},
    {"QGroupBox::title",
     {{"subcontrol-origin", "margin"},
      {"left", "14px"},
      {"padding", "0 8px"},
      {"color", "#ffffff"},
      {"background", "#222236"}}},
    {"QCheckBox", {{"spacing", "8px"}, {"color", "#c8c8e0"}, {"background", "transparent"}}},
    {"QScrollArea", {{"border", "none"}, {"background", "#1a1a2e"}}},
    {"QSplitter::handle", {{"background", "#3a3a55"}}},
    {"QTabWidget::pane",
     {{"border", "1px solid #3a3a55"},
      {"border-radius", "0 0 8px 8px"},
      {"background", "#1e1e32"}}},
    {"QTabBar::tab",
     {{"background", "#252538"},
      {"color", "#9898b0"},
      {"padding", "8px 18px"},
      {"margin-right", "3px"},
      {"border", "1px solid #3a3a55"},
      {"border-bottom", "none"},
      {"border-top-left-radius", "8px"},
      {"border-top-right-radius", "8px"}}},
    {"QTabBar::tab:selected",
     {{"background", "#2e3a6a"}, {"color", "#ffffff"}, {"font-weight", "700"}}},
    {"QTabBar::tab:hover:!selected", {{"background", "#2f2f48"}}},
    {"QTableView, QTreeWidget, QListWidget",
     {{"background", "#1e1e32"},
      {"color", "#e0e0f0"},
      {"border", "1px solid #3a3a55"},
      {"alternate-background-color", "#252538"},
      {"gridline-color", "#3a3a55"}}},
    {"QTableView::item:selected, QTreeWidget::item:selected, QListWidget::item:selected",
     {{"background", "#4a6090"}}},
    {"QHeaderView::section",
     {{"background", "#2a2a42"},
      {"color", "#b0b0c8"},
      {"border", "1px solid #3a3a55"},
      {"padding", "6px 8px"},
      {"font-weight", "700"}}},
    {"QMenuBar",
     {{"background", "#1e1e32"}, {"color", "#e0e0f0"}, {"border-bottom", "1px solid #3a3a55"}}},
    {"QMenuBar::item:selected", {{"background", "#3a3a55"}}},
    {"QMenu", {{"background", "#252538"}, {"color", "#e0e0f0"}, {"border", "1px solid #3a3a55"}}},
    {"QMenu::item:selected", {{"background", "#4a6090"}}},
    {"QStatusBar",
     {{"background", "#141424"}, {"color", "#9898b0"}, {"border-top", "1px solid #3a3a55"}}},
    {"QDialogButtonBox", {{"background", "transparent"}}},
    {"QDialogButtonBox QPushButton", {{"min-width", "88px"}, {"min-height", "34px"}}},
    {"QToolTip",
     {{"background", "#2a2a42"},
      {"color", "#e8e8f0"},
      {"border", "1px solid #5b8def"},
      {"padding", "4px 8px"}}},
};

const Rules darkInputRules{
    {"QLineEdit#ZelInput, QSpinBox#ZelInput, QComboBox#ZelInput",
     {{"background", "#2a2a42"},
      {"color", "#f0f0f8"},
      {"border", "1px solid #454560"},
      {"border-radius", "10px"},
      {"padding", "9px 14px"},
      {"min-height", "22px"},
      {"selection-background-color", "#5b8def"},
      {"selection-color", "#ffffff"}}},
    {"QLineEdit#ZelInput:hover, QSpinBox#ZelInput:hover, QComboBox#ZelInput:hover",
     {{"border-color", "#5a5a78"}, {"background", "#2e2e48"}}},
    {"QLineEdit#ZelInput:focus, QSpinBox#ZelInput:focus, QComboBox#ZelInput:focus",
     {{"border", "2px solid #5b8def"}, {"padding", "8px 13px"}, {"background", "#32324e"}}},
    {"QLineEdit#ZelInput:disabled, QSpinBox#ZelInput:disabled",
     {{"background", "#1e1e30"}, {"color", "#707088"}, {"border-color", "#333348"}}},
    {"QLineEdit#ZelInputSearch",
     {{"background", "#2a2a42"},
      {"color", "#f0f0f8"},
      {"border", "1px solid #454560"},
      {"border-radius", "10px"},
      {"padding", "9px 14px 9px 36px"},
      {"min-height", "22px"},
      {"selection-background-color", "#5b8def"}}},
    {"QLineEdit#ZelInputSearch:hover", {{"border-color", "#5a5a78"}, {"background", "#2e2e48"}}},
    {"QLineEdit#ZelInputSearch:focus",
     {{"border", "2px solid #50b86c"},
      {"padding", "8px 13px 8px 35px"},
      {"background", "#32324e"}}},
    {"QLineEdit#ZelInputPath",
     {{"background", "#1e1e32"},
      {"color", "#d8e4ff"},
      {"border", "1px solid #3d4a68"},
      {"border-radius", "8px"},
      {"padding", "8px 12px"},
      {"min-height", "20px"},
      {"font-family", R"("JetBrains Mono", "SF Mono", "Consolas", monospace)"},
      {"font-size", "11px"},
      {"selection-background-color", "#4a6090"}}},
    {"QLineEdit#ZelInputPath:hover", {{"border-color", "#5b8def"}}},
    {"QLineEdit#ZelInputPath:focus",
     {{"border", "2px solid #5b8def"}, {"padding", "7px 11px"}, {"background", "#252538"}}},
    {"QLineEdit#ZelInputHeader",
     {{"background", "rgba(255, 255, 255, 0.12)"},
      {"color", "#ffffff"},
      {"border", "1px solid rgba(255, 255, 255, 0.28)"},
      {"border-radius", "10px"},
      {"padding", "9px 14px"},
      {"min-height", "22px"},
      {"selection-background-color", "rgba(255, 255, 255, 0.35)"},
      {"selection-color", "#ffffff"}}},
    {"QLineEdit#ZelInputHeader:hover",
     {{"background", "rgba(255, 255, 255, 0.18)"}, {"border-color", "rgba(255, 255, 255, 0.40)"}}},
    {"QLineEdit#ZelInputHeader:focus",
     {{"background", "rgba(255, 255, 255, 0.22)"},
      {"border", "2px solid rgba(255, 255, 255, 0.55)"},
      {"padding", "8px 13px"}}},
    {"QTextEdit#ZelTextArea",
     {{"background", "#2a2a42"},
      {"color", "#f0f0f8"},
      {"border", "1px solid #454560"},
      {"border-radius", "10px"},
      {"padding", "10px 14px"}}},
    {"QTextEdit#ZelTextArea:focus", {{"border", "2px solid #5b8def"}, {"padding", "9px 13px"}}},
    {"QSpinBox#ZelInput::up-button, QSpinBox#ZelInput::down-button",
     {{"background", "#353550"}, {"border", "none"}, {"width", "18px"}, {"border-radius", "4px"}}},
    {"QSpinBox#ZelInput::up-button:hover, QSpinBox#ZelInput::down-button:hover",
     {{"background", "#454568"}}},
    {"QComboBox#ZelInput::drop-down",
     {{"border", "none"}, {"width", "28px"}, {"background", "transparent"}}},
    {"QComboBox#ZelInput QAbstractItemView",
     {{"background", "#252538"},
      {"color", "#e8e8f0"},
      {"selection-background-color", "#4a6090"},
      {"border", "1px solid #3d3d58"},
      {"border-radius", "6px"},
      {"padding", "4px"}}},
};

const Rules lightBaseRules{
    {"QMainWindow, QDialog", {{"background", "#F5F5F7"}}},
    {"QWidget", {{"color", "#1D1D1F"}}},
    {"QLabel", {{"background", "transparent"}, {"color", "#1D1D1F"}}},
    {"QLabel#AppTitle", {{"font-size", "22px"}, {"font-weight", "600"}, {"color", "#1D1D1F"}}},
    {"QLabel#AppSubtitle", {{"font-size", "12px"}, {"color", "#86868B"}}},
    {"QLabel#SectionTitle", {{"font-size", "17px"}, {"font-weight", "600"}}},
    {"QLabel#HeaderTitle", {{"font-size", "20px"}, {"font-weight", "700"}, {"color", "#ffffff"}}},
    {"QLabel#HeaderSubtitle", {{"font-size", "11px"}, {"color", "rgba(255, 255, 255, 0.85)"}}},
    {"QLabel#HeaderLabel", {{"color", "rgba(255, 255, 255, 0.95)"}, {"font-weight", "600"}}},
    {"QGroupBox",
     {{"background", "#FFFFFF"},
      {"border", "1px solid #E5E5EA"},
      {"border-radius", "16px"},
      {"margin-top", "14px"},
      {"padding", "18px 16px 16px 16px"},
      {"font-weight", "600"}}},
    {"QGroupBox::title",
     {{"subcontrol-origin", "margin"},
      {"left", "14px"},
      {"padding", "0 6px"},
      {"color", "#1D1D1F"},
      {"background", "#FFFFFF"}}},
    {"QCheckBox", {{"spacing", "8px"}, {"background", "transparent"}}},
    {"QScrollArea", {{"border", "none"}, {"background", "#F5F5F7"}}},
    {"QTabWidget::pane", {{"border", "1px solid #D2D2D7"}, {"background", "#FFFFFF"}}},
    {"QTabBar::tab",
     {{"background", "#EBEBEF"},
      {"padding", "8px 16px"},
      {"border", "1px solid #D2D2D7"},
      {"border-bottom", "none"},
      {"border-top-left-radius", "8px"},
      {"border-top-right-radius", "8px"}}},
    {"QTabBar::tab:selected", {{"background", "#FFFFFF"}, {"font-weight", "600"}}},
    {"QTableView, QTreeWidget, QListWidget",
     {{"background", "#FFFFFF"},
      {"border", "1px solid #E5E5EA"},
      {"alternate-background-color", "#F9F9FB"}}},
    {"QHeaderView::section",
     {{"background", "#F2F2F7"},
      {"border", "1px solid #E5E5EA"},
      {"padding", "6px"},
      {"font-weight", "600"}}},
};

const Rules lightInputRules{
    {"QLineEdit#ZelInput, QSpinBox#ZelInput, QComboBox#ZelInput",
     {{"background", "#FFFFFF"},
      {"color", "#1D1D1F"},
      {"border", "1px solid #D2D2D7"},
      {"border-radius", "10px"},
      {"padding", "9px 14px"},
      {"min-height", "22px"},
      {"selection-background-color", "#007AFF"}}},
    {"QLineEdit#ZelInput:hover, QSpinBox#ZelInput:hover", {{"border-color", "#AEAEB2"}}},
    {"QLineEdit#ZelInput:focus, QSpinBox#ZelInput:focus, QComboBox#ZelInput:focus",
     {{"border", "2px solid #007AFF"}, {"padding", "8px 13px"}}},
    {"QLineEdit#ZelInputSearch",
     {{"background", "#FFFFFF"},
      {"border", "1px solid #D2D2D7"},
      {"border-radius", "10px"},
      {"padding", "9px 14px 9px 36px"}}},
    {"QLineEdit#ZelInputSearch:focus",
     {{"border", "2px solid #34C759"}, {"padding", "8px 13px 8px 35px"}}},
    {"QLineEdit#ZelInputPath",
     {{"background", "#F9F9FB"},
      {"border", "1px solid #D2D2D7"},
      {"border-radius", "8px"},
      {"padding", "8px 12px"},
      {"font-family", R"("JetBrains Mono", "SF Mono", "Consolas", monospace)"},
      {"font-size", "11px"}}},
    {"QLineEdit#ZelInputPath:focus", {{"border", "2px solid #007AFF"}, {"padding", "7px 11px"}}},
    {"QLineEdit#ZelInputHeader",
     {{"background", "rgba(255, 255, 255, 0.85)"},
      {"color", "#1D1D1F"},
      {"border", "1px solid rgba(255, 255, 255, 0.9)"},
      {"border-radius", "10px"},
      {"padding", "9px 14px"}}},
    {"QLineEdit#ZelInputHeader:focus", {{"border", "2px solid #007AFF"}, {"padding", "8px 13px"}}},
    {"QTextEdit#ZelTextArea",
     {{"background", "#FFFFFF"},
      {"border", "1px solid #D2D2D7"},
      {"border-radius", "10px"},
      {"padding", "10px 14px"}}},
    {"QTextEdit#ZelTextArea:focus", {{"border", "2px solid #007AFF"}, {"padding", "9px 13px"}}},
};

QString fromLatin1(const char *text)
{
    return QString::fromLatin1(text);
}

Properties propertiesOf(const Rule &rule)
{
    Properties properties;
    for (const auto &[name, value] : rule.properties) {
        properties.insert(fromLatin1(name), fromLatin1(value));
    }
    return properties;
}

QStringList selectorsOf(const Rules &rules)
{
    QStringList selectors;
    for (const Rule &rule : rules) {
        selectors.append(fromLatin1(rule.selector));
    }
    return selectors;
}

/// One row for each rule, so that a failure names it.
void addRuleRows(const char *prefix, const QString &sheet, const Rules &rules)
{
    for (const Rule &rule : rules) {
        QTest::addRow("%s: %s", prefix, rule.selector)
            << sheet << fromLatin1(rule.selector) << propertiesOf(rule);
    }
}

QString storePath()
{
    return QDir(TestEnvironment::configHome()).filePath(QStringLiteral("Orvandale/ZEL.conf"));
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
    void aLockOfAKilledLauncherDelaysNoSave();

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
    void theMarksBindTheWidgetsToTheirRules_data();
    void theMarksBindTheWidgetsToTheirRules();
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

    QTest::newRow("light") << QByteArray("[General]\ntheme=light\n") << Mode::Light;
    QTest::newRow("dark") << QByteArray("[General]\ntheme=dark\n") << Mode::Dark;
    QTest::newRow("light, capital") << QByteArray("[General]\ntheme=Light\n") << Mode::Dark;
    QTest::newRow("light, all capitals") << QByteArray("[General]\ntheme=LIGHT\n") << Mode::Dark;
    QTest::newRow("light and a blank") << QByteArray("[General]\ntheme=\"light \"\n") << Mode::Dark;
    QTest::newRow("unknown word") << QByteArray("[General]\ntheme=blue\n") << Mode::Dark;
    QTest::newRow("number of light") << QByteArray("[General]\ntheme=1\n") << Mode::Dark;
    QTest::newRow("empty") << QByteArray("[General]\ntheme=\n") << Mode::Dark;
    QTest::newRow("list") << QByteArray("[General]\ntheme=light, light\n") << Mode::Dark;
    QTest::newRow("other key") << QByteArray("[General]\nTheme=light\n") << Mode::Dark;
    QTest::newRow("other group") << QByteArray("[ui]\ntheme=light\n") << Mode::Dark;
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

    QTest::newRow("light") << Mode::Light << QByteArray("[General]\ntheme=light\n") << Mode::Light;
    QTest::newRow("dark") << Mode::Dark << QByteArray("[General]\ntheme=dark\n") << Mode::Dark;
    QTest::newRow("neither") << static_cast<Mode>(2) << QByteArray("[General]\ntheme=dark\n")
                             << Mode::Dark;
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
    QSettings launcher(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Orvandale"),
                       QStringLiteral("zel_launcher"));
    launcher.setValue(u"theme", QStringLiteral("light"));
    launcher.sync();
    QCOMPARE(launcher.fileName(), TestEnvironment::settingsFile());
    QCOMPARE(ZelTheme::loadPreferredMode(), Mode::Dark);

    ZelTheme::savePreferredMode(Mode::Dark);
    launcher.sync();
    QCOMPARE(launcher.value(u"theme").toString(), QStringLiteral("light"));
    QCOMPARE(launcher.allKeys(), QStringList{QStringLiteral("theme")});
    QVERIFY(QFile::exists(storePath()));
}

void TestZelTheme::savingKeepsWhatElseTheStoreHolds()
{
    writeStore("[General]\nother=7\ntheme=dark\n");
    ZelTheme::savePreferredMode(Mode::Light);
    QCOMPARE(readStore(), QByteArray("[General]\nother=7\ntheme=light\n"));
}

void TestZelTheme::aLockOfAKilledLauncherDelaysNoSave()
{
    writeStore("[General]\ntheme=dark\n");
    QFile lock(storePath() + QStringLiteral(".lock"));
    QVERIFY(lock.open(QIODevice::WriteOnly));
    lock.close();
    QElapsedTimer clock;
    clock.start();
    ZelTheme::savePreferredMode(Mode::Light);
    QVERIFY2(clock.elapsed() < 15'000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(readStore(), QByteArray("[General]\ntheme=light\n"));
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

    QApplication::setStyle(QStringLiteral("Windows"));
    QFont heavy(QStringLiteral("serif"), 20, QFont::Bold);
    QApplication::setFont(heavy);

    ZelTheme::apply(*qApp, mode);

    QCOMPARE(qApp->styleSheet(), ZelTheme::globalStyleSheet(mode));
    const QFont font = QApplication::font();
    QCOMPARE(font.families(),
             QStringList({QStringLiteral("Inter"), QStringLiteral("Segoe UI"),
                          QStringLiteral("Ubuntu"), QStringLiteral("Cantarell"),
                          QStringLiteral("Helvetica Neue"), QStringLiteral("sans-serif")}));
    QCOMPARE(font.pointSize(), 10);
    QCOMPARE(font.weight(), QFont::Normal);
    // A style sheet wraps the style.
    qApp->setStyleSheet(QString());
    QCOMPARE(QApplication::style()->name(), QStringLiteral("fusion"));
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
    QTest::addColumn<QStringList>("selectors");
    QTest::newRow("dark") << Mode::Dark << selectorsOf(darkBaseRules) + selectorsOf(darkInputRules);
    QTest::newRow("light") << Mode::Light
                           << selectorsOf(lightBaseRules) + selectorsOf(lightInputRules);
    QTest::newRow("neither is dark")
        << static_cast<Mode>(2) << selectorsOf(darkBaseRules) + selectorsOf(darkInputRules);
}

void TestZelTheme::aSheetHasItsRulesInOrderAndNoOthers()
{
    QFETCH(const Mode, mode);
    QFETCH(const QStringList, selectors);

    const StyleSheet sheet(ZelTheme::globalStyleSheet(mode));
    QCOMPARE(sheet.error, QString());
    QCOMPARE(sheet.selectors(), selectors);
}

void TestZelTheme::aRuleHasItsPropertiesAndNoOthers_data()
{
    QTest::addColumn<QString>("sheet");
    QTest::addColumn<QString>("selector");
    QTest::addColumn<Properties>("properties");

    const QString dark = ZelTheme::globalStyleSheet(Mode::Dark);
    addRuleRows("dark", dark, darkBaseRules);
    addRuleRows("dark", dark, darkInputRules);
    const QString light = ZelTheme::globalStyleSheet(Mode::Light);
    addRuleRows("light", light, lightBaseRules);
    addRuleRows("light", light, lightInputRules);
}

void TestZelTheme::aRuleHasItsPropertiesAndNoOthers()
{
    QFETCH(const QString, sheet);
    QFETCH(const QString, selector);
    QFETCH(const Properties, properties);

    QCOMPARE(StyleSheet(sheet).properties(selector), properties);
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

    QTest::newRow("default") << InputStyle::Default << QStringLiteral("ZelInput") << false;
    QTest::newRow("search") << InputStyle::Search << QStringLiteral("ZelInputSearch") << false;
    QTest::newRow("path") << InputStyle::Path << QStringLiteral("ZelInputPath") << true;
    QTest::newRow("header") << InputStyle::Header << QStringLiteral("ZelInputHeader") << false;
    QTest::newRow("out of range") << static_cast<InputStyle>(4) << QStringLiteral("ZelInput")
                                  << false;
    QTest::newRow("negative") << static_cast<InputStyle>(-1) << QStringLiteral("ZelInput") << false;
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
    QCOMPARE(box.objectName(), QStringLiteral("ZelInput"));
    QCOMPARE(box.minimumHeight(), 38);
    QVERIFY(!box.hasFrame());
}

void TestZelTheme::aComboBoxIsMarkedAsInputAndKeepsItsFrame()
{
    QComboBox box;
    ZelTheme::styleComboBox(&box);
    QCOMPARE(box.objectName(), QStringLiteral("ZelInput"));
    QCOMPARE(box.minimumHeight(), 38);
    QVERIFY(box.hasFrame());
}

void TestZelTheme::aTextAreaIsMarkedAndHasNoFrame()
{
    QTextEdit edit;
    QCOMPARE(edit.frameShape(), QFrame::StyledPanel);
    const int minimumHeight = edit.minimumHeight();
    ZelTheme::styleTextArea(&edit);
    QCOMPARE(edit.objectName(), QStringLiteral("ZelTextArea"));
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

void TestZelTheme::theMarksBindTheWidgetsToTheirRules_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("path");

    QTest::newRow("dark") << Mode::Dark << QStringLiteral("#2a2a42") << QStringLiteral("#1e1e32");
    QTest::newRow("light") << Mode::Light << QStringLiteral("#ffffff") << QStringLiteral("#f9f9fb");
}

void TestZelTheme::theMarksBindTheWidgetsToTheirRules()
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
    QLineEdit edit(QStringLiteral("text"), &window);
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
    QTest::addColumn<QStringList>("selectors");
    QTest::addColumn<QList<Properties>>("properties");

    const auto addRow = [](const char *name, const QString &text, const Rules &rules) {
        QList<Properties> properties;
        for (const Rule &rule : rules) {
            properties.append(propertiesOf(rule));
        }
        QTest::newRow(name) << text << selectorsOf(rules) << properties;
    };

    addRow("active sidebar button, dark", ZelTheme::sidebarButtonStyle(true, Mode::Dark),
           {{"QPushButton",
             {{"text-align", "left"},
              {"padding", "11px 14px"},
              {"border", "none"},
              {"border-radius", "10px"},
              {"background",
               "qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 #3d5a9e, stop:1 #5b4a9e)"},
              {"color", "#ffffff"},
              {"font-weight", "700"}}}});
    addRow("inactive sidebar button, dark", ZelTheme::sidebarButtonStyle(false, Mode::Dark),
           {{"QPushButton",
             {{"text-align", "left"},
              {"padding", "11px 14px"},
              {"border", "none"},
              {"border-radius", "10px"},
              {"background", "transparent"},
              {"color", "#b8b8d0"},
              {"font-weight", "500"}}},
            {"QPushButton:hover",
             {{"background", "rgba(255, 255, 255, 0.06)"}, {"color", "#ffffff"}}}});
    addRow("active sidebar button, light", ZelTheme::sidebarButtonStyle(true, Mode::Light),
           {{"QPushButton",
             {{"text-align", "left"},
              {"padding", "10px 14px"},
              {"border", "none"},
              {"border-radius", "10px"},
              {"background", "#FFFFFF"},
              {"color", "#1D1D1F"},
              {"font-weight", "600"}}}});
    addRow("inactive sidebar button, light", ZelTheme::sidebarButtonStyle(false, Mode::Light),
           {{"QPushButton",
             {{"text-align", "left"},
              {"padding", "10px 14px"},
              {"border", "none"},
              {"border-radius", "10px"},
              {"background", "transparent"},
              {"color", "#3A3A3C"},
              {"font-weight", "500"}}},
            {"QPushButton:hover", {{"background", "rgba(255, 255, 255, 0.55)"}}}});

    addRow("primary button, dark", ZelTheme::primaryButtonStyle(Mode::Dark),
           {{"QPushButton",
             {{"background",
               "qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #5b8def, stop:1 #3d6fd4)"},
              {"color", "white"},
              {"border", "none"},
              {"border-radius", "10px"},
              {"padding", "10px 18px"},
              {"font-weight", "700"}}},
            {"QPushButton:hover",
             {{"background",
               "qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #6b9dff, stop:1 #4d7fe4)"}}},
            {"QPushButton:disabled", {{"background", "#2a3550"}, {"color", "#666"}}}});
    addRow("primary button, light", ZelTheme::primaryButtonStyle(Mode::Light),
           {{"QPushButton",
             {{"background", "#007AFF"},
              {"color", "white"},
              {"border", "none"},
              {"border-radius", "10px"},
              {"padding", "10px 18px"},
              {"font-weight", "600"}}},
            {"QPushButton:hover", {{"background", "#0066D6"}}},
            {"QPushButton:disabled", {{"background", "#B0D4FF"}, {"color", "#F5F5F7"}}}});

    addRow("secondary button, dark", ZelTheme::secondaryButtonStyle(Mode::Dark),
           {{"QPushButton",
             {{"background", "#2f2f48"},
              {"color", "#c8d8ff"},
              {"border", "1px solid #4a4a68"},
              {"border-radius", "10px"},
              {"padding", "10px 18px"},
              {"font-weight", "600"}}},
            {"QPushButton:hover", {{"background", "#3a3a58"}}},
            {"QPushButton:disabled", {{"color", "#555"}}}});
    addRow("secondary button, light", ZelTheme::secondaryButtonStyle(Mode::Light),
           {{"QPushButton",
             {{"background", "#FFFFFF"},
              {"color", "#007AFF"},
              {"border", "1px solid #D2D2D7"},
              {"border-radius", "10px"},
              {"padding", "10px 18px"},
              {"font-weight", "600"}}},
            {"QPushButton:hover", {{"background", "#F2F2F7"}}}});

    addRow("danger button, dark", ZelTheme::dangerButtonStyle(Mode::Dark),
           {{"QPushButton",
             {{"background",
               "qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #e74c3c, stop:1 #c0392b)"},
              {"color", "white"},
              {"border", "none"},
              {"border-radius", "10px"},
              {"padding", "10px 18px"},
              {"font-weight", "700"}}},
            {"QPushButton:hover", {{"background", "#f05a4a"}}},
            {"QPushButton:disabled", {{"background", "#4a2828"}, {"color", "#666"}}}});
    addRow("danger button, light", ZelTheme::dangerButtonStyle(Mode::Light),
           {{"QPushButton",
             {{"background", "#FF3B30"},
              {"color", "white"},
              {"border", "none"},
              {"border-radius", "10px"},
              {"padding", "10px 18px"},
              {"font-weight", "600"}}},
            {"QPushButton:hover", {{"background", "#E0352B"}}}});

    addRow("card, dark", ZelTheme::cardStyle(Mode::Dark),
           {{"QWidget#Card",
             {{"background", "#222236"},
              {"border", "1px solid #3a3a55"},
              {"border-radius", "14px"}}}});
    addRow("card, light", ZelTheme::cardStyle(Mode::Light),
           {{"QWidget#Card",
             {{"background", "#FFFFFF"},
              {"border", "1px solid #E5E5EA"},
              {"border-radius", "16px"}}}});
    addRow("log view", ZelTheme::logViewStyle(),
           {{"QTextEdit",
             {{"background", "#0d0d14"},
              {"color", "#e0e0f0"},
              {"border", "1px solid #2a2a42"},
              {"border-radius", "12px"},
              {"padding", "8px"},
              {"font-family", R"("JetBrains Mono", "SF Mono", "Consolas", monospace)"},
              {"selection-background-color", "#4a6090"}}}});
    addRow("accent button", ZelTheme::accentButtonStyle(QStringLiteral("#12ab34")),
           {{"QPushButton",
             {{"background", "#12ab34"},
              {"color", "white"},
              {"border", "none"},
              {"border-radius", "8px"},
              {"padding", "8px 14px"},
              {"font-weight", "600"},
              {"min-height", "20px"}}},
            {"QPushButton:hover", {{"background", "#12ab34"}}},
            {"QPushButton:disabled", {{"background", "#444"}, {"color", "#888"}}}});
    addRow("header bar",
           ZelTheme::headerBarStyle(QStringLiteral("#111111"), QStringLiteral("#222222")),
           {{"QWidget#HeaderBar",
             {{"background",
               "qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 #111111, stop:1 #222222)"},
              {"border", "none"},
              {"border-radius", "0"},
              {"min-height", "72px"}}},
            {"QWidget#HeaderBar QLabel", {{"background", "transparent"}, {"border", "none"}}},
            {"QWidget#HeaderBar QPushButton", {{"min-height", "38px"}}}});
}

void TestZelTheme::aKitSheetHasItsRules()
{
    QFETCH(const QString, text);
    QFETCH(const QStringList, selectors);
    QFETCH(const QList<Properties>, properties);

    const StyleSheet sheet(text);
    QCOMPARE(sheet.error, QString());
    QCOMPARE(sheet.selectors(), selectors);
    for (qsizetype i = 0; i < selectors.size(); ++i) {
        QCOMPARE(sheet.rules.at(i).properties, properties.at(i));
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

    const QString other = QStringLiteral("#5b8def");
    QTest::newRow("DB") << QStringLiteral("DB") << QStringLiteral("#4a90d9");
    QTest::newRow("GS") << QStringLiteral("GS") << QStringLiteral("#50b86c");
    QTest::newRow("API") << QStringLiteral("API") << QStringLiteral("#e67e22");
    QTest::newRow("CLIENT") << QStringLiteral("CLIENT") << QStringLiteral("#e74c3c");
    QTest::newRow("TOOL") << QStringLiteral("TOOL") << QStringLiteral("#9b59b6");
    QTest::newRow("client in lower case") << QStringLiteral("client") << other;
    QTest::newRow("DB and a blank") << QStringLiteral("DB ") << other;
    QTest::newRow("unknown") << QStringLiteral("WEB") << other;
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
    QCOMPARE(ZelTheme::typeBadgeStyle(type), QStringLiteral("QLabel#TypeBadge { background: ") +
                                                 color + QStringLiteral("; color: white; }"));
}

void TestZelTheme::anAccentButtonIgnoresTheMouseOnPurpose()
{
    const StyleSheet sheet(ZelTheme::accentButtonStyle(QStringLiteral("rgba(1, 2, 3, 0.5)")));
    QCOMPARE(sheet.properties(QStringLiteral("QPushButton:hover")),
             Properties({{QStringLiteral("background"), QStringLiteral("rgba(1, 2, 3, 0.5)")}}));
    QCOMPARE(sheet.properties(QStringLiteral("QPushButton")).value(QStringLiteral("background")),
             QStringLiteral("rgba(1, 2, 3, 0.5)"));
}

void TestZelTheme::aHeaderBarFadesFromTheFirstColorToTheSecond()
{
    QWidget bar;
    bar.setObjectName(QStringLiteral("HeaderBar"));
    bar.setAttribute(Qt::WA_StyledBackground);
    bar.setStyleSheet(
        ZelTheme::headerBarStyle(QStringLiteral("#ff0000"), QStringLiteral("#0000ff")));
    bar.resize(256, 80);
    QVERIFY(colorAt(bar, {0, 40}).red() > 250);
    QVERIFY(colorAt(bar, {0, 40}).blue() < 5);
    QVERIFY(colorAt(bar, {255, 40}).blue() > 250);
    QVERIFY(colorAt(bar, {255, 40}).red() < 5);
}

ZEL_GUI_TEST_MAIN(TestZelTheme)

#include "tst_zeltheme.moc"
