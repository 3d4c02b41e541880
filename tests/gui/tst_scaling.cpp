#include "support/TestMain.h"

#include <QImage>

#include "gui/RealLauncher.h"
#include "support/Timeouts.h"
#include "support/process/FakeClient.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr QSize windowSize(960, 724);
constexpr QSize pictureSize(960, 592);
constexpr QSize settingsSize(620, 640);

/// Alternating black and white pixels: scaling twice would blur them.
QImage chequers(QSize size)
{
    QImage picture(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            picture.setPixel(x, y, (x + y) % 2 == 0 ? qRgb(0, 0, 0) : qRgb(255, 255, 255));
        }
    }
    return picture;
}

} // namespace

/// The real program on scaled displays.
class TestScaling : public TestBase
{
    Q_OBJECT

private slots:
    void theWindowsGrowAndThePictureStaysSharp_data();
    void theWindowsGrowAndThePictureStaysSharp();
};

void TestScaling::theWindowsGrowAndThePictureStaysSharp_data()
{
    QTest::addColumn<qreal>("scale");
    QTest::newRow("1") << 1.0;
    QTest::newRow("1.5") << 1.5;
    QTest::newRow("2") << 2.0;
}

void TestScaling::theWindowsGrowAndThePictureStaysSharp()
{
    QFETCH(const qreal, scale);
    const QImage picture = chequers(pictureSize * scale);
    const FakeClient client;
    client.writePicture(picture);
    RealLauncher launcher(scale);
    RealLauncher::writeSettings({{u"client/dir"_s, client.dir()}});
    launcher.start();

    QImage window;
    const auto showsThePicture = [&] {
        window = launcher.display().imageOf(launcher.mainWindow());
        return window.copy(picture.rect()).convertToFormat(picture.format()) == picture;
    };
    QVERIFY2(QTest::qWaitFor(showsThePicture, Timeouts::programMs), "the picture is blurred");
    QCOMPARE(window.size(), windowSize * scale);
    // The picture ends where the bar begins.
    QCOMPARE(window.pixelColor(0, picture.height()), QColor(0x2a, 0x2a, 0x2a));
    QCOMPARE(window.pixelColor(window.width() - 1, window.height() - 1), QColor(8, 8, 8));

    launcher.clickSettings();
    const QString settings = launcher.waitForBox(u"Configuracoes"_s);
    QCOMPARE(launcher.display().imageOf(settings).size(), settingsSize * scale);
    QVERIFY(launcher.display().closeByKey(settings, u"Escape"_s));
    launcher.close();
}

ZEL_GUI_TEST_MAIN(TestScaling)

#include "tst_scaling.moc"
