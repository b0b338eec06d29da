#include "QuickWindowTestSupport.h"
#include "settings/SettingsWindowController.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>
#include <QStandardPaths>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <memory>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

using QuickWindowTest::findItem;

namespace {

QPoint screenCentre() {
    return QGuiApplication::primaryScreen()->availableGeometry().center();
}

// The About tab's height follows its content: the lowest item ends 24 above the bottom.
int aboutContentBottom(const SettingsWindowController& controller) {
    QQuickItem* view = controller.tabView(QStringLiteral("about"));
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

    void selectFitsTheTabAndKeepsTheCorner_data() {
        QTest::addColumn<QStringList>("sequence");
        QTest::addColumn<bool>("shown");

        QTest::newRow("hidden") << QStringList{"general", "about"} << false;
        QTest::newRow("shown") << QStringList{"about", "general", "about", "about"} << true;
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
        }
        for (const QPoint& p : std::as_const(corners))
            QCOMPARE(p, corner);
    }

    void openingAgainReturnsToGeneralCentred_data() {
        QTest::addColumn<bool>("closeFirst");
        QTest::addColumn<bool>("interruptResize");
        QTest::newRow("closed on About, moved away") << true << false;
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
        QCOMPARE(window->size(), QSize(SettingsWindowController::tabWidthValue,
                                       SettingsWindowController::toolbarHeightValue +
                                           SettingsWindowController::generalHeightValue));
        QCOMPARE(window->geometry().center(), screenCentre());
        // Nothing left running moves it off the centre afterwards.
        QTest::qWait(SettingsWindowController::resizeDurationMs + 100);
        QCOMPARE(window->geometry().center(), screenCentre());
    }

private:
    std::unique_ptr<QQmlEngine> m_engine;
};

QTEST_MAIN(TestSettingsWindow)

#include "tst_settingswindow.moc"
