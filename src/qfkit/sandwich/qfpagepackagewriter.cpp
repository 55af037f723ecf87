#include "qfpagepackagewriter.h"

#include "cvsandwich.h"
#include "cvsandwichfilling.h"
#include "qfpagepackageformat.h"
#include "qfkit/plist/qfpropertylist.h"
#include "qfkit/support/qfexception.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QVariantList>
#include <QVariantMap>
#include <zip.h>

#include <list>

namespace {

QString quoted(const QString &path)
{
    return QStringLiteral("\u201c%1\u201d").arg(QDir::toNativeSeparators(path));
}

[[noreturn]] void fail(const QString &path, const QString &cause)
{
    throw QFException(QStringLiteral("Package Error"),
                      QStringLiteral("The page package %1 could not be written: %2.").arg(quoted(path), cause));
}

// An open zip that is discarded unless it was closed successfully.
class ZipHandle final
{
public:
    explicit ZipHandle(zip_t *archive)
        : m_archive(archive)
    {
    }
    ~ZipHandle()
    {
        if (m_archive)
            zip_discard(m_archive);
    }
    Q_DISABLE_COPY_MOVE(ZipHandle)
    zip_t *get() const { return m_archive; }
    // zip_close, whatever its outcome the handle is gone afterwards.
    bool close(QString *error)
    {
        if (zip_close(m_archive) == 0) {
            m_archive = nullptr;
            return true;
        }
        *error = QString::fromUtf8(zip_strerror(m_archive));
        return false;
    }

private:
    zip_t *m_archive;
};

class Writer final
{
public:
    Writer(zip_t *archive, const QString &path)
        : m_archive(archive)
        , m_path(path)
    {
    }

    void addData(const QString &name, const QByteArray &data)
    {
        // libzip reads buffers when the archive is closed: keep the bytes alive.
        m_buffers.push_back(data);
        const QByteArray &kept = m_buffers.back();
        zip_source_t *source = zip_source_buffer(m_archive, kept.constData(), zip_uint64_t(kept.size()), 0);
        add(name, source);
    }

    void addFile(const QString &name, const QString &filePath)
    {
        const QByteArray native = QFile::encodeName(filePath);
        zip_source_t *source = zip_source_file(m_archive, native.constData(), 0, -1);
        add(name, source);
    }

private:
    void add(const QString &name, zip_source_t *source)
    {
        if (!source)
            fail(m_path, QString::fromUtf8(zip_strerror(m_archive)));
        const QByteArray utf8 = name.toUtf8();
        const zip_int64_t index = zip_file_add(m_archive, utf8.constData(), source, ZIP_FL_ENC_UTF_8);
        if (index < 0) {
            zip_source_free(source);
            fail(m_path, QString::fromUtf8(zip_strerror(m_archive)));
        }
        zip_file_set_mtime(m_archive, zip_uint64_t(index), time_t(QFPagePackageFormat::EntryTime), 0);
    }

    zip_t *m_archive;
    QString m_path;
    std::list<QByteArray> m_buffers;
};

QByteArray plistBytes(const QVariant &value, const QString &path, const QString &what)
{
    QByteArray bytes;
    try {
        bytes = QFPropertyList::toData(value, QFPropertyList::Format::XML);
    } catch (const QFException &e) {
        fail(path, QStringLiteral("%1 cannot be stored (%2)").arg(what, e.reason()));
    }
    if (bytes.size() > QFPagePackageFormat::MaxDictionarySize) {
        fail(path, QStringLiteral("%1 would take %2 bytes, more than the %3 bytes a package can hold")
                       .arg(what).arg(bytes.size()).arg(QFPagePackageFormat::MaxDictionarySize));
    }
    return bytes;
}

} // namespace

void QFPagePackageWriter::write(const CVSandwich &sandwich, const QString &path) const
{
    using namespace QFPagePackageFormat;

    if (sandwich.type().isEmpty())
        fail(path, QStringLiteral("the package has no type"));

    // Everything a reader would refuse is refused before the file is touched.
    qint64 total = 0;
    QVariantList versions;
    for (const int version : sandwich.versions()) {
        if (version < 0)
            fail(path, QStringLiteral("version %1 is not a valid version number").arg(version));
        versions.append(version);
        const std::shared_ptr<CVSandwichFilling> filling = sandwich.fillingForVersion(version);
        for (auto it = filling->files().cbegin(); it != filling->files().cend(); ++it) {
            const QString problem = fileNameProblem(it.key());
            if (!problem.isEmpty())
                fail(path, QStringLiteral("the file \u201c%1\u201d cannot be stored: %2").arg(it.key(), problem));
            const QFileInfo info(it.value());
            if (!info.isFile() || !info.isReadable())
                fail(path, QStringLiteral("its file %1 is missing or cannot be read").arg(quoted(it.value())));
            if (info.size() > MaxEntrySize)
                fail(path, QStringLiteral("its file %1 is larger than %2 bytes").arg(quoted(it.value())).arg(MaxEntrySize));
            total += info.size();
        }
    }
    if (total > MaxTotalSize)
        fail(path, QStringLiteral("its files together are larger than %1 bytes").arg(MaxTotalSize));

    const QVariantMap manifest{{QLatin1String(FormatKey), QLatin1String(FormatName)},
                               {QLatin1String(FormatVersionKey), FormatVersion},
                               {QLatin1String(TypeKey), sandwich.type()},
                               {QLatin1String(VersionsKey), versions}};
    const QByteArray manifestBytes = plistBytes(manifest, path, QStringLiteral("the manifest"));
    QList<QByteArray> dictionaries;
    for (const int version : sandwich.versions()) {
        dictionaries.append(plistBytes(sandwich.fillingForVersion(version)->dictionary(), path,
                                       QStringLiteral("the dictionary of version %1").arg(version)));
    }

    // libzip writes a temporary file beside the target and renames it into
    // place on closing, so a failure never leaves a half-written package.
    int error = 0;
    const QByteArray native = QFile::encodeName(path);
    ZipHandle zip(zip_open(native.constData(), ZIP_CREATE | ZIP_TRUNCATE, &error));
    if (!zip.get()) {
        zip_error_t zipError;
        zip_error_init_with_code(&zipError, error);
        const QString cause = QString::fromUtf8(zip_error_strerror(&zipError));
        zip_error_fini(&zipError);
        fail(path, cause);
    }

    Writer writer(zip.get(), path);
    writer.addData(QLatin1String(ManifestEntry), manifestBytes);
    qsizetype i = 0;
    for (const int version : sandwich.versions()) {
        writer.addData(fillingDictionaryEntry(version), dictionaries.at(i++));
        const std::shared_ptr<CVSandwichFilling> filling = sandwich.fillingForVersion(version);
        for (auto it = filling->files().cbegin(); it != filling->files().cend(); ++it)
            writer.addFile(filesFolder(version) + it.key(), it.value());
    }
    QString cause;
    if (!zip.close(&cause))
        fail(path, cause);
}
