#pragma once

#include <QString>

// Key paths that name where a value sits inside a property list, for error
// reasons: `Categories[2].name`. The empty path is the top-level value.
namespace QFPlistPath {

QString dictChild(const QString &path, const QString &key);
QString arrayChild(const QString &path, qsizetype index);
// "the top level" or the path in quotes, ready to follow "at".
QString describe(const QString &path);

} // namespace QFPlistPath
