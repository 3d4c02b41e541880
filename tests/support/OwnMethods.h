#pragma once

#include <QMetaMethod>
#include <QStringList>

/// The signals and slots declared by a class itself, in order, with parameter names: "signal
/// finished(bool,QString) success,message".
inline QStringList ownMethods(const QMetaObject &meta)
{
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        const bool isSignal = method.methodType() == QMetaMethod::Signal;
        const QByteArray text = (isSignal ? "signal " : "slot ") + method.methodSignature() + ' ' +
                                method.parameterNames().join(',');
        methods.append(QString::fromLatin1(text).trimmed());
    }
    return methods;
}
