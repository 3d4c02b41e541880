// The input is split at NUL characters into words, which bash must receive unchanged.
//
// shellQuote() is local to MainWindow.cpp, so this program includes that file and links the library
// for the meta-object only.

#include "app/MainWindow.cpp"

#include <QByteArrayList>
#include <QProcess>
#include <QProcessEnvironment>

#include "FuzzTarget.h"

using Fuzz::require;

namespace
{

/// A bash that evaluates one command line after another. A quoting error must do no harm: bash is
/// restricted, has an empty PATH and lacks dangerous builtins.
class Bash
{
public:
    Bash()
    {
        QProcessEnvironment environment;
        environment.insert(QStringLiteral("PATH"), QStringLiteral("/nonexistent"));
        environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral("/bin/bash"),
                      {QStringLiteral("--restricted"), QStringLiteral("-c"),
                       QStringLiteral("enable -n kill exec source . suspend\n"
                                      "while IFS= read -r -d '' line; do eval \"$line\"; done")});
        require(process.waitForStarted(), "bash starts");
    }

    ~Bash()
    {
        process.closeWriteChannel();
        process.waitForFinished();
    }

    /// The output of printf with @p words unquoted in its command line.
    QByteArray print(const QStringList &words)
    {
        process.write("printf '%s\\0' " + words.join(u' ').toUtf8() + '\0');
        QByteArray printed;
        while (printed.count('\0') < words.size() && process.waitForReadyRead(5000)) {
            printed += process.readAllStandardOutput();
        }
        return printed;
    }

private:
    QProcess process;
};

} // namespace

void fuzzOne(const QByteArray &input)
{
    static Bash bash;

    QStringList quoted;
    QByteArray expected;
    for (const QByteArray &part : input.split('\0')) {
        const QString word = QString::fromUtf8(part);
        quoted += shellQuote(word);
        expected += word.toUtf8() + '\0';
    }
    require(bash.print(quoted) == expected, "bash sees each word unchanged");
}
