#include "TestData.h"
#include "lists/CategoryPalette.h"
#include "lists/CategoryTabController.h"

#include <QTest>

class TestCategoryTab : public QObject {
    Q_OBJECT

private slots:
    void tabState_data() { TestData::addRows("list-tabs.json", "tabs"); }

    void tabState() {
        QFETCH(QJsonObject, row);
        CategoryTabController tab;
        tab.setCategoryId(row["list"].toString());
        tab.setSelectedCategoryId(row["selected"].toString());
        tab.setHot(row["hot"].toBool());
        QCOMPARE(tab.isSelected(), row["isSelected"].toBool());
        QCOMPARE(tab.swatchFilled(), row["filled"].toBool());
        QCOMPARE(tab.showsHotCapsule(), row["capsule"].toBool());
        QCOMPARE(tab.horizontalPadding(), row["padding"].toInt());
    }

    void colorFromHex_data() { TestData::addRows("list-colours.json", "colours"); }

    void colorFromHex() {
        QFETCH(QJsonObject, row);
        const QColor color = CategoryPalette::color(row["hex"].toString());
        QVERIFY(color.isValid());
        QCOMPARE(color.alpha(), 255);
        QCOMPARE(color.name(QColor::HexRgb), row["drawn"].toString());
    }
};

QTEST_GUILESS_MAIN(TestCategoryTab)

#include "tst_categorytab.moc"
