// Shows the update dialog in the state named on each line of standard input and answers with
// the height the dialog asked for and the lowest edge of its visible buttons.
#include "settings/UpdateDialogController.h"

#include <QFile>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSocketNotifier>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    UpdateDialogController dialog(&engine);

    QFile input;
    input.open(stdin, QIODevice::ReadOnly);
    QSocketNotifier notifier(0, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &app, [&] {
        const QByteArray state = input.readLine().trimmed();
        if (state == "checking")
            dialog.showChecking();
        else if (state == "found")
            dialog.showUpdateFound(QStringLiteral("2.0.0"), QStringLiteral("7"),
                                   QStringLiteral("新的看板\n更快的启动\n修复了提醒"), {});
        else if (state == "uptodate")
            dialog.showUpToDate();
        else if (state == "failed")
            dialog.showFailed(QStringLiteral("无法连接更新服务器（连接被拒绝）"));
        else if (state == "notoffered")
            dialog.showNotOffered();
        else
            return app.quit();
        qreal bottom = 0;
        QList<QQuickItem*> items{dialog.window()->contentItem()};
        while (!items.isEmpty()) {
            QQuickItem* item = items.takeLast();
            items += item->childItems();
            if (item->objectName().endsWith(QLatin1String("Button")) && item->isVisible())
                bottom = qMax(bottom, item->mapToScene(QPointF(0, item->height())).y());
        }
        std::printf("%s %d %d\n", state.constData(),
                    dialog.window()->property("fittedHeight").toInt(), qCeil(bottom));
        std::fflush(stdout);
    });
    return app.exec();
}
