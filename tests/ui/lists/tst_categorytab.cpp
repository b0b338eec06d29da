#include "lists/CategoryTabController.h"

#include <QTest>

class TestCategoryTab : public QObject {
    Q_OBJECT

private slots:
    void tabState_data() {
        QTest::addColumn<QString>("categoryId");
        QTest::addColumn<QString>("selectedId");
        QTest::addColumn<bool>("hot");
        QTest::addColumn<bool>("selected");
        QTest::addColumn<bool>("filled");
        QTest::addColumn<bool>("hotCapsule");
        QTest::addColumn<int>("padding");

        const QString work = QStringLiteral("6b1f0c6e-5d53-4a0e-9a3c-2f1b7c8d9e01");
        const QString home = QStringLiteral("0d2c4e6f-8a1b-4c3d-9e5f-7a6b5c4d3e02");

        QTest::newRow("全部 selected by the empty id")
            << ""
            << "" << false << true << true << false << 10;
        QTest::newRow("全部 with a list selected")
            << "" << work << false << false << false << false << 7;
        QTest::newRow("a list is not 全部") << work << "" << false << false << false << false << 7;
        QTest::newRow("the selected list") << work << work << false << true << true << false << 10;
        QTest::newRow("same list, braces and capitals")
            << work << "{" + work.toUpper() + "}" << false << true << true << false << 10;
        QTest::newRow("another list") << work << home << false << false << false << false << 7;
        QTest::newRow("hot and not selected") << work << home << true << false << true << true << 7;
        QTest::newRow("hot 全部 gets the capsule")
            << "" << home << true << false << true << true << 7;
        // The pill wins: a selected tab under a drag shows no extra capsule.
        QTest::newRow("hot and selected") << work << work << true << true << true << false << 10;
        QTest::newRow("blank id counts as empty") << " "
                                                  << "" << false << true << true << false << 10;
    }

    void tabState() {
        QFETCH(QString, categoryId);
        QFETCH(QString, selectedId);
        QFETCH(bool, hot);
        QFETCH(bool, selected);
        QFETCH(bool, filled);
        QFETCH(bool, hotCapsule);
        QFETCH(int, padding);

        CategoryTabController tab;
        tab.setCategoryId(categoryId);
        tab.setSelectedCategoryId(selectedId);
        tab.setHot(hot);
        QCOMPARE(tab.isSelected(), selected);
        QCOMPARE(tab.swatchFilled(), filled);
        QCOMPARE(tab.showsHotCapsule(), hotCapsule);
        QCOMPARE(tab.horizontalPadding(), padding);
    }
};

QTEST_GUILESS_MAIN(TestCategoryTab)

#include "tst_categorytab.moc"
