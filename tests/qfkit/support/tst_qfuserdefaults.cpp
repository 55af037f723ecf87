#include "qfkit/support/qfuserdefaults.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

class tst_QFUserDefaults : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void typedReadersAfterReopening_data();
    void typedReadersAfterReopening();
    void handWrittenIniFile_data();
    void handWrittenIniFile();
    void registeredDefaultsAreFallbacksOnly();
    void removingBringsTheDefaultBack();
    void externalSettingsAreShared();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString iniPath() const { return m_dir->filePath(QStringLiteral("defaults.ini")); }
};

void tst_QFUserDefaults::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

void tst_QFUserDefaults::typedReadersAfterReopening_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<bool>("asBool");
    QTest::addColumn<qint64>("asInteger");
    QTest::addColumn<QString>("asString");

    QTest::newRow("bool true") << QVariant(true) << true << qint64(1) << QString();
    QTest::newRow("integer") << QVariant(12) << true << qint64(12) << QStringLiteral("12");
    QTest::newRow("string YES") << QVariant(QStringLiteral("YES")) << true << qint64(1) << QStringLiteral("YES");
    QTest::newRow("string with number") << QVariant(QStringLiteral("7 days")) << true << qint64(7)
                                        << QStringLiteral("7 days");
    QTest::newRow("plain text") << QVariant(QStringLiteral("Sidebar")) << false << qint64(0)
                                << QStringLiteral("Sidebar");
}

// INI files give most values back as strings: the typed readers must read the
// same answers after the file is reopened as before.
void tst_QFUserDefaults::typedReadersAfterReopening()
{
    QFETCH(QVariant, stored);
    QFETCH(bool, asBool);
    QFETCH(qint64, asInteger);
    QFETCH(QString, asString);

    const QString key = QStringLiteral("Some Key");
    {
        QFUserDefaults defaults(iniPath());
        defaults.setValue(key, stored);
        QCOMPARE(defaults.boolForKey(key), asBool);
        QCOMPARE(defaults.integerForKey(key), asInteger);
    }
    QFUserDefaults reopened(iniPath());
    QCOMPARE(reopened.boolForKey(key), asBool);
    QCOMPARE(reopened.integerForKey(key), asInteger);
    if (stored.typeId() != QMetaType::Bool)
        QCOMPARE(reopened.stringForKey(key), asString);
}

void tst_QFUserDefaults::handWrittenIniFile_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("asBool");
    QTest::addColumn<qint64>("asInteger");

    QTest::newRow("true") << QByteArray("Flag=true") << true << qint64(1);
    QTest::newRow("false") << QByteArray("Flag=false") << false << qint64(0);
    QTest::newRow("garbage") << QByteArray("Flag=@@\x01zz") << false << qint64(0);
    QTest::newRow("line without value") << QByteArray("Flag") << false << qint64(0);
}

void tst_QFUserDefaults::handWrittenIniFile()
{
    QFETCH(QByteArray, line);
    QFETCH(bool, asBool);
    QFETCH(qint64, asInteger);

    QFile file(iniPath());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[General]\n" + line + "\n");
    file.close();

    QFUserDefaults defaults(iniPath());
    defaults.registerDefaults({{QStringLiteral("Other"), true}});
    QCOMPARE(defaults.boolForKey(QStringLiteral("Flag")), asBool);
    QCOMPARE(defaults.integerForKey(QStringLiteral("Flag")), asInteger);
    QVERIFY(defaults.boolForKey(QStringLiteral("Other")));
}

void tst_QFUserDefaults::registeredDefaultsAreFallbacksOnly()
{
    const QString displayCounts = QStringLiteral("QFBlogDisplayCommentCounts");
    const QString caching = QStringLiteral("EnableUnsupportedBlogEntryCaching");
    {
        QFUserDefaults defaults(iniPath());
        defaults.registerDefaults({{displayCounts, true}, {caching, false}});
        QVERIFY(defaults.boolForKey(displayCounts));
        QVERIFY(!defaults.boolForKey(caching));
        QVERIFY(!defaults.containsStoredValue(displayCounts));

        defaults.setValue(caching, true); // the user's choice beats the default
        QVERIFY(defaults.boolForKey(caching));
        // Registering again replaces the fallback but not the stored value.
        defaults.registerDefaults({{caching, false}, {displayCounts, false}});
        QVERIFY(defaults.boolForKey(caching));
        QVERIFY(!defaults.boolForKey(displayCounts));
    }
    QSettings raw(iniPath(), QSettings::IniFormat);
    QCOMPARE(raw.allKeys(), QStringList{caching});

    QFUserDefaults reopened(iniPath());
    QVERIFY(reopened.boolForKey(caching));
    QVERIFY(!reopened.boolForKey(displayCounts));
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
    QCOMPARE(defaults.stringForKey(QStringLiteral("Keep")), QStringLiteral("kept"));

    const QByteArray sortOrder("\x00\x01 archived descriptors", 24);
    defaults.setValue(QStringLiteral("Entries Sort"), sortOrder);
    defaults.synchronize();
    QFUserDefaults reopened(iniPath());
    QCOMPARE(reopened.dataForKey(QStringLiteral("Entries Sort")), sortOrder);
    QCOMPARE(reopened.dataForKey(QStringLiteral("Keep")), QByteArray());
}

void tst_QFUserDefaults::externalSettingsAreShared()
{
    QSettings settings(iniPath(), QSettings::IniFormat);
    QFUserDefaults defaults(&settings);
    defaults.setValue(QStringLiteral("BlogMovableTypeImportMarkdownAsMultiMarkdown"), true);
    QCOMPARE(settings.value(QStringLiteral("BlogMovableTypeImportMarkdownAsMultiMarkdown")).toBool(), true);
    settings.setValue(QStringLiteral("Written Elsewhere"), 5);
    QCOMPARE(defaults.integerForKey(QStringLiteral("Written Elsewhere")), qint64(5));
}

QTEST_GUILESS_MAIN(tst_QFUserDefaults)
#include "tst_qfuserdefaults.moc"
