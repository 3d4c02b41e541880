#include "support/TestMain.h"

#include <QApplication>
#include <QImage>
#include <QPixmap>
#include <QPointer>
#include <QTimer>

#include <functional>
#include <memory>

#include "gui/LauncherWindow.h"
#include "gui/SettingsFields.h"
#include "settings/LauncherSettings.h"
#include "support/process/FakeClient.h"
#include "support/process/FakeWineHost.h"
#include "support/windows/FileChooserUser.h"
#include "support/windows/MessageBoxAnswerer.h"

using namespace Qt::StringLiterals;

namespace
{

QImage plainPicture(QColor color)
{
    QImage image(64, 64, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

} // namespace

/// Opening the settings dialog from the main window, and the effect of closing it.
class TestOpenSettings : public TestBase
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theButtonOpensTheDialogOverTheWindow();
    void okReloadsThePictureAndTheSummary();
    void okReloadsEvenWhenTheClientsFilesFail();
    void theSummaryIsShownEvenWithoutAPicture();
    void cancelReloadsNothing();

private:
    void openSettings(const std::function<void(SettingsFields &)> &use);
    QColor pictureColor() const;

    std::unique_ptr<FakeWineHost> host;
    std::unique_ptr<FakeClient> client;
    std::unique_ptr<LauncherWindow> launcher;
    QPointer<SettingsDialog> dialog;
};

void TestOpenSettings::init()
{
    TestBase::init();
    host = std::make_unique<FakeWineHost>();
    client = std::make_unique<FakeClient>();
    client->writePicture(plainPicture(Qt::red));
    client->useInLauncher();
    launcher = std::make_unique<LauncherWindow>();
    QCOMPARE(pictureColor(), QColor(Qt::red));
}

void TestOpenSettings::cleanup()
{
    launcher.reset();
    client.reset();
    host.reset();
}

/// Clicks the button and calls @p use with the dialog, which must close it.
void TestOpenSettings::openSettings(const std::function<void(SettingsFields &)> &use)
{
    dialog.clear();
    bool used = false;
    QTimer::singleShot(0, this, [&] {
        dialog = qobject_cast<SettingsDialog *>(QApplication::activeModalWidget());
        if (dialog == nullptr) {
            return;
        }
        SettingsFields fields(*dialog);
        use(fields);
        used = true;
        if (dialog->isVisible()) {
            dialog->reject();
            QFAIL("the settings dialog was left open");
        }
    });
    LauncherWindow::click(launcher->settings);
    QVERIFY(used);
}

QColor TestOpenSettings::pictureColor() const
{
    return launcher->picture->pixmap().toImage().pixelColor(400, 300);
}

void TestOpenSettings::theButtonOpensTheDialogOverTheWindow()
{
    for (int i = 0; i < 2; ++i) {
        openSettings([this](SettingsFields &fields) {
            QVERIFY(dialog->isVisible());
            QVERIFY(dialog->isModal());
            QCOMPARE(dialog->parentWidget(), &launcher->window);
            QCOMPARE(fields.clientDir->text(), client->dir());
            QTest::keyClick(fields.clientDir, Qt::Key_Escape);
        });
        // The dialog is destroyed.
        QVERIFY(dialog.isNull());
        QVERIFY(launcher->window.findChildren<QDialog *>().isEmpty());
        QVERIFY(launcher->isIdle());
    }
}

void TestOpenSettings::okReloadsThePictureAndTheSummary()
{
    const FakeClient other(u"other"_s);
    other.writePicture(plainPicture(Qt::blue));
    openSettings([&](SettingsFields &fields) {
        SettingsFields::type(fields.clientDir, other.dir());
        SettingsFields::type(fields.serverName, u"Aurora"_s);
        SettingsFields::type(fields.serverIp, u"10.0.0.5"_s);
        QCOMPARE(pictureColor(), QColor(Qt::red));
        SettingsFields::click(fields.ok);
    });
    QCOMPARE(pictureColor(), QColor(Qt::blue));
    QCOMPARE(launcher->status->text(), u"Aurora  |  10.0.0.5  |  Versao 1.0.0"_s);
}

void TestOpenSettings::okReloadsEvenWhenTheClientsFilesFail()
{
    MessageBoxAnswerer user;
    user.expect(QMessageBox::Ok);
    openSettings([&](SettingsFields &fields) {
        SettingsFields::type(fields.serverName, u"Aurora"_s);
        SettingsFields::type(fields.serverIp, u"10.0.0.5 x"_s);
        SettingsFields::click(fields.ok);
    });
    QVERIFY(user.isDone());
    QCOMPARE(launcher->status->text(), u"Aurora  |  10.0.0.5 x  |  Versao 1.0.0"_s);
}

void TestOpenSettings::theSummaryIsShownEvenWithoutAPicture()
{
    const FakeClient other(u"other"_s);
    QVERIFY(QFile::remove(other.filePath(u"Launcher.bmp"_s)));
    openSettings([&](SettingsFields &fields) {
        SettingsFields::type(fields.clientDir, other.dir());
        SettingsFields::click(fields.ok);
    });
    QVERIFY(launcher->picture->pixmap().isNull());
    QCOMPARE(launcher->status->text(), u"Orvandale  |  127.0.0.1  |  Versao 1.0.0"_s);
}

void TestOpenSettings::cancelReloadsNothing()
{
    const FakeClient other(u"other"_s);
    other.writePicture(plainPicture(Qt::blue));
    other.write(u"serverlist.txt"_s, "0 1 10.7.7.7\n");
    FileChooserUser user;
    user.pick(other.dir());
    openSettings([&](SettingsFields &fields) {
        SettingsFields::click(fields.browseClientDir);
        SettingsFields::click(fields.cancel);
    });
    // The settings in memory have changed; the window is not refreshed.
    QCOMPARE(LauncherSettings::instance().serverIp, u"10.7.7.7"_s);
    QCOMPARE(pictureColor(), QColor(Qt::red));
    QCOMPARE(launcher->status->text(), u"Orvandale  |  127.0.0.1  |  Versao 1.0.0"_s);
}

ZEL_GUI_TEST_MAIN(TestOpenSettings)

#include "tst_opensettings.moc"
