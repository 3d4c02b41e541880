#include "zel-doctor/ProgramFile.h"

#include <QFile>
#include <QFileInfo>
#include <QtEndian>

ProgramKind programKind(const QString &path)
{
    constexpr qsizetype offsetPlace = 0x3C; // holds the offset of the PE header
    constexpr quint16 i386 = 0x014C;
    constexpr quint16 amd64 = 0x8664;

    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        return ProgramKind::Unreadable;
    }
    const QByteArray start = file.read(offsetPlace + 4);
    if (start.size() < offsetPlace + 4 || !start.startsWith("MZ") ||
        !file.seek(qFromLittleEndian<quint32>(start.constData() + offsetPlace))) {
        return ProgramKind::Foreign;
    }
    const QByteArray header = file.read(6);
    if (header.size() < 6 || !header.startsWith(QByteArrayView("PE\0\0", 4))) {
        return ProgramKind::Foreign;
    }
    switch (qFromLittleEndian<quint16>(header.constData() + 4)) {
    case i386:
        return ProgramKind::Bits32;
    case amd64:
        return ProgramKind::Bits64;
    default:
        return ProgramKind::Foreign;
    }
}
