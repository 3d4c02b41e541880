// The input is a "Config.bin". Only 30 bytes load; a save must then write the expected words.

#include <QtEndian>

#include <algorithm>

#include "FuzzTarget.h"
#include "client/ConfigBin.h"

using namespace Qt::StringLiterals;
using Fuzz::require;

namespace
{

QList<short> wordsOf(const QByteArray &bytes)
{
    QList<short> words;
    for (qsizetype i = 0; i + 1 < bytes.size(); i += 2) {
        words += qFromLittleEndian<qint16>(bytes.constData() + i);
    }
    return words;
}

/// The words that a save writes for a record loaded from @p words.
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

QByteArray saved(const ClientConfig &config, const QString &path)
{
    QString error;
    require(ConfigBin::save(path, config, &error) && error.isNull(), "a save succeeds");
    return Disk::read(path);
}

void requireVolumesInRange(int level)
{
    const int percent = ConfigBin::soundPercentFromLevel(level);
    const int stored = ConfigBin::soundLevelFromPercent(level);
    require(percent >= 0 && percent <= 100, "a volume is 0 to 100 percent");
    require(stored == 0 || (stored >= 100 && stored <= 200), "a level is 0 or 100 to 200");
    require(percent == ConfigBin::musicPercentFromLevel(level) &&
                stored == ConfigBin::musicLevelFromPercent(level),
            "both volumes follow one rule");
    require(level < 100 || level > 199 || ConfigBin::soundLevelFromPercent(percent) == level,
            "levels 100 to 199 survive the way over the percent");
}

} // namespace

void fuzzOne(const QByteArray &input)
{
    const QString path = Fuzz::file(u"Config.bin"_s, input);
    const QList<short> words = wordsOf(input);
    if (input.size() >= 4) {
        requireVolumesInRange(qFromLittleEndian<qint32>(input.constData()));
        requireVolumesInRange(words[0]);
    }

    ClientConfig config;
    config.headerValue = -321;
    QString error;
    if (!ConfigBin::load(path, &config, &error)) {
        require(error == u"Config.bin invalido (%1 bytes, esperado 30)."_s.arg(input.size()),
                "the error names the size");
        require(input.size() != 30 && config.headerValue == -321 && config.resolution == 3 &&
                    config.raw.isEmpty(),
                "another size leaves the record untouched");
        // A save keeps only word 5 of the raw words, and only if there are 15.
        config.raw = words;
        const bool isWhole = words.size() == 15 && words[5] != 0;
        require(wordsOf(saved(config, path)) ==
                    QList<short>({-321, 3, 2, 0, 0, isWhole ? words[5] : short(-1), 57, 2, 1, 1, 1,
                                  0, 0, 0, 1}),
                "a save writes 15 words whatever the raw words are");
        return;
    }
    require(input.size() == 30 && config.raw == words, "a load keeps the words as stored");
    const QByteArray first = saved(config, path);
    require(first.size() == 30 && wordsOf(first) == savedWords(words),
            "a save clamps what it must and keeps the rest");
    require(ConfigBin::load(path, &config) && saved(config, path) == first,
            "a second save changes nothing");
}
