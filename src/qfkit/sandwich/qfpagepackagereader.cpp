#include "qfpagepackagereader.h"

#include "cvsandwich.h"
#include "cvsandwichfilling.h"
#include "qfkit/plist/qfpropertylist.h"
#include "qfkit/support/qfexception.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMap>
#include <QSet>
#include <QTemporaryDir>
#include <zip.h>

#include <limits>

namespace {

using namespace QFPagePackageFormat;

constexpr qint64 ChunkSize = 64 * 1024;

QString quoted(const QString &path)
{
    return QStringLiteral("\u201c%1\u201d").arg(QDir::toNativeSeparators(path));
}

QString zipErrorText(int code)
{
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    const QString text = QString::fromUtf8(zip_error_strerror(&error));
    zip_error_fini(&error);
    return text;
}

class ZipArchive final
{
public:
    ZipArchive(const QString &path, int flags, int *error)
        : m_archive(zip_open(QFile::encodeName(path).constData(), flags, error))
    {
    }
    ~ZipArchive()
    {
        if (m_archive)
            zip_discard(m_archive);
    }
    Q_DISABLE_COPY_MOVE(ZipArchive)
    zip_t *get() const { return m_archive; }

private:
    zip_t *m_archive;
};

class ZipFile final
{
public:
    ZipFile(zip_t *archive, zip_uint64_t index)
        : m_file(zip_fopen_index(archive, index, 0))
    {
    }
    ~ZipFile()
    {
        if (m_file)
            zip_fclose(m_file);
    }
    Q_DISABLE_COPY_MOVE(ZipFile)
    zip_file_t *get() const { return m_file; }

private:
    zip_file_t *m_file;
};

struct Entry
{
    zip_uint64_t index = 0;
    QString name;
    qint64 size = 0;
};

std::optional<int> versionFromValue(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong: {
        const qint64 number = value.toLongLong();
        if (number < 0 || number > std::numeric_limits<int>::max())
            return std::nullopt;
        return int(number);
    }
    default:
        return std::nullopt;
    }
}

class Reading final
{
public:
    Reading(const QString &path, const QFPagePackageReader::Limits &limits)
        : m_path(path)
        , m_limits(limits)
    {
    }

    std::unique_ptr<CVSandwich> run()
    {
        const QFileInfo info(m_path);
        if (!info.exists())
            cannotOpen(QStringLiteral("there is no such file"));
        if (!info.isFile())
            cannotOpen(QStringLiteral("it is not a file"));
        if (!info.isReadable())
            cannotOpen(QStringLiteral("it cannot be read"));

        int error = 0;
        ZipArchive zip(m_path, ZIP_RDONLY | ZIP_CHECKCONS, &error);
        if (!zip.get())
            refuseUnopened(error);
        m_zip = zip.get();

        listEntries();
        const QVariantMap manifest = readManifest();
        const QString type = manifest.value(QLatin1String(TypeKey)).toString();
        const QList<int> versions = manifestVersions(manifest);

        auto sandwich = std::make_unique<CVSandwich>(type);
        auto folder = std::make_unique<QTemporaryDir>(QDir::temp().filePath(QStringLiteral("quillfen-page-XXXXXX")));
        if (!folder->isValid())
            extractionFailed(QStringLiteral("no temporary folder could be made (%1)").arg(folder->errorString()));

        for (const int version : versions) {
            const auto dictionaryEntry = m_entries.constFind(fillingDictionaryEntry(version));
            if (dictionaryEntry == m_entries.constEnd())
                malformed(QStringLiteral("version %1 has no filling dictionary").arg(version));
            const QVariantMap dictionary = readDictionary(*dictionaryEntry, QStringLiteral("the filling dictionary of version %1").arg(version));
            auto filling = std::make_shared<CVSandwichFilling>(dictionary);

            const QString filesPrefix = filesFolder(version);
            const QString versionFolder = folder->filePath(QString::number(version));
            bool madeFolder = false;
            for (const Entry &entry : std::as_const(m_order)) {
                if (!entry.name.startsWith(filesPrefix) || entry.name.endsWith(QLatin1Char('/')))
                    continue;
                const QString fileName = entry.name.mid(filesPrefix.size());
                const QString problem = fileNameProblem(fileName);
                if (!problem.isEmpty())
                    malformed(QStringLiteral("the entry \u201c%1\u201d is not a filling file: %2").arg(entry.name, problem));
                if (!madeFolder && !QDir().mkpath(versionFolder))
                    extractionFailed(QStringLiteral("the folder %1 could not be made").arg(quoted(versionFolder)));
                madeFolder = true;
                const QString target = QDir(versionFolder).filePath(fileName);
                extract(entry, target);
                filling->addFile(fileName, target);
            }
            sandwich->setFilling(filling, version);
        }
        sandwich->adoptFolder(std::move(folder));
        return sandwich;
    }

private:
    [[noreturn]] void cannotOpen(const QString &cause) const
    {
        throw QFException(QStringLiteral("Cannot Open Package"),
                          QStringLiteral("The page package %1 cannot be opened: %2.").arg(quoted(m_path), cause));
    }

    [[noreturn]] void malformed(const QString &cause) const
    {
        throw QFException(QStringLiteral("Malformed Package"),
                          QStringLiteral("The file %1 is not a usable page package: %2.").arg(quoted(m_path), cause));
    }

    [[noreturn]] void extractionFailed(const QString &cause) const
    {
        throw QFException(QStringLiteral("Package Error"),
                          QStringLiteral("The page package %1 could not be unpacked: %2.").arg(quoted(m_path), cause));
    }

    [[noreturn]] void refuseUnopened(int error) const
    {
        switch (error) {
        case ZIP_ER_NOZIP:
            malformed(QStringLiteral("it is not a zip archive"));
        case ZIP_ER_EXISTS:
        case ZIP_ER_INCONS: {
            // The strict check refuses repeated names too; say so when that
            // is what is wrong.
            int again = 0;
            ZipArchive lenient(m_path, ZIP_RDONLY, &again);
            if (lenient.get()) {
                QSet<QString> seen;
                const zip_int64_t count = zip_get_num_entries(lenient.get(), 0);
                for (zip_int64_t i = 0; i < count && i < m_limits.maxEntries; ++i) {
                    const char *raw = zip_get_name(lenient.get(), zip_uint64_t(i), ZIP_FL_ENC_RAW);
                    if (!raw)
                        continue;
                    const QString name = QString::fromUtf8(raw);
                    if (seen.contains(name))
                        malformed(QStringLiteral("it holds two entries named \u201c%1\u201d").arg(name));
                    seen.insert(name);
                }
            }
            if (error == ZIP_ER_EXISTS)
                malformed(QStringLiteral("it holds two entries of one name"));
            malformed(QStringLiteral("the zip archive is damaged (%1)").arg(zipErrorText(error)));
        }
        case ZIP_ER_OPEN:
        case ZIP_ER_READ:
        case ZIP_ER_NOENT:
            cannotOpen(zipErrorText(error));
        default:
            malformed(QStringLiteral("the zip archive cannot be read (%1)").arg(zipErrorText(error)));
        }
    }

    void listEntries()
    {
        const zip_int64_t count = zip_get_num_entries(m_zip, 0);
        if (count < 0)
            malformed(QStringLiteral("the zip archive cannot be read"));
        if (count > m_limits.maxEntries)
            malformed(QStringLiteral("it holds %1 entries, more than the %2 allowed").arg(count).arg(m_limits.maxEntries));
        qint64 total = 0;
        m_order.reserve(qsizetype(count));
        for (zip_int64_t i = 0; i < count; ++i) {
            zip_stat_t stat;
            zip_stat_init(&stat);
            if (zip_stat_index(m_zip, zip_uint64_t(i), ZIP_FL_ENC_RAW, &stat) != 0 || !(stat.valid & ZIP_STAT_NAME) || !stat.name)
                malformed(QStringLiteral("entry %1 cannot be read").arg(i + 1));
            Entry entry;
            entry.index = zip_uint64_t(i);
            entry.name = QString::fromUtf8(stat.name);
            const QString problem = entryNameProblem(entry.name);
            if (!problem.isEmpty())
                malformed(QStringLiteral("%1 (\u201c%2\u201d)").arg(problem, entry.name));
            if (m_entries.contains(entry.name))
                malformed(QStringLiteral("it holds two entries named \u201c%1\u201d").arg(entry.name));
            if ((stat.valid & ZIP_STAT_ENCRYPTION_METHOD) && stat.encryption_method != ZIP_EM_NONE)
                malformed(QStringLiteral("the entry \u201c%1\u201d is encrypted").arg(entry.name));
            if (!(stat.valid & ZIP_STAT_SIZE) || stat.size > zip_uint64_t(m_limits.maxEntrySize))
                tooLarge(entry.name);
            entry.size = qint64(stat.size);
            total += entry.size;
            if (total > m_limits.maxTotalSize)
                malformed(QStringLiteral("its entries together are larger than the %1 bytes allowed").arg(m_limits.maxTotalSize));
            m_entries.insert(entry.name, entry);
            m_order.append(entry);
        }
    }

    [[noreturn]] void tooLarge(const QString &name) const
    {
        malformed(QStringLiteral("the entry \u201c%1\u201d is larger than the %2 bytes allowed").arg(name).arg(m_limits.maxEntrySize));
    }

    // Reads the entry's data in chunks, handing each to sink; never more than
    // the entry's stated size or the limit, whatever the compressed data says.
    template <typename Sink>
    void readEntry(const Entry &entry, Sink &&sink) const
    {
        ZipFile file(m_zip, entry.index);
        if (!file.get())
            malformed(QStringLiteral("the entry \u201c%1\u201d cannot be read (%2)").arg(entry.name, QString::fromUtf8(zip_strerror(m_zip))));
        const qint64 limit = std::min(entry.size, m_limits.maxEntrySize);
        QByteArray chunk(ChunkSize, Qt::Uninitialized);
        qint64 done = 0;
        for (;;) {
            const zip_int64_t got = zip_fread(file.get(), chunk.data(), zip_uint64_t(chunk.size()));
            if (got < 0) {
                malformed(QStringLiteral("the entry \u201c%1\u201d is damaged (%2)")
                              .arg(entry.name, QString::fromUtf8(zip_file_strerror(file.get()))));
            }
            if (got == 0)
                break;
            done += got;
            if (done > limit)
                tooLarge(entry.name);
            sink(chunk.constData(), qint64(got));
        }
        if (done != entry.size)
            malformed(QStringLiteral("the entry \u201c%1\u201d is shorter than stated").arg(entry.name));
    }

    QByteArray readBytes(const Entry &entry) const
    {
        QByteArray bytes;
        // Only dictionaries are read into memory, and their stated size is
        // checked first: room for exactly that, no growing copies.
        bytes.reserve(qsizetype(std::min(entry.size, m_limits.maxDictionarySize)));
        readEntry(entry, [&bytes](const char *data, qint64 size) { bytes.append(data, qsizetype(size)); });
        return bytes;
    }

    QVariantMap readDictionary(const Entry &entry, const QString &what) const
    {
        // Refused by its stated size; readEntry holds it to that size.
        if (entry.size > m_limits.maxDictionarySize) {
            malformed(QStringLiteral("%1 is larger than the %2 bytes allowed").arg(what).arg(m_limits.maxDictionarySize));
        }
        const QByteArray bytes = readBytes(entry);
        try {
            return QFPropertyList::mapFromData(bytes);
        } catch (const QFException &e) {
            malformed(QStringLiteral("%1 is not a property-list dictionary (%2)").arg(what, e.reason()));
        }
    }

    QVariantMap readManifest() const
    {
        const auto it = m_entries.constFind(QLatin1String(ManifestEntry));
        if (it == m_entries.constEnd())
            malformed(QStringLiteral("it has no manifest"));
        const QVariantMap manifest = readDictionary(*it, QStringLiteral("the manifest"));
        if (manifest.value(QLatin1String(FormatKey)) != QVariant(QString::fromLatin1(FormatName)))
            malformed(QStringLiteral("its manifest does not describe a page package"));
        const QVariant formatVersion = manifest.value(QLatin1String(FormatVersionKey));
        const std::optional<int> version = versionFromValue(formatVersion);
        if (!version || *version < 1)
            malformed(QStringLiteral("its manifest has no valid format version"));
        if (*version > FormatVersion)
            malformed(QStringLiteral("it was made by a newer version of Quillfen (format %1)").arg(*version));
        const QVariant type = manifest.value(QLatin1String(TypeKey));
        if (type.typeId() != QMetaType::QString || type.toString().isEmpty())
            malformed(QStringLiteral("its manifest names no package type"));
        return manifest;
    }

    QList<int> manifestVersions(const QVariantMap &manifest) const
    {
        const QVariant value = manifest.value(QLatin1String(VersionsKey));
        if (value.typeId() != QMetaType::QVariantList)
            malformed(QStringLiteral("its manifest lists no versions"));
        QList<int> versions;
        for (const QVariant &element : value.toList()) {
            const std::optional<int> version = versionFromValue(element);
            if (!version)
                malformed(QStringLiteral("its manifest lists a version that is not a whole number from 0"));
            if (versions.contains(*version))
                malformed(QStringLiteral("its manifest lists version %1 twice").arg(*version));
            versions.append(*version);
        }
        std::sort(versions.begin(), versions.end());
        return versions;
    }

    void extract(const Entry &entry, const QString &target) const
    {
        QFile file(target);
        if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
            extractionFailed(QStringLiteral("%1 could not be written (%2)").arg(quoted(target), file.errorString()));
        readEntry(entry, [&](const char *data, qint64 size) {
            if (file.write(data, size) != size)
                extractionFailed(QStringLiteral("%1 could not be written (%2)").arg(quoted(target), file.errorString()));
        });
        if (!file.flush())
            extractionFailed(QStringLiteral("%1 could not be written (%2)").arg(quoted(target), file.errorString()));
    }

    QString m_path;
    QFPagePackageReader::Limits m_limits;
    zip_t *m_zip = nullptr;
    QHash<QString, Entry> m_entries;
    QList<Entry> m_order;
};

} // namespace

QFPagePackageReader::QFPagePackageReader() = default;

QFPagePackageReader::QFPagePackageReader(const Limits &limits)
    : m_limits(limits)
{
}

std::unique_ptr<CVSandwich> QFPagePackageReader::read(const QString &path) const
{
    return Reading(path, m_limits).run();
}
