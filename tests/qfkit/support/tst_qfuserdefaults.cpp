#include "qfkit/support/qfuserdefaults.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

class tst_QFUserDefaults : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void typedReaders_data();
    void typedReaders();
    void registeredDefaultsAreFallbacksOnly();
    void removingBringsTheDefaultBack();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString iniPath() const { return m_dir->filePath(QStringLiteral("defaults.ini")); }
};

void tst_QFUserDefaults::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void tst_QFUserDefaults::typedReaders_data()
{
    QTest::addColumn<QVariant>("stored"); // a QByteArray is a line written into the file by hand
    QTest::addColumn<bool>("asBool");
    QTest::addColumn<qint64>("asInteger");
    QTest::addColumn<QString>("asString"); // null: not checked

    QTest::newRow("bool true") << QVariant(true) << true << qint64(1) << QString();
    QTest::newRow("integer") << QVariant(12) << true << qint64(12) << "12";
    QTest::newRow("string YES") << QVariant(QStringLiteral("YES")) << true << qint64(1) << "YES";
    QTest::newRow("string with number") << QVariant(QStringLiteral("7 days")) << true << qint64(7) << "7 days";
    QTest::newRow("plain text") << QVariant(QStringLiteral("Sidebar")) << false << qint64(0) << "Sidebar";
    QTest::newRow("hand-written false") << QVariant(QByteArray("Key=false")) << false << qint64(0) << "false";
    QTest::newRow("hand-written garbage") << QVariant(QByteArray("Key=@@\x01zz")) << false << qint64(0) << QString();
    QTest::newRow("hand-written line without value") << QVariant(QByteArray("Key")) << false << qint64(0) << QString();
}

// INI files give most values back as strings: the typed readers must give the
// same answers after the file is reopened as before.
void tst_QFUserDefaults::typedReaders()
{
    QFETCH(QVariant, stored);
    QFETCH(bool, asBool);
    QFETCH(qint64, asInteger);
    QFETCH(QString, asString);

    const QString key = QStringLiteral("Key");
    const bool byHand = stored.typeId() == QMetaType::QByteArray;
    if (byHand) {
        QFile file(iniPath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[General]\n" + stored.toByteArray() + "\n");
    } else {
        QFUserDefaults defaults(iniPath());
        defaults.setValue(key, stored);
        QCOMPARE(defaults.boolForKey(key), asBool);
        QCOMPARE(defaults.integerForKey(key), asInteger);
    }
    QFUserDefaults reopened(iniPath());
    QCOMPARE(reopened.boolForKey(key), asBool);
    QCOMPARE(reopened.integerForKey(key), asInteger);
    if (!asString.isNull())
        QCOMPARE(reopened.stringForKey(key), asString);
}

void tst_QFUserDefaults::registeredDefaultsAreFallbacksOnly()
{
    const QString displayCounts = QStringLiteral("QFBlogDisplayCommentCounts");
    const QString caching = QStringLiteral("EnableUnsupportedBlogEntryCaching");
    {
        QFUserDefaults defaults(iniPath());
        defaults.registerDefaults({{displayCounts, true}, {caching, false}});
        QVERIFY(defaults.boolForKey(displayCounts));
        defaults.setValue(caching, true); // the user's choice beats the default
        // Registering again replaces the fallback but not the stored value.
        defaults.registerDefaults({{caching, false}, {displayCounts, false}});
        QVERIFY(defaults.boolForKey(caching));
        QVERIFY(!defaults.boolForKey(displayCounts));
    }
    QCOMPARE(QSettings(iniPath(), QSettings::IniFormat).allKeys(), QStringList{caching});
    QFUserDefaults reopened(iniPath());
    QVERIFY(reopened.boolForKey(caching));
    QVERIFY(!reopened.value(displayCounts).isValid());
}

void tst_QFUserDefaults::removingBringsTheDefaultBack()
{
    const QString key = QStringLiteral("Sidebar Visible");
    QFUserDefaults defaults(iniPath());
    defaults.registerDefaults({{key, true}});
    defaults.setValue(QStringLiteral("Keep"), QStringLiteral("kept"));

    defaults.setValue(key, false);
    QVERIFY(!defaults.boolForKey(key));
    defaults.removeObject(key);
    QVERIFY(defaults.boolForKey(key));
    defaults.setValue(key, false);
    defaults.setValue(key, QVariant()); // storing nothing removes
    QVERIFY(defaults.boolForKey(key));
    defaults.removeObject(QString()); // must not empty the whole store

    const QByteArray sortOrder("\x00\x01 archived descriptors", 24);
    defaults.setValue(QStringLiteral("Entries Sort"), sortOrder);
    defaults.synchronize();
    QFUserDefaults reopened(iniPath());
    QCOMPARE(reopened.stringForKey(QStringLiteral("Keep")), QStringLiteral("kept"));
    QCOMPARE(reopened.dataForKey(QStringLiteral("Entries Sort")), sortOrder);
    QCOMPARE(reopened.dataForKey(QStringLiteral("Keep")), QByteArray());
}

QTEST_GUILESS_MAIN(tst_QFUserDefaults)
#include "tst_qfuserdefaults.moc"
