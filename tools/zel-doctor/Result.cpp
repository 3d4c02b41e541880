#include "zel-doctor/Result.h"

#include <QLocale>

QString decimalText(double number)
{
    return QLocale(QLocale::Portuguese, QLocale::Brazil).toString(number, 'f', 1);
}

QString permissionRemedy()
{
    return QStringLiteral("Corrija as permissoes, por exemplo com chmod u+rw.");
}
