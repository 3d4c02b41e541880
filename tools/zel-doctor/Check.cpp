#include "zel-doctor/Check.h"

#include "zel-doctor/ClientChecks.h"
#include "zel-doctor/DesktopChecks.h"
#include "zel-doctor/PatchChecks.h"
#include "zel-doctor/WineChecks.h"

const QList<Check> &Checks::all()
{
    // The manual pages name these limits and their sum.
    static const QList<Check> checks{
        {"configuracoes", 5'000, ClientChecks::settingsFile},
        {"pasta do cliente", 5'000, ClientChecks::folder},
        {"espaco em disco", 5'000, ClientChecks::room},
        {"executavel", 5'000, ClientChecks::executable},
        {"wine", 20'000, WineChecks::wine},
        {"prefixo do wine", 10'000, WineChecks::prefix},
        {"perfil do bash", 10'000, WineChecks::profile},
        {"nomes de arquivos", 30'000, ClientChecks::names},
        {"Config.bin", 5'000, ClientChecks::configBin},
        {"serverlist.txt", 5'000, ClientChecks::serverList},
        {"sn.bin", 5'000, ClientChecks::snBin},
        {"server.txt", 5'000, ClientChecks::serverTxt},
        {"zel_login.ini", 5'000, ClientChecks::loginIni},
        {"servidor de atualizacoes", 50'000, PatchChecks::server, Check::Network},
        {"tela", 15'000, DesktopChecks::display, Check::Display},
        {"versoes", 5'000, DesktopChecks::versions},
        {"registro", 10'000, WineChecks::log, Check::Log},
    };
    return checks;
}

const Check *Checks::find(const QString &name)
{
    for (const Check &check : all()) {
        if (name == QLatin1String(check.name)) {
            return &check;
        }
    }
    return nullptr;
}

int Checks::totalLimitMs()
{
    int sum = 0;
    for (const Check &check : all()) {
        sum += check.limitMs;
    }
    return sum;
}
