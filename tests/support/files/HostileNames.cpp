#include "support/files/HostileNames.h"

#include <QRandomGenerator>
#include <QString>

using namespace Qt::StringLiterals;

QByteArray hostileName(QRandomGenerator *random, int longest)
{
    static const QString special =
        u" #?%&+=;:@!$'()*,[]{}|\\^`\"<>~-._\t\n\r\x7f\u0085\u2028\uFEFF\u202E"_s;
    QString name;
    for (int left = random->bounded(1, longest + 1); left > 0; --left) {
        switch (random->bounded(6)) {
        case 0:
        case 1:
            name += special.at(random->bounded(int(special.size())));
            break;
        case 2:
            name += QLatin1Char(char(random->bounded('a', 'z' + 1)));
            break;
        case 3: // looks percent-encoded
            name += u"%%1"_s.arg(random->bounded(256), 2, 16, QLatin1Char('0'));
            break;
        case 4:
            name += QChar(ushort(random->bounded(0x80, 0xD800)));
            break;
        default:
            name += QChar::fromUcs4(char32_t(random->bounded(0xE000, 0x110000)));
        }
    }
    if (name == u"." || name == u"..") {
        name += u'x';
    }
    return name.toUtf8();
}
