// The task dialog in a real window, driven as a person drives it: keys, clicks and an input
// method.
#include "Clock.h"
#include "EnhancedDraft.h"
#include "IsoCalendar.h"
#include "QuickWindowTestSupport.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "lists/CategoryListModel.h"
#include "types/QmlClock.h"

#include <QInputMethodEvent>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>
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
    required property Clock clock

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
        clock: board.clock
        onEndEditingRequested: board.editingTask = null
    }
}
)";

QDateTime local(int y, int m, int d, int h = 0, int min = 0) {
    return QDateTime(QDate(y, m, d), QTime(h, min), Qt::LocalTime).toUTC();
}

} // namespace

class TestDialogView : public QObject {
    Q_OBJECT
private slots:

    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init() {
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
        m_board.reset(component.createWithInitialProperties(
            {{QStringLiteral("clock"), QVariant::fromValue(&m_uiClock)}}));
        QVERIFY2(m_board, qPrintable(component.errorString()));
        m_board->setProperty("categories", QVariant::fromValue<QObject*>(m_categories.get()));
        qobject_cast<QQuickItem*>(m_board.get())->setParentItem(m_window->contentItem());
        m_panel = m_board->findChild<QQuickItem*>(QStringLiteral("panel"));
        QVERIFY(m_panel);
        m_window->show();
        m_window->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }

    void cleanup() {
        m_board.reset();
        m_window.reset();
        m_categories.reset();
        m_reading.reset();
        m_home.reset();
        m_work.reset();
    }

    void createFlow() {
        QSignalSpy created(m_panel, SIGNAL(createRequested(EnhancedDraft)));
        // It grows into the card from the corner it sits in.
        settle();
        const QPointF corner = m_panel->mapToScene(QPointF(m_panel->width(), m_panel->height()));
        click(item("fab"));
        settle();
        QCOMPARE(m_panel->mapToScene(QPointF(m_panel->width(), m_panel->height())), corner);
        QTRY_VERIFY(titleEditor()->hasActiveFocus());
        QVERIFY(!item("mainButton")->isEnabled());

        // Marked text alone is not a title.
        QInputMethodEvent preedit(QStringLiteral("xie zhou bao"), {});
        QCoreApplication::sendEvent(titleEditor(), &preedit);
        QVERIFY(!item("mainButton")->isEnabled());
        QTest::keyClick(m_window.get(), Qt::Key_Return, Qt::ControlModifier);
        QTest::keyClick(m_window.get(), Qt::Key_Return);
        QCOMPARE(created.count(), 0);
        commitText(titleEditor(), QStringLiteral("写周报"));
        QVERIFY(item("mainButton")->isEnabled());

        // The month grid: pick the 20th.
        auto* calendarChip = item("calendarChip");
        QObject* grid =
            openPopover(calendarChip->property("mainButton").value<QQuickItem*>(), "datePopover");
        QVERIFY(grid);
        click(QuickWindowTest::find(
            grid->property("contentItem").value<QQuickItem*>(),
            [](QQuickItem* c) { return c->objectName() == QStringLiteral("cell_2024-06-20"); }));
        QTRY_VERIFY(!grid->property("visible").toBool());

        // The time list opens on the proposed time, 14:30 at 14:10.
        auto* reminderChip = item("reminderChip");
        QObject* times =
            openPopover(reminderChip->property("mainButton").value<QQuickItem*>(), "timePopover");
        QVERIFY(times);
        auto* list = times->property("contentItem")
                         .value<QQuickItem*>()
                         ->property("list")
                         .value<QQuickItem*>();
        QQuickItem* anchorRow = QuickWindowTest::find(list, [](QQuickItem* row) {
            return row->property("label").toString() == QStringLiteral("14:30");
        });
        click(anchorRow);
        QTRY_VERIFY(!times->property("visible").toBool());

        QObject* lists = openPopover(item("listPill"), "listPopover");
        QVERIFY(lists);
        click(QuickWindowTest::find(
            lists->property("contentItem").value<QQuickItem*>(),
            [](QQuickItem* row) { return row->property("listName") == QStringLiteral("读书"); }));
        QTRY_VERIFY(!lists->property("visible").toBool());

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

    void editFlow() {
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
        QCOMPARE(item("reminderChip")->property("text").toString(), QStringLiteral("09:30"));

        // Escape closes the popover only.
        QVERIFY(openPopover(item("listPill"), "listPopover"));
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

    void blurAndEscape() {
        // The board's blurInput closes an untouched card, not one with a character in the note.
        openCard();
        QMetaObject::invokeMethod(m_board.get(), "blurInput");
        QVERIFY(!dialog()->property("open").toBool());
        openCard();
        commitText(item("noteField")->property("editor").value<QQuickItem*>(), QStringLiteral("x"));
        QMetaObject::invokeMethod(m_board.get(), "blurInput");
        QVERIFY(dialog()->property("open").toBool());
        // Escape cancels without a question.
        QTest::keyClick(m_window.get(), Qt::Key_Escape);
        QVERIFY(!dialog()->property("open").toBool());
    }

private:
    QObject* object(const char* name) const {
        return m_board->findChild<QObject*>(QLatin1String(name));
    }

    QQuickItem* item(const char* name) const { return qobject_cast<QQuickItem*>(object(name)); }

    QObject* dialog() const { return m_panel->property("dialog").value<QObject*>(); }

    QQuickItem* titleEditor() const {
        return item("titleField")->property("editor").value<QQuickItem*>();
    }

    void click(QQuickItem* target) { QuickWindowTest::click(m_window.get(), target); }

    void settle() {
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

    void openCard() {
        QTest::keyClick(m_window.get(), Qt::Key_N, Qt::ControlModifier);
        QVERIFY(dialog()->property("open").toBool());
        settle();
        QTRY_VERIFY(titleEditor()->hasActiveFocus());
    }

    QObject* openPopover(QQuickItem* control, const char* popoverName) {
        click(control);
        QObject* popover = object(popoverName);
        const bool opened =
            popover && QTest::qWaitFor([popover] { return popover->property("opened").toBool(); });
        return opened ? popover : nullptr;
    }

    void commitText(QQuickItem* editor, const QString& text) {
        QInputMethodEvent event;
        event.setCommitString(text);
        QCoreApplication::sendEvent(editor, &event);
    }

    // Clicks the control and waits for its popover; null when it does not open.

    ManualClock m_clock{local(2024, 6, 12, 14, 10)};
    QmlClock m_uiClock{m_clock};
    std::unique_ptr<QQuickWindow> m_window;
    std::unique_ptr<QObject> m_board;
    QQuickItem* m_panel = nullptr;
    std::unique_ptr<TaskCategory> m_work;
    std::unique_ptr<TaskCategory> m_home;
    std::unique_ptr<TaskCategory> m_reading;
    std::unique_ptr<CategoryListModel> m_categories;
};

QTEST_MAIN(TestDialogView)
#include "tst_dialogview.moc"
