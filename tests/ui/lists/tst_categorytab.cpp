#include "TestData.h"
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
};

QTEST_GUILESS_MAIN(TestCategoryTab)

#include "tst_categorytab.moc"
