#include "QuickWindowTestSupport.h"
#include "TestData.h"
#include "settings/UpdateDialogController.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

#include <memory>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

using QuickWindowTest::click;

namespace {

class UrlCatcher : public QObject {
    Q_OBJECT
public:
    QList<QUrl> urls;
public slots:
    void open(const QUrl& url) { urls.append(url); }
};

// Every item the tests read exists; a missing one is a broken dialog, not a null to skip.
QQuickItem* find(const UpdateDialogController& dialog, const QString& objectName) {
    QQuickItem* item = QuickWindowTest::findItem(dialog.window()->contentItem(), objectName);
    if (!item)
        qFatal("the update dialog has no item %s", qPrintable(objectName));
    return item;
}

// What a check ends with, as the app hands it over.
struct Outcome {
    QString kind; // "checking", "found", "upToDate", "failed"
    QString version;
    QString build;
    QString notes;
    QString message;
};

const QUrl downloadUrl(QStringLiteral("https://example.org/tavik-1.2.0.tar.gz"));

void show(UpdateDialogController& dialog, const Outcome& outcome) {
    if (outcome.kind == QLatin1String("checking"))
        dialog.showChecking();
    else if (outcome.kind == QLatin1String("found"))
        dialog.showUpdateFound(outcome.version, outcome.build, outcome.notes, downloadUrl);
    else if (outcome.kind == QLatin1String("upToDate"))
        dialog.showUpToDate(outcome.message);
    else
        dialog.showFailed(outcome.message);
}

const QStringList allButtons{"cancelButton", "downloadButton", "okButton"};

} // namespace

Q_DECLARE_METATYPE(Outcome)

class TestUpdateDialog : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init() {
        m_engine = std::make_unique<QQmlEngine>();
        m_engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    }
    void cleanup() { m_engine.reset(); }

    void showsEachOutcome_data() {
        QTest::addColumn<Outcome>("outcome");
        QTest::addColumn<QString>("currentVersion");
        QTest::addColumn<QString>("headline");
        QTest::addColumn<QString>("detail");
        QTest::addColumn<QStringList>("buttons");
        QTest::addColumn<QString>("buttonText");
        QTest::addColumn<bool>("notesShown");
        for (const QJsonValue& row : TestData::cases("update-dialog.json", "outcomes")) {
            QStringList buttons;
            for (const QJsonValue& button : row["buttons"].toArray())
                buttons << button.toString();
            const Outcome outcome{row["kind"].toString(), row["version"].toString(),
                                  row["build"].toString(), row["notes"].toString(),
                                  row["message"].toString()};
            QTest::newRow(qPrintable(row["tag"].toString()))
                << outcome << row["current"].toString() << row["headline"].toString()
                << row["detail"].toString() << buttons << row["buttonText"].toString()
                << row["notesShown"].toBool();
        }
    }

    void showsEachOutcome() {
        QFETCH(Outcome, outcome);
        QFETCH(QString, currentVersion);
        QFETCH(QString, headline);
        QFETCH(QString, detail);
        QFETCH(QStringList, buttons);
        QFETCH(QString, buttonText);
        QFETCH(bool, notesShown);

        UpdateDialogController dialog(m_engine.get());
        QQuickWindow* window = dialog.window();
        QVERIFY(window);
        dialog.setCurrentVersion(currentVersion);
        show(dialog, outcome);
        QVERIFY(QTest::qWaitForWindowExposed(window));

        QCOMPARE(find(dialog, "headline")->property("text").toString(), headline);
        QQuickItem* detailText = find(dialog, "detail");
        QCOMPARE(detailText->property("text").toString(), detail);
        QCOMPARE(detailText->isVisible(), !detail.isEmpty());
        QCOMPARE(find(dialog, "progress")->isVisible(), outcome.kind == QLatin1String("checking"));
        QCOMPARE(find(dialog, "notesBox")->isVisible(), notesShown);
        if (notesShown)
            QCOMPARE(find(dialog, "notes")->property("text").toString(), outcome.notes);
        for (const QString& name : allButtons)
            QVERIFY2(find(dialog, name)->isVisible() == buttons.contains(name), qPrintable(name));
        QCOMPARE(find(dialog, buttons.first())->property("text").toString(), buttonText);

        // Opened centred, and tall enough for everything in it.
        const QPoint centre = QGuiApplication::primaryScreen()->availableGeometry().center();
        QVERIFY(qAbs(window->geometry().center().x() - centre.x()) <= 1);
        QVERIFY(qAbs(window->geometry().center().y() - centre.y()) <= 1);
        QQuickItem* content = find(dialog, "dialogContent");
        QCOMPARE(window->height(), qCeil(content->implicitHeight()) + 40);
    }

    void resultReplacesCheckingInPlace() {
        UpdateDialogController dialog(m_engine.get());
        QQuickWindow* window = dialog.window();
        dialog.showChecking();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        window->setPosition(30, 40);
        const int checkingHeight = window->height();

        dialog.showUpdateFound(QStringLiteral("1.2.0"), QStringLiteral("42"),
                               QStringLiteral("一\n二\n三\n四"), QUrl("https://example.org/d"));
        QCOMPARE(window->position(), QPoint(30, 40));
        QCOMPARE(dialog.state(), UpdateDialogController::State::UpdateFound);
        QVERIFY(window->height() > checkingHeight);
    }

    void longNotesScrollInsteadOfGrowing() {
        UpdateDialogController dialog(m_engine.get());
        QString notes;
        for (int i = 0; i < 200; ++i)
            notes += QStringLiteral("第 %1 条改进\n").arg(i);
        dialog.showUpdateFound(QStringLiteral("3.0"), {}, notes, QUrl("https://example.org/d"));
        QVERIFY(QTest::qWaitForWindowExposed(dialog.window()));
        QVERIFY(dialog.window()->height() < 400);
        QVERIFY(find(dialog, "notes")->height() > 1000);
    }

    // Every way the dialog goes: only a running check is called off, and only the download
    // button (or Return on a found version) opens the page.
    void closing_data() {
        QTest::addColumn<Outcome>("outcome");
        QTest::addColumn<QString>("how"); // button, download, titleBar, escape, return, dismiss
        QTest::addColumn<int>("cancels");

        const Outcome checking{"checking", {}, {}, {}, {}};
        const Outcome upToDate{"upToDate", {}, {}, {}, {}};
        const Outcome found{"found", "1.2.0", "", "", {}};
        QTest::newRow("checking, cancel button") << checking << "button" << 1;
        QTest::newRow("checking, title bar") << checking << "titleBar" << 1;
        QTest::newRow("checking, Escape") << checking << "escape" << 1;
        QTest::newRow("checking, dismissed by the app") << checking << "dismiss" << 0;
        QTest::newRow("up to date, OK button") << upToDate << "button" << 0;
        QTest::newRow("up to date, title bar") << upToDate << "titleBar" << 0;
        QTest::newRow("up to date, Return") << upToDate << "return" << 0;
        QTest::newRow("newer version, later") << found << "button" << 0;
        QTest::newRow("newer version, download") << found << "download" << 0;
        QTest::newRow("newer version, Return downloads") << found << "return" << 0;
    }

    void closing() {
        QFETCH(Outcome, outcome);
        QFETCH(QString, how);
        QFETCH(int, cancels);

        UrlCatcher catcher;
        QDesktopServices::setUrlHandler(QStringLiteral("https"), &catcher, "open");
        UpdateDialogController dialog(m_engine.get());
        QSignalSpy cancelSpy(&dialog, &UpdateDialogController::cancelRequested);
        show(dialog, outcome);
        QQuickWindow* window = dialog.window();
        QVERIFY(QTest::qWaitForWindowExposed(window));

        if (how == QLatin1String("button")) {
            const bool ok = outcome.kind == QLatin1String("upToDate");
            click(window, find(dialog, ok ? "okButton" : "cancelButton"));
        } else if (how == QLatin1String("download")) {
            click(window, find(dialog, "downloadButton"));
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
        QCOMPARE(cancelSpy.count(), cancels);
        const bool downloads = outcome.kind == QLatin1String("found") &&
                               (how == QLatin1String("download") || how == QLatin1String("return"));
        QCOMPARE(catcher.urls, downloads ? QList<QUrl>{downloadUrl} : QList<QUrl>());
        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
    }

private:
    std::unique_ptr<QQmlEngine> m_engine;
};

QTEST_MAIN(TestUpdateDialog)

#include "tst_updatedialog.moc"
