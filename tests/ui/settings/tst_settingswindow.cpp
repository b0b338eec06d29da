#include "KeychainStore.h"
#include "Preferences.h"
#include "QuickWindowTestSupport.h"
#include "TestData.h"
#include "settings/SettingsWindowController.h"
#include "settings/UpdateDialogController.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QNetworkAccessManager>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>
#include <QSet>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
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

QQuickItem* tabView(const SettingsWindowController& controller, const QString& id) {
    QQuickItem* loader = findItem(controller.window()->contentItem(), "settingsTab." + id);
    return loader ? loader->property("item").value<QQuickItem*>() : nullptr;
}

QPoint screenCentre() {
    return QGuiApplication::primaryScreen()->availableGeometry().center();
}

int aboutContentBottom(const SettingsWindowController& controller) {
    QQuickItem* view = tabView(controller, QStringLiteral("about"));
    QQuickItem* follow = findItem(view, QStringLiteral("followButton"));
    QQuickItem* header = findItem(view, QStringLiteral("aboutHeader"));
    const qreal followBottom = follow->mapToItem(view, QPointF(0, follow->height())).y();
    const qreal headerBottom = header->mapToItem(view, QPointF(0, header->height())).y();
    return qCeil(qMax(followBottom, headerBottom));
}

QQuickItem* find(const UpdateDialogController& dialog, const char* objectName) {
    QQuickItem* item =
        QuickWindowTest::findItem(dialog.window()->contentItem(), QString::fromLatin1(objectName));
    if (!item)
        qFatal("the update dialog has no item %s", objectName);
    return item;
}

const QUrl downloadUrl(QStringLiteral("https://example.org/tavik-1.2.0.tar.gz"));

} // namespace

class TestSettingsWindow : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init() { m_engine = QuickWindowTest::engine(); }
    void cleanup() { m_engine.reset(); }

    void constructionBuildsEveryTabOnce() {
        SettingsWindowController controller(m_engine.get());
        QVERIFY(controller.window() && !controller.window()->isVisible());
        QSet<QQuickItem*> views;
        for (const SettingsTab& t : SettingsWindowController::tabs()) {
            QQuickItem* button = find(controller, qPrintable("toolbarItem." + t.id));
            QVERIFY2(button && tabView(controller, t.id), qPrintable(t.id));
            QCOMPARE(button->property("label").toString(), t.title);
            views.insert(tabView(controller, t.id));
            QCOMPARE(controller.contentSize(t.id).width(), SettingsWindowController::tabWidthValue);
        }
        QCOMPARE(views.size(), SettingsWindowController::tabs().size());
        // The sync state always shows; the account form joins it once the app hands one over,
        // and the tab grows to fit.
        QQuickItem* form =
            findItem(tabView(controller, QStringLiteral("general")), QStringLiteral("generalForm"));
        QVERIFY(form && findItem(form, QStringLiteral("cloudSyncStatusSection")));
        QCOMPARE(controller.contentSize(QStringLiteral("general")).height(),
                 SettingsWindowController::generalHeightValue);
        QTemporaryDir dir;
        Preferences preferences(dir.filePath(QStringLiteral("tavik.ini")));
        KeychainStore keys;
        QNetworkAccessManager network;
        CloudAccount account(preferences, keys, &network);
        controller.setCloudSync(nullptr, &account);
        controller.select(QStringLiteral("general"));
        QTRY_VERIFY(controller.contentSize(QStringLiteral("general")).height() >
                    SettingsWindowController::generalHeightValue + 100);
        controller.setCloudSync(nullptr, nullptr);

        QQuickItem* version =
            findItem(tabView(controller, QStringLiteral("about")), QStringLiteral("aboutVersion"));
        controller.setVersionLine(QStringLiteral("版本 0.1.0（42）"));
        QCOMPARE(version->property("text").toString(), QStringLiteral("版本 0.1.0（42）"));
    }

    void selectFitsTheTabAndKeepsTheCorner_data() {
        QTest::addColumn<bool>("shown");
        QTest::newRow("hidden") << false;
        QTest::newRow("shown") << true;
    }

    void selectFitsTheTabAndKeepsTheCorner() {
        QFETCH(bool, shown);
        SettingsWindowController controller(m_engine.get());
        QQuickWindow* window = controller.window();
        const QPoint corner(123, 77);
        window->setPosition(corner);
        if (shown) {
            window->show();
            QVERIFY(QTest::qWaitForWindowExposed(window));
        }
        QList<QPoint> corners;
        connect(window, &QWindow::xChanged, this, [&] { corners.append(window->position()); });
        connect(window, &QWindow::yChanged, this, [&] { corners.append(window->position()); });
        QList<int> heights;
        connect(window, &QWindow::heightChanged, this, [&](int h) { heights.append(h); });

        for (const QString id : {"about", "general", "about"}) {
            heights.clear();
            controller.select(id);
            QCOMPARE(controller.currentTab(), id);
            QCOMPARE(controller.isResizing(), shown);
            QTRY_VERIFY(!controller.isResizing());
            if (shown)
                QVERIFY2(heights.size() > 1, "the resize of a shown window is animated");
            const int content = id == QLatin1String("general")
                                    ? SettingsWindowController::generalHeightValue
                                    : aboutContentBottom(controller) + 24;
            QCOMPARE(window->size(), QSize(SettingsWindowController::tabWidthValue,
                                           SettingsWindowController::toolbarHeightValue + content));
            QCOMPARE(window->position(), corner);
            QCOMPARE(window->minimumSize(), window->size());
            QCOMPARE(window->maximumSize(), window->size());
            for (const auto& t : SettingsWindowController::tabs())
                QCOMPARE(tabView(controller, t.id)->isVisible(), t.id == id);
        }
        for (const QPoint& p : std::as_const(corners))
            QCOMPARE(p, corner);
        QVERIFY(window->height() < SettingsWindowController::toolbarHeightValue +
                                       SettingsWindowController::initialContentHeight);
        QVERIFY(aboutContentBottom(controller) > 56 + 22);

        const QRect geometry = window->geometry();
        QSignalSpy tabSpy(&controller, &SettingsWindowController::currentTabChanged);
        controller.select(QString());
        controller.select(QStringLiteral("通用"));
        QCOMPARE(tabSpy.count(), 0);
        QCOMPARE(window->geometry(), geometry);
    }

    void openingAgainReturnsToGeneralCentred_data() {
        QTest::addColumn<bool>("closeFirst"); // else opened again while the resize runs
        QTest::newRow("closed on About, moved away") << true;
        QTest::newRow("opened again while the resize runs") << false;
    }

    void openingAgainReturnsToGeneralCentred() {
        QFETCH(bool, closeFirst);
        SettingsWindowController controller(m_engine.get());
        QQuickWindow* window = controller.window();
        controller.openGeneral();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QCOMPARE(window->geometry().center(), screenCentre());

        click(window, find(controller, "toolbarItem.about"));
        QCOMPARE(controller.currentTab(), QStringLiteral("about"));
        if (closeFirst) {
            QTRY_VERIFY(!controller.isResizing());
            window->setPosition(5, 9);
            window->close();
            QTRY_VERIFY(!window->isVisible());
        }

        controller.openGeneral();
        QVERIFY(window->isVisible());
        QCOMPARE(controller.currentTab(), QStringLiteral("general"));
        QCOMPARE(window->height(), SettingsWindowController::toolbarHeightValue +
                                       SettingsWindowController::generalHeightValue);
        QCOMPARE(window->geometry().center(), screenCentre());
        QTest::qWait(SettingsWindowController::resizeDurationMs + 100);
        QCOMPARE(window->geometry().center(), screenCentre());
    }

    void aboutButtons() {
        UrlCatcher catcher;
        QDesktopServices::setUrlHandler(QStringLiteral("https"), &catcher, "open");
        SettingsWindowController controller(m_engine.get());
        QSignalSpy checkSpy(&controller, &SettingsWindowController::checkForUpdatesRequested);
        controller.openGeneral();
        controller.select(QStringLiteral("about"));
        QQuickWindow* window = controller.window();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QTRY_VERIFY(!controller.isResizing());

        QQuickItem* about = tabView(controller, QStringLiteral("about"));
        click(window, findItem(about, QStringLiteral("checkForUpdatesButton")));
        QCOMPARE(checkSpy.count(), 1);
        QVERIFY(catcher.urls.isEmpty());
        click(window, findItem(about, QStringLiteral("followButton")));
        QCOMPARE(catcher.urls, QList<QUrl>{SettingsWindowController::followUrl()});
        QCOMPARE(checkSpy.count(), 1);
        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
    }

    void updateDialogSizing() {
        UpdateDialogController dialog(m_engine.get());
        QQuickWindow* window = dialog.window();
        // The fit of each state is updatedialog_e2e's; here, the place and long notes.
        dialog.showChecking();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        window->setPosition(30, 40);
        dialog.showUpdateFound(QStringLiteral("1.2.0"), QStringLiteral("42"),
                               QStringLiteral("一\n二\n三\n四"), downloadUrl);
        QCOMPARE(window->position(), QPoint(30, 40));

        QString notes;
        for (int i = 0; i < 200; ++i)
            notes += QStringLiteral("第 %1 条改进\n").arg(i);
        dialog.showUpdateFound(QStringLiteral("3.0"), {}, notes, downloadUrl);
        QTRY_VERIFY(find(dialog, "notes")->height() > 1000);
        QVERIFY(window->height() < 400);

        dialog.showNotOffered(); // shorter again: the window stays fixed at its new height
        QCOMPARE(window->maximumHeight(), window->height());
    }

    void updateDialogClosing_data() { TestData::addRows("update-dialog.json", "closing"); }

    void updateDialogClosing() {
        QFETCH(QJsonObject, row);
        const QString kind = row["kind"].toString();
        const QString how = row["how"].toString();

        UrlCatcher catcher;
        QDesktopServices::setUrlHandler(QStringLiteral("https"), &catcher, "open");
        UpdateDialogController dialog(m_engine.get());
        QSignalSpy cancelSpy(&dialog, &UpdateDialogController::cancelRequested);
        if (kind == QLatin1String("checking"))
            dialog.showChecking();
        else if (kind == QLatin1String("found"))
            dialog.showUpdateFound(QStringLiteral("1.2.0"), {}, {}, downloadUrl);
        else
            dialog.showUpToDate(QString());
        QQuickWindow* window = dialog.window();
        QVERIFY(QTest::qWaitForWindowExposed(window));

        if (how == QLatin1String("button")) {
            const bool ok = kind == QLatin1String("upToDate");
            QuickWindowTest::click(window, find(dialog, ok ? "okButton" : "cancelButton"));
        } else if (how == QLatin1String("download")) {
            QuickWindowTest::click(window, find(dialog, "downloadButton"));
        } else if (how == QLatin1String("titleBar")) {
            window->close();
        } else if (how == QLatin1String("escape")) {
            QTest::keyClick(window, Qt::Key_Escape);
        } else if (how == QLatin1String("return")) {
            QTest::keyClick(window, Qt::Key_Return);
        } else {
            dialog.dismiss();
        }
        QTRY_VERIFY(!window->isVisible());
        QCOMPARE(cancelSpy.count(), row["cancels"].toInt());
        const bool downloads = kind == QLatin1String("found") &&
                               (how == QLatin1String("download") || how == QLatin1String("return"));
        QCOMPARE(catcher.urls, downloads ? QList<QUrl>{downloadUrl} : QList<QUrl>());
        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
    }

private:
    std::unique_ptr<QQmlEngine> m_engine;
};

QTEST_MAIN(TestSettingsWindow)

#include "tst_settingswindow.moc"
