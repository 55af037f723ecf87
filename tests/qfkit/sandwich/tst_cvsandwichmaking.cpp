#include "qfkit/document/qftextviewpluginclient.h"
#include "qfkit/sandwich/cvsandwich.h"
#include "qfkit/sandwich/cvsandwichfilling.h"
#include "qfkit/sandwich/cvsandwichmaking.h"
#include "qfkit/support/qfexception.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

// The registry that lets the host rebuild a page from a package of a type it
// does not know itself, and the ownership of a package's temporary files.
class tst_CVSandwichMaking : public QObject
{
    Q_OBJECT

private slots:
    void factoryIsFoundByType_data();
    void factoryIsFoundByType();
    void fillingRemovesOnlyItsTemporaryFiles();
};

void tst_CVSandwichMaking::factoryIsFoundByType_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<bool>("made");

    QTest::newRow("registered type") << "Note Page Data" << true;
    QTest::newRow("unknown type") << "Gallery Page Data" << false;
    QTest::newRow("removed type") << "Old Page Data" << false;
    QTest::newRow("factory making nothing") << "Empty Page Data" << false;
}

void tst_CVSandwichMaking::factoryIsFoundByType()
{
    QFETCH(QString, type);
    QFETCH(bool, made);

    QString seenTitle;
    CVSandwichMaking::setFactoryClass(
        {QStringLiteral("Note"),
         [&seenTitle](const CVSandwich &sandwich) {
             seenTitle = sandwich.fillingForVersion(0)->dictionary().value(QStringLiteral("Title")).toString();
             return std::make_unique<QFTextViewPluginClient>();
         }},
        QStringLiteral("Note Page Data"));
    CVSandwichMaking::setFactoryClass({QStringLiteral("Old"), [](const CVSandwich &) {
                                           return std::make_unique<QFTextViewPluginClient>();
                                       }},
                                      QStringLiteral("Old Page Data"));
    CVSandwichMaking::setFactoryClass({QStringLiteral("Old"), {}}, QStringLiteral("Old Page Data"));
    CVSandwichMaking::setFactoryClass(
        {QStringLiteral("Empty"), [](const CVSandwich &) { return std::unique_ptr<QFTextViewPluginClient>(); }},
        QStringLiteral("Empty Page Data"));

    CVSandwich sandwich(type);
    sandwich.setFilling(std::make_shared<CVSandwichFilling>(QVariantMap{{QStringLiteral("Title"), QStringLiteral("Hi")}}), 0);
    if (made) {
        QVERIFY(CVSandwichMaking::createWithSandwich(sandwich));
        QCOMPARE(seenTitle, QStringLiteral("Hi"));
        QCOMPARE(CVSandwichMaking::factoryForType(type)->pluginIdentifier, QStringLiteral("Note"));
        return;
    }
    try {
        CVSandwichMaking::createWithSandwich(sandwich);
        QFAIL("a page was made");
    } catch (const QFException &e) {
        QCOMPARE(e.name(), QStringLiteral("Unknown Page Type"));
        QVERIFY(e.reason().contains(type));
    }
    QVERIFY(!CVSandwichMaking::types().contains(QStringLiteral("Old Page Data")));
}

void tst_CVSandwichMaking::fillingRemovesOnlyItsTemporaryFiles()
{
    QTemporaryDir dir;
    const auto make = [&dir](const QString &name) {
        QFile file(dir.filePath(name));
        file.open(QIODevice::WriteOnly);
        file.write("x");
        return file.fileName();
    };
    const QString kept = make(QStringLiteral("kept"));
    const QString owned = make(QStringLiteral("owned"));
    const QString replaced = make(QStringLiteral("replaced"));
    {
        CVSandwich sandwich(QStringLiteral("T"));
        auto filling = std::make_shared<CVSandwichFilling>();
        filling->addFile(QStringLiteral("a"), kept);
        filling->addTemporaryFile(QStringLiteral("b"), replaced);
        filling->addTemporaryFile(QStringLiteral("b"), owned);
        sandwich.setFilling(filling, 0);
        QVERIFY(!QFile::exists(replaced));
        QVERIFY(QFile::exists(owned));
    }
    QVERIFY(QFile::exists(kept));
    QVERIFY(!QFile::exists(owned));
}

QTEST_GUILESS_MAIN(tst_CVSandwichMaking)
#include "tst_cvsandwichmaking.moc"
