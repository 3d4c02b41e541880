#include "support/TestMain.h"

#include <QFile>

#include "gui/RealLauncher.h"
#include "gui/ScreenReader.h"
#include "support/process/FakeClient.h"

using namespace Qt::StringLiterals;

namespace
{

const QString mainTitle = u"ZEL Launcher"_s;
const QString settingsTitle = u"Configuracoes"_s;

const QString channelHint = u"Cada canal e uma linha no serverlist.txt com o mesmo IP (max. 10)."_s;

/// What a screen reader reads: no containers, no items of closed lists.
QStringList spoken(const QStringList &widgets)
{
    QStringList lines;
    for (const QString &widget : widgets) {
        const QStringList words = widget.split(u'\t');
        const bool isBox = QStringList({u"filler"_s, u"frame"_s, u"panel"_s, u"scroll bar"_s})
                               .contains(words.first()) &&
                           words.at(1).isEmpty();
        if (!isBox && words.first() != u"list item") {
            lines << words.join(u" | "_s);
        }
    }
    return lines;
}

} // namespace

/// The real program, used by screen reader and keyboard.
class TestAccessibility : public TestBase
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { launcher.kill(); }

    void aScreenReaderReadsTheMainWindow();
    void aScreenReaderReadsTheSettings();
    void theTabOrderOfTheMainWindowIsTheReadingOrder();
    void theKeysCloseTheSettings_data();
    void theKeysCloseTheSettings();

private:
    const FakeClient client;
    RealLauncher launcher;
    ScreenReader reader{launcher};
};

void TestAccessibility::init()
{
    TestBase::init();
    RealLauncher::writeSettings({{u"client/dir"_s, client.dir()},
                                 {u"client/wine"_s, u"/nowhere/wine"_s},
                                 {u"server/name"_s, u"Alpha"_s},
                                 {u"server/ip"_s, u"10.1.2.3"_s}});
    QFile::remove(client.filePath(u"Config.bin"_s));
    launcher.start();
}

void TestAccessibility::aScreenReaderReadsTheMainWindow()
{
    reader.waitForLabel(u"^Alpha"_s);
    QCOMPARE(spoken(reader.widgetsOf(mainTitle)),
             QStringList({
                 u"image | Imagem do jogo | Launcher.bmp da pasta do cliente"_s,
                 u"push button | Iniciar | "_s,
                 u"progress bar | Progresso da atualizacao | "
                 "Quanto ja foi baixado, em porcentagem"_s,
                 u"progress bar | Progresso da atualizacao, adiantado | "
                 "Um pouco a frente da outra barra"_s,
                 u"push button | Configuracao | "_s,
                 u"push button | Cancelar | "_s,
                 u"label | Alpha  |  10.1.2.3  |  Versao 1.0.0 | "_s,
                 u"label | ZEL Launcher - Orvandale | "_s,
             }));
}

void TestAccessibility::aScreenReaderReadsTheSettings()
{
    launcher.clickSettings();
    launcher.waitForBox(settingsTitle);
    QCOMPARE(spoken(reader.widgetsOf(settingsTitle)),
             QStringList({
                 u"panel | Cliente | "_s,
                 u"label | Pasta do cliente | "_s,
                 u"text | Pasta do cliente | "_s,
                 u"push button | Limpar | "_s,
                 u"push button | Pasta do cliente | Escolher a pasta"_s,
                 u"label | Executavel | "_s,
                 u"text | Executavel | "_s,
                 u"push button | Limpar | "_s,
                 u"push button | Executavel do jogo | Escolher o arquivo"_s,
                 u"label | Wine | "_s,
                 u"combo box | Wine | Wine que inicia o jogo"_s,
                 u"push button | Buscar | "_s,
                 u"push button | Executavel do Wine | Escolher o arquivo"_s,
                 u"check box | Usar Wine no Linux | "_s,
                 u"panel | Servidor | "_s,
                 u"label | Nome exibido | "_s,
                 u"text | Nome exibido | "_s,
                 u"label | IP do servidor | "_s,
                 u"text | IP do servidor | "_s,
                 u"label | Canais | "_s,
                 u"spin button | Canais | "_s + channelHint,
                 u"label | "_s + channelHint + u" | "_s,
                 u"panel | Video | "_s,
                 u"label | Resolucao | "_s,
                 u"combo box | Resolucao | Largura e altura da imagem do jogo"_s,
                 u"check box | Modo janela | "_s,
                 u"label | Brilho | "_s,
                 u"slider | Brilho | "_s,
                 u"label | 57% | "_s,
                 u"panel | Audio | "_s,
                 u"label | Efeitos | "_s,
                 u"slider | Efeitos | "_s,
                 u"label | 0 (mudo) | "_s,
                 u"label | Musica | "_s,
                 u"slider | Musica | "_s,
                 u"label | 0 (mudo) | "_s,
                 u"panel | Jogo | "_s,
                 u"label | Qualidade de modelos | "_s,
                 u"combo box | Qualidade de modelos | Detalhe dos modelos do jogo"_s,
                 u"label | Cursor | "_s,
                 u"combo box | Cursor | Ponteiro do mouse no jogo"_s,
                 u"label | Teclado | "_s,
                 u"combo box | Teclado | Teclas que o jogo usa"_s,
                 u"label | Visao da camera | "_s,
                 u"spin button | Visao da camera | "_s,
                 u"check box | Rotacao de camera | "_s,
                 u"check box | Texturas DXT (melhor desempenho) | "_s,
                 u"check box | Reproduzir video de abertura | "_s,
                 u"panel | Patch / Links | "_s,
                 u"label | URL base do patch | "_s,
                 u"text | URL base do patch | "_s,
                 u"label | Site | "_s,
                 u"text | Site | "_s,
                 u"label | Noticias (URL) | "_s,
                 u"text | Noticias (URL) | "_s,
                 u"push button | OK | "_s,
                 u"push button | Cancelar | "_s,
             }));
}

void TestAccessibility::theTabOrderOfTheMainWindowIsTheReadingOrder()
{
    const QString window = launcher.mainWindow();
    const QString role = u"push button"_s;
    const QStringList buttons{u"Iniciar"_s, u"Configuracao"_s, u"Cancelar"_s};
    QVERIFY(launcher.display().focus(window));
    for (const QString &button : buttons) {
        reader.waitForFocus(role, button);
        QVERIFY(launcher.display().pressKey(window, u"Tab"_s));
    }
    reader.waitForFocus(role, buttons.first());
    QVERIFY(launcher.display().pressKey(window, u"shift+Tab"_s));
    reader.waitForFocus(role, buttons.last());
}

void TestAccessibility::theKeysCloseTheSettings_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("saves");
    QTest::newRow("Escape") << u"Escape"_s << false;
    QTest::newRow("Enter") << u"Return"_s << true;
    QTest::newRow("Enter of the number pad") << u"KP_Enter"_s << true;
}

void TestAccessibility::theKeysCloseTheSettings()
{
    QFETCH(const QString, key);
    QFETCH(const bool, saves);
    launcher.clickSettings();
    launcher.answer(settingsTitle, key);
    QVERIFY(launcher.display().focus(launcher.mainWindow()));
    reader.waitForFocus(u"push button"_s, u"Configuracao"_s);
    QCOMPARE(client.read(u"Config.bin"_s).isNull(), !saves);
    launcher.close();
}

ZEL_GUI_TEST_MAIN(TestAccessibility)

#include "tst_accessibility.moc"
