// The task dialog in a real window, driven as a person drives it: keys, clicks and an input
// method. Set TAVIK_SCREENSHOT_DIR to keep a picture of each state.
#include "Clock.h"
#include "EnhancedDraft.h"
#include "IsoCalendar.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "lists/CategoryListModel.h"
#include "types/UiClock.h"

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

    void createFlow();
    void editFlow();
    void blurAndEscape();

private:
    [[nodiscard]] QQuickItem* item(const char* name) const;
    [[nodiscard]] QObject* object(const char* name) const;
    [[nodiscard]] QObject* dialog() const;
    [[nodiscard]] QQuickItem* titleEditor() const;
    // Clicks the control and waits for its popover; null when it does not open.
    QObject* openPopover(QQuickItem* control, const char* popoverName);
    void click(QQuickItem* target);
    void commitText(QQuickItem* editor, const QString& text);
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

QObject* TestDialogView::openPopover(QQuickItem* control, const char* popoverName) {
    click(control);
    QObject* popover = object(popoverName);
    const bool opened =
        popover && QTest::qWaitFor([popover] { return popover->property("opened").toBool(); });
    return opened ? popover : nullptr;
}

void TestDialogView::commitText(QQuickItem* editor, const QString& text) {
    QInputMethodEvent event;
    event.setCommitString(text);
    QCoreApplication::sendEvent(editor, &event);
}

void TestDialogView::createFlow() {
    QSignalSpy created(m_panel, SIGNAL(createRequested(EnhancedDraft)));
    // At rest: the round button, 18 from the right and 16 from the bottom.
    settle();
    QCOMPARE(QSizeF(m_panel->width(), m_panel->height()), QSizeF(44, 44));
    const QPointF corner(900 - 18, 640 - 16);
    QCOMPARE(m_panel->mapToScene(QPointF(m_panel->width(), m_panel->height())), corner);
    shoot(QStringLiteral("dialog-closed"));

    // It grows into the card from the same corner.
    click(item("fab"));
    settle();
    QCOMPARE(m_panel->width(), 380.0);
    QCOMPARE(m_panel->mapToScene(QPointF(m_panel->width(), m_panel->height())), corner);
    QTRY_VERIFY(titleEditor()->hasActiveFocus());
    QCOMPARE(item("mainButton")->property("text").toString(), QStringLiteral("创建"));
    QVERIFY(!item("mainButton")->isEnabled());
    QCOMPARE(item("mainButton")->opacity(), 0.45);

    // Marked text alone is not a title.
    QInputMethodEvent preedit(QStringLiteral("xie zhou bao"), {});
    QCoreApplication::sendEvent(titleEditor(), &preedit);
    QVERIFY(!item("mainButton")->isEnabled());
    QTest::keyClick(m_window.get(), Qt::Key_Return, Qt::ControlModifier);
    QTest::keyClick(m_window.get(), Qt::Key_Return);
    QCOMPARE(created.count(), 0);
    commitText(titleEditor(), QStringLiteral("写周报"));
    QVERIFY(item("mainButton")->isEnabled());
    shoot(QStringLiteral("dialog-create"));

    // The month grid: pick the 20th.
    auto* calendarChip = item("calendarChip");
    QObject* grid =
        openPopover(calendarChip->property("mainButton").value<QQuickItem*>(), "datePopover");
    QVERIFY(grid);
    shoot(QStringLiteral("dialog-create-date"));
    click(findVisual(grid->property("contentItem").value<QQuickItem*>(), [](QQuickItem* c) {
        return c->objectName() == QStringLiteral("cell_2024-06-20");
    }));
    QTRY_VERIFY(!grid->property("visible").toBool());
    QCOMPARE(calendarChip->property("text").toString(), QStringLiteral("6月20日"));

    // The time list opens centred on the proposed time, 14:30 at 14:10.
    auto* reminderChip = item("reminderChip");
    QObject* times =
        openPopover(reminderChip->property("mainButton").value<QQuickItem*>(), "timePopover");
    QVERIFY(times);
    shoot(QStringLiteral("dialog-create-time"));
    auto* list =
        times->property("contentItem").value<QQuickItem*>()->property("list").value<QQuickItem*>();
    QQuickItem* anchorRow = findVisual(list, [](QQuickItem* row) {
        return row->property("label").toString() == QStringLiteral("14:30");
    });
    QVERIFY(anchorRow);
    const qreal rowCentre = anchorRow->mapToItem(list, QPointF(0, anchorRow->height() / 2)).y();
    QVERIFY(qAbs(rowCentre - list->height() / 2) < anchorRow->height());
    click(anchorRow);
    QTRY_VERIFY(!times->property("visible").toBool());
    QCOMPARE(reminderChip->property("text").toString(), QStringLiteral("14:30"));

    // The list popover offers "无" first, then every list in order.
    QObject* lists = openPopover(item("listPill"), "listPopover");
    QVERIFY(lists);
    shoot(QStringLiteral("dialog-create-list"));
    QStringList names;
    QQuickItem* readingRow = nullptr;
    for (QQuickItem* row : lists->property("contentItem").value<QQuickItem*>()->childItems()) {
        const QString name = row->property("listName").toString();
        if (!name.isEmpty())
            names.append(name);
        if (name == QStringLiteral("读书"))
            readingRow = row;
    }
    QCOMPARE(names, (QStringList{"无", "工作", "家务", "读书"}));
    click(readingRow);
    QTRY_VERIFY(!lists->property("visible").toBool());

    // Ctrl+N on an open card only brings the focus back to the title.
    QVERIFY(!titleEditor()->hasActiveFocus());
    QTest::keyClick(m_window.get(), Qt::Key_N, Qt::ControlModifier);
    QTRY_VERIFY(titleEditor()->hasActiveFocus());

    // In the note Return makes a line; Ctrl+Return submits from there too.
    auto* noteEditor = item("noteField")->property("editor").value<QQuickItem*>();
    click(noteEditor);
    QTRY_VERIFY(noteEditor->hasActiveFocus());
    commitText(noteEditor, QStringLiteral("第一行"));
    QTest::keyClick(m_window.get(), Qt::Key_Return);
    QCOMPARE(created.count(), 0);
    QTest::keyClick(m_window.get(), Qt::Key_Return, Qt::ControlModifier);
    QCOMPARE(created.count(), 1);
    const auto draft = created.first().at(0).value<EnhancedDraft>();
    QCOMPARE(draft.title, QStringLiteral("写周报"));
    QCOMPARE(draft.note, QStringLiteral("第一行")); // trimmed
    QCOMPARE(draft.listUuid(), m_reading->id());
    QCOMPARE(draft.dueDate, local(2024, 6, 20));
    QCOMPARE(draft.reminderAt, local(2024, 6, 20, 14, 30));
    QVERIFY(!dialog()->property("open").toBool());
}

void TestDialogView::editFlow() {
    TaskItem task(QStringLiteral("整理书架"), 4, m_clock.now());
    task.setNote(QStringLiteral("旧书捐出去"));
    task.schedule(local(2024, 6, 15), m_clock.now(), IsoCalendar());
    task.setReminderAt(local(2024, 6, 15, 9, 30));
    task.setCategory(m_home.get());

    QSignalSpy saved(m_panel, SIGNAL(saveRequested(TaskItem*, EnhancedDraft)));
    QSignalSpy deleted(m_panel, SIGNAL(deleteRequested(QVariant)));
    m_board->setProperty("editingTask", QVariant::fromValue<QObject*>(&task));
    QVERIFY(dialog()->property("open").toBool());
    settle();
    QCOMPARE(item("mainButton")->property("text").toString(), QStringLiteral("保存"));
    QCOMPARE(item("calendarChip")->property("text").toString(), QStringLiteral("6月15日"));
    QCOMPARE(item("reminderChip")->property("text").toString(), QStringLiteral("09:30"));
    shoot(QStringLiteral("dialog-edit"));

    QVERIFY(openPopover(item("calendarChip")->property("mainButton").value<QQuickItem*>(),
                        "datePopover"));
    shoot(QStringLiteral("dialog-edit-date"));
    QVERIFY(openPopover(item("reminderChip")->property("mainButton").value<QQuickItem*>(),
                        "timePopover"));
    QVERIFY(!object("datePopover")->property("visible").toBool());
    shoot(QStringLiteral("dialog-edit-time"));
    QVERIFY(openPopover(item("listPill"), "listPopover"));
    shoot(QStringLiteral("dialog-edit-list"));
    // Escape closes the popover only.
    QTest::keyClick(m_window.get(), Qt::Key_Escape);
    QTRY_VERIFY(!object("listPopover")->property("visible").toBool());
    QVERIFY(dialog()->property("open").toBool());

    QTest::keyClick(m_window.get(), Qt::Key_Return, Qt::ControlModifier);
    QCOMPARE(saved.count(), 1);
    QCOMPARE(saved.first().at(0).value<TaskItem*>(), &task);
    QCOMPARE(saved.first().at(1).value<EnhancedDraft>().reminderAt, local(2024, 6, 15, 9, 30));
    // The board let go of the task when the card closed.
    QCOMPARE(m_board->property("editingTask").value<QObject*>(), nullptr);

    m_board->setProperty("editingTask", QVariant::fromValue<QObject*>(&task));
    settle();
    click(item("trashButton"));
    QCOMPARE(deleted.count(), 1);
    QVERIFY(!dialog()->property("open").toBool());
    QCOMPARE(m_board->property("editingTask").value<QObject*>(), nullptr);
}

void TestDialogView::blurAndEscape() {
    // The board's blurInput closes an untouched card, not one with a character in the note.
    openCard();
    QMetaObject::invokeMethod(m_board.get(), "blurInput");
    QVERIFY(!dialog()->property("open").toBool());
    openCard();
    commitText(item("noteField")->property("editor").value<QQuickItem*>(), QStringLiteral("x"));
    QMetaObject::invokeMethod(m_board.get(), "blurInput");
    QVERIFY(dialog()->property("open").toBool());

    // Escape cancels without a question, and the next card starts empty.
    QTest::keyClick(m_window.get(), Qt::Key_Escape);
    QVERIFY(!dialog()->property("open").toBool());
    openCard();
    QCOMPARE(item("noteField")->property("text").toString(), QString());
}

QTEST_MAIN(TestDialogView)
#include "tst_dialogview.moc"
