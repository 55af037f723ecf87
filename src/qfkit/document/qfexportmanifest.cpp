#include "qfexportmanifest.h"

#include <QDir>
#include <QFile>
#include <algorithm>
#include <sys/stat.h>

namespace {

const QByteArray kFirstLine = QByteArrayLiteral("Quillfen export 1");

// A file name may hold anything but "/" and NUL; "%" and control characters
// are escaped so that every path stays on its line.
QByteArray encoded(const QString &path)
{
    const QByteArray utf8 = path.toUtf8();
    QByteArray out;
    out.reserve(utf8.size());
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f || byte == '%') {
            out.append('%');
            out.append(QByteArray::number(byte, 16).rightJustified(2, '0').toUpper());
        } else {
            out.append(c);
        }
    }
    return out;
}

bool staysInside(const QString &path)
{
    if (path.isEmpty() || path.startsWith(QLatin1Char('/')) || path.contains(QChar(0)))
        return false;
    for (const QStringView part : QStringView(path).split(QLatin1Char('/'))) {
        if (part.isEmpty() || part == QLatin1String(".") || part == QLatin1String(".."))
            return false;
    }
    return true;
}

} // namespace

QString QFExportManifest::fileName()
{
    return QStringLiteral(".quillfen-export");
}

QByteArray QFExportManifest::serialize(QStringList files)
{
    files.sort();
    QByteArray bytes = kFirstLine + '\n';
    for (const QString &file : std::as_const(files))
        bytes.append(encoded(file)).append('\n');
    return bytes;
}

std::optional<QFExportManifest> QFExportManifest::parse(const QByteArray &bytes, QString *problem)
{
    const auto refuse = [problem](const QString &why) {
        if (problem)
            *problem = why;
        return std::nullopt;
    };
    if (bytes.size() > maximumSize)
        return refuse(QStringLiteral("it is larger than %1 bytes").arg(maximumSize));
    QFExportManifest manifest;
    qsizetype start = 0;
    int lineNumber = 0;
    while (start < bytes.size()) {
        qsizetype end = bytes.indexOf('\n', start);
        if (end < 0)
            end = bytes.size();
        QByteArrayView line = QByteArrayView(bytes).sliced(start, end - start);
        start = end + 1;
        ++lineNumber;
        if (line.endsWith('\r'))
            line.chop(1);
        if (lineNumber == 1) {
            if (line != kFirstLine)
                return refuse(QStringLiteral("its first line is not \u201c%1\u201d").arg(QString::fromLatin1(kFirstLine)));
            continue;
        }
        const QString path = QString::fromUtf8(QByteArray::fromPercentEncoding(line.toByteArray()));
        if (!staysInside(path))
            return refuse(QStringLiteral("line %1 is not a path inside the folder").arg(lineNumber));
        manifest.m_files.insert(path);
        for (qsizetype slash = path.lastIndexOf(QLatin1Char('/')); slash > 0;
             slash = path.lastIndexOf(QLatin1Char('/'), slash - 1)) {
            const QString folder = path.left(slash);
            if (manifest.m_folders.contains(folder))
                break;
            manifest.m_folders.insert(folder);
        }
    }
    if (lineNumber == 0)
        return refuse(QStringLiteral("it is empty"));
    return manifest;
}

std::optional<QFExportManifest> QFExportManifest::read(const QString &folder, QString *problem)
{
    if (problem)
        problem->clear();
    const QString path = folder + QLatin1Char('/') + fileName();
    struct stat status;
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    const auto refuse = [problem](const QString &why) {
        if (problem)
            *problem = why;
        return std::nullopt;
    };
    if (!S_ISREG(status.st_mode))
        return refuse(QStringLiteral("it is not a plain file"));
    if (status.st_size > maximumSize)
        return refuse(QStringLiteral("it is larger than %1 bytes").arg(maximumSize));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return refuse(QStringLiteral("it cannot be read: %1").arg(file.errorString()));
    // One byte past the limit tells a file that grew meanwhile.
    return parse(file.read(maximumSize + 1), problem);
}

QStringList QFExportManifest::unlistedEntries(const QString &folder) const
{
    QStringList unlisted;
    QStringList pending{QString()};
    while (!pending.isEmpty()) {
        const QString relative = pending.takeLast();
        const QString absolute = relative.isEmpty() ? folder : folder + QLatin1Char('/') + relative;
        const QDir dir(absolute);
        if (!dir.isReadable()) {
            unlisted.append(relative);
            continue;
        }
        const QStringList names = dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
        for (const QString &name : names) {
            const QString path = relative.isEmpty() ? name : relative + QLatin1Char('/') + name;
            struct stat status;
            if (::lstat(QFile::encodeName(absolute + QLatin1Char('/') + name).constData(), &status) != 0) {
                unlisted.append(path);
                continue;
            }
            if (S_ISDIR(status.st_mode) && m_folders.contains(path))
                pending.append(path);
            else if (S_ISREG(status.st_mode) && (m_files.contains(path) || path == fileName()))
                continue;
            else
                unlisted.append(path);
        }
    }
    std::sort(unlisted.begin(), unlisted.end());
    return unlisted;
}
