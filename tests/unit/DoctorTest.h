#pragma once

#include <QSettings>

#include "support/files/Settings.h"
#include "zel-doctor/Report.h"

/// Base of the tests of zel-doctor's checks: settings that name an empty client folder.
class DoctorTest : public FolderTest
{
    Q_OBJECT

protected slots:
    void init()
    {
        FolderTest::init();
        resetSettings();
        Disk::makeFolder(client());
        set(QStringLiteral("client/dir"), client());
    }

protected:
    QString client() const { return at(QStringLiteral("client")); }
    QString client(const QString &name) const { return client() + u'/' + name; }

    static void set(const QString &key, const QVariant &value)
    {
        QSettings(TestEnvironment::settingsFile(), QSettings::IniFormat).setValue(key, value);
    }

    /// The lines of the report, with user names unchanged.
    static QString lines(const Results &results)
    {
        Report report;
        QString text;
        for (const Result &result : results) {
            text += report.add(result);
        }
        return text;
    }

    /// The header of a Windows program for this machine type.
    static QByteArray windowsProgram(quint16 machine)
    {
        QByteArray bytes(0x40, '\0');
        bytes.replace(0, 2, "MZ");
        bytes[0x3C] = 0x48;
        bytes += QByteArray(8, '\0') + QByteArray("PE\0\0", 4);
        bytes += char(machine & 0xFF);
        bytes += char(machine >> 8);
        return bytes;
    }
    static QByteArray program32() { return windowsProgram(0x014C); }
    static QByteArray program64() { return windowsProgram(0x8664); }
};
