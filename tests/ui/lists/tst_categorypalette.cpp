#include "TestData.h"
#include "lists/CategoryPalette.h"

#include <QTest>

class TestCategoryPalette : public QObject {
    Q_OBJECT

private slots:
    void colorFromHex_data() { TestData::addRows("list-colours.json", "colours"); }

    void colorFromHex() {
        QFETCH(QJsonObject, row);
        const QColor color = CategoryPalette::color(row["hex"].toString());
        QVERIFY(color.isValid());
        QCOMPARE(color.alpha(), 255);
        QCOMPARE(color.name(QColor::HexRgb), row["drawn"].toString());
    }
};

QTEST_GUILESS_MAIN(TestCategoryPalette)
#include "tst_categorypalette.moc"
