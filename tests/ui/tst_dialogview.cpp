// The task dialog in a real window, driven as a person drives it: keys, clicks and an input
// method. Set TAVIK_SCREENSHOT_DIR to keep a picture of each state.
#include "CategoryListModel.h"
#include "Clock.h"
#include "IsoCalendar.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "UiClock.h"

#include <QDir>
#include <QInputMethodEvent>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>
#include <functional>
#include <memory>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

namespace {

// A stand-in for the board: its background, its blurInput signal and the dialog in its
// corner, wired the way the board wires it.
const char* const kBoard = R"(
import QtQuick
import TavikUi

Rectangle {
    id: board
    width: 900
    height: 640
    color: Radix.appBackground
    signal blurInput
    property var categories: null
    property var editingTask: null
    property string selectedCategoryId: ""

    CreateTaskPanel {
        objectName: "panel"
        anchors.right: parent.right
        anchors.rightMargin: 18
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 16
        categories: board.categories
        defaultListId: board.selectedCategoryId
        editingTask: board.editingTask
        board: board
        onEndEditingRequested: board.editingTask = null
    }
}
)";

// Items made by a Repeater or a ListView have no QObject parent: walk the visual tree.
QQuickItem* findVisual(QQuickItem* root, const std::function<bool(QQuickItem*)>& matches) {
    if (!root)
        return nullptr;
    for (QQuickItem* child : root->childItems()) {
        if (matches(child))
            return child;
        if (QQuickItem* found = findVisual(child, matches))
            return found;
    }
    return nullptr;
}

QDateTime local(int y, int m, int d, int h = 0, int min = 0) {
    return QDateTime(QDate(y, m, d), QTime(h, min), Qt::LocalTime).toUTC();
}

} // namespace

class TestDialogView : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void restsAsRoundButtonInTheCorner();
    void createWithKeyboard();
    void compositionIsNotATitle();
    void blankTitleDisablesMainButton();
    void dayChipsAndDatePopover();
    void reminderPopover();
    void listPopover();
    void editModeSavesAndDeletes();
    void blurClosesOnlyAnUntouchedCard();
    void escapeCancels();

private:
    [[nodiscard]] QQuickItem* item(const char* name) const;
    [[nodiscard]] QObject* object(const char* name) const;
    [[nodiscard]] QObject* dialog() const;
    [[nodiscard]] QQuickItem* titleEditor() const;
    void click(QQuickItem* target);
    void openCard();
    void settle();
    void shoot(const QString& name);

    ManualClock m_clock{local(2024, 6, 12, 14, 10)};
    std::unique_ptr<QQuickWindow> m_window;
    std::unique_ptr<QObject> m_board;
    QQuickItem* m_panel = nullptr;
    std::unique_ptr<TaskCategory> m_work;
    std::unique_ptr<TaskCategory> m_home;
    std::unique_ptr<TaskCategory> m_reading;
    std::unique_ptr<CategoryListModel> m_categories;
};

void TestDialogView::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
}

void TestDialogView::init() {
    UiClock::install(&m_clock);
    const QDateTime now = m_clock.now();
    m_work = std::make_unique<TaskCategory>("工作", "0090FF", 1, now);
    m_home = std::make_unique<TaskCategory>("家务", "46A758", 2, now);
    m_reading = std::make_unique<TaskCategory>("读书", "8E4EC6", 3, now);
    m_categories = std::make_unique<CategoryListModel>();
    m_categories->setCategories({m_work.get(), m_home.get(), m_reading.get()});

    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(900, 640);
    auto* engine = new QQmlEngine(m_window.get());
    engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    QQmlComponent component(engine);
    component.setData(kBoard, QUrl::fromLocalFile(QStringLiteral("/board.qml")));
    m_board.reset(component.create());
    QVERIFY2(m_board, qPrintable(component.errorString()));
    m_board->setProperty("categories", QVariant::fromValue<QObject*>(m_categories.get()));
    qobject_cast<QQuickItem*>(m_board.get())->setParentItem(m_window->contentItem());
    m_panel = m_board->findChild<QQuickItem*>(QStringLiteral("panel"));
    QVERIFY(m_panel);
    m_window->show();
    m_window->requestActivate();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
}

void TestDialogView::cleanup() {
    m_board.reset();
    m_window.reset();
    m_categories.reset();
    m_reading.reset();
    m_home.reset();
    m_work.reset();
    UiClock::install(nullptr);
}

QObject* TestDialogView::object(const char* name) const {
    return m_board->findChild<QObject*>(QLatin1String(name));
}

QQuickItem* TestDialogView::item(const char* name) const {
    return qobject_cast<QQuickItem*>(object(name));
}

QObject* TestDialogView::dialog() const {
    return m_panel->property("dialog").value<QObject*>();
}

QQuickItem* TestDialogView::titleEditor() const {
    return item("titleField")->property("editor").value<QQuickItem*>();
}

void TestDialogView::click(QQuickItem* target) {
    QVERIFY(target);
    QVERIFY(target->isVisible());
    const QPointF centre = target->mapToScene(QPointF(target->width() / 2, target->height() / 2));
    QTest::mouseClick(m_window.get(), Qt::LeftButton, {}, centre.toPoint());
}

void TestDialogView::settle() {
    // The spring has come to rest when the surface no longer changes size.
    QSizeF last;
    for (int i = 0; i < 100; ++i) {
        QTest::qWait(30);
        const QSizeF size(m_panel->width(), m_panel->height());
        if (size == last)
            return;
        last = size;
    }
}

void TestDialogView::openCard() {
    QTest::keyClick(m_window.get(), Qt::Key_N, Qt::ControlModifier);
    QVERIFY(dialog()->property("open").toBool());
    settle();
    QTRY_VERIFY(titleEditor()->hasActiveFocus());
}

void TestDialogView::shoot(const QString& name) {
    const QString dir = qEnvironmentVariable("TAVIK_SCREENSHOT_DIR");
    if (dir.isEmpty())
        return;
    QTest::qWait(150); // popovers fade in
    QDir().mkpath(dir);
    QVERIFY(m_window->grabWindow().save(dir + QLatin1Char('/') + name + QStringLiteral(".png")));
}

void TestDialogView::restsAsRoundButtonInTheCorner() {
    settle();
    QCOMPARE(m_panel->width(), 44.0);
    QCOMPARE(m_panel->height(), 44.0);
    const QPointF corner = m_panel->mapToScene(QPointF(m_panel->width(), m_panel->height()));
    QCOMPARE(corner, QPointF(900 - 18, 640 - 16));
    shoot(QStringLiteral("dialog-closed"));

    click(item("fab"));
    QVERIFY(dialog()->property("open").toBool());
    settle();
    // The card grows out of the corner: same corner, width 380.
    QCOMPARE(m_panel->width(), 380.0);
    QCOMPARE(m_panel->mapToScene(QPointF(m_panel->width(), m_panel->height())),
             QPointF(900 - 18, 640 - 16));
}

void TestDialogView::createWithKeyboard() {
    QSignalSpy created(m_panel,
                       SIGNAL(createRequested(QString, QString, QString, QDateTime, QDateTime)));
    openCard();
    QCOMPARE(item("mainButton")->property("text").toString(), QStringLiteral("创建"));
    QInputMethodEvent typed;
    typed.setCommitString(QStringLiteral("  写周报 "));
    QCoreApplication::sendEvent(titleEditor(), &typed);
    click(item("tomorrowChip"));
    QVERIFY(!titleEditor()->hasActiveFocus()); // the chips take the focus away
    shoot(QStringLiteral("dialog-create"));

    // Ctrl+N on an open card only brings the focus back to the title.
    QTest::keyClick(m_window.get(), Qt::Key_N, Qt::ControlModifier);
    QTRY_VERIFY(titleEditor()->hasActiveFocus());
    QCOMPARE(dialog()->property("title").toString(), QStringLiteral("  写周报 "));

    QTest::keyClick(m_window.get(), Qt::Key_Return);
    QCOMPARE(created.count(), 1);
    const QList<QVariant> args = created.first();
    QCOMPARE(args.at(0).toString(), QStringLiteral("写周报"));
    QCOMPARE(args.at(2).toString(), QString());
    QCOMPARE(args.at(3).toDateTime(), local(2024, 6, 13));
    QVERIFY(!args.at(4).toDateTime().isValid());
    QVERIFY(!dialog()->property("open").toBool());
}

void TestDialogView::compositionIsNotATitle() {
    QSignalSpy created(m_panel,
                       SIGNAL(createRequested(QString, QString, QString, QDateTime, QDateTime)));
    openCard();
    QInputMethodEvent preedit(QStringLiteral("xie zhou bao"), {});
    QCoreApplication::sendEvent(titleEditor(), &preedit);
    // Marked text alone is not a title: nothing can be created yet.
    QVERIFY(!dialog()->property("canCreate").toBool());
    QVERIFY(!item("mainButton")->isEnabled());
    QTest::keyClick(m_window.get(), Qt::Key_Return, Qt::ControlModifier);
    QTest::keyClick(m_window.get(), Qt::Key_Return);
    QCOMPARE(created.count(), 0);
    QVERIFY(dialog()->property("open").toBool());

    QInputMethodEvent commit;
    commit.setCommitString(QStringLiteral("写周报"));
    QCoreApplication::sendEvent(titleEditor(), &commit);
    QVERIFY(dialog()->property("canCreate").toBool());
    QTest::keyClick(m_window.get(), Qt::Key_Return, Qt::ControlModifier);
    QCOMPARE(created.count(), 1);
    QCOMPARE(created.first().at(0).toString(), QStringLiteral("写周报"));
}

void TestDialogView::blankTitleDisablesMainButton() {
    QSignalSpy created(m_panel,
                       SIGNAL(createRequested(QString, QString, QString, QDateTime, QDateTime)));
    openCard();
    QTest::keyClick(m_window.get(), Qt::Key_Space);
    QTest::keyClick(m_window.get(), Qt::Key_Space);
    QCOMPARE(dialog()->property("title").toString(), QStringLiteral("  "));
    QVERIFY(!item("mainButton")->isEnabled());
    QCOMPARE(item("mainButton")->opacity(), 0.45);
    click(item("mainButton"));
    QTest::keyClick(m_window.get(), Qt::Key_Return);
    QTest::keyClick(m_window.get(), Qt::Key_Return, Qt::ControlModifier);
    QCOMPARE(created.count(), 0);
    QVERIFY(dialog()->property("open").toBool());
}

void TestDialogView::dayChipsAndDatePopover() {
    openCard();
    click(item("todayChip"));
    QVERIFY(dialog()->property("todayActive").toBool());
    QVERIFY(item("todayChip")->property("selected").toBool());
    click(item("todayChip"));
    QVERIFY(!dialog()->property("day").toDateTime().isValid());

    auto* calendarChip = item("calendarChip");
    click(calendarChip->property("mainButton").value<QQuickItem*>());
    QObject* popover = object("datePopover");
    QTRY_VERIFY(popover->property("opened").toBool());
    shoot(QStringLiteral("dialog-create-date"));

    // Pick the 20th of the month on show.
    QQuickItem* cell =
        findVisual(popover->property("contentItem").value<QQuickItem*>(), [](QQuickItem* c) {
            return c->property("dayNumber").toInt() == 20 && c->property("inMonth").toBool();
        });
    click(cell);
    QTRY_VERIFY(!popover->property("visible").toBool());
    QCOMPARE(dialog()->property("day").toDateTime(), local(2024, 6, 20));
    QCOMPARE(calendarChip->property("text").toString(), QStringLiteral("6月20日"));
    QVERIFY(calendarChip->property("active").toBool());
}

void TestDialogView::reminderPopover() {
    openCard();
    auto* reminderChip = item("reminderChip");
    QCOMPARE(reminderChip->property("active").toBool(), false);
    click(reminderChip->property("mainButton").value<QQuickItem*>());
    QObject* popover = object("timePopover");
    QTRY_VERIFY(popover->property("opened").toBool());
    shoot(QStringLiteral("dialog-create-time"));

    // The list opens centred on the proposed time, 14:30 at 14:10.
    auto* picker = popover->property("contentItem").value<QQuickItem*>();
    auto* list = picker->property("list").value<QQuickItem*>();
    QQuickItem* anchorRow = findVisual(list, [](QQuickItem* row) {
        return row->property("label").toString() == QStringLiteral("14:30");
    });
    QVERIFY(anchorRow);
    const qreal rowCentre = anchorRow->mapToItem(list, QPointF(0, anchorRow->height() / 2)).y();
    QVERIFY2(qAbs(rowCentre - list->height() / 2) < anchorRow->height(),
             qPrintable(QString::number(rowCentre)));

    click(anchorRow);
    QTRY_VERIFY(!popover->property("visible").toBool());
    QCOMPARE(reminderChip->property("text").toString(), QStringLiteral("14:30"));
    // A time with no day puts the day on today.
    QVERIFY(item("todayChip")->property("selected").toBool());
}

void TestDialogView::listPopover() {
    m_board->setProperty("selectedCategoryId", m_home->id().toString(QUuid::WithoutBraces));
    openCard();
    QCOMPARE(dialog()->property("chosenListName").toString(), QStringLiteral("家务"));
    click(item("listPill"));
    QObject* popover = object("listPopover");
    QTRY_VERIFY(popover->property("opened").toBool());
    shoot(QStringLiteral("dialog-create-list"));

    // "无" first, then every list in order.
    QStringList names;
    QQuickItem* readingRow = nullptr;
    auto* rows = popover->property("contentItem").value<QQuickItem*>();
    for (QQuickItem* row : rows->childItems()) {
        const QString name = row->property("listName").toString();
        if (name.isEmpty())
            continue;
        names.append(name);
        if (name == QStringLiteral("读书"))
            readingRow = row;
    }
    QCOMPARE(names, (QStringList{"无", "工作", "家务", "读书"}));
    click(readingRow);
    QTRY_VERIFY(!popover->property("visible").toBool());
    QCOMPARE(dialog()->property("chosenListId").toString(),
             m_reading->id().toString(QUuid::WithoutBraces));
}

void TestDialogView::editModeSavesAndDeletes() {
    TaskItem task(QStringLiteral("整理书架"), 4, m_clock.now());
    task.setNote(QStringLiteral("旧书捐出去"));
    task.schedule(local(2024, 6, 15), m_clock.now(), IsoCalendar());
    task.setReminderAt(local(2024, 6, 15, 9, 30));
    task.setCategory(m_home.get());

    QSignalSpy saved(
        m_panel, SIGNAL(saveRequested(QVariant, QString, QString, QString, QDateTime, QDateTime)));
    QSignalSpy deleted(m_panel, SIGNAL(deleteRequested(QVariant)));
    m_board->setProperty("editingTask", QVariant::fromValue<QObject*>(&task));
    QVERIFY(dialog()->property("open").toBool());
    settle();
    QCOMPARE(item("mainButton")->property("text").toString(), QStringLiteral("保存"));
    QCOMPARE(item("calendarChip")->property("text").toString(), QStringLiteral("6月15日"));
    QCOMPARE(item("reminderChip")->property("text").toString(), QStringLiteral("09:30"));
    shoot(QStringLiteral("dialog-edit"));

    click(item("calendarChip")->property("mainButton").value<QQuickItem*>());
    QTRY_VERIFY(object("datePopover")->property("opened").toBool());
    shoot(QStringLiteral("dialog-edit-date"));
    click(item("reminderChip")->property("mainButton").value<QQuickItem*>());
    QTRY_VERIFY(object("timePopover")->property("opened").toBool());
    QVERIFY(!object("datePopover")->property("visible").toBool());
    shoot(QStringLiteral("dialog-edit-time"));
    click(item("listPill"));
    QTRY_VERIFY(object("listPopover")->property("opened").toBool());
    shoot(QStringLiteral("dialog-edit-list"));
    QTest::keyClick(m_window.get(), Qt::Key_Escape);
    QTRY_VERIFY(!object("listPopover")->property("visible").toBool());
    // Escape closed the popover only.
    QVERIFY(dialog()->property("open").toBool());

    QTest::keyClick(m_window.get(), Qt::Key_Return, Qt::ControlModifier);
    QCOMPARE(saved.count(), 1);
    QCOMPARE(saved.first().at(0).value<QObject*>(), &task);
    QCOMPARE(saved.first().at(5).toDateTime(), local(2024, 6, 15, 9, 30));
    // The board let go of the task when the card closed.
    QCOMPARE(m_board->property("editingTask").value<QObject*>(), nullptr);

    m_board->setProperty("editingTask", QVariant::fromValue<QObject*>(&task));
    settle();
    click(item("trashButton"));
    QCOMPARE(deleted.count(), 1);
    QVERIFY(!dialog()->property("open").toBool());
    QCOMPARE(m_board->property("editingTask").value<QObject*>(), nullptr);
}

void TestDialogView::blurClosesOnlyAnUntouchedCard() {
    openCard();
    QMetaObject::invokeMethod(m_board.get(), "blurInput");
    QVERIFY(!dialog()->property("open").toBool());

    openCard();
    QInputMethodEvent typed;
    typed.setCommitString(QStringLiteral("x"));
    QCoreApplication::sendEvent(item("noteField")->property("editor").value<QQuickItem*>(), &typed);
    QMetaObject::invokeMethod(m_board.get(), "blurInput");
    QVERIFY(dialog()->property("open").toBool());
}

void TestDialogView::escapeCancels() {
    QSignalSpy created(m_panel,
                       SIGNAL(createRequested(QString, QString, QString, QDateTime, QDateTime)));
    openCard();
    QInputMethodEvent typed;
    typed.setCommitString(QStringLiteral("草稿"));
    QCoreApplication::sendEvent(titleEditor(), &typed);
    QTest::keyClick(m_window.get(), Qt::Key_Escape);
    QVERIFY(!dialog()->property("open").toBool());
    QCOMPARE(created.count(), 0);
    openCard();
    QCOMPARE(titleEditor()->property("text").toString(), QString());
}

QTEST_MAIN(TestDialogView)
#include "tst_dialogview.moc"
