#include "support/network/ApacheServer.h"

#include <unistd.h>

using namespace Qt::StringLiterals;

bool ApacheServer::start(const QString &directives, const QString &certificate, const QString &key,
                         QString *error)
{
    text.clear();
    for (const QString &module : {u"mpm_event"_s, u"authz_core"_s, u"mime"_s, u"dir"_s, u"alias"_s,
                                  u"headers"_s, u"filter"_s, u"deflate"_s, u"include"_s,
                                  u"setenvif"_s, u"proxy"_s, u"proxy_http"_s, u"ssl"_s}) {
        text += u"LoadModule %1_module /usr/lib/apache2/modules/mod_%1.so\n"_s.arg(module);
    }
    // Apache refuses to serve as root.
    text += ::geteuid() == 0 ? u"User nobody\nGroup nogroup\n"_s : QString();
    text += uR"(
ServerName 127.0.0.1
ServerRoot @DIR@
DefaultRuntimeDir @DIR@
PidFile @DIR@/pid
Mutex file:@DIR@
ErrorLog @DIR@/error.log
TypesConfig /dev/null
StartServers 1
Listen 127.0.0.1:@PORT@ http
Listen 127.0.0.1:@TLSPORT@ https
<VirtualHost *:@TLSPORT@>
    SSLEngine on
    SSLCertificateFile %1
    SSLCertificateKeyFile %2
</VirtualHost>
%3
)"_s.arg(certificate, key, directives);
    return WebServer::start(error);
}

QStringList ApacheServer::command(const QString &configurationFile) const
{
    return {program(), u"-DFOREGROUND"_s, u"-f"_s, configurationFile};
}
