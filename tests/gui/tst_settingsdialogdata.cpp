#include "support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QSettings>
#include <QSignalSpy>

#include <functional>
#include <memory>
#include <optional>

#include "client/ConfigBin.h"
#include "gui/SettingsFields.h"
#include "settings/LauncherSettings.h"
#include "support/process/FakeClient.h"
#include "support/process/FakeSystem.h"
#include "support/process/FakeWineHost.h"
#include "support/windows/FileChooserUser.h"
#include "support/windows/MessageBoxAnswerer.h"
#include "wine/WineDiscovery.h"

using namespace Qt::StringLiterals;

namespace
{

/// Set in a child that runs a test function where a FakeSystem stands in.
constexpr const char *insideVariable = "ZEL_TEST_INSIDE_FAKE_SYSTEM";

/// A place in the files: a key of the settings file, or a word of "Config.bin" as "word 3".
using Files = QMap<QString, QString>;

QString word(int index)
{
    return u"word %1"_s.arg(index);
}

/// A field of the dialog with a value other than the one it starts the tests with.
struct Field {
    const char *name;
    QString place;  ///< Where the files keep it.
    QString stored; ///< The other value there.
    QString shown;  ///< The other value in the dialog.
    std::function<QString(const SettingsFields &)> look;
    std::function<void(const SettingsFields &)> edit;
};

/// What a field shows; a check box "yes" or "no".
QString textOf(const QWidget *field)
{
    if (const auto *box = qobject_cast<const QCheckBox *>(field)) {
        return box->isChecked() ? u"yes"_s : u"no"_s;
    }
    const char *property = field->inherits("QComboBox") ? "currentText"
                           : field->inherits("QSlider") ? "value"
                                                        : "text";
    return field->property(property).toString();
}

void enter(QLineEdit *edit, const QString &text)
{
    SettingsFields::type(edit, text);
}
void enter(QComboBox *combo, const QString &text)
{
    SettingsFields::choose(combo, text);
}
void enter(QSpinBox *spin, const QString &text)
{
    SettingsFields::type(spin, text.toInt());
}
void enter(QCheckBox *box, const QString &text)
{
    SettingsFields::set(box, text == u"yes"_s);
}
void enter(QSlider *slider, const QString &text)
{
    SettingsFields::slide(slider, text.toInt());
}

template<typename Widget>
Field field(const char *name, Widget *SettingsFields::*widget, const QString &place,
            const QString &stored, const QString &shown)
{
    return {name,
            place,
            stored,
            shown,
            [widget](const SettingsFields &fields) { return textOf(fields.*widget); },
            [widget, shown](const SettingsFields &fields) { enter(fields.*widget, shown); }};
}

template<typename Widget>
Field field(const char *name, Widget *SettingsFields::*widget, const QString &place,
            const QString &value)
{
    return field(name, widget, place, value, value);
}

} // namespace

/// What the settings dialog shows, stores and writes.
class TestSettingsDialogData : public TestBase
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void eachFieldShowsWhatTheFilesHold_data();
    void eachFieldShowsWhatTheFilesHold();
    void eachFieldReachesTheFiles_data();
    void eachFieldReachesTheFiles();
    void anUntouchedDialogChangesNoOption();
    void nothingIsSavedWithoutOk_data();
    void nothingIsSavedWithoutOk();
    void okWritesTheClientsFiles();
    void textsAreStoredTrimmed_data();
    void textsAreStoredTrimmed();

    void aVolumeIsShownInPercent_data();
    void aVolumeIsShownInPercent();
    void aVolumeIsStoredAsALevel_data();
    void aVolumeIsStoredAsALevel();
    void aSliderThatDoesNotMoveHasItsLabel();
    void aBrightnessOutOfRangeIsShownInRange_data();
    void aBrightnessOutOfRangeIsShownInRange();
    void aValueWithoutAnItemShowsTheFirstOneOnPurpose_data();
    void aValueWithoutAnItemShowsTheFirstOneOnPurpose();
    void aCursorOfOneIsTheSystemsOnPurpose();
    void anyIntroVideoValueCountsAsOn();
    void aChannelCountOutOfRangeIsClamped_data();
    void aChannelCountOutOfRangeIsClamped();
    void hiddenOptionsAreCarriedOver();

    void aFailedSyncIsShownAndTheDialogStillCloses_data();
    void aFailedSyncIsShownAndTheDialogStillCloses();
    void theWarningShowsAPathAsPlainText();

    void theListOfWinesIsWhatDiscoveryFinds();
    void theStoredWineIsSelected();
    void aLinkSelectsTheWineItPointsTo();
    void withoutAStoredWineTheResolvedOneIsSelected();
    void aWineThatIsNotFoundIsAnItemOfItsOwn();
    void placeholdersInAWinePathAreNotFilled();
    void aChosenWineIsStoredByItsPath();
    void theLastChoiceIsStoredWhenNoItemIsCurrent();
    void aNewSearchKeepsTheChoice_data();
    void aNewSearchKeepsTheChoice();
    void aNewSearchFindsWhatIsNew();
    void eachSearchRunsTheLoginShellOnce();
    void aNewSearchKeepsAChoiceThatIsGone();
    void aSearchEmitsNoChangeWhileItFillsTheList();
    void onAMachineWithoutWineTheCommandItselfIsOffered();

    void aCancelledChooserChangesNothing_data();
    void aCancelledChooserChangesNothing();
    void aChosenExecutableIsShownWithItsPath();
    void aChosenWineThatWasFoundIsSelected();
    void aChosenWineOfTheUsersOwnIsAnItemOfItsOwn();
    void aChosenFolderIsImported();
    void anImportRefreshesOnlyTheServerFieldsOnPurpose();
    void anImportWithoutANameOrAddressKeepsTheFields();
    void anImportIsKeptInMemoryButNotSavedByCancelOnPurpose();
    void aPathThatCannotExistOpensItsChooser_data();
    void aPathThatCannotExistOpensItsChooser();

private:
    static QList<Field> everyField();
    QMap<QString, QString> shown() const;
    Files files() const;
    void store(const QString &place, const QString &value) const;
    void open();
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

void TestSettingsDialogData::accept()
{
    SettingsFields::click(fields->ok);
    QVERIFY(dialog->isHidden());
    QCOMPARE(dialog->result(), int(QDialog::Accepted));
}

void TestSettingsDialogData::editEveryField() const
{
    for (const Field &entry : everyField()) {
        entry.edit(*fields);
    }
}

/// Picks @p path in the chooser that @p button opens.
void TestSettingsDialogData::browse(QPushButton *button, const QString &path)
{
    FileChooserUser user;
    user.pick(path);
    SettingsFields::click(button);
}

/// Every field of the dialog but the client folder and Wine, whose values are paths of one test.
QList<Field> TestSettingsDialogData::everyField()
{
    using S = SettingsFields;
    return {
        field("executable", &S::clientExe, u"client/exe"_s, u"ZELmarind.exe"_s),
        field("use Wine", &S::useWine, u"client/useWine"_s, u"false"_s, u"no"_s),
        field("patch URL", &S::patchUrl, u"patch/baseUrl"_s, u"http://127.0.0.1:8/p"_s),
        field("server name", &S::serverName, u"server/name"_s, u"Aurora"_s),
        field("server address", &S::serverIp, u"server/ip"_s, u"10.0.0.5"_s),
        field("channels", &S::channels, u"server/channelCount"_s, u"7"_s),
        field("site", &S::website, u"links/website"_s, u"http://site.test/?a=1&b=%2"_s),
        field("news", &S::news, u"links/news"_s, u"http://news.test/"_s),
        field("resolution", &S::resolution, word(1), u"11"_s, u"1600 x 1080"_s),
        field("model quality", &S::modelQuality, word(2), u"3"_s, u"Alta"_s),
        field("effects", &S::effects, word(3), u"150"_s, u"51"_s),
        field("music", &S::music, word(4), u"100"_s, u"1"_s),
        field("brightness", &S::brightness, word(6), u"30"_s),
        field("cursor", &S::cursor, word(7), u"0"_s, u"Padrao do sistema"_s),
        field("intro video", &S::introVideo, word(8), u"0"_s, u"no"_s),
        field("window mode", &S::windowMode, word(9), u"0"_s, u"no"_s),
        field("camera rotation", &S::cameraRotation, word(11), u"1"_s, u"yes"_s),
        field("DXT, stored inverted", &S::dxt, word(12), u"1"_s, u"no"_s),
        field("keyboard", &S::keyboard, word(13), u"1"_s, u"Teclas alternativas"_s),
        field("camera view", &S::cameraView, word(14), u"3"_s),
    };
}

/// What the fields show.
QMap<QString, QString> TestSettingsDialogData::shown() const
{
    QMap<QString, QString> texts{{u"client folder"_s, fields->clientDir->text()},
                                 {u"Wine"_s, fields->wine->currentData().toString()}};
    for (const Field &entry : everyField()) {
        texts.insert(QLatin1String(entry.name), entry.look(*fields));
    }
    return texts;
}

/// What the settings file and "Config.bin" hold.
Files TestSettingsDialogData::files() const
{
    Files files;
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

/// Puts a value into the file that keeps it.
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

void TestSettingsDialogData::eachFieldShowsWhatTheFilesHold_data()
{
    QTest::addColumn<int>("index");

    const QList<Field> all = everyField();
    for (int i = 0; i < all.size(); ++i) {
        QTest::newRow(all.at(i).name) << i;
    }
}

void TestSettingsDialogData::eachFieldShowsWhatTheFilesHold()
{
    QFETCH(const int, index);
    const Field entry = everyField().at(index);
    open();
    QMap<QString, QString> expected = shown();
    QVERIFY(expected.value(QLatin1String(entry.name)) != entry.shown);

    store(entry.place, entry.stored);
    settings.load();
    open();
    expected.insert(QLatin1String(entry.name), entry.shown);
    QCOMPARE(shown(), expected);
}

void TestSettingsDialogData::eachFieldReachesTheFiles_data()
{
    eachFieldShowsWhatTheFilesHold_data();
    QTest::newRow("client folder") << -1;
    QTest::newRow("Wine") << -2;
}

void TestSettingsDialogData::eachFieldReachesTheFiles()
{
    QFETCH(const int, index);
    const QString otherRunner = host->addRunner(u"other"_s);
    open();
    accept();
    Files expected = files();

    open();
    const FakeClient otherClient(u"other client"_s);
    if (index == -1) {
        SettingsFields::type(fields->clientDir, otherClient.dir());
        expected.insert(u"client/dir"_s, otherClient.dir());
    } else if (index == -2) {
        SettingsFields::choose(fields->wine, u"Lutris (%1)"_s.arg(otherRunner));
        expected.insert(u"client/wine"_s, otherRunner);
    } else {
        const Field entry = everyField().at(index);
        entry.edit(*fields);
        QCOMPARE(entry.look(*fields), entry.shown);
        expected.insert(entry.place, entry.stored);
    }
    accept();
    QCOMPARE(files(), expected);

    // The next dialog shows the same, from memory and from the files.
    const QMap<QString, QString> atClose = shown();
    open();
    QCOMPARE(shown(), atClose);
    settings.load();
    open();
    QCOMPARE(shown(), atClose);
}

void TestSettingsDialogData::anUntouchedDialogChangesNoOption()
{
    for (const Field &entry : everyField()) {
        store(entry.place, entry.stored);
    }
    settings.load();
    const Files before = files();
    open();
    accept();
    QCOMPARE(files(), before);
}

void TestSettingsDialogData::nothingIsSavedWithoutOk_data()
{
    QTest::addColumn<bool>("byKey");

    QTest::newRow("Cancel") << false;
    QTest::newRow("Escape") << true;
}

void TestSettingsDialogData::nothingIsSavedWithoutOk()
{
    QFETCH(const bool, byKey);
    const Files before = files();
    open();
    const QMap<QString, QString> inMemory = shown();
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

void TestSettingsDialogData::textsAreStoredTrimmed_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("stored");

    QTest::newRow("white space around a text") << u" \t a b\t "_s << u"a b"_s;
    QTest::newRow("white space alone") << u" "_s << QString();
}

void TestSettingsDialogData::textsAreStoredTrimmed()
{
    QFETCH(const QString, typed);
    QFETCH(const QString, stored);
    open();
    const QMap<QString, QLineEdit *> edits{
        {u"client/exe"_s, fields->clientExe},   {u"patch/baseUrl"_s, fields->patchUrl},
        {u"server/name"_s, fields->serverName}, {u"links/website"_s, fields->website},
        {u"links/news"_s, fields->news},
    };
    for (QLineEdit *edit : edits) {
        SettingsFields::type(edit, typed);
    }
    SettingsFields::type(fields->clientDir, u"  "_s + client->dir() + u"\t"_s);
    SettingsFields::type(fields->serverIp, u" 10.0.0.5 "_s);
    accept();
    Files expected = files();
    for (auto it = edits.cbegin(); it != edits.cend(); ++it) {
        QVERIFY(expected.contains(it.key()));
        expected.insert(it.key(), stored);
    }
    expected.insert(u"client/dir"_s, client->dir());
    expected.insert(u"server/ip"_s, u"10.0.0.5"_s);
    QCOMPARE(files(), expected);
}

void TestSettingsDialogData::aVolumeIsShownInPercent_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("text");

    QTest::newRow("below mute") << -5 << u"0 (mudo)"_s;
    QTest::newRow("mute") << 0 << u"0 (mudo)"_s;
    QTest::newRow("a low level") << 50 << u"1%"_s;
    QTest::newRow("lowest of the launcher's") << 100 << u"1%"_s;
    QTest::newRow("middle") << 150 << u"51%"_s;
    QTest::newRow("highest of the launcher's") << 199 << u"100%"_s;
    QTest::newRow("highest") << 200 << u"100%"_s;
}

void TestSettingsDialogData::aVolumeIsShownInPercent()
{
    QFETCH(const int, level);
    QFETCH(const QString, text);
    settings.clientConfig.soundLevel = qint16(level);
    settings.clientConfig.musicLevel = 120;
    open();
    QCOMPARE(fields->effectsValue->text(), text);
    QCOMPARE(fields->musicValue->text(), u"21%"_s);
    settings.clientConfig.soundLevel = 120;
    settings.clientConfig.musicLevel = qint16(level);
    open();
    QCOMPARE(fields->effectsValue->text(), u"21%"_s);
    QCOMPARE(fields->musicValue->text(), text);
}

void TestSettingsDialogData::aVolumeIsStoredAsALevel_data()
{
    QTest::addColumn<int>("percent");
    QTest::addColumn<QString>("level");

    QTest::newRow("mute") << 0 << u"0"_s;
    QTest::newRow("lowest") << 1 << u"100"_s;
    QTest::newRow("middle") << 51 << u"150"_s;
    QTest::newRow("highest") << 100 << u"199"_s;
}

void TestSettingsDialogData::aVolumeIsStoredAsALevel()
{
    QFETCH(const int, percent);
    QFETCH(const QString, level);
    open();
    SettingsFields::slide(fields->effects, percent);
    SettingsFields::slide(fields->music, 2);
    accept();
    QCOMPARE(files().value(word(3)), level);
    QCOMPARE(files().value(word(4)), u"101"_s);
    open();
    SettingsFields::slide(fields->effects, 2);
    SettingsFields::slide(fields->music, percent);
    accept();
    QCOMPARE(files().value(word(3)), u"101"_s);
    QCOMPARE(files().value(word(4)), level);
}

void TestSettingsDialogData::aSliderThatDoesNotMoveHasItsLabel()
{
    settings.clientConfig.brightness = 0; // where a slider starts
    settings.clientConfig.soundLevel = 0;
    settings.clientConfig.musicLevel = 0;
    open();
    QCOMPARE(fields->brightnessValue->text(), u"0%"_s);
    QCOMPARE(fields->effectsValue->text(), u"0 (mudo)"_s);
    QCOMPARE(fields->musicValue->text(), u"0 (mudo)"_s);
}

void TestSettingsDialogData::aBrightnessOutOfRangeIsShownInRange_data()
{
    QTest::addColumn<int>("stored");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("saved");

    QTest::newRow("too low") << -4 << u"0%"_s << u"0"_s;
    QTest::newRow("too high") << 120 << u"100%"_s << u"100"_s;
}

void TestSettingsDialogData::aBrightnessOutOfRangeIsShownInRange()
{
    QFETCH(const int, stored);
    QFETCH(const QString, text);
    QFETCH(const QString, saved);
    settings.clientConfig.brightness = qint16(stored);
    open();
    QCOMPARE(fields->brightnessValue->text(), text);
    accept();
    QCOMPARE(files().value(word(6)), saved);
}

void TestSettingsDialogData::aValueWithoutAnItemShowsTheFirstOneOnPurpose_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("first");

    QTest::newRow("resolution 0") << 1 << 0 << u"1"_s;
    QTest::newRow("resolution 12") << 1 << 12 << u"1"_s;
    QTest::newRow("model quality 0") << 2 << 0 << u"1"_s;
    QTest::newRow("model quality 4") << 2 << 4 << u"1"_s;
    QTest::newRow("cursor 3") << 7 << 3 << u"2"_s;
    QTest::newRow("cursor -1") << 7 << -1 << u"2"_s;
    QTest::newRow("keyboard 2") << 13 << 2 << u"0"_s;
}

void TestSettingsDialogData::aValueWithoutAnItemShowsTheFirstOneOnPurpose()
{
    QFETCH(const int, index);
    QFETCH(const int, value);
    QFETCH(const QString, first);
    store(word(index), QString::number(value));
    settings.load();
    open();
    const QMap<int, QComboBox *> combos{{1, fields->resolution},
                                        {2, fields->modelQuality},
                                        {7, fields->cursor},
                                        {13, fields->keyboard}};
    QCOMPARE(combos.value(index)->currentIndex(), 0);
    accept();
    QCOMPARE(files().value(word(index)), first);
}

void TestSettingsDialogData::aCursorOfOneIsTheSystemsOnPurpose()
{
    store(word(7), u"1"_s);
    settings.load();
    open();
    QCOMPARE(fields->cursor->currentText(), u"Padrao do sistema"_s);
    accept();
    QCOMPARE(files().value(word(7)), u"0"_s);
}

void TestSettingsDialogData::anyIntroVideoValueCountsAsOn()
{
    settings.clientConfig.introVideo = -7;
    open();
    QVERIFY(fields->introVideo->isChecked());
    accept();
    QCOMPARE(settings.clientConfig.introVideo, 1);
    QCOMPARE(files().value(word(8)), u"1"_s);
}

void TestSettingsDialogData::aChannelCountOutOfRangeIsClamped_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("clamped");

    QTest::newRow("too few") << 0 << 1;
    QTest::newRow("too many") << 50 << 10;
}

void TestSettingsDialogData::aChannelCountOutOfRangeIsClamped()
{
    QFETCH(const int, count);
    QFETCH(const int, clamped);
    settings.channelCount = count;
    open();
    QCOMPARE(fields->channels->value(), clamped);
    accept();
    QCOMPARE(settings.channelCount, clamped);

    // Also where the spin box itself would let it through.
    open();
    fields->channels->setRange(-100, 100);
    SettingsFields::type(fields->channels, count);
    QCOMPARE(fields->channels->value(), count);
    accept();
    QCOMPARE(settings.channelCount, clamped);
    QCOMPARE(files().value(u"server/channelCount"_s), QString::number(clamped));
}

void TestSettingsDialogData::hiddenOptionsAreCarriedOver()
{
    store(word(0), u"7123"_s);
    store(word(5), u"77"_s);
    store(word(10), u"9"_s);
    settings.localVersion = u"4.2"_s;
    settings.save();
    settings.load();
    Files expected = files();
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
    QFETCH(const QString, error);
    open();
    SettingsFields::type(fields->serverName, u"Aurora"_s);
    if (obstacle == u"address"_s) {
        SettingsFields::type(fields->serverIp, u" "_s);
    } else if (obstacle == u"folder"_s) {
        SettingsFields::type(fields->clientDir, client->filePath(u"nowhere"_s));
    } else {
        QFile::remove(client->filePath(obstacle));
        QVERIFY(QDir().mkpath(client->filePath(obstacle)));
    }

    MessageBoxAnswerer user;
    user.expect(QMessageBox::Ok, [this](QMessageBox & /*box*/) {
        QVERIFY(dialog->isVisible());
        // Saved before the files were tried.
        const QSettings ini(TestEnvironment::settingsFile(), QSettings::IniFormat);
        QCOMPARE(ini.value("server/name"_L1).toString(), u"Aurora"_s);
    });
    accept();
    QVERIFY(user.isDone());
    QCOMPARE(user.last().title, u"Configuracoes"_s);
    QCOMPARE(user.last().text,
             u"Preferencias salvas, mas falhou ao gravar arquivos do cliente:\n"_s +
                 (error.contains(u"%1"_s) ? error.arg(client->dir()) : error));
    QCOMPARE(user.last().icon, QMessageBox::Warning);
    QCOMPARE(user.last().buttons, QMessageBox::Ok);
    QVERIFY(user.last().isModal);
    QCOMPARE(user.last().parent, dialog.get());
}

void TestSettingsDialogData::theWarningShowsAPathAsPlainText()
{
    const FakeClient odd(u"<b>100%1</b> %2"_s);
    QVERIFY(QDir().mkpath(odd.filePath(u"Config.bin"_s)));
    open();
    SettingsFields::type(fields->clientDir, odd.dir());
    MessageBoxAnswerer user;
    user.expect(QMessageBox::Ok,
                [](QMessageBox &box) { QCOMPARE(box.textFormat(), Qt::PlainText); });
    accept();
    QVERIFY(user.last().text.endsWith(odd.filePath(u"Config.bin"_s)));
}

void TestSettingsDialogData::theListOfWinesIsWhatDiscoveryFinds()
{
    host->addRunner(u"second"_s);
    host->addExecutable(u"bin/wine64"_s);
    QStringList labels;
    QVariantList paths;
    for (const WineInstallation &wine : WineDiscovery::discover()) {
        labels << wine.label;
        paths << wine.path;
    }
    QVERIFY(paths.size() >= 3);
    open();
    QCOMPARE(SettingsFields::texts(fields->wine), labels);
    QCOMPARE(SettingsFields::data(fields->wine), paths);
}

void TestSettingsDialogData::theStoredWineIsSelected()
{
    const QString path = host->addRunner(u"second"_s);
    host->addRunner(u"third"_s);
    settings.winePath = path;
    open();
    QCOMPARE(fields->wine->currentText(), u"Lutris (%1)"_s.arg(path));
    QCOMPARE(fields->wine->currentData().toString(), path);
    accept();
    QCOMPARE(settings.winePath, path);
}

void TestSettingsDialogData::aLinkSelectsTheWineItPointsTo()
{
    const QString path = host->addRunner(u"second"_s);
    const QString link = host->filePath(u"link"_s);
    QVERIFY(QFile::link(path, link));
    settings.winePath = link;
    open();
    QCOMPARE(fields->wine->currentText(), u"Lutris (%1)"_s.arg(path));
    accept();
    QCOMPARE(settings.winePath, path);
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

void TestSettingsDialogData::aWineThatIsNotFoundIsAnItemOfItsOwn()
{
    const QString path = u"/opt/no such wine/bin/wine"_s;
    settings.winePath = path;
    open();
    QCOMPARE(fields->wine->count(), WineDiscovery::discover().size() + 1);
    QCOMPARE(fields->wine->currentIndex(), fields->wine->count() - 1);
    QCOMPARE(fields->wine->currentText(), u"Personalizado (%1)"_s.arg(path));
    QCOMPARE(fields->wine->currentData().toString(), path);
    accept();
    QCOMPARE(files().value(u"client/wine"_s), path);
}

void TestSettingsDialogData::placeholdersInAWinePathAreNotFilled()
{
    settings.winePath = u"/opt/%1 %2/wine"_s;
    open();
    QCOMPARE(fields->wine->currentText(), u"Personalizado (/opt/%1 %2/wine)"_s);
}

void TestSettingsDialogData::aChosenWineIsStoredByItsPath()
{
    const QString path = host->addRunner(u"second"_s);
    open();
    SettingsFields::choose(fields->wine, u"Lutris (%1)"_s.arg(path));
    accept();
    QCOMPARE(settings.winePath, path);
    QCOMPARE(files().value(u"client/wine"_s), path);
}

void TestSettingsDialogData::theLastChoiceIsStoredWhenNoItemIsCurrent()
{
    const QString path = host->addRunner(u"second"_s);
    open();
    SettingsFields::choose(fields->wine, u"Lutris (%1)"_s.arg(path));
    fields->wine->setCurrentIndex(-1);
    accept();
    QCOMPARE(settings.winePath, path);
}

void TestSettingsDialogData::aNewSearchKeepsTheChoice_data()
{
    QTest::addColumn<bool>("found");

    QTest::newRow("a Wine that is found") << true;
    QTest::newRow("a Wine of the user's own") << false;
}

void TestSettingsDialogData::aNewSearchKeepsTheChoice()
{
    QFETCH(const bool, found);
    const QString path = host->addRunner(u"second"_s);
    settings.winePath = found ? path : u"/opt/own/wine"_s;
    open();
    const QString text = fields->wine->currentText();
    const QStringList texts = SettingsFields::texts(fields->wine);
    for (int i = 0; i < 2; ++i) {
        SettingsFields::click(fields->refreshWine);
        QCOMPARE(fields->wine->currentText(), text);
        QCOMPARE(SettingsFields::texts(fields->wine), texts);
    }
    accept();
    QCOMPARE(settings.winePath, found ? path : u"/opt/own/wine"_s);
}

void TestSettingsDialogData::aNewSearchFindsWhatIsNew()
{
    open();
    const QString chosen = fields->wine->currentData().toString();
    const QString path = host->addRunner(u"a new one"_s);
    QVERIFY(!SettingsFields::data(fields->wine).contains(path));
    SettingsFields::click(fields->refreshWine);
    QVERIFY(SettingsFields::data(fields->wine).contains(path));
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
    QVERIFY(changes.count() > 0); // not any longer
}

void TestSettingsDialogData::onAMachineWithoutWineTheCommandItselfIsOffered()
{
    if (!qEnvironmentVariableIsSet(insideVariable)) {
        NEEDS_OWN_MOUNTS();
        qputenv(insideVariable, "1");
        const QString complaint =
            FakeSystem().runSelf({QLatin1String(QTest::currentTestFunction())});
        qunsetenv(insideVariable);
        QVERIFY2(complaint.isEmpty(), qPrintable(complaint));
        return;
    }
    QVERIFY(QFile::remove(settings.winePath));
    settings.winePath.clear();
    open();
    QCOMPARE(SettingsFields::texts(fields->wine), QStringList{u"Personalizado (wine)"_s});
    accept();
    QCOMPARE(settings.winePath, u"wine"_s);
}

void TestSettingsDialogData::aCancelledChooserChangesNothing_data()
{
    QTest::addColumn<QPushButton * SettingsFields::*>("button");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QStringList>("filters");

    using S = SettingsFields;
    QTest::newRow("client folder") << &S::browseClientDir << u"Pasta do cliente"_s << QStringList();
    QTest::newRow("executable, from the client folder on purpose")
        << &S::browseClientExe << u"Executavel do jogo"_s
        << QStringList{u"Executavel (*.exe)"_s, u"Todos (*)"_s};
    QTest::newRow("Wine") << &S::browseWine << u"Executavel do Wine"_s
                          << QStringList{u"Todos (*)"_s};
}

void TestSettingsDialogData::aCancelledChooserChangesNothing()
{
    QFETCH(QPushButton * SettingsFields::*const, button);
    QFETCH(const QString, title);
    QFETCH(const QStringList, filters);
    const bool wantsFolder = filters.isEmpty();
    client->write(u"serverlist.txt"_s, "0 1 10.7.7.7\n"); // what an import would find
    const FakeClient other(u"other"_s);
    settings.clientExe = other.filePath(u"ZEL.exe"_s);
    open();
    SettingsFields::type(fields->serverName, u"Typed"_s);
    const QMap<QString, QString> before = shown();
    FileChooserUser user;
    user.cancel();
    SettingsFields::click(*fields.*button);
    QCOMPARE(shown(), before);
    QCOMPARE(settings.serverIp, u"127.0.0.1"_s);
    QVERIFY(dialog->isVisible());

    QCOMPARE(user.choosers().size(), 1);
    const FileChooserUser::Chooser &chooser = user.choosers().first();
    QCOMPARE(chooser.title, title);
    QCOMPARE(chooser.folder + u'/' + chooser.file,
             button == &SettingsFields::browseWine ? settings.winePath : client->dir() + u'/');
    QCOMPARE(chooser.mode, wantsFolder ? QFileDialog::Directory : QFileDialog::ExistingFile);
    QCOMPARE(chooser.foldersOnly, wantsFolder);
    QCOMPARE(chooser.parent, dialog.get());
    if (!wantsFolder) {
        QCOMPARE(chooser.filters, filters);
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

void TestSettingsDialogData::aChosenWineThatWasFoundIsSelected()
{
    const QString path = host->addRunner(u"second"_s);
    open();
    const int count = fields->wine->count();
    browse(fields->browseWine, path);
    QCOMPARE(fields->wine->currentText(), u"Lutris (%1)"_s.arg(path));
    QCOMPARE(fields->wine->count(), count);
    accept();
    QCOMPARE(settings.winePath, path);
}

void TestSettingsDialogData::aChosenWineOfTheUsersOwnIsAnItemOfItsOwn()
{
    const QString path = host->addExecutable(u"my wine/start"_s);
    open();
    const int count = fields->wine->count();
    browse(fields->browseWine, path);
    QCOMPARE(fields->wine->currentText(), u"Personalizado (%1)"_s.arg(path));
    QCOMPARE(fields->wine->count(), count + 1);
    accept();
    QCOMPARE(settings.winePath, path);
}

void TestSettingsDialogData::aChosenFolderIsImported()
{
    const FakeClient other(u"other"_s);
    other.write(u"serverlist.txt"_s, "0 1 10.7.7.7\n0 2 10.7.7.7\n0 3 10.7.7.7\n");
    other.write(u"sn.bin"_s, "1 Aurora\n0\n");
    open();
    browse(fields->browseClientDir, other.dir());
    QCOMPARE(fields->clientDir->text(), other.dir());
    QCOMPARE(fields->serverName->text(), u"Aurora"_s);
    QCOMPARE(fields->serverIp->text(), u"10.7.7.7"_s);
    QCOMPARE(fields->channels->value(), 3);
    QCOMPARE(settings.clientDir, other.dir());
    accept();
    QCOMPARE(files().value(u"client/dir"_s), other.dir());
    QVERIFY(other.read(u"Config.bin"_s).size() == 30);
}

void TestSettingsDialogData::anImportRefreshesOnlyTheServerFieldsOnPurpose()
{
    const FakeClient other(u"other"_s);
    other.write(u"serverlist.txt"_s, "0 1 10.7.7.7\n");
    other.write(u"sn.bin"_s, "1 Aurora\n0\n");
    ClientConfig config;
    config.resolution = 11;
    config.brightness = 5;
    config.soundLevel = 150;
    QVERIFY(ConfigBin::save(other.filePath(u"Config.bin"_s), config, nullptr));

    open();
    editEveryField();
    QMap<QString, QString> expected = shown();
    expected.insert(u"client folder"_s, other.dir());
    expected.insert(u"server name"_s, u"Aurora"_s);
    expected.insert(u"server address"_s, u"10.7.7.7"_s);
    expected.insert(u"channels"_s, u"1"_s);
    browse(fields->browseClientDir, other.dir());
    QCOMPARE(shown(), expected);

    // OK writes what the fields show over the folder's own options.
    accept();
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
    QCOMPARE(fields->channels->value(), 4); // always the settings'
}

void TestSettingsDialogData::anImportIsKeptInMemoryButNotSavedByCancelOnPurpose()
{
    const FakeClient other(u"other"_s);
    other.write(u"serverlist.txt"_s, "0 1 10.7.7.7\n0 2 10.7.7.7\n");
    other.write(u"sn.bin"_s, "1 Aurora\n0\n");
    const Files before = files();
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

void TestSettingsDialogData::aPathThatCannotExistOpensItsChooser_data()
{
    QTest::addColumn<QString>("path");

    QTest::newRow("empty") << QString();
    QTest::newRow("a folder that is gone") << u"/nonexistent/folder/"_s;
    QTest::newRow("a relative path") << u"wine"_s;
    QTest::newRow("a URL") << u"http://127.0.0.1/x"_s;
    QTest::newRow("longer than any path") << u"/"_s + QString(5000, u'x');
}

void TestSettingsDialogData::aPathThatCannotExistOpensItsChooser()
{
    QFETCH(const QString, path);
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

ZEL_GUI_TEST_MAIN(TestSettingsDialogData)

#include "tst_settingsdialogdata.moc"
