#include "TestData.h"
#include "lists/CategoryPalette.h"

#include <QTest>

class TestCategoryPalette : public QObject {
    Q_OBJECT

private slots:
    void colorFromHex_data() {
        QTest::addColumn<QString>("hex");
        QTest::addColumn<QString>("expected");
        for (const QJsonValue& row : TestData::cases("list-colours.json", "colours"))
            QTest::newRow(qPrintable(row["tag"].toString()))
                << row["hex"].toString() << row["drawn"].toString();
    }

    void colorFromHex() {
        QFETCH(QString, hex);
        QFETCH(QString, expected);
        const QColor color = CategoryPalette::color(hex);
        QVERIFY(color.isValid());
        QCOMPARE(color.alpha(), 255);
        QCOMPARE(color.name(QColor::HexRgb), expected);
    }
};

QTEST_GUILESS_MAIN(TestCategoryPalette)
#include "tst_categorypalette.moc"
