#include "QuickWindowTestSupport.h"
#include "settings/SettingsWindowController.h"

#include <QDesktopServices>
#include <QDir>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>
#include <QSet>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <memory>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

using QuickWindowTest::click;
using QuickWindowTest::findItem;

namespace {

class UrlCatcher : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(const QUrl& url) { urls.append(url); }
};

QQuickItem* find(const SettingsWindowController& controller, const char* objectName) {
    return findItem(controller.window()->contentItem(), QString::fromLatin1(objectName));
}

// The view the window built for a tab, or null.
QQuickItem* tabView(const SettingsWindowController& controller, const QString& id) {
    QQuickItem* loader = findItem(controller.window()->contentItem(), "settingsTab." + id);
    return loader ? loader->property("item").value<QQuickItem*>() : nullptr;
}

QPoint screenCentre() {
    return QGuiApplication::primaryScreen()->availableGeometry().center();
}

// The About tab's height follows its content: the lowest item ends 24 above the bottom.
int aboutContentBottom(const SettingsWindowController& controller) {
    QQuickItem* view = tabView(controller, QStringLiteral("about"));
    QQuickItem* follow = findItem(view, QStringLiteral("followButton"));
    QQuickItem* header = findItem(view, QStringLiteral("aboutHeader"));
    const qreal followBottom = follow->mapToItem(view, QPointF(0, follow->height())).y();
    const qreal headerBottom = header->mapToItem(view, QPointF(0, header->height())).y();
    return qCeil(qMax(followBottom, headerBottom));
}

} // namespace

class TestSettingsWindow : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init() {
        m_engine = std::make_unique<QQmlEngine>();
        m_engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    }
    void cleanup() { m_engine.reset(); }

    void constructionBuildsEveryTabOnce() {
        SettingsWindowController controller(m_engine.get());
        QQuickWindow* window = controller.window();
        QVERIFY(window);
        QCOMPARE(window->title(), QStringLiteral("Tavik 设置"));
        QVERIFY(!window->isVisible());
        // The list drives the window: a button and a view for each tab, reporting its size.
        QCOMPARE(SettingsWindowController::tabs().size(), 3);
        QSet<QQuickItem*> views;
        for (const SettingsTab& t : SettingsWindowController::tabs()) {
            QQuickItem* button = find(controller, qPrintable("toolbarItem." + t.id));
            QVERIFY2(button, qPrintable(t.id));
            QCOMPARE(button->property("label").toString(), t.title);
            QVERIFY2(tabView(controller, t.id), qPrintable(t.id));
            views.insert(tabView(controller, t.id));
            QCOMPARE(controller.contentSize(t.id).width(), SettingsWindowController::tabWidthValue);
        }
        QCOMPARE(views.size(), SettingsWindowController::tabs().size());
        // Titled and closable only.
        QVERIFY(window->flags().testFlag(Qt::WindowCloseButtonHint));
        QVERIFY(!window->flags().testFlag(Qt::WindowMinimizeButtonHint));
        QVERIFY(!window->flags().testFlag(Qt::WindowMaximizeButtonHint));
        // Without a sync monitor the General form is empty.
        QQuickItem* form =
            findItem(tabView(controller, QStringLiteral("general")), QStringLiteral("generalForm"));
        QVERIFY(form);
        QVERIFY(form->childItems().isEmpty());
    }

    void selectFitsTheTabAndKeepsTheCorner_data() {
        QTest::addColumn<QStringList>("sequence");
        QTest::addColumn<bool>("shown");

        QTest::newRow("about, hidden") << QStringList{"about"} << false;
        QTest::newRow("general then about, hidden") << QStringList{"general", "about"} << false;
        QTest::newRow("about then general, shown") << QStringList{"about", "general"} << true;
        QTest::newRow("back and forth, shown")
            << QStringList{"general", "about", "general", "about"} << true;
        QTest::newRow("same tab twice, shown") << QStringList{"about", "about"} << true;
    }

    void selectFitsTheTabAndKeepsTheCorner() {
        QFETCH(QStringList, sequence);
        QFETCH(bool, shown);

        SettingsWindowController controller(m_engine.get());
        QQuickWindow* window = controller.window();
        QVERIFY(window);
        const QPoint corner(123, 77);
        window->setPosition(corner);
        if (shown) {
            window->show();
            QVERIFY(QTest::qWaitForWindowExposed(window));
        }
        // Every step of an animated resize keeps the corner.
        QList<QPoint> corners;
        connect(window, &QWindow::xChanged, this, [&] { corners.append(window->position()); });
        connect(window, &QWindow::yChanged, this, [&] { corners.append(window->position()); });
        QList<int> heights;
        connect(window, &QWindow::heightChanged, this, [&](int h) { heights.append(h); });

        for (const QString& id : sequence) {
            const int before = window->height();
            heights.clear();
            controller.select(id);
            QCOMPARE(controller.currentTab(), id);
            QCOMPARE(window->title(), SettingsWindowController::tab(id).windowTitle());

            const bool changes = window->height() != before || controller.isResizing();
            QCOMPARE(controller.isResizing(), shown && changes);
            QTRY_VERIFY(!controller.isResizing());

            const int content = id == QLatin1String("general")
                                    ? SettingsWindowController::generalHeightValue
                                    : aboutContentBottom(controller) + 24;
            QCOMPARE(window->width(), SettingsWindowController::tabWidthValue);
            QCOMPARE(window->height(), SettingsWindowController::toolbarHeightValue + content);
            QCOMPARE(window->position(), corner);
            // Fixed size: the desktop cannot resize it.
            QCOMPARE(window->minimumSize(), window->size());
            QCOMPARE(window->maximumSize(), window->size());
            if (shown && changes)
                QVERIFY2(heights.size() > 1, "the resize of a shown window is animated");
            // Exactly one tab view shows.
            for (const auto& t : SettingsWindowController::tabs())
                QCOMPARE(tabView(controller, t.id)->isVisible(), t.id == id);
        }
        for (const QPoint& p : std::as_const(corners))
            QCOMPARE(p, corner);

        // The About tab is shorter than the default box, and its text is not clipped.
        if (controller.currentTab() == QLatin1String("about")) {
            QVERIFY(window->height() < SettingsWindowController::toolbarHeightValue +
                                           SettingsWindowController::initialContentHeight);
            QVERIFY(aboutContentBottom(controller) > 56 + 22);
        }
    }

    void unknownTabChangesNothing_data() {
        QTest::addColumn<QString>("id");
        QTest::newRow("empty") << QString();
        QTest::newRow("not a tab") << QStringLiteral("sync");
        QTest::newRow("label instead of id") << QStringLiteral("通用");
        QTest::newRow("wrong case") << QStringLiteral("General");
    }

    void unknownTabChangesNothing() {
        QFETCH(QString, id);
        SettingsWindowController controller(m_engine.get());
        controller.select(QStringLiteral("about"));
        const QRect geometry = controller.window()->geometry();
        QSignalSpy tabSpy(&controller, &SettingsWindowController::currentTabChanged);

        controller.select(id);
        QCOMPARE(controller.currentTab(), QStringLiteral("about"));
        QCOMPARE(controller.window()->title(), QStringLiteral("Tavik 关于"));
        QCOMPARE(controller.window()->geometry(), geometry);
        QCOMPARE(tabSpy.count(), 0);
        QVERIFY(tabView(controller, QStringLiteral("about"))->isVisible());
    }

    // The window follows the selected view's reported size, not another view's.
    void theHeightFollowsTheSelectedContent() {
        SettingsWindowController controller(m_engine.get());
        QQuickWindow* window = controller.window();
        const QPoint corner(40, 30);
        window->setPosition(corner);
        controller.select(QStringLiteral("about"));
        const int height = window->height();

        tabView(controller, QStringLiteral("general"))->setImplicitHeight(400);
        QCOMPARE(window->height(), height);

        QQuickItem* about = tabView(controller, QStringLiteral("about"));
        about->setImplicitHeight(about->implicitHeight() + 40);
        QCOMPARE(window->height(), height + 40);
        QCOMPARE(window->position(), corner);
        QCOMPARE(window->minimumSize(), window->size());

        controller.select(QStringLiteral("general"));
        QCOMPARE(window->height(), SettingsWindowController::toolbarHeightValue + 400);
    }

    void pressingAToolbarItemSelectsIt() {
        SettingsWindowController controller(m_engine.get());
        controller.openGeneral();
        QQuickWindow* window = controller.window();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QQuickItem* about = find(controller, "toolbarItem.about");
        QQuickItem* general = find(controller, "toolbarItem.general");
        QVERIFY(about && general);
        QVERIFY(general->property("selected").toBool());

        click(window, about);
        QCOMPARE(controller.currentTab(), QStringLiteral("about"));
        QCOMPARE(window->title(), QStringLiteral("Tavik 关于"));
        QVERIFY(about->property("selected").toBool());
        QVERIFY(!general->property("selected").toBool());
        QTRY_VERIFY(!controller.isResizing());

        click(window, general);
        QCOMPARE(controller.currentTab(), QStringLiteral("general"));
        QTRY_COMPARE(window->height(), SettingsWindowController::toolbarHeightValue +
                                           SettingsWindowController::generalHeightValue);
    }

    void openingAgainReturnsToGeneralCentred_data() {
        QTest::addColumn<bool>("closeFirst");
        QTest::addColumn<bool>("interruptResize");
        QTest::newRow("closed on About, moved away") << true << false;
        QTest::newRow("still open on About, moved away") << false << false;
        QTest::newRow("opened again while the resize runs") << false << true;
    }

    void openingAgainReturnsToGeneralCentred() {
        QFETCH(bool, closeFirst);
        QFETCH(bool, interruptResize);

        SettingsWindowController controller(m_engine.get());
        QQuickWindow* window = controller.window();
        controller.openGeneral();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QCOMPARE(window->geometry().center(), screenCentre());

        controller.select(QStringLiteral("about"));
        if (interruptResize) {
            QVERIFY(controller.isResizing());
        } else {
            QTRY_VERIFY(!controller.isResizing());
            window->setPosition(5, 9);
        }
        if (closeFirst) {
            window->close();
            QTRY_VERIFY(!window->isVisible());
        }

        controller.openGeneral();
        QVERIFY(window->isVisible());
        QCOMPARE(controller.currentTab(), QStringLiteral("general"));
        QCOMPARE(window->title(), QStringLiteral("Tavik 通用"));
        QCOMPARE(window->size(), QSize(SettingsWindowController::tabWidthValue,
                                       SettingsWindowController::toolbarHeightValue +
                                           SettingsWindowController::generalHeightValue));
        QCOMPARE(window->geometry().center(), screenCentre());
        // Nothing left running moves it off the centre afterwards.
        QTest::qWait(SettingsWindowController::resizeDurationMs + 100);
        QCOMPARE(window->geometry().center(), screenCentre());
    }

    void aboutShowsTheVersionLine() {
        SettingsWindowController controller(m_engine.get());
        controller.setVersionLine(QStringLiteral("版本 —（—）"));
        QQuickItem* about = tabView(controller, QStringLiteral("about"));
        auto* version = findItem(about, QStringLiteral("aboutVersion"));
        QVERIFY(version);
        // A line set after the tab was built reaches it.
        controller.setVersionLine(QStringLiteral("版本 0.1.0（42）"));
        QCOMPARE(version->property("text").toString(), QStringLiteral("版本 0.1.0（42）"));
        QCOMPARE(findItem(about, QStringLiteral("aboutName"))->property("text"),
                 QStringLiteral("Tavik"));
        QCOMPARE(findItem(about, QStringLiteral("aboutTagline"))->property("text"),
                 QStringLiteral("轻盈的三栏任务看板"));
    }

    void aboutButtons() {
        UrlCatcher catcher;
        QDesktopServices::setUrlHandler(QStringLiteral("https"), &catcher, "open");
        QDesktopServices::setUrlHandler(QStringLiteral("http"), &catcher, "open");

        SettingsWindowController controller(m_engine.get());
        QSignalSpy checkSpy(&controller, &SettingsWindowController::checkForUpdatesRequested);
        controller.openGeneral();
        controller.select(QStringLiteral("about"));
        QQuickWindow* window = controller.window();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QTRY_VERIFY(!controller.isResizing());

        QQuickItem* about = tabView(controller, QStringLiteral("about"));
        auto* check = findItem(about, QStringLiteral("checkForUpdatesButton"));
        QCOMPARE(check->property("text").toString(), QStringLiteral("检查更新"));
        click(window, check);
        QCOMPARE(checkSpy.count(), 1);
        QVERIFY(catcher.urls.isEmpty());

        auto* follow = findItem(about, QStringLiteral("followButton"));
        QCOMPARE(follow->property("text").toString(), QStringLiteral("关注作者"));
        click(window, follow);
        QCOMPARE(catcher.urls, QList<QUrl>{SettingsWindowController::followUrl()});
        QCOMPARE(checkSpy.count(), 1);

        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
        QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
    }

    // Grabs both tabs; with TAVIK_SCREENSHOT_DIR set the images are kept for a look.
    void screenshots() {
        SettingsWindowController controller(m_engine.get());
        controller.setVersionLine(QStringLiteral("版本 0.1.0（1）"));
        QQuickWindow* window = controller.window();
        controller.openGeneral();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        const QString dir = qEnvironmentVariable("TAVIK_SCREENSHOT_DIR");
        const QString appearance = qEnvironmentVariable("TAVIK_APPEARANCE", "default");
        for (const auto& t : SettingsWindowController::tabs()) {
            controller.select(t.id);
            QTRY_VERIFY(!controller.isResizing());
            QTest::qWait(50);
            const QImage image = window->grabWindow();
            QCOMPARE(image.size(), window->size() * window->devicePixelRatio());
            if (!dir.isEmpty()) {
                QDir().mkpath(dir);
                QVERIFY(
                    image.save(QStringLiteral("%1/settings-%2-%3.png").arg(dir, t.id, appearance)));
            }
        }
    }

private:
    std::unique_ptr<QQmlEngine> m_engine;
};

QTEST_MAIN(TestSettingsWindow)

#include "tst_settingswindow.moc"
