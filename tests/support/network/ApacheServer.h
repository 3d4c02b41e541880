#pragma once

#include "support/network/WebServer.h"

/// A real Apache.
class ApacheServer : public WebServer
{
public:
    /// The program's path; empty when the machine has no Apache.
    static QString program() { return find(QStringLiteral("apache2")); }

    /// Serves what @p directives say, with the placeholders of configuration(), over HTTP on @PORT@
    /// and over HTTPS, with its certificate and key in the files @p certificate and @p key, on
    /// @TLSPORT@.
    bool start(const QString &directives, const QString &certificate, const QString &key,
               QString *error);

protected:
    QString configuration() const override { return text; }
    QStringList command(const QString &configurationFile) const override;

private:
    QString text;
};
