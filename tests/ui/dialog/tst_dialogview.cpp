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
        m_home = std::make_unique<TaskCategory>("家务", "46A758", 2, now);
        m_reading = std::make_unique<TaskCategory>("读书", "8E4EC6", 3, now);
        m_categories = std::make_unique<CategoryListModel>();
        m_categories->setCategories({m_home.get(), m_reading.get()});

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
    }

    void createFlow() {
        QSignalSpy created(m_panel, SIGNAL(createRequested(EnhancedDraft)));
        click(item("fab"));
        settle();
        QTRY_VERIFY(titleEditor()->hasActiveFocus());
        QVERIFY(!item("mainButton")->isEnabled());

        commitText(titleEditor(), QStringLiteral("写周报"));
        QVERIFY(item("mainButton")->isEnabled());

        QObject* lists = openPopover(item("listPill"), "listPopover");
        QVERIFY(lists);
        click(QuickWindowTest::find(
            lists->property("contentItem").value<QQuickItem*>(),
            [](QQuickItem* row) { return row->property("listName") == QStringLiteral("读书"); }));
        QTRY_VERIFY(!lists->property("visible").toBool());

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
        QVERIFY(!dialog()->property("open").toBool());
    }

    void editFlow() {
        TaskItem task(QStringLiteral("整理书架"), 4, m_clock.now());
        task.setNote(QStringLiteral("旧书捐出去"));
        task.schedule(local(2024, 6, 15), m_clock.now(), IsoCalendar());
        task.setCategory(m_home.get());

        QSignalSpy saved(m_panel, SIGNAL(saveRequested(TaskItem*, EnhancedDraft)));
        QSignalSpy deleted(m_panel, SIGNAL(deleteRequested(QVariant)));
        m_board->setProperty("editingTask", QVariant::fromValue<QObject*>(&task));
        QVERIFY(dialog()->property("open").toBool());
        settle();

        QVERIFY(openPopover(item("listPill"), "listPopover"));
        QTest::keyClick(m_window.get(), Qt::Key_Escape);
        QTRY_VERIFY(!object("listPopover")->property("visible").toBool());
        QVERIFY(dialog()->property("open").toBool());

        QTest::keyClick(m_window.get(), Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(saved.count(), 1);
        QCOMPARE(saved.first().at(0).value<TaskItem*>(), &task);
        QCOMPARE(m_board->property("editingTask").value<QObject*>(), nullptr);

        m_board->setProperty("editingTask", QVariant::fromValue<QObject*>(&task));
        settle();
        click(item("trashButton"));
        QCOMPARE(deleted.count(), 1);
        QVERIFY(!dialog()->property("open").toBool());
        QCOMPARE(m_board->property("editingTask").value<QObject*>(), nullptr);
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
        QSizeF last;
        for (int i = 0; i < 100; ++i) {
            QTest::qWait(30);
            const QSizeF size(m_panel->width(), m_panel->height());
            if (size == last)
                return;
            last = size;
        }
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

    ManualClock m_clock{local(2024, 6, 12, 14, 10)};
    QmlClock m_uiClock{m_clock};
    std::unique_ptr<QQuickWindow> m_window;
    std::unique_ptr<QObject> m_board;
    QQuickItem* m_panel = nullptr;
    std::unique_ptr<TaskCategory> m_home;
    std::unique_ptr<TaskCategory> m_reading;
    std::unique_ptr<CategoryListModel> m_categories;
};

QTEST_MAIN(TestDialogView)
#include "tst_dialogview.moc"
