#include "BoardModel.h"
#include "BoardTestSupport.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "Notifications.h"
#include "board/BoardController.h"
#include "drawer/TaskDrawerController.h"
#include "text/RichTextDocument.h"
#include "theme/Radix.h"

#include <QDir>
#include <QInputMethodEvent>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QTextDocument>
#include <QtQml/qqmlextensionplugin.h>
#include <memory>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

using BoardTest::local;

namespace {

// Wednesday 2024-06-12, 10:00.
const QDateTime kNow = local(2024, 6, 12, 10, 0);

RichText rich(const char* json) {
    RichText text;
    if (!RichText::fromJson(QByteArray(json), &text))
        qFatal("test data is not a rich note: %s", json);
    return text;
}

// The first visible item in the tree below `root` for which `match` holds (popovers and
// delegates included, which are not always QObject children).
template <typename Match> QQuickItem* findVisible(QQuickItem* root, Match match) {
    if (root->isVisible() && match(root))
        return root;
    const auto children = root->childItems();
    for (QQuickItem* child : children) {
        if (QQuickItem* found = findVisible(child, match))
            return found;
    }
    return nullptr;
}

bool isA(const QQuickItem* item, const char* qmlType) {
    return QByteArray(item->metaObject()->className()).startsWith(qmlType);
}

QPoint centre(const QQuickItem* item) {
    return item->mapToScene({item->width() / 2, item->height() / 2}).toPoint();
}

// With TAVIK_ARTIFACTS set, the window's picture is kept there under `name`.
void saveArtifact(QQuickWindow* window, const QString& name) {
    const QString folder = qEnvironmentVariable("TAVIK_ARTIFACTS");
    if (folder.isEmpty())
        return;
    QVERIFY(QDir().mkpath(folder));
    QTest::qWait(200); // popovers and the scrim fade in
    QVERIFY(window->grabWindow().save(QDir(folder).filePath(name)));
}

// What the reminder sink saw of the task at the moment it was asked to sync.
class SnapshotSink final : public ReminderSink {
public:
    struct Seen {
        QDateTime dueDate;
        QDateTime reminderAt;
    };
    void sync(TaskItem* task) override { seen.append({task->dueDate(), task->reminderAt()}); }
    void cancel(const QUuid&) override {}
    QList<Seen> seen;
};

} // namespace

class TestTaskDrawerController : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init();
    void cleanup();

    void cardHeight_data();
    void cardHeight();
    void titleWritesThroughAndStamps();
    void noteIsStoredOnceWhenTheCardGoes();
    void closingUntouchedStillWritesTheNote();
    void schedule_data();
    void schedule();
    void scheduleOfADeletedTaskIsDropped();
    void boardSuppliesTheReminderSink();

    void cardOnScreen_data();
    void cardOnScreen();
    void overlayCloses();
    void schedulePopoverWritesTheTask();
    void rowMenuOpensTheCardOverTheBoard();

private:
    void attach(TaskDrawerController& drawer, TaskItem* task);
    QQuickItem* showOverlay(TaskItem* task, QSize size);

    std::unique_ptr<BoardTest::Store> m_store;
    ManualClock m_clock{kNow};
    NotificationHub m_hub;
    SnapshotSink m_sink;
    QTextDocument m_document;
    RichTextDocument m_helper;
    // The board that showOverlay() hands the card.
    std::unique_ptr<BoardModel> m_model;
    std::unique_ptr<BoardController> m_board;
    std::unique_ptr<QQuickView> m_view;
};

void TestTaskDrawerController::init() {
    m_store = std::make_unique<BoardTest::Store>();
    m_clock.setNow(kNow);
    m_sink.seen.clear();
    m_document.clear();
    m_helper.setDocument(&m_document);
}

void TestTaskDrawerController::cleanup() {
    m_view.reset();
    m_board.reset();
    m_model.reset();
    m_store.reset();
}

void TestTaskDrawerController::attach(TaskDrawerController& drawer, TaskItem* task) {
    drawer.setClock(&m_clock);
    drawer.setNotificationHub(&m_hub);
    drawer.setReminderSink(&m_sink);
    drawer.setDocument(&m_helper);
    drawer.setTask(task);
}

void TestTaskDrawerController::cardHeight_data() {
    QTest::addColumn<qreal>("noteHeight");
    QTest::addColumn<qreal>("maxHeight");
    QTest::addColumn<qreal>("expected");

    QTest::newRow("note of 290 still fits 400") << 290.0 << 800.0 << 400.0;
    QTest::newRow("past 290 the card grows") << 291.0 << 800.0 << 401.0;
    QTest::newRow("a tall note stops at the limit") << 2000.0 << 700.0 << 700.0;
    QTest::newRow("a limit below 400 still gives 400") << 2000.0 << 300.0 << 400.0;
}

void TestTaskDrawerController::cardHeight() {
    QFETCH(qreal, noteHeight);
    QFETCH(qreal, maxHeight);
    QFETCH(qreal, expected);
    TaskDrawerController drawer;
    QSignalSpy changed(&drawer, &TaskDrawerController::cardHeightChanged);
    drawer.setMaxHeight(maxHeight);
    drawer.setNoteTextHeight(noteHeight);
    QCOMPARE(drawer.cardHeight(), expected);
    QCOMPARE(changed.isEmpty(), qFuzzyCompare(expected, TaskDrawerController::defaultHeight));
}

void TestTaskDrawerController::titleWritesThroughAndStamps() {
    TaskItem* task = m_store->addTask(QStringLiteral("旧标题"), 1, kNow.addDays(-1));
    TaskDrawerController drawer;
    attach(drawer, task);
    drawer.appear();

    m_clock.advance(60'000);
    drawer.setTitle(QStringLiteral("新标题"));
    QCOMPARE(task->title(), QStringLiteral("新标题"));
    QCOMPARE(task->updatedAt(), m_clock.now());

    // A change from elsewhere while the card is up is stamped as well.
    m_clock.advance(60'000);
    task->setTitle(QStringLiteral("别处改的"));
    QCOMPARE(task->updatedAt(), m_clock.now());
    QCOMPARE(drawer.title(), QStringLiteral("别处改的"));

    // After the card is gone the drawer stamps nothing.
    drawer.disappear();
    const QDateTime stamped = task->updatedAt();
    m_clock.advance(60'000);
    task->setTitle(QStringLiteral("关了以后"));
    QCOMPARE(task->updatedAt(), stamped);
}

void TestTaskDrawerController::noteIsStoredOnceWhenTheCardGoes() {
    TaskItem* task = m_store->addTask(QStringLiteral("任务"), 1, kNow.addDays(-1));
    task->setRichNote(rich(R"({"runs":[{"text":"买","bold":true},{"text":"牛奶"}]})"),
                      kNow.addDays(-1));
    const QByteArray before = task->noteData();
    TaskDrawerController drawer;
    attach(drawer, task);
    drawer.appear();
    QCOMPARE(m_helper.richText(), task->richNote());

    m_helper.toggleAttribute(RichTextDocument::Italic, 1, 3);
    m_helper.toggleBullet(0, 0);
    const RichText edited = rich(R"({"runs":[{"text":"买","bold":true,"bullet":true},)"
                                 R"({"text":"牛奶","italic":true,"bullet":true}]})");
    QCOMPARE(drawer.noteText(), edited);
    QCOMPARE(drawer.measureText(), QStringLiteral("买牛奶"));
    // Nothing reaches the record while the card is up, not even from outside.
    QCOMPARE(task->noteData(), before);
    QCOMPARE(task->updatedAt(), kNow.addDays(-1));
    task->setRichNote(RichText::fromPlainText(QStringLiteral("同步来的")), kNow);

    m_clock.advance(5'000);
    drawer.disappear();
    QCOMPARE(task->richNote(), edited);
    QCOMPARE(task->note(), QStringLiteral("买牛奶"));
    QCOMPARE(task->updatedAt(), m_clock.now());
}

void TestTaskDrawerController::closingUntouchedStillWritesTheNote() {
    TaskItem* empty = m_store->addTask(QStringLiteral("空"), 1, kNow.addDays(-1));
    TaskItem* plain = m_store->addTask(QStringLiteral("纯"), 2, kNow.addDays(-1));
    plain->setNote(QStringLiteral("只有纯文本"));
    {
        TaskDrawerController drawer;
        attach(drawer, empty);
        drawer.appear();
        // An empty note measures as one line.
        QCOMPARE(drawer.measureText(), QStringLiteral(" "));
        QVERIFY(drawer.noteEmpty());
        drawer.disappear();
    }
    QCOMPARE(empty->updatedAt(), kNow);
    QVERIFY(!empty->noteData().isEmpty());
    {
        // A card that goes without saying so is closed by its controller's end.
        TaskDrawerController drawer;
        attach(drawer, plain);
        drawer.appear();
        m_clock.advance(1'000);
    }
    QCOMPARE(plain->updatedAt(), m_clock.now());
    QCOMPARE(plain->richNote(), RichText::fromPlainText(QStringLiteral("只有纯文本")));
    QVERIFY(!plain->noteData().isEmpty());
}

void TestTaskDrawerController::schedule_data() {
    QTest::addColumn<QDateTime>("day");
    QTest::addColumn<QDateTime>("reminder");
    QTest::addColumn<QString>("icon");
    QTest::addColumn<QString>("label");

    QTest::newRow("tomorrow, no reminder") << local(2024, 6, 13, 15, 0) << QDateTime() << "calendar"
                                           << "明天";
    QTest::newRow("a reminder today shows the bare time")
        << local(2024, 6, 12) << local(2024, 6, 12, 18, 30) << "alarm.fill"
        << "18:30";
    QTest::newRow("a reminder next week")
        << local(2024, 6, 20) << local(2024, 6, 20, 9, 0) << "alarm.fill"
        << "6月20日 09:00";
    QTest::newRow("cleared") << QDateTime() << QDateTime() << "alarm"
                             << "";
}

void TestTaskDrawerController::schedule() {
    QFETCH(QDateTime, day);
    QFETCH(QDateTime, reminder);
    QFETCH(QString, icon);
    QFETCH(QString, label);

    // Start from a plan and a reminder, so that each row changes both.
    TaskItem* task = m_store->addTask(QStringLiteral("任务"), 1, kNow.addDays(-1));
    task->schedule(local(2024, 6, 14), kNow.addDays(-1), IsoCalendar());
    task->setReminderAt(local(2024, 6, 14, 8, 0));
    TaskDrawerController drawer;
    attach(drawer, task);
    QSignalSpy posted(&m_hub, &NotificationHub::posted);
    QSignalSpy scheduleChanged(&drawer, &TaskDrawerController::scheduleChanged);

    m_clock.advance(1'000);
    drawer.applySchedule(day, reminder);

    const IsoCalendar calendar;
    QCOMPARE(task->dueDate(), day.isValid() ? calendar.startOfDay(day) : QDateTime());
    QCOMPARE(task->scheduledExplicitly(), day.isValid());
    QCOMPARE(task->week(),
             day.isValid() ? std::optional<qint64>(calendar.weekKey(day).week) : std::nullopt);
    QCOMPARE(task->reminderAt(), reminder);
    QCOMPARE(task->updatedAt(), m_clock.now());
    // The sink is asked once, after both fields are written; then the board is told.
    QCOMPARE(m_sink.seen.size(), 1);
    QCOMPARE(m_sink.seen.first().dueDate, task->dueDate());
    QCOMPARE(m_sink.seen.first().reminderAt, reminder);
    QCOMPARE(posted.size(), 1);
    QCOMPARE(posted.first().first().toString(), TavikNotification::tasksChanged);

    QVERIFY(!scheduleChanged.isEmpty());
    QCOMPARE(drawer.scheduleIcon(), icon);
    QCOMPARE(drawer.scheduleLabel(), label);
    QCOMPARE(drawer.scheduleActive(), day.isValid() || reminder.isValid());
}

void TestTaskDrawerController::scheduleOfADeletedTaskIsDropped() {
    TaskItem* task = m_store->addTask(QStringLiteral("任务"), 1, kNow);
    TaskDrawerController drawer;
    attach(drawer, task);
    m_store->context->remove(task);
    QSignalSpy posted(&m_hub, &NotificationHub::posted);
    drawer.applySchedule(local(2024, 6, 13), local(2024, 6, 13, 9, 0));
    QVERIFY(m_sink.seen.isEmpty());
    QVERIFY(posted.isEmpty());
}

void TestTaskDrawerController::boardSuppliesTheReminderSink() {
    BoardModel model(*m_store->context, *m_store->preferences, m_clock, m_hub);
    model.setReminderSink(&m_sink);
    BoardController board(model, m_clock, m_hub, {});
    TaskItem* task = m_store->addTask(QStringLiteral("任务"), 1, kNow);

    TaskDrawerController drawer;
    drawer.setBoard(&board);
    drawer.setTask(task);
    QSignalSpy posted(&m_hub, &NotificationHub::posted);
    drawer.applySchedule(QVariant::fromValue(local(2024, 6, 13)), QVariant());
    QCOMPARE(m_sink.seen.size(), 1);
    QCOMPARE(posted.size(), 1);
    QCOMPARE(task->dueDate(), local(2024, 6, 13));
}

QQuickItem* TestTaskDrawerController::showOverlay(TaskItem* task, QSize size) {
    m_view = std::make_unique<QQuickView>();
    m_view->engine()->addImportPath(QStringLiteral("qrc:/qt/qml"));
    m_view->setColor(Radix().appBackground());
    m_view->resize(size);
    m_model =
        std::make_unique<BoardModel>(*m_store->context, *m_store->preferences, m_clock, m_hub);
    m_board = std::make_unique<BoardController>(*m_model, m_clock, m_hub);
    QQmlComponent component(
        m_view->engine(), QUrl(QStringLiteral("qrc:/qt/qml/TavikUi/drawer/TaskDrawerOverlay.qml")));
    auto* overlay = qobject_cast<QQuickItem*>(component.createWithInitialProperties(
        {{QStringLiteral("board"), QVariant::fromValue(m_board.get())}}));
    if (!overlay) {
        qWarning() << component.errorString();
        return nullptr;
    }
    overlay->setParentItem(m_view->contentItem());
    overlay->setParent(m_view->contentItem());
    overlay->setSize(size);
    overlay->setProperty("task", QVariant::fromValue(task));
    m_view->show();
    if (!QTest::qWaitForWindowExposed(m_view.get()))
        return nullptr;
    return overlay;
}

void TestTaskDrawerController::cardOnScreen_data() {
    QTest::addColumn<int>("lines");
    QTest::addColumn<int>("windowHeight");
    QTest::addColumn<int>("expectedHeight");
    QTest::addColumn<bool>("scrolls");

    QTest::newRow("empty note") << 0 << 700 << 400 << false;
    QTest::newRow("short window") << 0 << 360 << 400 << false;
    QTest::newRow("long note") << 60 << 700 << 620 << true;
}

void TestTaskDrawerController::cardOnScreen() {
    QFETCH(int, lines);
    QFETCH(int, windowHeight);
    QFETCH(int, expectedHeight);
    QFETCH(bool, scrolls);

    const QString title = lines > 0
                              ? QStringLiteral("整理周末的购物清单，顺便把家里缺的东西都列出来，"
                                               "周六上午去超市之前再核对一遍")
                              : QStringLiteral("整理周末的购物清单");
    TaskItem* task = m_store->addTask(title, 1, kNow);
    task->schedule(local(2024, 6, 13), kNow, IsoCalendar());
    task->setReminderAt(local(2024, 6, 13, 9, 0));
    QList<TextRun> runs;
    for (int i = 0; i < lines; ++i) {
        TextRun run{QStringLiteral("第%1项：记得带上购物袋和会员卡\n").arg(i + 1)};
        run.bold = i % 7 == 0;
        run.bullet = i % 3 != 0;
        runs.append(run);
    }
    task->setRichNote(RichText(runs), kNow);

    QQuickItem* overlay = showOverlay(task, QSize(900, windowHeight));
    QVERIFY(overlay);
    auto* card = qvariant_cast<QQuickItem*>(overlay->property("drawer"));
    QVERIFY(card);
    QTRY_COMPARE(card->height(), qreal(expectedHeight));
    QCOMPARE(card->width(), 520.0);
    const QPointF centre = card->mapToScene(QPointF(card->width() / 2, card->height() / 2));
    QCOMPARE(centre, QPointF(450, windowHeight / 2.0));

    auto* editor = qvariant_cast<QQuickItem*>(card->property("noteEditor"));
    auto* scroller = editor->parentItem()->parentItem();
    QCOMPARE(scroller->property("contentHeight").toReal() > scroller->height(), scrolls);
    // The note stays inside the card.
    const QRectF noteRect = scroller->mapRectToItem(card, scroller->boundingRect());
    QVERIFY(noteRect.bottom() <= card->height() - 22 + 0.5);

    saveArtifact(m_view.get(),
                 QStringLiteral("drawer-%1-%2.png")
                     .arg(QString::fromLatin1(QTest::currentDataTag()).replace(' ', '-'),
                          Radix().dark() ? QStringLiteral("dark") : QStringLiteral("light")));
}

void TestTaskDrawerController::overlayCloses() {
    TaskItem* task = m_store->addTask(QStringLiteral("任务"), 1, kNow);
    QQuickItem* overlay = showOverlay(task, QSize(900, 700));
    QVERIFY(overlay);
    QSignalSpy closeRequested(overlay, SIGNAL(closeRequested()));
    auto* card = qvariant_cast<QQuickItem*>(overlay->property("drawer"));
    QVERIFY(card);

    // Inside the card nothing closes.
    QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, card->mapToScene({40, 300}).toPoint());
    QCOMPARE(closeRequested.size(), 0);
    // Escape, outside the title field.
    QTest::keyClick(m_view.get(), Qt::Key_Escape);
    QCOMPARE(closeRequested.size(), 1);
    // Outside the card.
    QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, QPoint(20, 20));
    QCOMPARE(closeRequested.size(), 2);

    // Typing in the note, then the owner takes the task away: the note is stored.
    auto* editor = qvariant_cast<QQuickItem*>(card->property("noteEditor"));
    editor->forceActiveFocus();
    QTest::keyClick(m_view.get(), 'a');
    QVERIFY(task->note().isEmpty());
    // Escape while an input method composes in the note leaves the card open.
    QInputMethodEvent compose(QStringLiteral("zhong"), {});
    QCoreApplication::sendEvent(editor, &compose);
    QVERIFY(editor->property("inputMethodComposing").toBool());
    QTest::keyClick(m_view.get(), Qt::Key_Escape);
    QCOMPARE(closeRequested.size(), 2);
    QInputMethodEvent cancel;
    QCoreApplication::sendEvent(editor, &cancel);
    overlay->setProperty("task", QVariant::fromValue<TaskItem*>(nullptr));
    QCOMPARE(task->note(), QStringLiteral("a"));
}

// The first visible button whose text is `text`, anywhere in the window (popovers included).
static QQuickItem* findButton(QQuickItem* root, const QString& text) {
    return findVisible(root, [&text](QQuickItem* item) {
        return item->property("text").toString() == text &&
               item->metaObject()->indexOfSignal("clicked()") >= 0;
    });
}

void TestTaskDrawerController::schedulePopoverWritesTheTask() {
    TaskItem* task = m_store->addTask(QStringLiteral("任务"), 1, kNow);
    QQuickItem* overlay = showOverlay(task, QSize(900, 700));
    QVERIFY(overlay);
    auto* card = qvariant_cast<QQuickItem*>(overlay->property("drawer"));
    auto* controller = qvariant_cast<TaskDrawerController*>(card->property("controller"));
    QVERIFY(controller);
    QCOMPARE(controller->scheduleIcon(), QStringLiteral("alarm"));

    // The schedule button sits left of the close button, at the card's top right.
    const QPointF button = card->mapToScene({card->width() - 22 - 24 - 8 - 12, 18 + 12});
    QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, button.toPoint());
    QTRY_VERIFY(controller->scheduleOpen());
    QQuickItem* tomorrow = nullptr;
    QTRY_VERIFY((tomorrow = findButton(m_view->contentItem(), QStringLiteral("明天"))));
    QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centre(tomorrow));
    QCOMPARE(task->dueDate(), local(2024, 6, 13));
    QVERIFY(task->scheduledExplicitly());
    QCOMPARE(controller->scheduleLabel(), QStringLiteral("明天"));
    // The popover stays open for further picks.
    QTest::qWait(200);
    QVERIFY(controller->scheduleOpen());
    QVERIFY(findButton(m_view->contentItem(), QStringLiteral("明天")));

    saveArtifact(m_view.get(), QStringLiteral("drawer-schedule.png"));

    QTest::keyClick(m_view.get(), Qt::Key_Escape);
    QTRY_VERIFY(!controller->scheduleOpen());
}

void TestTaskDrawerController::rowMenuOpensTheCardOverTheBoard() {
    BoardModel model(*m_store->context, *m_store->preferences, m_clock, m_hub);
    BoardController board(model, m_clock, m_hub, {});
    TaskItem* task = m_store->addTask(QStringLiteral("看详情"), 1, kNow);
    task->move(Bucket::today, kNow, IsoCalendar());
    m_view = std::make_unique<QQuickView>();
    m_view->engine()->addImportPath(QStringLiteral("qrc:/qt/qml"));
    m_view->setInitialProperties({{QStringLiteral("controller"), QVariant::fromValue(&board)}});
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->setSource(QUrl(QStringLiteral("qrc:/qt/qml/TavikUi/board/BoardView.qml")));
    QCOMPARE(m_view->status(), QQuickView::Ready);
    m_view->resize(1100, 720);
    m_view->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));

    QQuickItem* row = nullptr;
    QTRY_VERIFY((row = findVisible(m_view->rootObject(), [](QQuickItem* item) {
                     return isA(item, "TaskRow") &&
                            item->property("title").toString() == QStringLiteral("看详情");
                 })));
    QTest::mouseClick(m_view.get(), Qt::RightButton, {}, centre(row));
    QQuickItem* details = nullptr;
    QTRY_VERIFY((details = findVisible(m_view->contentItem(), [](QQuickItem* item) {
                     return isA(item, "SymbolMenuItem") &&
                            item->property("text").toString() == QStringLiteral("详情");
                 })));
    QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centre(details));

    QTRY_COMPARE(m_view->rootObject()->property("drawerTask").value<TaskItem*>(), task);
    QQuickItem* card = nullptr;
    QTRY_VERIFY((card = findVisible(m_view->rootObject(),
                                    [](QQuickItem* item) { return isA(item, "TaskDrawer_"); })));
    QCOMPARE(card->property("maxHeight").toReal(), 720.0 - 80);
    saveArtifact(m_view.get(), QStringLiteral("drawer-over-board.png"));
    QTest::keyClick(m_view.get(), Qt::Key_Escape);
    QTRY_VERIFY(!m_view->rootObject()->property("drawerTask").value<TaskItem*>());
    QVERIFY(!task->noteData().isEmpty());
    m_view.reset(); // before the board it shows
}

QTEST_MAIN(TestTaskDrawerController)
#include "tst_taskdrawercontroller.moc"
