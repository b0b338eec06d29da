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
#include <QtQml/qqmlextensionplugin.h>
#include <memory>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

using namespace BoardTest;
using namespace QuickWindowTest;

namespace {

struct Screen {
    Store store;
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

        QQuickItem* row = screen.row(QStringLiteral("预约牙医"));
        click(screen.view.get(), row);
        QCOMPARE(screen.controller->editingTask(), screen.controller->thisWeekModel()->taskAt(0));
        QTRY_VERIFY(row->property("isEditing").toBool());
    }

    // Filing and deleting through this menu are driven by kill_e2e (its "list" and "delete"
    // edits); here, the tick on the task's own list.
    void contextMenuTicksTheTasksList() {
        Screen screen;
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        click(screen.view.get(), screen.row(QStringLiteral("预约牙医")), Qt::RightButton);
        QTRY_VERIFY(screen.menuEntry(QStringLiteral("清单")));
        click(screen.view.get(), screen.menuEntry(QStringLiteral("清单")));
        QTRY_VERIFY(screen.menuEntry(QStringLiteral("工作")));
        QCOMPARE(screen.menuEntry(QStringLiteral("个人"))->property("symbol").toString(),
                 QStringLiteral("checkmark"));
        QCOMPARE(screen.menuEntry(QStringLiteral("工作"))->property("symbol").toString(),
                 QString());
    }

    void clickOnEmptyBoardBlursAndTakesTheKeyboard() {
        Screen screen;
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        QSignalSpy posted(&screen.hub, &NotificationHub::posted);
        QTest::mouseClick(screen.view.get(), Qt::LeftButton, {}, QPoint(550, 600));
        QCOMPARE(posted.count(), 1);
        QCOMPARE(posted.first().first().toString(), TavikNotification::blurInput);
        QTRY_VERIFY(screen.controller->boardFocused());
    }
};

QTEST_MAIN(TestBoardView)
#include "tst_boardview.moc"
