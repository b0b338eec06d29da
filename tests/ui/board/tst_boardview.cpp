// The board in a real window: the demo board drawn, clicked, typed at and scrolled. With
// TAVIK_ARTIFACTS set to a folder, the screenshots of both densities and both appearances
// land there as PNG files.
#include "BoardModel.h"
#include "BoardTestSupport.h"
#include "Clock.h"
#include "DemoData.h"
#include "Notifications.h"
#include "TaskCategory.h"
#include "board/BoardController.h"
#include "theme/ColorScheme.h"
#include "theme/Radix.h"
#include "types/UiClock.h"

#include <QDir>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QWheelEvent>
#include <QtQml/qqmlextensionplugin.h>
#include <functional>
#include <memory>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

using namespace BoardTest;

namespace {

// Wednesday 17 June 2026, 10:00: the demo's 15:00 reminder is still ahead.
const QDateTime wednesday = local(2026, 6, 17, 10, 0);

bool isA(const QObject* object, const char* qmlType) {
    return QByteArray(object->metaObject()->className()).startsWith(qmlType);
}

void collect(QQuickItem* item, const std::function<bool(QQuickItem*)>& match,
             QList<QQuickItem*>& found) {
    if (match(item))
        found << item;
    for (QQuickItem* child : item->childItems())
        collect(child, match, found);
}

QList<QQuickItem*> findAll(QQuickItem* root, const std::function<bool(QQuickItem*)>& match) {
    QList<QQuickItem*> found;
    collect(root, match, found);
    return found;
}

// The visible texts under `root` that read `text`.
QList<QQuickItem*> textsReading(QQuickItem* root, const QString& text) {
    return findAll(root, [&text](QQuickItem* item) {
        return isA(item, "QQuickText") && item->isVisible() &&
               item->property("text").toString() == text;
    });
}

QPoint centerOf(const QQuickItem* item) {
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

// What a colour over another gives, as the renderer blends it.
QColor over(const QColor& top, qreal opacity, const QColor& below) {
    const qreal a = top.alphaF() * opacity;
    return QColor::fromRgbF(top.redF() * a + below.redF() * (1 - a),
                            top.greenF() * a + below.greenF() * (1 - a),
                            top.blueF() * a + below.blueF() * (1 - a));
}

bool near(const QColor& a, const QColor& b, int tolerance = 3) {
    return std::abs(a.red() - b.red()) <= tolerance &&
           std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance;
}

struct Screen {
    Store store;
    ManualClock clock{wednesday};
    NotificationHub hub;
    std::unique_ptr<BoardModel> model;
    std::unique_ptr<BoardController> controller;
    QQmlEngine engine;
    std::unique_ptr<QQuickView> view;

    explicit Screen(bool demo = true) {
        UiClock::install(&clock);
        if (demo)
            DemoData::seedIfEmpty(*store.context, clock.now());
        model = std::make_unique<BoardModel>(*store.context, *store.preferences, clock, hub);
        controller = std::make_unique<BoardController>(*model, clock, hub, QStringList());
        engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
        view = std::make_unique<QQuickView>(&engine, nullptr);
        view->setInitialProperties(
            {{QStringLiteral("controller"), QVariant::fromValue(controller.get())}});
        view->setResizeMode(QQuickView::SizeRootObjectToView);
        view->setSource(QUrl(QStringLiteral("qrc:/qt/qml/TavikUi/board/BoardView.qml")));
        if (view->status() != QQuickView::Ready) {
            for (const QQmlError& error : view->errors())
                qWarning("%s", qPrintable(error.toString()));
        }
        view->resize(1100, 720);
        view->show();
    }

    ~Screen() { UiClock::install(nullptr); }

    [[nodiscard]] QQuickItem* root() const { return view->rootObject(); }

    [[nodiscard]] QQuickItem* column(const char* bucket) const {
        const QString name = QStringLiteral("column_") + QLatin1String(bucket);
        QQuickItem* found = findAll(root(), [&name](QQuickItem* item) {
                                return item->objectName() == name;
                            }).value(0);
        if (!found)
            qFatal("no column %s", bucket);
        return found;
    }

    [[nodiscard]] QList<QQuickItem*> rows(const char* bucket) const {
        QList<QQuickItem*> rows = findAll(column(bucket), [](QQuickItem* item) {
            return isA(item, "TaskRow") && item->isVisible();
        });
        std::sort(rows.begin(), rows.end(), [](QQuickItem* a, QQuickItem* b) {
            return a->mapToScene({0, 0}).y() < b->mapToScene({0, 0}).y();
        });
        return rows;
    }

    [[nodiscard]] QQuickItem* row(const QString& title) const {
        const QList<QQuickItem*> found = findAll(root(), [&title](QQuickItem* item) {
            return isA(item, "TaskRow") && item->property("title").toString() == title;
        });
        return found.value(0);
    }

    [[nodiscard]] QImage grab() const { return view->grabWindow(); }

    void save(const QString& name) const {
        const QString folder = qEnvironmentVariable("TAVIK_ARTIFACTS");
        if (folder.isEmpty())
            return;
        QDir().mkpath(folder);
        QVERIFY(grab().save(QDir(folder).filePath(name)));
    }
};

} // namespace

class TestBoardView : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init() { ColorScheme::instance().setDark(false); }

    void columnsHeadersAndHairlines() {
        Screen screen;
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        QCOMPARE(screen.view->status(), QQuickView::Ready);

        // Equal thirds, with a 0.5 hairline before the second and the third.
        const qreal third = (1100 - 1.0) / 3;
        for (const char* bucket : {"later", "thisWeek", "today"}) {
            QQuickItem* column = screen.column(bucket);
            QVERIFY(column);
            QCOMPARE(column->width(), third);
        }
        QCOMPARE(screen.column("thisWeek")->mapToScene({0, 0}).x(), third + 0.5);
        QCOMPARE(screen.column("today")->mapToScene({0, 0}).x(), 2 * third + 1.0);

        QTRY_COMPARE(screen.rows("today").size(), 7);
        QCOMPARE(screen.rows("thisWeek").size(), 2);
        QCOMPARE(screen.rows("later").size(), 3);

        // Each header: title, then the count. An empty column says so in its middle.
        auto texts = [&](const char* bucket) {
            QStringList shown;
            for (QQuickItem* item : findAll(screen.column(bucket), [](QQuickItem* item) {
                     return isA(item, "QQuickText") && item->isVisible() &&
                            item->mapToScene({0, 0}).y() < 80;
                 }))
                shown << item->property("text").toString();
            return shown;
        };
        QCOMPARE(texts("today"), QStringList({"今天", "7"}));
        QCOMPARE(texts("thisWeek"), QStringList({"本周", "2"}));

        // The hairline: darker than the board in the middle, gone near its ends.
        const QImage image = screen.grab();
        const qreal dpr = image.devicePixelRatio();
        const int x = int(std::floor(third * dpr));
        const QColor board = image.pixelColor(x + int(20 * dpr), int(400 * dpr));
        const QColor middle = image.pixelColor(x, int(400 * dpr));
        const QColor top = image.pixelColor(x, int(46 * dpr));
        QVERIFY2(middle.lightness() < board.lightness(),
                 qPrintable(middle.name() + " on " + board.name()));
        QVERIFY(std::abs(top.lightness() - board.lightness()) <
                std::abs(middle.lightness() - board.lightness()));
    }

    void emptyColumnShowsItsEmptyState() {
        Screen screen(false);
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        const QString allDone = QStringLiteral("全部完成");
        for (const char* bucket : {"later", "thisWeek", "today"})
            QCOMPARE(textsReading(screen.column(bucket), allDone).size(), 1);
        screen.controller->createEnhanced(
            EnhancedDraft{QStringLiteral("第一件事"), {}, {}, {}, {}});
        QTRY_COMPARE(screen.rows("later").size(), 1);
        QVERIFY(textsReading(screen.column("later"), allDone).isEmpty());
    }

    void tickingACheckboxCompletesAfterTheAnimation() {
        Screen screen;
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        QQuickItem* row = screen.row(QStringLiteral("回复客户的合作邮件"));
        QVERIFY(row);
        QQuickItem* box =
            findAll(row, [](QQuickItem* item) { return isA(item, "TaskCheckbox"); }).value(0);
        QVERIFY(box);

        QTest::mouseClick(screen.view.get(), Qt::LeftButton, {}, centerOf(box));
        QVERIFY(row->property("completing").toBool());
        QVERIFY(box->property("completed").toBool());
        // Ticked but not yet struck through, and still in its column.
        QCOMPARE(screen.controller->todayModel()->count(), 7);
        QTRY_COMPARE(screen.controller->todayModel()->count(), 6);
        QCOMPARE(screen.controller->doneModel()->count(), 2);
        QTRY_COMPARE(screen.rows("today").size(), 6);
    }

    void clickingTheTextOpensTheTask() {
        Screen screen;
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        QQuickItem* row = screen.row(QStringLiteral("预约牙医"));
        QVERIFY(row);
        QTest::mouseClick(screen.view.get(), Qt::LeftButton, {}, centerOf(row));
        QVERIFY(screen.controller->editingTask());
        QCOMPARE(screen.controller->editingTask()->title(), QStringLiteral("预约牙医"));
        QTRY_VERIFY(row->property("isEditing").toBool());
    }

    void contextMenuFilesAndDeletes() {
        Screen screen;
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        QQuickItem* row = screen.row(QStringLiteral("预约牙医"));
        QVERIFY(row);
        auto menuEntry = [&](const QString& text) {
            return findAll(screen.view->contentItem(),
                           [&text](QQuickItem* item) {
                               return isA(item, "SymbolMenuItem") && item->isVisible() &&
                                      item->property("text").toString() == text;
                           })
                .value(0);
        };

        QTest::mouseClick(screen.view.get(), Qt::RightButton, {}, centerOf(row));
        QTRY_VERIFY(menuEntry(QStringLiteral("编辑")));
        QVERIFY(menuEntry(QStringLiteral("清单")));
        QVERIFY(menuEntry(QStringLiteral("删除")));

        // The list submenu: 无 first, then every list; the task's own list is ticked.
        QTest::mouseClick(screen.view.get(), Qt::LeftButton, {},
                          centerOf(menuEntry(QStringLiteral("清单"))));
        QTRY_VERIFY(menuEntry(QStringLiteral("工作")));
        QVERIFY(menuEntry(QStringLiteral("无")));
        QCOMPARE(menuEntry(QStringLiteral("个人"))->property("symbol").toString(),
                 QStringLiteral("checkmark"));
        QCOMPARE(menuEntry(QStringLiteral("无"))->property("symbol").toString(), QString());
        screen.save(QStringLiteral("board-light-menu.png"));
        QTest::mouseClick(screen.view.get(), Qt::LeftButton, {},
                          centerOf(menuEntry(QStringLiteral("工作"))));
        TaskItem* task = screen.controller->thisWeekModel()->taskAt(0);
        QCOMPARE(task->title(), QStringLiteral("预约牙医"));
        QCOMPARE(task->category()->name(), QStringLiteral("工作"));

        // Deleting from the menu takes the row away.
        QTRY_VERIFY(!menuEntry(QStringLiteral("编辑")));
        QTest::mouseClick(screen.view.get(), Qt::RightButton, {}, centerOf(row));
        QTRY_VERIFY(menuEntry(QStringLiteral("删除")));
        QTest::mouseClick(screen.view.get(), Qt::LeftButton, {},
                          centerOf(menuEntry(QStringLiteral("删除"))));
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

    void keysLightAndMoveTheHighlight() {
        Screen screen;
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        screen.view->requestActivate();
        QTest::mouseClick(screen.view.get(), Qt::LeftButton, {}, QPoint(550, 600));
        QTRY_VERIFY(screen.controller->boardFocused());

        auto ringed = [&] {
            QStringList titles;
            for (QQuickItem* row : findAll(screen.root(), [](QQuickItem* item) {
                     return isA(item, "TaskRow") && item->property("focused").toBool();
                 }))
                titles << row->property("title").toString();
            return titles;
        };
        // Today's top row first, then down one, then across into this week's second row.
        QTest::keyClick(screen.view.get(), Qt::Key_Down);
        QCOMPARE(ringed(), QStringList({"发布落地页"}));
        QTest::keyClick(screen.view.get(), Qt::Key_Down);
        QCOMPARE(ringed(), QStringList({"给爸妈打个电话"}));
        QTest::keyClick(screen.view.get(), Qt::Key_Left);
        QCOMPARE(ringed(), QStringList({"重构同步层"}));

        // The mouse puts the highlight out; the next key only brings it back.
        QTest::mouseMove(screen.view.get(), QPoint(600, 500));
        QTest::mouseMove(screen.view.get(), QPoint(610, 520));
        QTRY_VERIFY(ringed().isEmpty());
        QTest::keyClick(screen.view.get(), Qt::Key_Up);
        QCOMPARE(ringed(), QStringList({"重构同步层"}));
        // Keys the board does not take pass on.
        QTest::keyClick(screen.view.get(), Qt::Key_X);
        QCOMPARE(ringed(), QStringList({"重构同步层"}));
    }

    void metaIconWaitsBeforeItsPopover() {
        Screen screen;
        screen.controller->setCompactRows(true);
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        QQuickItem* row = screen.row(QStringLiteral("买菜做晚饭"));
        QVERIFY(row);
        // Once the density spring has come to rest.
        QTRY_VERIFY(row->height() < 60 && !row->clip());
        // The note's icon comes first.
        QQuickItem* icon = findAll(row, [](QQuickItem* item) {
                               return isA(item, "MetaIcon") && item->isVisible();
                           }).value(0);
        QVERIFY(icon);

        QTest::mouseMove(screen.view.get(), centerOf(icon) + QPoint(40, 0));
        QTest::mouseMove(screen.view.get(), centerOf(icon));
        QTest::qWait(200);
        QVERIFY(!icon->property("showPop").toBool());
        QTRY_VERIFY(icon->property("showPop").toBool());
        QCOMPARE(
            textsReading(screen.view->contentItem(), QStringLiteral("西红柿、鸡蛋、牛奶、面包"))
                .size(),
            1);

        // Leaving drops it at once; a quick pass shows nothing.
        QTest::mouseMove(screen.view.get(), centerOf(icon) + QPoint(0, 40));
        QVERIFY(!icon->property("showPop").toBool());
        QTest::mouseMove(screen.view.get(), centerOf(icon));
        QTest::qWait(100);
        QTest::mouseMove(screen.view.get(), centerOf(icon) + QPoint(0, 40));
        QTest::qWait(400);
        QVERIFY(!icon->property("showPop").toBool());
    }

    void frostAndScrolling() {
        Screen screen;
        for (int i = 0; i < 30; ++i)
            screen.controller->createEnhanced(
                EnhancedDraft{QStringLiteral("稍后 %1").arg(i), {}, {}, {}, {}});
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        QQuickItem* later = screen.column("later");
        auto* list = later->property("listView").value<QQuickItem*>();
        QVERIFY(list);
        QTRY_COMPARE(screen.controller->laterModel()->count(), 33);
        const qreal top = list->property("contentY").toReal();
        QVERIFY(!later->property("frosted").toBool());

        // 12 between chrome and rows at rest: the frost comes once more than 13 have gone.
        list->setProperty("contentY", top + 13);
        QVERIFY(!later->property("frosted").toBool());
        list->setProperty("contentY", top + 14);
        QVERIFY(later->property("frosted").toBool());
        list->setProperty("contentY", top);

        // One notch of the wheel scrolls by 48; the top is a hard stop.
        const QPointF at = centerOf(later);
        auto wheel = [&](int angle) {
            QWheelEvent event(at, screen.view->mapToGlobal(at), QPoint(), QPoint(0, angle),
                              Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
            QCoreApplication::sendEvent(screen.view.get(), &event);
        };
        wheel(-120);
        QCOMPARE(list->property("contentY").toReal(), top + 48);
        wheel(240);
        QCOMPARE(list->property("contentY").toReal(), top);

        // A new list selection scrolls later back to its top; this week never moves.
        list->setProperty("contentY", top + 100);
        screen.controller->selectCategory(
            screen.controller->categoriesModel()->categories().first()->id().toString());
        QTRY_COMPARE(list->property("contentY").toReal(), top);
    }

    void doneButtonOpensAndClosesTheList() {
        Screen screen;
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        auto* button = screen.root()->property("doneButton").value<QQuickItem*>();
        auto* popup = screen.root()->property("donePopup").value<QObject*>();
        QVERIFY(button && popup);

        QTest::mouseClick(screen.view.get(), Qt::LeftButton, {}, centerOf(button));
        QVERIFY(screen.controller->showDone());
        QTRY_VERIFY(popup->property("opened").toBool());
        QCOMPARE(screen.row(QStringLiteral("晨练")), nullptr); // a done line is not a row
        QCOMPARE(textsReading(screen.view->contentItem(), QStringLiteral("晨练")).size(), 1);

        // A second click on the button closes it, and so does Escape.
        QTest::mouseClick(screen.view.get(), Qt::LeftButton, {}, centerOf(button));
        QVERIFY(!screen.controller->showDone());
        QTRY_VERIFY(!popup->property("visible").toBool());
        screen.controller->setShowDone(true);
        QTRY_VERIFY(popup->property("opened").toBool());
        QTest::keyClick(screen.view.get(), Qt::Key_Escape);
        QTRY_VERIFY(!screen.controller->showDone());
    }

    void screenshots_data() {
        QTest::addColumn<bool>("dark");
        QTest::addColumn<bool>("compact");
        QTest::addColumn<bool>("doneOpen");
        QTest::addColumn<bool>("update");
        QTest::newRow("light") << false << false << false << false;
        QTest::newRow("light compact") << false << true << false << true;
        QTest::newRow("dark") << true << false << false << true;
        QTest::newRow("dark compact") << true << true << false << false;
        QTest::newRow("light done") << false << false << true << false;
        QTest::newRow("dark done") << true << false << true << false;
    }

    // The backdrop is the palette's, in either appearance.
    void screenshots() {
        QFETCH(bool, dark);
        QFETCH(bool, compact);
        QFETCH(bool, doneOpen);
        QFETCH(bool, update);

        ColorScheme::instance().setDark(dark);
        Screen screen;
        screen.controller->setCompactRows(compact);
        screen.controller->setShowDone(doneOpen);
        screen.hub.post(TavikNotification::updateAvailabilityChanged,
                        {{QStringLiteral("available"), update}});
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        QTest::qWait(600); // every spring at rest

        const Radix radix;
        const QColor expected = over(radix.windowScrim(), 0.618, radix.appBackground());
        const QImage image = screen.grab();
        const qreal dpr = image.devicePixelRatio();
        const QColor corner = image.pixelColor(int(4 * dpr), image.height() - int(4 * dpr));
        QVERIFY2(near(corner, expected),
                 qPrintable(corner.name() + " instead of " + expected.name()));
        screen.save(
            QStringLiteral("board-%1%2%3.png")
                .arg(dark ? "dark" : "light", compact ? "-compact" : "", doneOpen ? "-done" : ""));
    }
};

QTEST_MAIN(TestBoardView)
#include "tst_boardview.moc"
