#include <QCoreApplication>
#include <QTextStream>

#include "zel-manifest/Checking.h"
#include "zel-manifest/CommandLine.h"
#include "zel-manifest/Console.h"
#include "zel-manifest/Publishing.h"

int main(int argc, char *argv[])
{
    // File names are UTF-8 and messages are English in every locale.
    qputenv("LC_ALL", "C.UTF-8");
    const QCoreApplication application(argc, argv);

    QString error;
    const Options options = CommandLine().read(QCoreApplication::arguments(), &error);
    Console console;
    console.setQuiet(options.quiet);
    if (!error.isEmpty()) {
        console.error(error);
        console.note(QStringLiteral("see zel-manifest --help"));
        return WrongUsage;
    }
    switch (options.task) {
    case Options::Publish:
        return Publishing(options, &console).run();
    case Options::Check:
        return Checking(options, &console).run();
    case Options::ShowText:
        QTextStream(stdout) << options.text;
        break;
    }
    return Done;
}
