#include "QuickWindowTestSupport.h"
#include "TestData.h"
#include "settings/UpdateDialogController.h"

#include <QDesktopServices>
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

class UrlCatcher : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(const QUrl& url) { urls.append(url); }
};

QQuickItem* find(const UpdateDialogController& dialog, const char* objectName) {
    QQuickItem* item =
        QuickWindowTest::findItem(dialog.window()->contentItem(), QString::fromLatin1(objectName));
    if (!item)
        qFatal("the update dialog has no item %s", objectName);
    return item;
}

const QUrl downloadUrl(QStringLiteral("https://example.org/tavik-1.2.0.tar.gz"));

} // namespace

class TestUpdateDialog : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init() { m_engine = QuickWindowTest::engine(); }
    void cleanup() { m_engine.reset(); }

    void sizing() {
        UpdateDialogController dialog(m_engine.get());
        QQuickWindow* window = dialog.window();
        dialog.showChecking();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        window->setPosition(30, 40);
        const int checkingHeight = window->height();

        dialog.showUpdateFound(QStringLiteral("1.2.0"), QStringLiteral("42"),
                               QStringLiteral("一\n二\n三\n四"), downloadUrl);
        QCOMPARE(window->position(), QPoint(30, 40));
        QVERIFY(window->height() > checkingHeight);
        QCOMPARE(window->height(), qCeil(find(dialog, "dialogContent")->implicitHeight()) + 40);

        QString notes;
        for (int i = 0; i < 200; ++i)
            notes += QStringLiteral("第 %1 条改进\n").arg(i);
        dialog.showUpdateFound(QStringLiteral("3.0"), {}, notes, downloadUrl);
        QTRY_VERIFY(find(dialog, "notes")->height() > 1000);
        QVERIFY(window->height() < 400);
    }

    void closing_data() { TestData::addRows("update-dialog.json", "closing"); }

    void closing() {
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

QTEST_MAIN(TestUpdateDialog)

#include "tst_updatedialog.moc"
