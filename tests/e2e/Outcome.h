#pragma once

#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QString>
#include <QStringList>

/// Exit code and output of a program.
struct Outcome {
    int exitCode = -1; ///< -1 when it was killed.
    QString output;    ///< Standard output.
    QString messages;  ///< Standard error.
};

/// Runs @p program to its end in @p folder, with @p variables in its environment.
inline Outcome run(const QString &program, const QStringList &arguments, const QString &folder = {},
                   const QMap<QString, QString> &variables = {})
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (auto it = variables.begin(); it != variables.end(); ++it) {
        environment.insert(it.key(), it.value());
    }
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    process.waitForFinished(-1);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

/// The long options that @p text names.
inline QSet<QString> optionsIn(const QString &text)
{
    static const QRegularExpression option(QStringLiteral("--[a-z-]+"));
    QSet<QString> options;
    for (auto it = option.globalMatch(text); it.hasNext();) {
        options.insert(it.next().captured());
    }
    return options;
}
