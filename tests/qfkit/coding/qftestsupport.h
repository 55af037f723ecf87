#pragma once

// Shared by the tests of archives, property lists, page packages and text
// export.

#include "qfkit/support/qfexception.h"

#include <QDateTime>
#include <QFile>
#include <QStringList>
#include <QVariant>

#include <functional>

namespace QFTest {

// What the call raised; an exception named "nothing raised" when it returned.
template<typename Call>
QFException raised(Call &&call)
{
    try {
        call();
    } catch (const QFException &e) {
        return e;
    }
    return QFException(QStringLiteral("nothing raised"), QString());
}

inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The whole file or, answering false, nothing.
inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

// Type and value, recursively, so that a wrong type, signedness or time zone
// shows. `special` describes the values it knows (a null string otherwise).
inline QString dump(const QVariant &v, const std::function<QString(const QVariant &)> &special = {})
{
    if (const QString s = special ? special(v) : QString(); !s.isNull())
        return s;
    QStringList parts;
    if (v.typeId() == QMetaType::QVariantMap) {
        const QVariantMap map = v.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            parts << it.key() + QStringLiteral("=") + dump(it.value(), special);
        return QStringLiteral("{%1}").arg(parts.join(QStringLiteral(", ")));
    }
    if (v.typeId() == QMetaType::QVariantList) {
        for (const QVariant &item : v.toList())
            parts << dump(item, special);
        return QStringLiteral("[%1]").arg(parts.join(QStringLiteral(", ")));
    }
    if (v.typeId() == QMetaType::QDateTime)
        return QStringLiteral("date(%1, spec %2)").arg(v.toDateTime().toMSecsSinceEpoch()).arg(int(v.toDateTime().timeSpec()));
    if (v.typeId() == QMetaType::QByteArray)
        return QStringLiteral("data(%1)").arg(QString::fromLatin1(v.toByteArray().toHex()));
    if (v.typeId() == QMetaType::Double)
        return QStringLiteral("real(%1)").arg(v.toDouble(), 0, 'g', 17);
    return QStringLiteral("%1(%2)").arg(QString::fromLatin1(v.typeName()), v.toString());
}

} // namespace QFTest
