#include "Clock.h"
#include "types/QmlClock.h"

#include <QQmlEngine>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

class Setup : public QObject {
    Q_OBJECT
public slots:
    void applicationAvailable() {
        qmlRegisterSingletonInstance("TavikTest", 1, 0, "SystemClock", &m_uiClock);
    }
    void qmlEngineAvailable(QQmlEngine* engine) {
        engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    }

private:
    SystemClock m_clock;
    QmlClock m_uiClock{m_clock};
};

QUICK_TEST_MAIN_WITH_SETUP(tavik_ui, Setup)

#include "tst_quick.moc"
