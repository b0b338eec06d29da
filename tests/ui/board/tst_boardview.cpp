#include "BoardModel.h"
#include "BoardTestSupport.h"
#include "Clock.h"
#include "DemoData.h"
#include "Notifications.h"
#include "QuickWindowTestSupport.h"
#include "TaskCategory.h"
#include "board/BoardController.h"

#include <QInputMethodEvent>
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

    // The task dialog in the board's corner, and its parts by object name.
    [[nodiscard]] QObject* object(const char* name) const {
        return view->rootObject()->findChild<QObject*>(QLatin1String(name));
    }
    [[nodiscard]] QQuickItem* item(const char* name) const {
        return qobject_cast<QQuickItem*>(object(name));
    }
    [[nodiscard]] QQuickItem* panel() const {
        return find(view->rootObject(), [](QQuickItem* item) {
            return QByteArray(item->metaObject()->className()).startsWith("CreateTaskPanel");
        });
    }
    [[nodiscard]] bool dialogOpen() const { return panel()->property("open").toBool(); }
    [[nodiscard]] QQuickItem* editor(const char* field) const {
        return item(field)->property("editor").value<QQuickItem*>();
    }

    // The spring has come to rest when the panel no longer changes size.
    void settle() const {
        QSizeF last;
        for (int i = 0; i < 100; ++i) {
            QTest::qWait(30);
            const QSizeF size = panel()->size();
            if (size == last)
                return;
            last = size;
        }
    }

    // Clicks the control and waits for its popover; null when it does not open.
    QObject* openPopover(const char* control, const char* popoverName) const {
        click(view.get(), item(control));
        QObject* popover = object(popoverName);
        const bool opened =
            popover && QTest::qWaitFor([popover] { return popover->property("opened").toBool(); });
        return opened ? popover : nullptr;
    }

    void activate() const {
        view->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(view.get()));
    }
};

void commitText(QQuickItem* editor, const QString& text) {
    QInputMethodEvent event;
    event.setCommitString(text);
    QCoreApplication::sendEvent(editor, &event);
}

} // namespace

class TestBoardView : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

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

    // Each density builds its own layout when it is asked for; the compact row's note icon
    // makes its popover on the hover, one line wide for a short note, gone on leaving.
    void compactRowShowsTheNoteOnHover() {
        Screen screen;
        QVERIFY(QTest::qWaitForWindowExposed(screen.view.get()));
        const QString title = QStringLiteral("买菜做晚饭");
        const QString note = screen.row(title)->property("note").toString();
        QVERIFY(!note.isEmpty());
        QVERIFY(findShown(screen.row(title), "QQuickText", "text", note));

        screen.controller->toggleViewMode();
        QTRY_VERIFY(!findShown(screen.row(title), "QQuickText", "text", note));
        QQuickItem* icon = find(screen.row(title), [](QQuickItem* item) {
            return item->isVisible() &&
                   QByteArray(item->metaObject()->className()).startsWith("MetaIcon");
        });
        QVERIFY(icon);
        // The rows spring to their new heights first.
        for (QPoint last; last != centreOf(icon); QTest::qWait(50))
            last = centreOf(icon);
        QTest::mouseMove(screen.view.get(), centreOf(icon));
        QQuickItem* detail = nullptr;
        QTRY_VERIFY((detail = findShown(screen.view->contentItem(), "QQuickText", "text", note)));
        QCOMPARE(detail->property("lineCount").toInt(), 1);
        QTest::mouseMove(screen.view.get(), QPoint(550, 600));
        QTRY_VERIFY(!findShown(screen.view->contentItem(), "QQuickText", "text", note));
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

    // Driven as a person drives it: clicks, keys and an input method.
    void dialogCreates() {
        Screen screen;
        screen.activate();
        const qsizetype before = screen.store.context->tasks().size();
        click(screen.view.get(), screen.item("fab"));
        screen.settle();
        QTRY_VERIFY(screen.editor("titleField")->hasActiveFocus());
        QVERIFY(!screen.item("mainButton")->isEnabled());
        commitText(screen.editor("titleField"), QStringLiteral("写周报"));
        QVERIFY(screen.item("mainButton")->isEnabled());

        QObject* lists = screen.openPopover("listPill", "listPopover");
        QVERIFY(lists);
        click(screen.view.get(),
              find(lists->property("contentItem").value<QQuickItem*>(), [](QQuickItem* row) {
                  return row->property("listName") == QStringLiteral("工作");
              }));
        QTRY_VERIFY(!lists->property("visible").toBool());

        // Shift+Tab and Tab cross between the fields; in the note Return makes a line.
        QQuickItem* note = screen.editor("noteField");
        click(screen.view.get(), note);
        QTRY_VERIFY(note->hasActiveFocus());
        commitText(note, QStringLiteral("第一行"));
        QTest::keyClick(screen.view.get(), Qt::Key_Backtab, Qt::ShiftModifier);
        QTRY_VERIFY(screen.editor("titleField")->hasActiveFocus());
        QTest::keyClick(screen.view.get(), Qt::Key_Tab);
        QTRY_VERIFY(note->hasActiveFocus());
        QTest::keyClick(screen.view.get(), Qt::Key_Return);
        QCOMPARE(screen.store.context->tasks().size(), before);
        QTest::keyClick(screen.view.get(), Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(screen.store.context->tasks().size(), before + 1);
        TaskItem* created = nullptr;
        for (TaskItem* task : screen.store.context->tasks()) {
            if (task->title() == QStringLiteral("写周报"))
                created = task;
        }
        QVERIFY(created);
        QCOMPARE(created->note(), QStringLiteral("第一行")); // trimmed
        QCOMPARE(created->category()->name(), QStringLiteral("工作"));
        QVERIFY(!screen.dialogOpen());
    }

    void dialogEditsAndDeletes() {
        Screen screen;
        screen.activate();
        TaskItem* task = screen.controller->thisWeekModel()->taskAt(0);
        const QUuid id = task->id();
        QSignalSpy posted(&screen.hub, &NotificationHub::posted);
        screen.controller->beginEditing(task);
        QVERIFY(screen.dialogOpen());
        screen.settle();

        QTest::keyClick(screen.view.get(), Qt::Key_Return, Qt::ControlModifier);
        const auto saves = std::count_if(posted.cbegin(), posted.cend(), [](const auto& post) {
            return post.first().toString() == TavikNotification::tasksChanged;
        });
        QCOMPARE(saves, 1);
        QCOMPARE(screen.controller->editingTask(), nullptr); // let go when the card closed

        screen.controller->beginEditing(task);
        screen.settle();
        click(screen.view.get(), screen.item("trashButton"));
        QVERIFY(!screen.store.context->task(id));
        QVERIFY(!screen.dialogOpen());
        QCOMPARE(screen.controller->editingTask(), nullptr);
    }

    // Escape closes the card, but not while an input method composes in its note.
    void drawerEscapeWaitsForTheInputMethod() {
        Screen screen;
        screen.activate();
        QObject* root = screen.view->rootObject();
        TaskItem* task = screen.controller->thisWeekModel()->taskAt(0);
        task->setNote(QString());
        const auto drawerTask = [root] { return root->property("drawerTask").value<QObject*>(); };
        QQuickItem* overlay = find(screen.view->rootObject(), [](QQuickItem* item) {
            return QByteArray(item->metaObject()->className()).startsWith("TaskDrawerOverlay");
        });
        QVERIFY(overlay);
        root->setProperty("drawerTask", QVariant::fromValue(task));
        auto* card = qvariant_cast<QQuickItem*>(overlay->property("drawer"));
        QVERIFY(card);
        auto* editor = qvariant_cast<QQuickItem*>(card->property("noteEditor"));
        editor->forceActiveFocus();
        QTest::keyClick(screen.view.get(), 'a');
        QVERIFY(task->note().isEmpty());
        QInputMethodEvent compose(QStringLiteral("zhong"), {});
        QCoreApplication::sendEvent(editor, &compose);
        QVERIFY(editor->property("inputMethodComposing").toBool());
        QTest::keyClick(screen.view.get(), Qt::Key_Escape);
        QCOMPARE(drawerTask(), task);
        QInputMethodEvent cancel;
        QCoreApplication::sendEvent(editor, &cancel);
        QTest::keyClick(screen.view.get(), Qt::Key_Escape);
        QTRY_COMPARE(drawerTask(), nullptr);
        QCOMPARE(task->note(), QStringLiteral("a"));
    }
};

QTEST_MAIN(TestBoardView)
#include "tst_boardview.moc"
