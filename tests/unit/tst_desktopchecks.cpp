#include <QFontDatabase>
#include <QSysInfo>

#include "DoctorTest.h"
#include "zel-doctor/DesktopChecks.h"

using namespace Qt::StringLiterals;

class TestDesktopChecks : public DoctorTest
{
    Q_OBJECT

private slots:
    void theScreenIsChecked();
    void theFontsAreChecked();
    void theVersionsAreNamed();
    void theGraphicsDriversAreNamed();
};

void TestDesktopChecks::theScreenIsChecked()
{
    // The offscreen platform's own screen.
    QCOMPARE(lines({DesktopChecks::display().value(0)}),
             u"aviso tela: offscreen, 800 x 800, escala 1; a janela do launcher precisa de 960 x "
             "724. Escolha uma resolucao maior ou uma escala menor.\n"_s);
}

void TestDesktopChecks::theFontsAreChecked()
{
    QStringList missing;
    for (const QString &family : {u"Inter"_s, u"JetBrains Mono"_s}) {
        if (!QFontDatabase::families().contains(family)) {
            missing.append(family);
        }
    }
    const QString good = u"ok    fontes: Inter e JetBrains Mono.\n"_s;
    const QString bad = u"aviso fontes: sem %1; o launcher usa outra fonte. Debian e Ubuntu: "
                        "sudo apt "
                        "install fonts-inter fonts-jetbrains-mono\n"_s.arg(missing.join(u" e "_s));
    QCOMPARE(lines({DesktopChecks::display().value(1)}), missing.isEmpty() ? good : bad);
}

void TestDesktopChecks::theVersionsAreNamed()
{
    const QStringList drivers = DesktopChecks::graphicsDrivers(u"/sys"_s);
    QCOMPARE(lines(DesktopChecks::versions()),
             u"ok    versoes: launcher %1; Qt %2; %3; Linux %4; driver grafico: %5.\n"_s.arg(
                 QStringLiteral(ZEL_VERSION), QLatin1String(qVersion()),
                 QSysInfo::prettyProductName(), QSysInfo::kernelVersion(),
                 drivers.isEmpty() ? u"desconhecido"_s : drivers.join(u", "_s)));
}

void TestDesktopChecks::theGraphicsDriversAreNamed()
{
    QCOMPARE(DesktopChecks::graphicsDrivers(folder()), QStringList());
    for (const QString &driver : {u"one"_s, u"two"_s}) {
        Disk::makeFolder(at(u"drivers/"_s + driver));
    }
    Disk::makeFolder(at(u"class/drm/card0-HDMI-1/device"_s)); // a connector
    for (const auto &[card, driver] :
         {std::pair{u"card0"_s, u"two"_s}, std::pair{u"card1"_s, u"one"_s},
          std::pair{u"card2"_s, u"two"_s}, std::pair{u"renderD128"_s, u"other"_s}}) {
        Disk::makeFolder(at(u"class/drm/%1/device"_s.arg(card)));
        Disk::makeLink(at(u"class/drm/%1/device/driver"_s.arg(card)), at(u"drivers/"_s + driver));
    }
    Disk::write(at(u"module/one/version"_s), "5.5\n");
    QCOMPARE(DesktopChecks::graphicsDrivers(folder()), QStringList({u"two"_s, u"one 5.5"_s}));
}

ZEL_GUI_TEST_MAIN(TestDesktopChecks)

#include "tst_desktopchecks.moc"
