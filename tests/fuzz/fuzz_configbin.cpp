// The input is a "Config.bin". Only 30 bytes load; what a save then writes is known word by word.

#include <QtEndian>

#include <algorithm>

#include "FuzzTarget.h"
#include "client/ConfigBin.h"

using Fuzz::require;

namespace
{

constexpr qsizetype wordCount = 15;

QList<short> wordsOf(const QByteArray &bytes)
{
    QList<short> words;
    for (qsizetype i = 0; i + 1 < bytes.size(); i += 2) {
        words.append(short(quint8(bytes[i]) | quint8(bytes[i + 1]) << 8));
    }
    return words;
}

/// The words that a save writes of a record loaded from @p words.
QList<short> savedWords(QList<short> words)
{
    words[2] = std::clamp<short>(words[2], 1, 3);
    words[3] = std::clamp<short>(words[3], 0, 200);
    words[4] = std::clamp<short>(words[4], 0, 200);
    words[5] = words[5] == 0 ? short(-1) : words[5];
    words[6] = std::clamp<short>(words[6], 0, 100);
    words[8] = words[8] != 0;
    words[9] = words[9] != 0;
    words[11] = words[11] > 0;
    words[12] = words[12] != 0;
    return words;
}

ClientConfig loaded(const QString &path)
{
    ClientConfig config;
    require(ConfigBin::load(path, &config, nullptr), "a saved file loads");
    return config;
}

QByteArray saved(const ClientConfig &config, const QString &path)
{
    QString error;
    require(ConfigBin::save(path, config, &error) && error.isNull(), "a save succeeds");
    return Fuzz::readFile(path);
}

/// A file of another size leaves the record as it was and says why.
void requireRefused(const QString &path, qsizetype size)
{
    ClientConfig config;
    config.headerValue = -321;
    config.raw = {1, 2, 3};
    QString error;
    require(!ConfigBin::load(path, &config, &error), "only 30 bytes load");
    require(error == QStringLiteral("Config.bin invalido (%1 bytes, esperado 30).").arg(size),
            "the error names the size");
    require(config.headerValue == -321 && config.resolution == 3 && config.raw.size() == 3,
            "a failed load leaves the record untouched");
}

void requireVolumesInRange(int level)
{
    const int percent = ConfigBin::soundPercentFromLevel(level);
    require(percent >= 0 && percent <= 100, "a volume is 0 to 100 percent");
    require(percent == ConfigBin::musicPercentFromLevel(level), "both volumes follow one rule");
    const int stored = ConfigBin::soundLevelFromPercent(level);
    require(stored == 0 || (stored >= 100 && stored <= 200), "a level is 0 or 100 to 200");
    require(stored == ConfigBin::musicLevelFromPercent(level), "both levels follow one rule");
    require(level < 100 || level > 199 || ConfigBin::soundLevelFromPercent(percent) == level,
            "levels 100 to 199 survive the way over the percent");
}

} // namespace

void fuzzOne(const QByteArray &input)
{
    const QString path = Fuzz::path(QStringLiteral("Config.bin"));
    Fuzz::writeFile(path, input);
    const QList<short> words = wordsOf(input);
    if (input.size() >= qsizetype(sizeof(qint32))) {
        requireVolumesInRange(qFromLittleEndian<qint32>(input.constData()));
        requireVolumesInRange(words[0]);
    }

    if (input.size() != 2 * wordCount) {
        requireRefused(path, input.size());
        // Of a record's raw words a save keeps word 5 only, and only when all 15 are there.
        ClientConfig config;
        config.raw = words;
        const bool isWhole = words.size() == wordCount && words[5] != 0;
        require(wordsOf(saved(config, path)) ==
                    QList<short>({7000, 3, 2, 0, 0, isWhole ? words[5] : short(-1), 57, 2, 1, 1, 1,
                                  0, 0, 0, 1}),
                "a save writes 15 words whatever the raw words are");
        return;
    }

    const ClientConfig config = loaded(path);
    require(config.raw == words, "a load keeps the words as stored");
    const QByteArray first = saved(config, path);
    require(first.size() == 2 * wordCount && wordsOf(first) == savedWords(words),
            "a save clamps what it must and keeps the rest");
    require(saved(loaded(path), path) == first, "a second save changes nothing");
}
