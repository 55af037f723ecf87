#include "qfkit/support/qfboundedread.h"
#include "qfkit/support/qfexception.h"

#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <thread>

namespace {

// Where the bytes come from.
enum class Source { File, SparseFile, Device, Pipe, Folder, Missing };

} // namespace

Q_DECLARE_METATYPE(Source)

class tst_QFBoundedRead : public QObject
{
    Q_OBJECT

private slots:
    void readFile_data();
    void readFile();
    void linesAcrossBlocks();
    void sizeText_data();
    void sizeText();
};

void tst_QFBoundedRead::readFile_data()
{
    QTest::addColumn<Source>("source");
    QTest::addColumn<QByteArray>("bytes"); // for a sparse file, only its size counts
    QTest::addColumn<qint64>("limit");
    QTest::addColumn<QString>("error"); // empty: read whole

    const QByteArray sixteen(16, 'q');
    QTest::newRow("file below the limit") << Source::File << QByteArray("posts\n") << qint64(16) << "";
    QTest::newRow("file at the limit") << Source::File << sixteen << qint64(16) << "";
    QTest::newRow("empty file") << Source::File << QByteArray() << qint64(16) << "";
    QTest::newRow("file one byte over") << Source::File << sixteen + 'x' << qint64(16) << "File Too Large";
    // 4 GiB of nothing on disk: refused by its size, never read.
    QTest::newRow("sparse file far over") << Source::SparseFile << QByteArray() << qint64(1) << "File Too Large";
    // A device states no size: read up to one byte past the limit.
    QTest::newRow("/dev/zero") << Source::Device << QByteArray() << qint64(3 << 20) << "File Too Large";
    QTest::newRow("pipe below the limit") << Source::Pipe << QByteArray("one\ntwo\n") << qint64(16) << "";
    QTest::newRow("pipe over the limit") << Source::Pipe << QByteArray(4096, 'p') << qint64(100) << "File Too Large";
    QTest::newRow("folder") << Source::Folder << QByteArray() << qint64(16) << "Cannot Read File";
    QTest::newRow("missing file") << Source::Missing << QByteArray() << qint64(16) << "Cannot Read File";
}

void tst_QFBoundedRead::readFile()
{
    QFETCH(Source, source);
    QFETCH(QByteArray, bytes);
    QFETCH(qint64, limit);
    QFETCH(QString, error);

    QTemporaryDir dir;
    QString path = dir.filePath(QStringLiteral("input.txt"));
    std::thread writer;
    switch (source) {
    case Source::File:
    case Source::SparseFile: {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        if (source == Source::SparseFile)
            QVERIFY(file.resize(qint64(4) << 30));
        break;
    }
    case Source::Device:
        path = QStringLiteral("/dev/zero");
        break;
    case Source::Pipe:
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        // Opening a pipe waits for the other end; the bytes fit its buffer,
        // so the writer finishes whether or not they are all read.
        writer = std::thread([path, bytes] {
            QFile file(path);
            if (file.open(QIODevice::WriteOnly))
                file.write(bytes);
        });
        break;
    case Source::Folder:
        QVERIFY(QDir().mkdir(path));
        break;
    case Source::Missing:
        break;
    }

    try {
        const QByteArray read = QFBoundedRead::readFile(path, limit, QStringLiteral("posts file"));
        if (writer.joinable())
            writer.join();
        QVERIFY2(error.isEmpty(), "read a file it should have refused");
        QCOMPARE(read, bytes);
        QVERIFY(!read.isNull());
    } catch (const QFException &e) {
        if (writer.joinable())
            writer.join();
        QCOMPARE(e.name(), error);
        QVERIFY2(e.reason().startsWith(QStringLiteral("The posts file \u201c%1\u201d").arg(path)), qPrintable(e.reason()));
    }
}

void tst_QFBoundedRead::linesAcrossBlocks()
{
    // Lines longer than a block, a line end at a block's edge, CR kept, a
    // last line without its end, and reading stopped when asked.
    QByteArray middle(3584 * 1024, 'm'); // its second line spans three blocks
    middle[(1 << 20) - 6] = '\n';
    const QByteArray bytes = "first\r\n" + middle + "\n\nlast";
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("posts.jsonl"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();

    QList<QByteArray> lines;
    QFBoundedRead::readFileLines(path, bytes.size(), QStringLiteral("posts file"), [&lines](QByteArrayView line) {
        lines.append(line.toByteArray());
        return true;
    });
    QCOMPARE(lines, bytes.split('\n'));

    lines.clear();
    QFBoundedRead::readFileLines(path, bytes.size(), QStringLiteral("posts file"), [&lines](QByteArrayView line) {
        lines.append(line.toByteArray());
        return lines.size() < 2;
    });
    QCOMPARE(lines.size(), 2);

    QVERIFY_THROWS_EXCEPTION(QFException, QFBoundedRead::readFileLines(path, bytes.size() - 1, QStringLiteral("posts file"),
                                                                       [](QByteArrayView) { return true; }));
}

void tst_QFBoundedRead::sizeText_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("bytes") << qint64(300) << "300 bytes";
    QTest::newRow("MiB") << qint64(512) * 1024 * 1024 << "512 MiB";
    QTest::newRow("GiB") << (qint64(2) << 30) << "2 GiB";
    QTest::newRow("fraction") << qint64(3) * 512 * 1024 * 1024 << "1.5 GiB";
}

void tst_QFBoundedRead::sizeText()
{
    QFETCH(qint64, bytes);
    QFETCH(QString, text);
    QCOMPARE(QFBoundedRead::sizeText(bytes), text);
}

QTEST_GUILESS_MAIN(tst_QFBoundedRead)
#include "tst_qfboundedread.moc"
