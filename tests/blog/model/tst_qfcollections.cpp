#include "blog/model/qfcollections.h"

#include <QtTest>

class tst_QFCollections : public QObject
{
    Q_OBJECT

private slots:
    void stateFromNumberElements_data();
    void stateFromNumberElements();
    void arrayWithoutDuplicateElements();
};

void tst_QFCollections::stateFromNumberElements_data()
{
    QTest::addColumn<QList<bool>>("elements");
    QTest::addColumn<int>("state");

    QTest::newRow("all true: on") << QList<bool>{true, true} << 1;
    QTest::newRow("one false: off") << QList<bool>{false} << 0;
    QTest::newRow("none: off") << QList<bool>{} << 0;
    QTest::newRow("false, true, false: mixed") << QList<bool>{false, true, false} << -1;
}

void tst_QFCollections::stateFromNumberElements()
{
    QFETCH(QList<bool>, elements);
    QFETCH(int, state);
    QCOMPARE(QFCollections::stateFromNumberElements(elements), state);

    // Boolean numbers as key-value coding hands them over answer alike.
    QVariantList numbers;
    for (bool element : elements)
        numbers.append(element ? 1 : 0);
    QCOMPARE(QFCollections::stateFromNumberElements(numbers), state);
}

void tst_QFCollections::arrayWithoutDuplicateElements()
{
    QCOMPARE(QFCollections::arrayWithoutDuplicateElements(QList<int>{3, 1, 3, 2, 1}), (QList<int>{3, 1, 2}));

    // With an equality of its own, the first of equal elements stays.
    const QStringList names{QStringLiteral("News"), QStringLiteral("news"), QStringLiteral("Misc")};
    const auto ignoringCase = [](const QString &a, const QString &b) {
        return QString::compare(a, b, Qt::CaseInsensitive) == 0;
    };
    QCOMPARE(QFCollections::arrayWithoutDuplicateElements(names, ignoringCase),
             (QStringList{QStringLiteral("News"), QStringLiteral("Misc")}));
}

QTEST_GUILESS_MAIN(tst_QFCollections)
#include "tst_qfcollections.moc"
