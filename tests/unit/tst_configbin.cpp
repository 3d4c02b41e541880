#include <QFile>

#include <limits>

#include "WriteFaults.h"
#include "client/ConfigBin.h"

using namespace Qt::StringLiterals;

namespace
{

using Words = QList<short>;

const Words newFile = {7000, 3, 2, 0, 0, -1, 57, 2, 1, 1, 1, 0, 0, 0, 1};

constexpr int lowest = std::numeric_limits<int>::min();
constexpr int highest = std::numeric_limits<int>::max();

/// @p words as in the file: 16-bit little-endian.
QByteArray bytesOf(const Words &words)
{
    QByteArray bytes;
    for (const int word : words) {
        bytes.append(static_cast<char>(word & 0xff));
        bytes.append(static_cast<char>((word >> 8) & 0xff));
    }
    return bytes;
}

/// Fifteen words of 0 but for word @p index.
Words onlyWord(qsizetype index, int value)
{
    Words words(15, 0);
    words[index] = static_cast<short>(value);
    return words;
}

/// The named fields of @p config in the order of their words; word 5 has none.
QList<int> fieldsOf(const ClientConfig &config)
{
    return {config.headerValue, config.resolution, config.modelQuality,   config.soundLevel,
            config.musicLevel,  config.brightness, config.cursor,         config.introVideo,
            config.windowed,    config.auxValue,   config.cameraRotation, config.dxtTextures,
            config.keyLayout,   config.cameraView};
}

const QList<int> defaultFields = {7000, 3, 2, 0, 0, 57, 2, 1, true, 1, false, true, 0, 1};

/// The named fields of a file whose words are all 0.
const QList<int> zeroFields = {0, 0, 0, 0, 0, 0, 0, 0, false, 0, false, true, 0, 0};

/// A value for each field in order; none is its default.
const ClientConfig unusualConfig = {-1, -2, false, -3,    -4,  -5,  -6,          -7,
                                    -8, -9, true,  false, -10, -11, {21, 22, 23}};

} // namespace

class TestConfigBin : public FolderTest
{
    Q_OBJECT

private slots:
    void aMissingFileLoadsTheDefaultsOfANewRecord();
    void everyWordLoadsIntoItsField_data();
    void everyWordLoadsIntoItsField();
    void aWordIsSignedAndHasItsLowByteFirst();
    void loadingIntoNullFails();
    void onlyAFileOfThirtyBytesChangesTheRecord();

    void everyFieldIsSavedAsItsWord_data();
    void everyFieldIsSavedAsItsWord();
    void savingClampsInTheFileOnly_data();
    void savingClampsInTheFileOnly();
    void wordFiveIsKeptButZeroBecomesMinusOneDeliberately_data();
    void wordFiveIsKeptButZeroBecomesMinusOneDeliberately();
    void aRoundTripChangesOnlyTheSwitches();
    void aFileThatCannotBeWrittenFailsToSave();

    void aLevelIsShownInPercent();
    void aPercentageIsStoredAsALevel();
    void levelTwoHundredComesBackAsOneLessDeliberately();

    void theClientKnowsElevenResolutions();

private:
    QString path() const { return at(u"Config.bin"_s); }
    void requireRefused(const QString &text) const;
};

/// The file does not load, the error text is @p text, and the record is untouched.
void TestConfigBin::requireRefused(const QString &text) const
{
    ClientConfig config = unusualConfig;
    QString error;
    QVERIFY(!ConfigBin::load(path(), &config, &error));
    QCOMPARE(error, text);
    QCOMPARE(fieldsOf(config), fieldsOf(unusualConfig));
    QCOMPARE(config.raw, unusualConfig.raw);
    QVERIFY(!ConfigBin::load(path(), &config));
}

// ---- load

void TestConfigBin::aMissingFileLoadsTheDefaultsOfANewRecord()
{
    Disk::makeLink(at(u"link"_s), u"/nonexistent"_s);
    QTest::ignoreMessage(QtWarningMsg, "Broken filename passed to function");
    ClientConfig config;
    QCOMPARE(fieldsOf(config), defaultFields);
    QCOMPARE(config.raw, Words());
    for (const QString &file :
         {path(), path() + u"/Config.bin"_s, at(u"link"_s), QString(), at(u"link\0.bin"_s)}) {
        config = unusualConfig;
        QString error = u"before"_s;
        QVERIFY(ConfigBin::load(file, &config, &error));
        QCOMPARE(fieldsOf(config), defaultFields);
        QCOMPARE(config.raw, newFile);
        QCOMPARE(error, u"before"_s);
    }
    QCOMPARE(Disk::names(folder()), QStringList{u"link"_s});
    QVERIFY(ConfigBin::save(path(), config));
    QCOMPARE(Disk::read(path()), bytesOf(newFile));
}

void TestConfigBin::everyWordLoadsIntoItsField_data()
{
    QTest::addColumn<int>("word");
    QTest::addColumn<int>("stored");
    QTest::addColumn<int>("value");
    const auto row = [](const char *name, int word, int stored, int value) {
        QTest::newRow(name) << word << stored << value;
    };
    row("header value", 0, 7001, 7001);
    row("resolution", 1, 12, 12);
    row("resolution below its range", 1, -7, -7);
    row("model quality", 2, 3, 3);
    row("model quality above its range", 2, 9, 9);
    row("sound level", 3, 150, 150);
    row("sound level above its range", 3, 201, 201);
    row("music level", 4, 151, 151);
    row("music level below its range", 4, -1, -1);
    row("brightness", 6, 99, 99);
    row("brightness above its range", 6, 120, 120);
    row("cursor", 7, 1, 1);
    row("intro video", 8, 2, 2);
    row("intro video below 0", 8, -3, -3);
    row("window mode, 1", 9, 1, 1);
    row("window mode, 2", 9, 2, 1);
    row("window mode, 256, whose low byte is 0", 9, 256, 1);
    row("window mode, -1", 9, -1, 1);
    row("aux value", 10, 6, 6);
    row("camera rotation, 1", 11, 1, 1);
    row("camera rotation, 256, whose low byte is 0", 11, 256, 1);
    row("camera rotation, the highest", 11, 32767, 1);
    row("camera rotation is off for -1 deliberately", 11, -1, 0);
    row("camera rotation is off for the lowest deliberately", 11, -32768, 0);
    row("DXT is on for 0 deliberately", 12, 0, 1);
    row("DXT, 1", 12, 1, 0);
    row("DXT, 5", 12, 5, 0);
    row("DXT, 256, whose low byte is 0", 12, 256, 0);
    row("DXT, -1", 12, -1, 0);
    row("key layout", 13, 77, 77);
    row("camera view", 14, -5, -5);
}

void TestConfigBin::everyWordLoadsIntoItsField()
{
    QFETCH(const int, word);
    QFETCH(const int, stored);
    QFETCH(const int, value);
    Disk::write(path(), bytesOf(onlyWord(word, stored)));

    ClientConfig config = unusualConfig;
    QString error = u"before"_s;
    QList<int> expected = zeroFields;
    expected[word < 5 ? word : word - 1] = value;
    for (int pass = 0; pass < 2; ++pass) { // into a record with other words, then with the same
        QVERIFY(ConfigBin::load(path(), &config, &error));
        QCOMPARE(fieldsOf(config), expected);
        QCOMPARE(config.raw, onlyWord(word, stored));
    }
    QCOMPARE(error, u"before"_s);
}

void TestConfigBin::aWordIsSignedAndHasItsLowByteFirst()
{
    const QList<std::pair<QByteArray, int>> words = {
        {"\x01\x00"_ba, 1},     {"\x00\x01"_ba, 256},    {"\x58\x1b"_ba, 7000},
        {"\xff\x7f"_ba, 32767}, {"\x00\x80"_ba, -32768}, {"\x80\xff"_ba, -128},
        {"\xff\xff"_ba, -1}};
    for (const auto &[bytes, value] : words) {
        Disk::write(path(), bytes + QByteArray(26, '\0') + bytes);
        ClientConfig config;
        QVERIFY(ConfigBin::load(path(), &config));
        QCOMPARE(int(config.headerValue), value);
        QCOMPARE(int(config.cameraView), value);
        QCOMPARE(int(config.raw[0]), value);

        QVERIFY(ConfigBin::save(path(), config));
        QCOMPARE(Disk::read(path()).first(2), bytes);
        QCOMPARE(Disk::read(path()).last(2), bytes);
    }
}

void TestConfigBin::loadingIntoNullFails()
{
    Disk::write(path(), bytesOf(newFile));
    for (const QString &file : {path(), u"/nonexistent/Config.bin"_s}) {
        QString error;
        QVERIFY(!ConfigBin::load(file, nullptr, &error));
        QCOMPARE(error, u"Config invalido."_s);
        QVERIFY(!ConfigBin::load(file, nullptr, nullptr));
    }
}

void TestConfigBin::onlyAFileOfThirtyBytesChangesTheRecord()
{
    const QString wrongSize = u"Config.bin invalido (%1 bytes, esperado 30)."_s;
    for (const int size : {0, 1, 29, 31, 60, 100'000}) {
        Disk::write(path(), QByteArray(size, 'x'));
        requireRefused(wrongSize.arg(size));
    }
    QFile::remove(path());
    Disk::makeLink(path(), u"/dev/null"_s);
    requireRefused(wrongSize.arg(0));
    QFile::remove(path());
    Disk::makeFolder(path());
    requireRefused(u"Nao foi possivel abrir "_s + path());
}

// ---- save

void TestConfigBin::everyFieldIsSavedAsItsWord_data()
{
    QTest::addColumn<int>("word");
    QTest::addColumn<int>("value");
    QTest::addColumn<ClientConfig>("config");

    // A record that saves only zeros, except word 2 (at least 1) and word 5.
    const ClientConfig zero = {0, 0, false, 1, 0, 0, 0, 0, 0, 0, false, true, 0, 0, {}};
    const auto row = [&zero](const char *name, int word, int value, auto field, int stored) {
        ClientConfig config = zero;
        config.*field = static_cast<std::decay_t<decltype(config.*field)>>(value);
        QTest::newRow(name) << word << stored << config;
    };
    row("header value", 0, 7001, &ClientConfig::headerValue, 7001);
    row("header value below 0", 0, -300, &ClientConfig::headerValue, -300);
    row("resolution", 1, 11, &ClientConfig::resolution, 11);
    row("resolution outside the table", 1, -2, &ClientConfig::resolution, -2);
    row("model quality", 2, 3, &ClientConfig::modelQuality, 3);
    row("sound level", 3, 150, &ClientConfig::soundLevel, 150);
    row("music level", 4, 151, &ClientConfig::musicLevel, 151);
    row("brightness", 6, 42, &ClientConfig::brightness, 42);
    row("cursor", 7, 2, &ClientConfig::cursor, 2);
    row("cursor outside its choices", 7, 1, &ClientConfig::cursor, 1);
    row("intro video", 8, 1, &ClientConfig::introVideo, 1);
    row("intro video of an odd value", 8, 77, &ClientConfig::introVideo, 1);
    row("intro video below 0", 8, -1, &ClientConfig::introVideo, 1);
    row("window mode", 9, 1, &ClientConfig::windowed, 1);
    row("aux value", 10, -9, &ClientConfig::auxValue, -9);
    row("camera rotation", 11, 1, &ClientConfig::cameraRotation, 1);
    row("no DXT", 12, 0, &ClientConfig::dxtTextures, 1);
    row("key layout", 13, 1, &ClientConfig::keyLayout, 1);
    row("key layout outside its choices", 13, 300, &ClientConfig::keyLayout, 300);
    row("camera view", 14, 3, &ClientConfig::cameraView, 3);
    row("camera view outside its range", 14, -4, &ClientConfig::cameraView, -4);
}

void TestConfigBin::everyFieldIsSavedAsItsWord()
{
    QFETCH(const int, word);
    QFETCH(const int, value);
    QFETCH(ClientConfig, config);
    Words expected = {0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    expected[word] = static_cast<short>(value);

    QString error = u"before"_s;
    QVERIFY(ConfigBin::save(path(), config, &error));
    QCOMPARE(Disk::read(path()), bytesOf(expected));
    QCOMPARE(error, u"before"_s);

    // Neither an earlier load nor the old file must affect the result.
    config.raw = Words(15, -1);
    Disk::write(path(), QByteArray(60, 'x'));
    QVERIFY(ConfigBin::save(path(), config));
    QCOMPARE(Disk::read(path()), bytesOf(expected));
    QCOMPARE(Disk::names(folder()), QStringList{u"Config.bin"_s});
}

void TestConfigBin::savingClampsInTheFileOnly_data()
{
    QTest::addColumn<QList<int>>("record"); // model quality, both volumes, brightness
    QTest::addColumn<QList<int>>("file");
    QTest::newRow("the lowest") << QList{-32768, -32768, -32768} << QList{1, 0, 0};
    QTest::newRow("a little below") << QList{-4, -4, -4} << QList{1, 0, 0};
    QTest::newRow("just below") << QList{0, -1, -1} << QList{1, 0, 0};
    QTest::newRow("at the lower end") << QList{1, 0, 0} << QList{1, 0, 0};
    QTest::newRow("within") << QList{2, 99, 57} << QList{2, 99, 57};
    QTest::newRow("at the upper end") << QList{3, 200, 100} << QList{3, 200, 100};
    QTest::newRow("just above") << QList{4, 201, 101} << QList{3, 200, 100};
    QTest::newRow("a little above") << QList{9, 250, 120} << QList{3, 200, 100};
    QTest::newRow("the highest") << QList{32767, 32767, 32767} << QList{3, 200, 100};
}

void TestConfigBin::savingClampsInTheFileOnly()
{
    QFETCH(const QList<int>, record);
    QFETCH(const QList<int>, file);
    ClientConfig config;
    config.modelQuality = static_cast<qint16>(record[0]);
    config.soundLevel = config.musicLevel = static_cast<qint16>(record[1]);
    config.brightness = static_cast<qint16>(record[2]);
    QVERIFY(ConfigBin::save(path(), config));
    QCOMPARE(int(config.modelQuality), record[0]);

    QVERIFY(ConfigBin::load(path(), &config));
    QCOMPARE(QList<int>({config.modelQuality, config.soundLevel, config.brightness}), file);
    QCOMPARE(config.musicLevel, config.soundLevel);
}

void TestConfigBin::wordFiveIsKeptButZeroBecomesMinusOneDeliberately_data()
{
    QTest::addColumn<Words>("raw");
    QTest::addColumn<int>("stored");
    QTest::newRow("0") << onlyWord(5, 0) << -1;
    QTest::newRow("7") << onlyWord(5, 7) << 7;
    QTest::newRow("-1") << onlyWord(5, -1) << -1;
    QTest::newRow("-300") << onlyWord(5, -300) << -300;
    QTest::newRow("256, whose low byte is 0") << onlyWord(5, 256) << 256;
    QTest::newRow("no words") << Words() << -1;
    QTest::newRow("a word too few") << Words(14, 7) << -1;
    QTest::newRow("a word too many") << Words(16, 7) << -1;
}

void TestConfigBin::wordFiveIsKeptButZeroBecomesMinusOneDeliberately()
{
    QFETCH(const Words, raw);
    QFETCH(const int, stored);
    ClientConfig config;
    config.raw = raw;
    QVERIFY(ConfigBin::save(path(), config));
    Words expected = newFile;
    expected[5] = static_cast<short>(stored);
    QCOMPARE(Disk::read(path()), bytesOf(expected));
    QCOMPARE(config.raw, raw);
}

void TestConfigBin::aRoundTripChangesOnlyTheSwitches()
{
    const QList<std::pair<Words, Words>> files = {
        {{-7000, 300, 3, 199, 200, 1234, 100, 1, 0, 1, -32768, 1, 1, 17, 32767},
         {-7000, 300, 3, 199, 200, 1234, 100, 1, 0, 1, -32768, 1, 1, 17, 32767}},
        {{0, 0, 1, 0, 0, 1, 0, 0, -5, -5, 0, -1, 5, 0, 0},
         {0, 0, 1, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0}}};
    for (const auto &[before, after] : files) {
        Disk::write(path(), bytesOf(before));
        ClientConfig config;
        QVERIFY(ConfigBin::load(path(), &config));
        const ClientConfig copy = config;
        QVERIFY(ConfigBin::save(path(), copy));
        QCOMPARE(Disk::read(path()), bytesOf(after));
    }
}

void TestConfigBin::aFileThatCannotBeWrittenFailsToSave()
{
    requireWriteFaults(folder(), bytesOf(newFile), [](const QString &path, QString *error) {
        return ConfigBin::save(path, ClientConfig(), error);
    });
}

// ---- volumes

void TestConfigBin::aLevelIsShownInPercent()
{
    const QList<int> levels = {lowest, -1,  0,   1,   50,  99,  100,
                               101,    150, 198, 199, 200, 250, highest};
    const QList<int> shown = {0, 0, 0, 1, 1, 1, 1, 2, 51, 99, 100, 100, 100, 100};
    for (qsizetype i = 0; i < levels.size(); ++i) {
        QCOMPARE(ConfigBin::soundPercentFromLevel(levels[i]), shown[i]);
        QCOMPARE(ConfigBin::musicPercentFromLevel(levels[i]), shown[i]);
    }
}

void TestConfigBin::aPercentageIsStoredAsALevel()
{
    const QList<int> percentages = {lowest, -1, 0, 1, 2, 51, 100, 101, 102, 150, highest};
    const QList<int> stored = {0, 0, 0, 100, 101, 150, 199, 200, 200, 200, 200};
    for (qsizetype i = 0; i < percentages.size(); ++i) {
        QCOMPARE(ConfigBin::soundLevelFromPercent(percentages[i]), stored[i]);
        QCOMPARE(ConfigBin::musicLevelFromPercent(percentages[i]), stored[i]);
    }
    for (int percent = 0; percent <= 100; ++percent) { // every percentage survives a round trip
        const int level = ConfigBin::soundLevelFromPercent(percent);
        QCOMPARE(ConfigBin::soundPercentFromLevel(level), percent);
        QCOMPARE(ConfigBin::musicLevelFromPercent(percent), level);
        QCOMPARE(ConfigBin::musicPercentFromLevel(level), percent);
    }
}

void TestConfigBin::levelTwoHundredComesBackAsOneLessDeliberately()
{
    QCOMPARE(ConfigBin::soundLevelFromPercent(ConfigBin::soundPercentFromLevel(200)), 199);
    QCOMPARE(ConfigBin::musicLevelFromPercent(ConfigBin::musicPercentFromLevel(200)), 199);
}

// ---- resolutions

void TestConfigBin::theClientKnowsElevenResolutions()
{
    // Deliberate: the last label is not 1920.
    const QStringList labels = {u"640 x 480"_s,   u"800 x 600"_s,  u"1024 x 768"_s,
                                u"1280 x 720"_s,  u"1280 x 800"_s, u"1280 x 960"_s,
                                u"1280 x 1024"_s, u"1440 x 900"_s, u"1600 x 900"_s,
                                u"1600 x 1024"_s, u"1600 x 1080"_s};
    const QList<ResolutionEntry> entries = ConfigBin::resolutionEntries();
    QCOMPARE(entries.size(), labels.size());
    for (qsizetype i = 0; i < entries.size(); ++i) {
        QCOMPARE(entries[i].code, int(i) + 1);
        QCOMPARE(entries[i].label, labels[i]);
        QCOMPARE(ConfigBin::resolutionLabel(entries[i].code), labels[i]);
    }
    for (const int code : {0, 12, -1, 32767}) {
        QCOMPARE(ConfigBin::resolutionLabel(code), u"Personalizado (%1)"_s.arg(code));
    }
}

ZEL_TEST_MAIN(TestConfigBin)

#include "tst_configbin.moc"
