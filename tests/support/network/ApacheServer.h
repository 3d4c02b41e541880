#pragma once

#include "support/network/WebServer.h"

/// A real Apache.
class ApacheServer : public WebServer
{
public:
    /// The program's path; empty if Apache is not installed.
    static QString program() { return find(QStringLiteral("apache2")); }

    /// Starts it with @p directives, which may contain the placeholders of configuration(). Serves
    /// HTTP on @PORT@, and HTTPS with the files @p certificate and @p key on @TLSPORT@.
    bool start(const QString &directives, const QString &certificate, const QString &key,
               QString *error);

protected:
    QString configuration() const override { return text; }
    QStringList command(const QString &configurationFile) const override;

private:
    QString text;
};
