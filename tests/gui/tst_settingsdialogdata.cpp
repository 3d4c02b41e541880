#include "support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QSettings>
#include <QSignalSpy>

#include <memory>
#include <optional>
#include <utility>

#include "client/ConfigBin.h"
#include "gui/SettingsFields.h"
#include "settings/LauncherSettings.h"
#include "support/files/Disk.h"
#include "support/process/FakeClient.h"
#include "support/process/FakeSystem.h"
#include "support/process/FakeWineHost.h"
#include "support/windows/FileChooserUser.h"
#include "support/windows/MessageBoxAnswerer.h"
#include "wine/WineDiscovery.h"

using namespace Qt::StringLiterals;

namespace
{

/// Values by name: a row of the dialog, a key of the settings file, or a word of "Config.bin" as
/// "word 3".
using Texts = QMap<QString, QString>;

QString word(int index)
{
    return u"word %1"_s.arg(index);
}

/// A field of the dialog with a value other than its initial one.
struct Field {
    QString row;    ///< Its name in the dialog.
    QString place;  ///< Key or word that stores it.
    QString stored; ///< The other value there.
    QString shown;  ///< The other value in the dialog.
};

/// Every field of the dialog but the client folder and Wine, whose values depend on the test.
const QList<Field> everyField{
    {u"Executavel"_s, u"client/exe"_s, u"ZELmarind.exe"_s, u"ZELmarind.exe"_s},
    {u"Usar Wine no Linux"_s, u"client/useWine"_s, u"false"_s, u"no"_s},
    {u"Nome exibido"_s, u"server/name"_s, u"Aurora"_s, u"Aurora"_s},
    {u"IP do servidor"_s, u"server/ip"_s, u"10.0.0.5"_s, u"10.0.0.5"_s},
    {u"Canais"_s, u"server/channelCount"_s, u"7"_s, u"7"_s},
    {u"URL base do patch"_s, u"patch/baseUrl"_s, u"http://127.0.0.1:8/p"_s,
     u"http://127.0.0.1:8/p"_s},
    {u"Site"_s, u"links/website"_s, u"http://site.test/?b=%2"_s, u"http://site.test/?b=%2"_s},
    {u"Noticias (URL)"_s, u"links/news"_s, u"http://news.test/"_s, u"http://news.test/"_s},
    {u"Resolucao"_s, word(1), u"11"_s, u"1600 x 1080"_s},
    {u"Qualidade de modelos"_s, word(2), u"3"_s, u"Alta"_s},
    {u"Efeitos"_s, word(3), u"150"_s, u"51%"_s},
    {u"Musica"_s, word(4), u"100"_s, u"1%"_s},
    {u"Brilho"_s, word(6), u"30"_s, u"30%"_s},
    {u"Cursor"_s, word(7), u"0"_s, u"Padrao do sistema"_s},
    {u"Reproduzir video de abertura"_s, word(8), u"0"_s, u"no"_s},
    {u"Modo janela"_s, word(9), u"0"_s, u"no"_s},
    {u"Rotacao de camera"_s, word(11), u"1"_s, u"yes"_s},
    {u"Texturas DXT (melhor desempenho)"_s, word(12), u"1"_s, u"no"_s}, // stored inverted
    {u"Teclado"_s, word(13), u"1"_s, u"Teclas alternativas"_s},
    {u"Visao da camera"_s, word(14), u"3"_s, u"3"_s},
};

QStringList itemsOf(const QComboBox *combo)
{
    QStringList items;
    for (int i = 0; i < combo->count(); ++i) {
        items << combo->itemText(i) + u" | "_s + combo->itemData(i).toString();
    }
    return items;
}

} // namespace

/// What the settings dialog shows, stores and writes.
class TestSettingsDialogData : public TestBase
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void eachFieldIsShownAndStored_data();
    void eachFieldIsShownAndStored();
    void theClientFolderAndWineAreStored();
    void anUntouchedDialogChangesNoOption();
    void nothingIsSavedWithoutOk();
    void okWritesTheClientsFiles();
    void textsAreStoredTrimmed();
    void aValueOfTheFilesIsShownAndSavedAs_data();
    void aValueOfTheFilesIsShownAndSavedAs();
    void aChannelCountOutOfRangeIsClamped();
    void hiddenOptionsKeepTheirValues();
    void aFailedSyncIsShownAndTheDialogStillCloses_data();
    void aFailedSyncIsShownAndTheDialogStillCloses();
    void theListOfWinesIsWhatDiscoveryFinds();
    void theStoredWineIsSelectedAndKept();
    void withoutAStoredWineTheResolvedOneIsSelected();
    void theLastChoiceIsStoredWhenNoItemIsCurrent();
    void aSearchForNoPathTakesTheLastChoiceOrTheStoredWine();
    void aNewSearchFindsWhatIsNew();
    void eachSearchRunsTheLoginShellOnce();
    void aNewSearchKeepsAChoiceThatIsGone();
    void aSearchEmitsNoChangeWhileItFillsTheList();
    void onAMachineWithoutWineTheCommandItselfIsOffered();
    void aCancelledChooserChangesNothing();
    void aChosenExecutableIsShownWithItsPath();
    void aChosenWineIsSelected();
    void anImportRefreshesOnlyTheServerFieldsOnPurpose();
    void anImportWithoutANameOrAddressKeepsTheFields();
    void anImportIsKeptInMemoryButNotSavedByCancelOnPurpose();
    void aPathThatCannotExistOpensItsChooser();

private:
    Texts shown() const;
    Texts files() const;
    void store(const QString &place, const QString &value) const;
    void open();
    void openStored();
    void accept();
    void editEveryField() const;
    static void browse(QPushButton *button, const QString &path);

    std::unique_ptr<FakeClient> client;
    std::unique_ptr<FakeWineHost> host;
    std::unique_ptr<SettingsDialog> dialog;
    std::optional<SettingsFields> fields;
    LauncherSettings &settings = LauncherSettings::instance();
};

void TestSettingsDialogData::init()
{
    TestBase::init();
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QFile::remove(TestEnvironment::settingsFile());
    client = std::make_unique<FakeClient>();
    host = std::make_unique<FakeWineHost>();
    client->useInLauncher();
    settings.winePath = host->addRunner(u"first"_s);
    settings.useWine = true;
    settings.save();
    QVERIFY(ConfigBin::save(client->filePath(u"Config.bin"_s), {}, nullptr));
    settings.load();
}

void TestSettingsDialogData::cleanup()
{
    fields.reset();
    dialog.reset();
    host.reset();
    client.reset();
}

void TestSettingsDialogData::open()
{
    fields.reset();
    dialog = std::make_unique<SettingsDialog>();
    dialog->show();
    fields.emplace(*dialog);
}

/// Opens the dialog with the values of the files.
void TestSettingsDialogData::openStored()
{
    settings.load();
    open();
}

void TestSettingsDialogData::accept()
{
    SettingsFields::click(fields->ok);
    QVERIFY(dialog->isHidden());
    QCOMPARE(dialog->result(), int(QDialog::Accepted));
}

void TestSettingsDialogData::editEveryField() const
{
    for (const Field &field : everyField) {
        fields->enter(field.row, field.shown);
    }
}

/// Picks @p path in the chooser that @p button opens.
void TestSettingsDialogData::browse(QPushButton *button, const QString &path)
{
    FileChooserUser user;
    user.pick(path);
    SettingsFields::click(button);
}

/// The values that the fields show.
Texts TestSettingsDialogData::shown() const
{
    Texts texts;
    for (const SettingsFields::Row &row : fields->rows()) {
        texts.insert(row.name(), row.value());
    }
    return texts;
}

/// The values in the settings file and "Config.bin".
Texts TestSettingsDialogData::files() const
{
    Texts files;
    const QSettings ini(TestEnvironment::settingsFile(), QSettings::IniFormat);
    for (const QString &key : ini.allKeys()) {
        files.insert(key, ini.value(key).toString());
    }
    ClientConfig config;
    if (!ConfigBin::load(client->filePath(u"Config.bin"_s), &config, nullptr)) {
        return {};
    }
    for (int i = 0; i < config.raw.size(); ++i) {
        files.insert(word(i), QString::number(config.raw.at(i)));
    }
    return files;
}

/// Writes a value to the file that stores it.
void TestSettingsDialogData::store(const QString &place, const QString &value) const
{
    if (!place.startsWith(u"word "_s)) {
        QSettings(TestEnvironment::settingsFile(), QSettings::IniFormat).setValue(place, value);
        return;
    }
    QByteArray bytes = client->read(u"Config.bin"_s);
    QCOMPARE(bytes.size(), 30);
    const int offset = 2 * place.mid(5).toInt();
    const auto bits = quint16(value.toInt());
    bytes[offset] = char(bits & 0xff);
    bytes[offset + 1] = char(bits >> 8);
    client->write(u"Config.bin"_s, bytes);
}

void TestSettingsDialogData::eachFieldIsShownAndStored_data()
{
    QTest::addColumn<int>("index");

    for (int i = 0; i < everyField.size(); ++i) {
        QTest::addRow("%s", qPrintable(everyField.at(i).row)) << i;
    }
}

void TestSettingsDialogData::eachFieldIsShownAndStored()
{
    QFETCH(const int, index);
    const auto &[row, place, stored, shownThen] = everyField.at(index);
    open();
    const Texts filesBefore = files();
    const Texts shownBefore = shown();
    QVERIFY(shownBefore.value(row) != shownThen);
    Texts filesAfter = filesBefore;
    filesAfter.insert(place, stored);
    Texts shownAfter = shownBefore;
    shownAfter.insert(row, shownThen);

    store(place, stored);
    openStored();
    QCOMPARE(shown(), shownAfter);

    store(place, filesBefore.value(place));
    openStored();
    QCOMPARE(shown(), shownBefore);
    fields->enter(row, shownThen);
    QCOMPARE(shown(), shownAfter);
    accept();
    QCOMPARE(files(), filesAfter);

    // The next dialog shows the same, from memory and from the files.
    open();
    QCOMPARE(shown(), shownAfter);
    openStored();
    QCOMPARE(shown(), shownAfter);
}

void TestSettingsDialogData::theClientFolderAndWineAreStored()
{
    const QString otherRunner = host->addRunner(u"other"_s);
    const FakeClient otherClient(u"other client"_s);
    open();
    accept();
    Texts expected = files();
    open();
    SettingsFields::type(fields->clientDir, otherClient.dir());
    SettingsFields::choose(fields->wine, u"Lutris (%1)"_s.arg(otherRunner));
    const Texts chosen = shown();
    accept();
    expected.insert(u"client/dir"_s, otherClient.dir());
    expected.insert(u"client/wine"_s, otherRunner);
    QCOMPARE(files(), expected);
    openStored();
    QCOMPARE(shown(), chosen);
}

void TestSettingsDialogData::anUntouchedDialogChangesNoOption()
{
    for (const Field &field : everyField) {
        store(field.place, field.stored);
    }
    settings.load();
    const Texts before = files();
    open();
    accept();
    QCOMPARE(files(), before);
}

void TestSettingsDialogData::nothingIsSavedWithoutOk()
{
    const Texts before = files();
    for (const bool byKey : {false, true}) {
        open();
        const Texts inMemory = shown();
        editEveryField();
        QCOMPARE(files(), before); // not before OK either
        if (byKey) {
            QTest::keyClick(fields->news, Qt::Key_Escape);
        } else {
            SettingsFields::click(fields->cancel);
        }
        QVERIFY(dialog->isHidden());
        QCOMPARE(dialog->result(), int(QDialog::Rejected));
        QCOMPARE(files(), before);
        QVERIFY(client->read(u"serverlist.txt"_s).isNull());
        open();
        QCOMPARE(shown(), inMemory);
    }
}

void TestSettingsDialogData::okWritesTheClientsFiles()
{
    open();
    SettingsFields::type(fields->serverName, u"Aurora"_s);
    SettingsFields::type(fields->serverIp, u"10.0.0.5"_s);
    SettingsFields::type(fields->channels, 2);
    accept();
    QCOMPARE(client->read(u"server.txt"_s), "10.0.0.5\n"_ba);
    QCOMPARE(client->read(u"zel_login.ini"_s), "window=1\nserver_ip=10.0.0.5\nsound=0\n"_ba);
    QVERIFY(client->read(u"serverlist.txt"_s).contains("10.0.0.5"));
    QVERIFY(client->read(u"sn.bin"_s).contains("Aurora"));
    QCOMPARE(client->read(u"Config.bin"_s).size(), 30);
}

void TestSettingsDialogData::textsAreStoredTrimmed()
{
    const QStringList rows{u"Executavel"_s, u"Nome exibido"_s, u"URL base do patch"_s, u"Site"_s,
                           u"Noticias (URL)"_s};
    for (const QString &text : {u"a b"_s, QString()}) {
        open();
        Texts expected = shown();
        for (const QString &row : rows) {
            fields->enter(row, u" \t "_s + text + u"\t "_s);
            expected.insert(row, text);
        }
        SettingsFields::type(fields->clientDir, u"  "_s + client->dir() + u"\t"_s);
        SettingsFields::type(fields->serverIp, u" 127.0.0.1 "_s);
        accept();
        open();
        QCOMPARE(shown(), expected);
    }
}

void TestSettingsDialogData::aValueOfTheFilesIsShownAndSavedAs_data()
{
    QTest::addColumn<QString>("row");
    QTest::addColumn<QString>("place");
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("saved");

    const auto add = [](const QString &row, const QString &place, int value, const QString &text,
                        int saved) {
        QTest::addRow("%s %d", qPrintable(row), value) << row << place << value << text << saved;
    };
    const QList<QPair<QString, QString>> volumes{{u"Efeitos"_s, word(3)}, {u"Musica"_s, word(4)}};
    for (const auto &[row, place] : volumes) {
        add(row, place, -5, u"0 (mudo)"_s, 0);
        add(row, place, 0, u"0 (mudo)"_s, 0);
        add(row, place, 50, u"1%"_s, 100);
        add(row, place, 100, u"1%"_s, 100);
        add(row, place, 150, u"51%"_s, 150);
        add(row, place, 199, u"100%"_s, 199);
        add(row, place, 200, u"100%"_s, 199);
    }
    add(u"Brilho"_s, word(6), 0, u"0%"_s, 0); // where a slider starts
    add(u"Brilho"_s, word(6), -4, u"0%"_s, 0);
    add(u"Brilho"_s, word(6), 120, u"100%"_s, 100);
    // Deliberate: without an item for the value, the first one stays selected.
    add(u"Resolucao"_s, word(1), 0, u"640 x 480"_s, 1);
    add(u"Resolucao"_s, word(1), 12, u"640 x 480"_s, 1);
    add(u"Qualidade de modelos"_s, word(2), 0, u"Baixa"_s, 1);
    add(u"Qualidade de modelos"_s, word(2), 4, u"Baixa"_s, 1);
    add(u"Cursor"_s, word(7), 3, u"Personalizado do jogo"_s, 2);
    add(u"Cursor"_s, word(7), -1, u"Personalizado do jogo"_s, 2);
    add(u"Teclado"_s, word(13), 2, u"Teclas ZEL"_s, 0);
    add(u"Cursor"_s, word(7), 1, u"Padrao do sistema"_s, 0); // 1 is the system's, too
    add(u"Reproduzir video de abertura"_s, word(8), -7, u"yes"_s, 1);
}

void TestSettingsDialogData::aValueOfTheFilesIsShownAndSavedAs()
{
    QFETCH(const QString, row);
    QFETCH(const QString, place);
    QFETCH(const int, value);
    QFETCH(const QString, text);
    QFETCH(const int, saved);
    store(place, QString::number(value));
    openStored();
    QCOMPARE(shown().value(row), text);
    accept();
    QCOMPARE(files().value(place), QString::number(saved));
}

void TestSettingsDialogData::aChannelCountOutOfRangeIsClamped()
{
    for (const auto &[count, clamped] : {std::pair(0, 1), std::pair(50, 10)}) {
        settings.channelCount = count;
        open();
        QCOMPARE(fields->channels->value(), clamped);
        accept();
        QCOMPARE(settings.channelCount, clamped);

        // Even if the spin box allows it.
        open();
        fields->channels->setRange(-100, 100);
        SettingsFields::type(fields->channels, count);
        QCOMPARE(fields->channels->value(), count);
        accept();
        QCOMPARE(files().value(u"server/channelCount"_s), QString::number(clamped));
    }
}

void TestSettingsDialogData::hiddenOptionsKeepTheirValues()
{
    store(word(0), u"7123"_s);
    store(word(5), u"77"_s);
    store(word(10), u"9"_s);
    settings.localVersion = u"4.2"_s;
    settings.save();
    settings.load();
    Texts expected = files();
    open();
    SettingsFields::choose(fields->resolution, u"800 x 600"_s);
    expected.insert(word(1), u"2"_s);
    accept();
    QCOMPARE(files(), expected);
    QCOMPARE(settings.localVersion, u"4.2"_s);
}

void TestSettingsDialogData::aFailedSyncIsShownAndTheDialogStillCloses_data()
{
    QTest::addColumn<QString>("obstacle");
    QTest::addColumn<QString>("error");

    QTest::newRow("no address") << u"address"_s << u"Informe o IP do servidor."_s;
    QTest::newRow("no folder") << u"folder"_s << u"Configure a pasta do cliente."_s;
    QTest::newRow("Config.bin is a folder")
        << u"Config.bin"_s
        << u"Servidor configurado, mas Config.bin nao foi gravado:\n"
           "Nao foi possivel gravar %1/Config.bin"_s;
    QTest::newRow("server.txt is a folder")
        << u"server.txt"_s << u"Nao foi possivel gravar server.txt"_s;
}

void TestSettingsDialogData::aFailedSyncIsShownAndTheDialogStillCloses()
{
    QFETCH(const QString, obstacle);
    QFETCH(QString, error);
    const FakeClient odd(u"<b>100%1</b> %2"_s); // shown unchanged
    odd.useInLauncher();
    open();
    SettingsFields::type(fields->serverName, u"Aurora"_s);
    if (obstacle == u"address"_s) {
        SettingsFields::type(fields->serverIp, u" "_s);
    } else if (obstacle == u"folder"_s) {
        SettingsFields::type(fields->clientDir, odd.filePath(u"nowhere"_s));
    } else {
        Disk::makeFolder(odd.filePath(obstacle));
    }

    MessageBoxAnswerer user;
    user.expect(QMessageBox::Ok, [this](QMessageBox &box) {
        QCOMPARE(box.textFormat(), Qt::PlainText);
        QVERIFY(dialog->isVisible());
        // The settings are saved before the client's files.
        const QSettings ini(TestEnvironment::settingsFile(), QSettings::IniFormat);
        QCOMPARE(ini.value("server/name"_L1).toString(), u"Aurora"_s);
    });
    accept();
    QVERIFY(user.isDone());
    const QString text = u"Preferencias salvas, mas falhou ao gravar arquivos do cliente:\n"_s +
                         error.replace(u"%1"_s, odd.dir());
    QCOMPARE(user.last(), messageBox(dialog.get(), QMessageBox::Warning, u"Configuracoes"_s, text));
}

void TestSettingsDialogData::theListOfWinesIsWhatDiscoveryFinds()
{
    host->addRunner(u"second"_s);
    host->addExecutable(u"bin/wine64"_s);
    QStringList found;
    for (const WineInstallation &wine : WineDiscovery::discover()) {
        found << wine.label + u" | "_s + wine.path;
    }
    QVERIFY(found.size() >= 3);
    open();
    QCOMPARE(itemsOf(fields->wine), found);
}

void TestSettingsDialogData::theStoredWineIsSelectedAndKept()
{
    const QString path = host->addRunner(u"second"_s);
    const QString link = host->filePath(u"link"_s);
    const QString gone = u"/opt/%1 %2/no such wine"_s;
    Disk::makeLink(link, path);
    host->addRunner(u"third"_s);
    const auto found = WineDiscovery::discover().size();
    for (const QString &stored : {path, link, gone}) {
        settings.winePath = stored;
        open();
        if (stored == gone) {
            QCOMPARE(fields->wine->currentText(), u"Personalizado ("_s + gone + u')');
            QCOMPARE(fields->wine->currentIndex(), found);
            QCOMPARE(fields->wine->count(), found + 1);
        } else {
            QCOMPARE(fields->wine->currentText(), u"Lutris (%1)"_s.arg(path));
            QCOMPARE(fields->wine->count(), found);
        }
        const Texts before = shown();
        const QStringList items = itemsOf(fields->wine);
        for (int i = 0; i < 2; ++i) {
            SettingsFields::click(fields->refreshWine);
            QCOMPARE(shown(), before);
            QCOMPARE(itemsOf(fields->wine), items);
        }
        accept();
        QCOMPARE(files().value(u"client/wine"_s), stored == gone ? gone : path);
    }
}

void TestSettingsDialogData::withoutAStoredWineTheResolvedOneIsSelected()
{
    host->addExecutable(u"bin/wine"_s);
    settings.winePath.clear();
    const QString resolved = QFileInfo(settings.resolvedWine()).canonicalFilePath();
    QVERIFY(!resolved.isEmpty());
    open();
    QCOMPARE(fields->wine->currentData().toString(), resolved);
    accept();
    QCOMPARE(settings.winePath, resolved);
}

void TestSettingsDialogData::theLastChoiceIsStoredWhenNoItemIsCurrent()
{
    const QString path = host->addRunner(u"second"_s);
    open();
    SettingsFields::choose(fields->wine, u"Lutris (%1)"_s.arg(path));
    fields->wine->setCurrentIndex(-1);
    accept();
    QCOMPARE(settings.winePath, path);

    // Also a link to one that the search found.
    settings.winePath = host->filePath(u"link"_s);
    Disk::makeLink(settings.winePath, path);
    open();
    fields->wine->setCurrentIndex(-1);
    accept();
    QCOMPARE(settings.winePath, path);
}

void TestSettingsDialogData::aSearchForNoPathTakesTheLastChoiceOrTheStoredWine()
{
    const QString stored = settings.winePath;
    const QString path = host->addRunner(u"second"_s);
    open();
    SettingsFields::choose(fields->wine, u"Lutris (%1)"_s.arg(path));
    const int index = fields->wine->currentIndex();
    fields->wine->setItemData(index, QString());
    SettingsFields::click(fields->refreshWine);
    QCOMPARE(fields->wine->currentData().toString(), path);

    fields->wine->setItemData(index, QString());
    fields->wine->setCurrentIndex(-1);
    fields->wine->setCurrentIndex(index);
    SettingsFields::click(fields->refreshWine);
    QCOMPARE(fields->wine->currentData().toString(), stored);
}

void TestSettingsDialogData::aNewSearchFindsWhatIsNew()
{
    open();
    const QString chosen = fields->wine->currentData().toString();
    const QString path = host->addRunner(u"a new one"_s);
    QCOMPARE(fields->wine->findData(path), -1);
    SettingsFields::click(fields->refreshWine);
    QVERIFY(fields->wine->findData(path) >= 0);
    QCOMPARE(fields->wine->currentData().toString(), chosen);
}

void TestSettingsDialogData::eachSearchRunsTheLoginShellOnce()
{
    QFile shell(host->filePath(u"bin/bash"_s));
    QVERIFY(shell.open(QIODevice::Append));
    shell.write("echo asked >> \"$HOME/asked\"\n");
    shell.close();
    const auto asked = [this] {
        QFile file(host->filePath(u"home/asked"_s));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    open();
    QCOMPARE(asked(), "asked\n");
    SettingsFields::click(fields->refreshWine);
    QCOMPARE(asked(), "asked\nasked\n");
}

void TestSettingsDialogData::aNewSearchKeepsAChoiceThatIsGone()
{
    const QString path = host->addRunner(u"second"_s);
    open();
    SettingsFields::choose(fields->wine, u"Lutris (%1)"_s.arg(path));
    QVERIFY(QFile::remove(path));
    SettingsFields::click(fields->refreshWine);
    QCOMPARE(fields->wine->currentText(), u"Personalizado (%1)"_s.arg(path));
    accept();
    QCOMPARE(settings.winePath, path);
}

void TestSettingsDialogData::aSearchEmitsNoChangeWhileItFillsTheList()
{
    open();
    host->addRunner(u"a new one"_s);
    const QSignalSpy changes(fields->wine, &QComboBox::currentIndexChanged);
    SettingsFields::click(fields->refreshWine);
    QCOMPARE(changes.count(), 0);
    SettingsFields::choose(fields->wine, fields->wine->itemText(fields->wine->count() - 1));
    QVERIFY(changes.count() > 0); // signals are no longer blocked
}

void TestSettingsDialogData::onAMachineWithoutWineTheCommandItselfIsOffered()
{
    if (!FakeSystem::isInside()) {
        NEEDS_OWN_MOUNTS();
        FakeSystem().runTestFunction();
        return;
    }
    QVERIFY(QFile::remove(settings.winePath));
    settings.winePath.clear();
    open();
    QCOMPARE(itemsOf(fields->wine), QStringList{u"Personalizado (wine) | wine"_s});
    accept();
    QCOMPARE(settings.winePath, u"wine"_s);
}

void TestSettingsDialogData::aCancelledChooserChangesNothing()
{
    client->write(u"serverlist.txt"_s, "0 1 10.7.7.7\n"); // an import would read it
    const FakeClient other(u"other"_s);
    settings.clientExe = client->filePath(u"ZEL.exe"_s);
    const QString wine = host->addRunner(u"second"_s);
    open();
    SettingsFields::type(fields->clientDir, other.dir());
    SettingsFields::choose(fields->wine, u"Lutris (%1)"_s.arg(wine));
    SettingsFields::type(fields->serverName, u"Typed"_s);
    const Texts before = shown();
    FileChooserUser user;
    for (QPushButton *button :
         {fields->browseClientDir, fields->browseClientExe, fields->browseWine}) {
        user.cancel();
        SettingsFields::click(button);
        QCOMPARE(shown(), before);
        QCOMPARE(settings.serverIp, u"127.0.0.1"_s);
        QVERIFY(dialog->isVisible());
    }

    const QStringList titles{u"Pasta do cliente"_s, u"Executavel do jogo"_s,
                             u"Executavel do Wine"_s};
    // Each starts at what the fields show. Deliberate: the chooser of the executable starts in the
    // client folder.
    const QStringList starts{other.dir() + u'/', other.dir() + u'/', wine};
    const QList<QStringList> filters{
        {}, {u"Executavel (*.exe)"_s, u"Todos (*)"_s}, {u"Todos (*)"_s}};
    QCOMPARE(user.choosers().size(), 3);
    for (int i = 0; i < 3; ++i) {
        const FileChooserUser::Chooser &chooser = user.choosers().at(i);
        const bool wantsFolder = i == 0;
        QCOMPARE(chooser.title, titles.at(i));
        QCOMPARE(chooser.folder + u'/' + chooser.file, starts.at(i));
        QCOMPARE(chooser.mode, wantsFolder ? QFileDialog::Directory : QFileDialog::ExistingFile);
        QCOMPARE(chooser.foldersOnly, wantsFolder);
        QCOMPARE(chooser.parent, dialog.get());
        QVERIFY(wantsFolder || chooser.filters == filters.at(i));
    }
}

void TestSettingsDialogData::aChosenExecutableIsShownWithItsPath()
{
    client->write(u"ZEL IP 14.exe"_s, {});
    open();
    browse(fields->browseClientExe, client->filePath(u"ZEL IP 14.exe"_s));
    QCOMPARE(fields->clientExe->text(), client->filePath(u"ZEL IP 14.exe"_s));
    accept();
    QCOMPARE(settings.clientExe, client->filePath(u"ZEL IP 14.exe"_s));
}

void TestSettingsDialogData::aChosenWineIsSelected()
{
    const QString found = host->addRunner(u"second"_s);
    const QString own = host->addExecutable(u"my wine/start"_s);
    const auto count = WineDiscovery::discover().size();
    open();
    browse(fields->browseWine, found);
    QCOMPARE(fields->wine->currentText(), u"Lutris (%1)"_s.arg(found));
    QCOMPARE(fields->wine->count(), count);
    browse(fields->browseWine, own);
    QCOMPARE(fields->wine->currentText(), u"Personalizado (%1)"_s.arg(own));
    QCOMPARE(fields->wine->count(), count + 1);
    accept();
    QCOMPARE(settings.winePath, own);
}

void TestSettingsDialogData::anImportRefreshesOnlyTheServerFieldsOnPurpose()
{
    const FakeClient other(u"other"_s);
    other.write(u"serverlist.txt"_s, "0 1 10.7.7.7\n0 2 10.7.7.7\n0 3 10.7.7.7\n");
    other.write(u"sn.bin"_s, "1 Aldeia\n0\n");
    ClientConfig config;
    config.resolution = 10;
    config.brightness = 5;
    config.soundLevel = 120;
    QVERIFY(ConfigBin::save(other.filePath(u"Config.bin"_s), config, nullptr));

    open();
    editEveryField();
    Texts expected = shown();
    expected.insert(u"Pasta do cliente"_s, other.dir());
    expected.insert(u"Nome exibido"_s, u"Aldeia"_s);
    expected.insert(u"IP do servidor"_s, u"10.7.7.7"_s);
    expected.insert(u"Canais"_s, u"3"_s);
    browse(fields->browseClientDir, other.dir());
    QCOMPARE(shown(), expected);

    // OK writes what the fields show over the folder's own options.
    accept();
    QCOMPARE(files().value(u"client/dir"_s), other.dir());
    ClientConfig written;
    QVERIFY(ConfigBin::load(other.filePath(u"Config.bin"_s), &written, nullptr));
    QCOMPARE(written.brightness, 30);
}

void TestSettingsDialogData::anImportWithoutANameOrAddressKeepsTheFields()
{
    const FakeClient other(u"other"_s); // no server list, no server name
    settings.serverName.clear();
    settings.serverIp.clear();
    settings.channelCount = 4;
    open();
    SettingsFields::type(fields->serverName, u"Typed"_s);
    SettingsFields::type(fields->serverIp, u"10.1.1.1"_s);
    SettingsFields::type(fields->channels, 9);
    browse(fields->browseClientDir, other.dir());
    QCOMPARE(fields->clientDir->text(), other.dir());
    QCOMPARE(fields->serverName->text(), u"Typed"_s);
    QCOMPARE(fields->serverIp->text(), u"10.1.1.1"_s);
    QCOMPARE(fields->channels->value(), 4); // always the value in the settings
}

void TestSettingsDialogData::anImportIsKeptInMemoryButNotSavedByCancelOnPurpose()
{
    const FakeClient other(u"other"_s);
    other.write(u"serverlist.txt"_s, "0 1 10.7.7.7\n0 2 10.7.7.7\n");
    other.write(u"sn.bin"_s, "1 Aurora\n0\n");
    const Texts before = files();
    open();
    browse(fields->browseClientDir, other.dir());
    QCOMPARE(files(), before);
    SettingsFields::click(fields->cancel);
    QCOMPARE(files(), before);
    QVERIFY(other.read(u"Config.bin"_s).isNull());
    QCOMPARE(settings.clientDir, other.dir());
    QCOMPARE(settings.serverIp, u"10.7.7.7"_s);
    QCOMPARE(settings.serverName, u"Aurora"_s);
    QCOMPARE(settings.channelCount, 2);
}

void TestSettingsDialogData::aPathThatCannotExistOpensItsChooser()
{
    for (const QString &path : {QString(), u"/nonexistent/folder/"_s, u"wine"_s,
                                u"http://127.0.0.1/x"_s, u"/"_s + QString(5000, u'x')}) {
        settings.clientDir = path;
        settings.winePath = path;
        open();
        FileChooserUser user;
        for (QPushButton *button :
             {fields->browseClientDir, fields->browseClientExe, fields->browseWine}) {
            user.cancel();
            SettingsFields::click(button);
        }
        QCOMPARE(user.choosers().size(), 3);
        QCOMPARE(fields->clientDir->text(), path);
    }
}

ZEL_GUI_TEST_MAIN(TestSettingsDialogData)

#include "tst_settingsdialogdata.moc"
