// The board view's own wiring, on the demo board in a real window: what a click, a menu, the
// wheel and a hover do. The rules behind them are BoardController's and tested there.
#include "BoardModel.h"
#include "BoardTestSupport.h"
#include "Clock.h"
#include "DemoData.h"
#include "Notifications.h"
#include "QuickWindowTestSupport.h"
#include "TaskCategory.h"
#include "board/BoardController.h"

#include <QQmlEngine>
#include <QQuickView>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QWheelEvent>
#include <QtQml/qqmlextensionplugin.h>
#include <memory>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

using namespace BoardTest;
using namespace QuickWindowTest;

namespace {

struct Screen {
    Store store;
    // Wednesday 17 June 2026, 10:00: the demo's 15:00 reminder is still ahead.
    ManualClock clock{local(2026, 6, 17, 10, 0)};
    NotificationHub hub;
    std::unique_ptr<BoardModel> model;
    std::unique_ptr<BoardController> controller;
    QQmlEngine engine;
    std::unique_ptr<QQuickView> view;

    Screen() {
        DemoData::seedIfEmpty(*store.context, clock.now());
        model = std::make_unique<BoardModel>(*store.context, *store.preferences, clock, hub);
        controller = std::make_unique<BoardController>(*model, clock, hub);
        engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
        view = std::make_unique<QQuickView>(&engine, nullptr);
        view->setInitialProperties(
            {{QStringLiteral("controller"), QVariant::fromValue(controller.get())}});
        view->setResizeMode(QQuickView::SizeRootObjectToView);
        view->setSource(QUrl(QStringLiteral("qrc:/qt/qml/TavikUi/board/BoardView.qml")));
        view->resize(1100, 720);
        view->show();
    }

    [[nodiscard]] QQuickItem* row(const QString& title) const {
        return findShown(view->rootObject(), "TaskRow", "title", title);
    }
    [[nodiscard]] QQuickItem* menuEntry(const QString& text) const {
        return findShown(view->contentItem(), "SymbolMenuItem", "text", text);
    }
};

} // namespace

class TestBoardView : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void clickingTheTextOpensTheTask() {
        Screen screen;
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        QCOMPARE(screen.view->status(), QQuickView::Ready);

        QQuickItem* row = screen.row(QStringLiteral("预约牙医"));
        click(screen.view.get(), row);
        QVERIFY(screen.controller->editingTask());
        QCOMPARE(screen.controller->editingTask()->title(), QStringLiteral("预约牙医"));
        QTRY_VERIFY(row->property("isEditing").toBool());
    }

    void contextMenuFilesAndDeletes() {
        Screen screen;
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        QQuickItem* row = screen.row(QStringLiteral("预约牙医"));
        click(screen.view.get(), row, Qt::RightButton);
        QTRY_VERIFY(screen.menuEntry(QStringLiteral("清单")));

        // The list submenu: 无 first, then every list; the task's own list is ticked.
        click(screen.view.get(), screen.menuEntry(QStringLiteral("清单")));
        QTRY_VERIFY(screen.menuEntry(QStringLiteral("工作")));
        QCOMPARE(screen.menuEntry(QStringLiteral("个人"))->property("symbol").toString(),
                 QStringLiteral("checkmark"));
        QCOMPARE(screen.menuEntry(QStringLiteral("无"))->property("symbol").toString(), QString());
        click(screen.view.get(), screen.menuEntry(QStringLiteral("工作")));
        TaskItem* task = screen.controller->thisWeekModel()->taskAt(0);
        QCOMPARE(task->title(), QStringLiteral("预约牙医"));
        QCOMPARE(task->category()->name(), QStringLiteral("工作"));

        QTRY_VERIFY(!screen.menuEntry(QStringLiteral("编辑")));
        click(screen.view.get(), row, Qt::RightButton);
        QTRY_VERIFY(screen.menuEntry(QStringLiteral("删除")));
        click(screen.view.get(), screen.menuEntry(QStringLiteral("删除")));
        QTRY_COMPARE(screen.controller->thisWeekModel()->count(), 1);
    }

    void clickOnEmptyBoardBlursAndTakesTheKeyboard() {
        Screen screen;
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        QSignalSpy posted(&screen.hub, &NotificationHub::posted);
        // Below the last row of this week.
        QTest::mouseClick(screen.view.get(), Qt::LeftButton, {}, QPoint(550, 600));
        QCOMPARE(posted.count(), 1);
        QCOMPARE(posted.first().first().toString(), TavikNotification::blurInput);
        QTRY_VERIFY(screen.controller->boardFocused());
    }

    void metaIconWaitsBeforeItsPopover() {
        Screen screen;
        screen.controller->setCompactRows(true);
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        QQuickItem* row = screen.row(QStringLiteral("买菜做晚饭"));
        // Once the density spring has come to rest.
        QTRY_VERIFY(row->height() < 60 && !row->clip());
        QQuickItem* icon = find(row, [](QQuickItem* item) {
            return item->isVisible() &&
                   QByteArray(item->metaObject()->className()).startsWith("MetaIcon");
        });
        QVERIFY(icon);
        const QPoint at = centreOf(icon);

        QTest::mouseMove(screen.view.get(), at + QPoint(40, 0));
        QTest::mouseMove(screen.view.get(), at);
        QTest::qWait(200);
        QVERIFY(!icon->property("showPop").toBool());
        QTRY_VERIFY(icon->property("showPop").toBool());
        // Leaving drops it at once; a quick pass shows nothing.
        QTest::mouseMove(screen.view.get(), at + QPoint(0, 40));
        QVERIFY(!icon->property("showPop").toBool());
        QTest::mouseMove(screen.view.get(), at);
        QTest::qWait(100);
        QTest::mouseMove(screen.view.get(), at + QPoint(0, 40));
        QTest::qWait(400);
        QVERIFY(!icon->property("showPop").toBool());
    }

    void frostAndScrolling() {
        Screen screen;
        for (int i = 0; i < 30; ++i)
            screen.controller->createEnhanced(
                EnhancedDraft{QStringLiteral("稍后 %1").arg(i), {}, {}, {}, {}});
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        QQuickItem* later = findItem(screen.view->rootObject(), QStringLiteral("column_later"));
        auto* list = later->property("listView").value<QQuickItem*>();
        QTRY_COMPARE(screen.controller->laterModel()->count(), 33);
        const qreal top = list->property("contentY").toReal();

        // 12 between chrome and rows at rest: the frost comes once more than 13 have gone.
        list->setProperty("contentY", top + 13);
        QVERIFY(!later->property("frosted").toBool());
        list->setProperty("contentY", top + 14);
        QVERIFY(later->property("frosted").toBool());
        list->setProperty("contentY", top);

        // One notch of the wheel scrolls by 48; the top is a hard stop.
        const QPointF at = centreOf(later);
        auto wheel = [&](int angle) {
            QWheelEvent event(at, screen.view->mapToGlobal(at), QPoint(), QPoint(0, angle),
                              Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
            QCoreApplication::sendEvent(screen.view.get(), &event);
        };
        wheel(-120);
        QCOMPARE(list->property("contentY").toReal(), top + 48);
        wheel(240);
        QCOMPARE(list->property("contentY").toReal(), top);

        // A new list selection scrolls later back to its top.
        list->setProperty("contentY", top + 100);
        screen.controller->selectCategory(
            screen.controller->categoriesModel()->categories().first()->id().toString());
        QTRY_COMPARE(list->property("contentY").toReal(), top);
    }

    void doneButtonOpensAndClosesTheList() {
        Screen screen;
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        auto* button = screen.view->rootObject()->property("doneButton").value<QQuickItem*>();
        auto* popup = screen.view->rootObject()->property("donePopup").value<QObject*>();

        click(screen.view.get(), button);
        QVERIFY(screen.controller->showDone());
        QTRY_VERIFY(popup->property("opened").toBool());
        click(screen.view.get(), button);
        QVERIFY(!screen.controller->showDone());
        QTRY_VERIFY(!popup->property("visible").toBool());
        screen.controller->setShowDone(true);
        QTRY_VERIFY(popup->property("opened").toBool());
        QTest::keyClick(screen.view.get(), Qt::Key_Escape);
        QTRY_VERIFY(!screen.controller->showDone());
    }
};

QTEST_MAIN(TestBoardView)
#include "tst_boardview.moc"
