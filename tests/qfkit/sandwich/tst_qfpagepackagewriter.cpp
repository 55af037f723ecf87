#include "qfkit/sandwich/cvsandwich.h"
#include "qfkit/sandwich/cvsandwichfilling.h"
#include "qfkit/sandwich/qfpagepackagewriter.h"
#include "qfkit/support/qfexception.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeAll(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), bytes.size());
}

} // namespace

class tst_QFPagePackageWriter : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void refusesWhatAReaderWouldRefuse_data();
    void refusesWhatAReaderWouldRefuse();
    void unwritableFolderIsReported();

private:
    QString path(const QString &name) const { return m_dir->filePath(name); }
    std::unique_ptr<QTemporaryDir> m_dir;
};

void tst_QFPagePackageWriter::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    writeAll(path(QStringLiteral("body")), "body bytes");
}

void tst_QFPagePackageWriter::refusesWhatAReaderWouldRefuse_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("filePath");
    QTest::addColumn<QVariantMap>("dictionary");
    QTest::addColumn<QString>("why");

    const QString body = QStringLiteral("body");
    const QVariantMap plain{{QStringLiteral("A"), 1}};
    QTest::newRow("no type") << QString() << "x" << body << plain << "has no type";
    QTest::newRow("file name leaving the folder") << "T" << "../x" << body << plain << "leads out of its folder";
    QTest::newRow("file name with a folder") << "T" << "a/b" << body << plain << "holds a folder";
    QTest::newRow("empty file name") << "T" << "" << body << plain << "has no name";
    QTest::newRow("file name with a drive") << "T" << "C:x" << body << plain << "drive letter";
    QTest::newRow("file name too long") << "T" << QString(256, QLatin1Char('n')) << body << plain << "longer than 255 bytes";
    QTest::newRow("missing file") << "T" << "x" << "nowhere" << plain << "is missing or cannot be read";
    QTest::newRow("folder for a file") << "T" << "x" << "." << plain << "is missing or cannot be read";
    QTest::newRow("value without a plist form")
        << "T" << "x" << body << QVariantMap{{QStringLiteral("Entries"), QVariantList{QVariant()}}} << "Entries[0]";
}

void tst_QFPagePackageWriter::refusesWhatAReaderWouldRefuse()
{
    QFETCH(QString, type);
    QFETCH(QString, fileName);
    QFETCH(QString, filePath);
    QFETCH(QVariantMap, dictionary);
    QFETCH(QString, why);

    // An earlier package at the path stays as it was.
    const QString package = path(QStringLiteral("old.qfpage"));
    writeAll(package, "the earlier package");

    CVSandwich sandwich(type);
    auto filling = std::make_shared<CVSandwichFilling>(dictionary);
    filling->addFile(fileName, path(filePath));
    sandwich.setFilling(filling, 0);
    try {
        QFPagePackageWriter().write(sandwich, package);
        QFAIL("the package was written");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Package Error"));
        QVERIFY2(e.reason().contains(QDir::toNativeSeparators(package)), qPrintable(e.reason()));
        QVERIFY2(e.reason().contains(why), qPrintable(e.reason()));
    }
    QCOMPARE(readAll(package), QByteArray("the earlier package"));
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files).size(), 2);
}

void tst_QFPagePackageWriter::unwritableFolderIsReported()
{
    CVSandwich sandwich(QStringLiteral("T"));
    sandwich.setFilling(std::make_shared<CVSandwichFilling>(), 0);
    const QString package = path(QStringLiteral("no/such/folder/p.qfpage"));
    QVERIFY_THROWS_EXCEPTION(QFException, QFPagePackageWriter().write(sandwich, package));
    QVERIFY(!QFileInfo::exists(package));
}

QTEST_GUILESS_MAIN(tst_QFPagePackageWriter)
#include "tst_qfpagepackagewriter.moc"
