#include "support/TestMain.h"

#include <QBoxLayout>
#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QMap>
#include <QPainter>
#include <QProxyStyle>
#include <QScopeGuard>

#include "gui/LauncherWindow.h"
#include "settings/LauncherSettings.h"
#include "support/OwnMethods.h"
#include "support/files/Disk.h"
#include "support/process/FakeClient.h"
#include "support/windows/StyleSheet.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr QSize pictureSize(960, 592);

/// The rules of a style sheet: properties by selector.
using StyleRules = QMap<QString, QMap<QString, QString>>;

StyleRules rulesOf(const QString &text)
{
    const StyleSheet sheet(text);
    if (!sheet.error.isEmpty()) {
        QTest::qFail(qPrintable(sheet.error), __FILE__, __LINE__);
    }
    StyleRules rules;
    for (const QString &selector : sheet.selectors()) {
        rules.insert(selector, sheet.properties(selector));
    }
    return rules;
}

QImage inHalves(QSize size, Qt::Orientation split, QColor first, QColor second)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(second);
    QPainter painter(&image);
    const QSize half = split == Qt::Horizontal ? QSize(size.width() / 2, size.height())
                                               : QSize(size.width(), size.height() / 2);
    painter.fillRect(QRect(QPoint(), half), first);
    return image;
}

/// A style with its own distance between widgets.
class WideStyle : public QProxyStyle
{
public:
    int pixelMetric(PixelMetric metric, const QStyleOption *option,
                    const QWidget *widget) const override
    {
        return metric == PM_LayoutVerticalSpacing
                   ? 20
                   : QProxyStyle::pixelMetric(metric, option, widget);
    }
};

/// Gives access to a private member function that no user action calls alone.
template<typename Tag, auto operation> struct Opened {
    friend auto opened(Tag /*tag*/) { return operation; }
};

struct SetupUi {
};
auto opened(SetupUi tag);
template struct Opened<SetupUi, &MainWindow::setupUi>;

struct LoadBackground {
};
auto opened(LoadBackground tag);
template struct Opened<LoadBackground, &MainWindow::loadBackground>;

struct PrepareClientFiles {
};
auto opened(PrepareClientFiles tag);
template struct Opened<PrepareClientFiles, &MainWindow::prepareClientFiles>;

/// The widgets in a layout; null for a layout in it.
QWidgetList widgetsIn(const QLayout *layout)
{
    QWidgetList widgets;
    for (int i = 0; i < layout->count(); ++i) {
        widgets << layout->itemAt(i)->widget();
    }
    return widgets;
}

} // namespace

class TestMainWindow : public TestBase
{
    Q_OBJECT

private slots:
    void init();

    void hasSevenSlotsAndNoSignals();
    void theTitleAndTheSizeAreFixed();
    void theWindowIsAPictureAboveABar();
    void theBarHoldsButtonsStatusAndFooter();
    void theProgressBarsTakeTheWidthThatTheButtonsLeave();
    void eachButtonHasItsLook_data();
    void eachButtonHasItsLook();
    void bothProgressBarsLookAlike();
    void theTextLinesHaveTheirLook();
    void aStyleSheetOfTheApplicationMovesNothing();
    void aNewWindowIsIdle();

    void aStatusReportReplacesTheStatusLine();
    void theLowerBarRunsAheadOnPurpose_data();
    void theLowerBarRunsAheadOnPurpose();
    void aPercentageOutOfRangeDoesNoHarm();
    void theSummaryIsFilledInOnePass_data();
    void theSummaryIsFilledInOnePass();

    void aPictureOfAnySizeFillsTheWindow_data();
    void aPictureOfAnySizeFillsTheWindow();
    void thePictureIsScaledSmoothly();
    void aPictureOfAnotherFormatIsShown();
    void withoutAPictureTheAreaIsBlack_data();
    void withoutAPictureTheAreaIsBlack();
    void theSummaryReplacesTheWarningOfAMissingPictureOnPurpose();
    void theWarningOfAMissingPictureNamesItsPath();

    void theStatusLineBeginsReady();
    void theClientsFilesCanBePreparedAlone();
};

void TestMainWindow::init()
{
    TestBase::init();
    FakeClient().useInLauncher(); // a folder that is removed at once: no picture
}

void TestMainWindow::hasSevenSlotsAndNoSignals()
{
    QCOMPARE(ownMethods(MainWindow::staticMetaObject),
             QStringList({u"slot onPlay()"_s, u"slot onOpenSettings()"_s, u"slot onCancel()"_s,
                          u"slot onPatchStatus(QString) message"_s,
                          u"slot onPatchProgress(int) percent"_s,
                          u"slot onPatchFinished(bool,QString) success,message"_s,
                          u"slot onProcessFinished(int,QProcess::ExitStatus) exitCode,status"_s}));
}

void TestMainWindow::theTitleAndTheSizeAreFixed()
{
    LauncherWindow launcher;
    QCOMPARE(launcher.window.windowTitle(), u"ZEL Launcher"_s);
    QCOMPARE(launcher.window.size(), QSize(960, 724));
    QCOMPARE(launcher.window.minimumSize(), QSize(960, 724));
    QCOMPARE(launcher.window.maximumSize(), QSize(960, 724));

    launcher.window.resize(1200, 900);
    QCOMPARE(launcher.window.size(), QSize(960, 724));
    launcher.window.resize(100, 100);
    QCOMPARE(launcher.window.size(), QSize(960, 724));
}

void TestMainWindow::theWindowIsAPictureAboveABar()
{
    const LauncherWindow launcher;
    const QWidget *root = launcher.window.centralWidget();
    QCOMPARE(root->objectName(), u"LauncherRoot"_s);
    QCOMPARE(root->styleSheet(), u"QWidget#LauncherRoot { background-color: #000000; }"_s);
    const auto *layout = qobject_cast<QVBoxLayout *>(root->layout());
    QVERIFY(layout != nullptr);
    QCOMPARE(layout->contentsMargins(), QMargins());
    QCOMPARE(layout->spacing(), 0);
    QCOMPARE(widgetsIn(layout), QWidgetList({launcher.picture, launcher.frame}));

    QCOMPARE(launcher.picture->geometry(), QRect(QPoint(0, 0), pictureSize));
    QCOMPARE(launcher.picture->minimumSize(), pictureSize);
    QCOMPARE(launcher.picture->maximumSize(), pictureSize);
    QVERIFY(launcher.picture->hasScaledContents());

    QCOMPARE(launcher.frame->geometry(), QRect(0, 592, 960, 132));
    QCOMPARE(launcher.frame->minimumHeight(), 132);
    QCOMPARE(launcher.frame->maximumHeight(), 132);
    QCOMPARE(
        launcher.frame->styleSheet(),
        u"QFrame#LauncherBottom {  background-color: #080808;  border-top: 1px solid #2a2a2a;}"_s);
}

void TestMainWindow::theBarHoldsButtonsStatusAndFooter()
{
    WideStyle style;
    const LauncherWindow launcher;
    launcher.frame->setStyle(&style);
    const auto *layout = qobject_cast<QVBoxLayout *>(launcher.frame->layout());
    QVERIFY(layout != nullptr);
    QCOMPARE(layout->contentsMargins(), QMargins(14, 10, 14, 6));
    QCOMPARE(layout->spacing(), 6);
    QCOMPARE(widgetsIn(layout), QWidgetList({nullptr, launcher.status, launcher.footer}));

    const auto *row = qobject_cast<QHBoxLayout *>(layout->itemAt(0)->layout());
    QVERIFY(row != nullptr);
    QCOMPARE(row->spacing(), 12);
    QCOMPARE(widgetsIn(row),
             QWidgetList({launcher.play, nullptr, launcher.settings, launcher.cancel}));
    for (int i = 0; i < row->count(); ++i) {
        QCOMPARE(row->stretch(i), i == 1 ? 1 : 0);
    }

    const auto *bars = qobject_cast<QVBoxLayout *>(row->itemAt(1)->layout());
    QVERIFY(bars != nullptr);
    QCOMPARE(bars->spacing(), 8);
    QCOMPARE(widgetsIn(bars), QWidgetList({launcher.upperBar, launcher.lowerBar}));
}

void TestMainWindow::theProgressBarsTakeTheWidthThatTheButtonsLeave()
{
    const LauncherWindow launcher;
    // The buttons' drawn widths: those of their style sheets plus padding and border.
    const int left = 14 + 162 + 12;
    const int width = 960 - left - 12 - 138 - 12 - 122 - 14;
    for (const QProgressBar *bar : {launcher.upperBar, launcher.lowerBar}) {
        QCOMPARE(bar->x(), left);
        QCOMPARE(bar->width(), width);
        QCOMPARE(bar->height(), 14);
    }
    QCOMPARE(launcher.settings->x(), left + width + 12);
}

void TestMainWindow::eachButtonHasItsLook_data()
{
    QTest::addColumn<QPushButton * LauncherWindow::*>("member");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("fontPx");
    QTest::newRow("play") << &LauncherWindow::play << 136 << 17;
    QTest::newRow("settings") << &LauncherWindow::settings << 112 << 12;
    QTest::newRow("cancel") << &LauncherWindow::cancel << 96 << 12;
}

void TestMainWindow::eachButtonHasItsLook()
{
    QFETCH(QPushButton * LauncherWindow::*const, member);
    QFETCH(const int, width);
    QFETCH(const int, fontPx);
    const LauncherWindow launcher;
    const QPushButton *button = launcher.*member;
    const MainWindow hidden;
    for (const QPushButton *other : hidden.findChildren<QPushButton *>()) {
        if (other->text() == button->text()) {
            QCOMPARE(other->minimumSize(), QSize(width, 54));
            QCOMPARE(other->maximumSize(), QSize(width, 54));
        }
    }
    // The style sheet's minimum, plus padding and border, exceeds the fixed size on purpose.
    QCOMPARE(button->size(), QSize(width + 26, 54));
    QCOMPARE(button->maximumSize(), QSize(width, 54));
    QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);

    const QString sheet = uR"(
QPushButton {
    color: #ffffff; border: 1px solid #d8d8d8; border-radius: 2px; font-size: %1px;
    background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #8a8a8a, stop:0.45 #5e5e5e, stop:1 #3a3a3a);
    font-weight: 700; padding: 6px 12px; min-width: %2px;
}
QPushButton:hover {
    background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #a0a0a0, stop:0.45 #707070, stop:1 #4a4a4a);
}
QPushButton:pressed {
    background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #4a4a4a, stop:1 #2a2a2a);
    border-color: #aaaaaa;
}
QPushButton:disabled { background: #3a3a3a; color: #888888; border-color: #555555; }
)"_s;
    QCOMPARE(rulesOf(button->styleSheet()), rulesOf(sheet.arg(fontPx).arg(width)));
    QVERIFY(button->styleSheet().endsWith(u" QPushButton { min-width: %1px; }"_s.arg(width)));
}

void TestMainWindow::bothProgressBarsLookAlike()
{
    const LauncherWindow launcher;
    const QString sheet = uR"(
QProgressBar {
    background-color: #101018; border: 1px solid #4a4a58; border-radius: 0px;
    min-height: 12px; max-height: 12px;
}
QProgressBar::chunk {
    background: qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 #1a3a6a, stop:0.5 #3a6aaa, stop:1 #1a3a6a);
    margin: 1px;
}
)"_s;
    const MainWindow hidden;
    for (const QProgressBar *bar : hidden.findChildren<QProgressBar *>()) {
        QCOMPARE(bar->minimumHeight(), 12);
        QCOMPARE(bar->maximumHeight(), 12);
    }
    for (const QProgressBar *bar : {launcher.upperBar, launcher.lowerBar}) {
        QCOMPARE(bar->minimum(), 0);
        QCOMPARE(bar->maximum(), 100);
        QVERIFY(!bar->isTextVisible());
        QCOMPARE(rulesOf(bar->styleSheet()), rulesOf(sheet));
    }
    QCOMPARE(launcher.upperBar->styleSheet(), launcher.lowerBar->styleSheet());
}

void TestMainWindow::theTextLinesHaveTheirLook()
{
    const LauncherWindow launcher;
    QCOMPARE(launcher.status->styleSheet(),
             u"color: #9a9a9a; font-size: 11px; background: transparent;"_s);
    // Markup is shown unchanged.
    QCOMPARE(launcher.status->textFormat(), Qt::PlainText);
    QCOMPARE(launcher.footer->styleSheet(),
             u"color: #666666; font-size: 9px; background: transparent;"_s);
    QCOMPARE(launcher.footer->alignment(), Qt::AlignHCenter | Qt::AlignVCenter);
    QCOMPARE(launcher.footer->text(), u"ZEL Launcher - Orvandale"_s);
}

void TestMainWindow::aStyleSheetOfTheApplicationMovesNothing()
{
    const LauncherWindow launcher;
    qApp->setStyleSheet(u"QWidget { color: #1D1D1F; }"_s);
    const auto reset = qScopeGuard([] { qApp->setStyleSheet(QString()); });
    QCoreApplication::processEvents();
    QCOMPARE(launcher.play->size(), QSize(162, 54));
    QCOMPARE(launcher.upperBar->height(), 14);
}

void TestMainWindow::aNewWindowIsIdle()
{
    const LauncherWindow launcher;
    QVERIFY(launcher.isIdle());
    QVERIFY(launcher.cancel->isEnabled());
    QCOMPARE(launcher.process->state(), QProcess::NotRunning);
    QCOMPARE(launcher.patchManager->parent(), &launcher.window);
    QCOMPARE(launcher.process->parent(), &launcher.window);
}

void TestMainWindow::aStatusReportReplacesTheStatusLine()
{
    const LauncherWindow launcher;
    emit launcher.patchManager->statusChanged(u"Verificando versao..."_s);
    QCOMPARE(launcher.status->text(), u"Verificando versao..."_s);
    QVERIFY(launcher.isIdle());
    emit launcher.patchManager->statusChanged(QString());
    QCOMPARE(launcher.status->text(), QString());
}

void TestMainWindow::theLowerBarRunsAheadOnPurpose_data()
{
    QTest::addColumn<int>("percent");
    QTest::addColumn<int>("lower");
    QTest::newRow("start") << 0 << 8;
    QTest::newRow("middle") << 50 << 58;
    QTest::newRow("last percentage with the full lead") << 92 << 100;
    QTest::newRow("first percentage with a shorter lead") << 93 << 100;
    QTest::newRow("95") << 95 << 100;
    QTest::newRow("end") << 100 << 100;
}

void TestMainWindow::theLowerBarRunsAheadOnPurpose()
{
    QFETCH(const int, percent);
    QFETCH(const int, lower);
    const LauncherWindow launcher;
    const QString status = launcher.status->text();
    emit launcher.patchManager->progressChanged(percent);
    QCOMPARE(launcher.progress(), QList<int>({percent, lower}));
    QCOMPARE(launcher.status->text(), status);
}

void TestMainWindow::aPercentageOutOfRangeDoesNoHarm()
{
    const LauncherWindow launcher;
    emit launcher.patchManager->progressChanged(50);
    emit launcher.patchManager->progressChanged(1000);
    QCOMPARE(launcher.progress(), QList<int>({50, 100}));
    emit launcher.patchManager->progressChanged(-1000);
    QCOMPARE(launcher.progress(), QList<int>({50, 100}));
}

void TestMainWindow::theSummaryIsFilledInOnePass_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("summary");
    QTest::newRow("plain") << u"Alpha"_s << u"10.0.0.5"_s << u"12"_s
                           << u"Alpha  |  10.0.0.5  |  Versao 12"_s;
    QTest::newRow("all empty") << u""_s << u""_s << u""_s << u"  |    |  Versao "_s;
    QTest::newRow("placeholders") << u"%2"_s << u"%3"_s << u"%1"_s << u"%2  |  %3  |  Versao %1"_s;
    QTest::newRow("percent signs")
        << u"100%"_s << u"%"_s << u"%%"_s << u"100%  |  %  |  Versao %%"_s;
    QTest::newRow("not Latin") << u"Ωμέγα"_s << u"例え"_s << u"١"_s
                               << u"Ωμέγα  |  例え  |  Versao ١"_s;
}

void TestMainWindow::theSummaryIsFilledInOnePass()
{
    QFETCH(const QString, name);
    QFETCH(const QString, address);
    QFETCH(const QString, version);
    LauncherSettings &settings = LauncherSettings::instance();
    settings.serverName = name;
    settings.serverIp = address;
    settings.localVersion = version;
    const LauncherWindow launcher;
    QTEST(launcher.status->text(), "summary");
}

void TestMainWindow::aPictureOfAnySizeFillsTheWindow_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("as shown") << pictureSize;
    QTest::newRow("tiny") << QSize(2, 2);
    QTest::newRow("huge") << QSize(3000, 2000);
    QTest::newRow("tall") << QSize(100, 700);
    QTest::newRow("flat") << QSize(2000, 10);
}

void TestMainWindow::aPictureOfAnySizeFillsTheWindow()
{
    QFETCH(const QSize, size);
    for (const Qt::Orientation split : {Qt::Horizontal, Qt::Vertical}) {
        const FakeClient client;
        client.writePicture(inHalves(size, split, Qt::red, Qt::blue));
        client.useInLauncher();
        LauncherWindow launcher;
        QCOMPARE(launcher.picture->pixmap().size(), pictureSize);

        const QImage shown = launcher.window.grab().toImage();
        QCOMPARE(shown.pixelColor(5, 5), QColor(Qt::red));
        QCOMPARE(shown.pixelColor(954, 586), QColor(Qt::blue));
        const bool isWide = split == Qt::Horizontal;
        QCOMPARE(shown.pixelColor(954, 5), QColor(isWide ? Qt::blue : Qt::red));
        QCOMPARE(shown.pixelColor(5, 586), QColor(isWide ? Qt::red : Qt::blue));
    }
}

void TestMainWindow::thePictureIsScaledSmoothly()
{
    const FakeClient client;
    client.writePicture(inHalves({2, 1}, Qt::Horizontal, Qt::black, Qt::white));
    client.useInLauncher();
    const LauncherWindow launcher;
    const QColor middle = launcher.picture->pixmap().toImage().pixelColor(480, 296);
    QVERIFY2(middle.red() > 64 && middle.red() < 192, qPrintable(middle.name()));
}

void TestMainWindow::aPictureOfAnotherFormatIsShown()
{
    QImage picture(pictureSize, QImage::Format_RGB32);
    picture.fill(QColor(u"#305080"_s));
    QBuffer png;
    QVERIFY(picture.save(&png, "PNG"));
    const FakeClient client;
    client.write(u"Launcher.bmp"_s, png.data());
    client.useInLauncher();
    const LauncherWindow launcher;
    QCOMPARE(launcher.picture->pixmap().toImage().convertToFormat(picture.format()), picture);
}

void TestMainWindow::withoutAPictureTheAreaIsBlack_data()
{
    QTest::addColumn<bool>("isFile");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("missing") << false << QByteArray();
    QTest::newRow("folder") << false << "folder"_ba;
    QTest::newRow("empty") << true << ""_ba;
    QTest::newRow("no picture") << true << "this is no picture"_ba;
    QTest::newRow("truncated in its header") << true << QByteArray("BM\x36\x00\x00", 5);
}

void TestMainWindow::withoutAPictureTheAreaIsBlack()
{
    QFETCH(const bool, isFile);
    QFETCH(const QByteArray, content);
    const FakeClient client;
    const QString path = client.filePath(u"Launcher.bmp"_s);
    QVERIFY(QFile::remove(path));
    if (isFile) {
        client.write(u"Launcher.bmp"_s, content);
    } else if (!content.isEmpty()) {
        Disk::makeFolder(path);
    }
    client.useInLauncher();
    LauncherWindow launcher;
    QVERIFY(launcher.picture->pixmap().isNull());
    QCOMPARE(launcher.picture->styleSheet(), u"background-color: #000000;"_s);
    QImage black(pictureSize, QImage::Format_RGB32);
    black.fill(Qt::black);
    QCOMPARE(launcher.picture->grab().toImage().convertToFormat(black.format()), black);
}

void TestMainWindow::theSummaryReplacesTheWarningOfAMissingPictureOnPurpose()
{
    const LauncherWindow launcher;
    QVERIFY(launcher.picture->pixmap().isNull());
    QCOMPARE(launcher.status->text(), u"Orvandale  |  127.0.0.1  |  Versao 1.0.0"_s);
}

void TestMainWindow::theWarningOfAMissingPictureNamesItsPath()
{
    LauncherWindow launcher;
    (launcher.window.*opened(LoadBackground()))();
    QCOMPARE(launcher.status->text(), u"Launcher.bmp nao encontrado: "_s +
                                          QCoreApplication::applicationDirPath() +
                                          u"/Launcher.bmp"_s);
}

void TestMainWindow::theStatusLineBeginsReady()
{
    MainWindow window;
    (window.*opened(SetupUi()))();
    QStringList texts;
    for (const QLabel *label : window.centralWidget()->findChildren<QLabel *>()) {
        texts.append(label->text());
    }
    QCOMPARE(texts,
             QStringList({QString(), u"Pronto para iniciar."_s, u"ZEL Launcher - Orvandale"_s}));
}

void TestMainWindow::theClientsFilesCanBePreparedAlone()
{
    const FakeClient client;
    client.useInLauncher();
    client.write(u"Config.bin"_s, "options");
    LauncherSettings &settings = LauncherSettings::instance();
    settings.serverIp = u"10.1.2.3"_s;
    LauncherWindow launcher;
    const auto prepare = [&](QString *error) {
        return (launcher.window.*opened(PrepareClientFiles()))(error);
    };
    QString error = u"before"_s;
    QVERIFY(prepare(&error));
    QCOMPARE(error, u"before"_s);
    QCOMPARE(client.read(u"server.txt"_s), "10.1.2.3\n");
    QCOMPARE(client.read(u"Config.bin"_s), "options");
    QVERIFY(launcher.isIdle());

    settings.serverIp.clear();
    QVERIFY(!prepare(&error));
    QCOMPARE(error, u"Informe o IP do servidor."_s);
    QVERIFY(!prepare(nullptr));
}

ZEL_GUI_TEST_MAIN(TestMainWindow)

#include "tst_mainwindow.moc"
