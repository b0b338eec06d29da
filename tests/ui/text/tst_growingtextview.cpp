#include "TestData.h"

#include <QInputMethodEvent>
#include <QKeySequence>
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

const char* const kHost = R"(
import QtQuick
import TavikUi

Item {
    id: host
    width: 320
    height: 200
    property string model: ""
    property bool wantsFocus: false
    property int submits: 0
    property int escapes: 0
    property real reportedHeight: 0
    property alias fieldWidth: field.width
    property alias allowsNewlines: field.allowsNewlines
    property alias submitOnReturn: field.submitOnReturn

    GrowingTextView {
        id: field
        objectName: "field"
        width: 300
        height: Math.max(17, textHeight)
        text: host.model
        focused: host.wantsFocus
        onTextEdited: text => host.model = text
        onFocusReported: focused => host.wantsFocus = focused
        onHeightReported: height => host.reportedHeight = height
        onSubmitted: host.submits += 1
        onEscapePressed: host.escapes += 1
    }
}
)";

void sendPreedit(QQuickItem* editor, const QString& preedit) {
    QList<QInputMethodEvent::Attribute> attributes{
        {QInputMethodEvent::Cursor, int(preedit.size()), 1, {}}};
    QInputMethodEvent event(preedit, attributes);
    QCoreApplication::sendEvent(editor, &event);
}

void sendCommit(QQuickItem* editor, const QString& text) {
    QInputMethodEvent event;
    event.setCommitString(text);
    QCoreApplication::sendEvent(editor, &event);
}

void typeLatin(QWindow* window, const char* keys) {
    for (const char* key = keys; *key; ++key)
        QTest::keyClick(window, *key);
}

} // namespace

class TestGrowingTextView : public QObject {
    Q_OBJECT
private slots:

    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init() {
        m_window = std::make_unique<QQuickWindow>();
        m_window->resize(320, 200);
        m_engine = new QQmlEngine(m_window.get());
        m_engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
        QQmlComponent component(m_engine);
        component.setData(kHost, QUrl::fromLocalFile(QStringLiteral("/host.qml")));
        m_host.reset(component.create());
        QVERIFY2(m_host, qPrintable(component.errorString()));
        qobject_cast<QQuickItem*>(m_host.get())->setParentItem(m_window->contentItem());
        m_window->show();
        m_window->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }

    void cleanup() {
        m_host.reset();
        m_window.reset();
        m_engine = nullptr;
    }

    void compositionIsNotContent() {
        focusField();
        QSignalSpy edited(field(), SIGNAL(textEdited(QString)));

        sendPreedit(editor(), QStringLiteral("ni'hao"));
        QVERIFY(field()->property("composing").toBool());
        QCOMPARE(editor()->property("preeditText").toString(), QStringLiteral("ni'hao"));
        QCOMPARE(m_host->property("model").toString(), QString());
        QCOMPARE(edited.count(), 0);

        m_host->setProperty("model", QStringLiteral("外面改的"));
        QCOMPARE(editor()->property("preeditText").toString(), QStringLiteral("ni'hao"));
        QCOMPARE(editor()->property("text").toString(), QString());
        QVERIFY(field()->property("composing").toBool());

        sendCommit(editor(), QStringLiteral("你好"));
        QVERIFY(!field()->property("composing").toBool());
        QCOMPARE(m_host->property("model").toString(), QStringLiteral("你好"));
        QCOMPARE(editor()->property("text").toString(), QStringLiteral("你好"));
    }

    void keyDuringCompositionBelongsToTheInputMethod_data() {
        TestData::addRows("text-field.json", "composingKeys");
    }

    void keyDuringCompositionBelongsToTheInputMethod() {
        QFETCH(QJsonObject, row);
        const QKeyCombination key = QKeySequence::fromString(row["key"].toString())[0];
        const QByteArray counter = row["counter"].toString().toLatin1();
        m_host->setProperty("allowsNewlines", false);
        m_host->setProperty("submitOnReturn", true);
        focusField();

        sendPreedit(editor(), QStringLiteral("mai"));
        QTest::keyClick(m_window.get(), key.key());
        QCOMPARE(m_host->property(counter).toInt(), 0);
        QCOMPARE(m_host->property("model").toString(), QString());

        sendCommit(editor(), QStringLiteral("买"));
        QTest::keyClick(m_window.get(), key.key());
        QCOMPARE(m_host->property(counter).toInt(), 1);
        QCOMPARE(m_host->property("model").toString(), QStringLiteral("买"));
    }

    void fieldGrowsWithTheComposition() {
        m_host->setProperty("fieldWidth", 60);
        focusField();
        QTRY_VERIFY(m_host->property("reportedHeight").toReal() > 0);
        const qreal oneLine = m_host->property("reportedHeight").toReal();

        sendPreedit(editor(), QStringLiteral("zhe shi yi ge hen chang de ju zi"));
        QTRY_VERIFY(m_host->property("reportedHeight").toReal() > oneLine * 1.5);
        QCOMPARE(m_host->property("model").toString(), QString());

        const qreal composing = m_host->property("reportedHeight").toReal();

        sendCommit(editor(), QStringLiteral("这"));
        QTRY_VERIFY(m_host->property("reportedHeight").toReal() < composing);
        QCOMPARE(m_host->property("reportedHeight").toReal(),
                 editor()->property("contentHeight").toReal());
        QCOMPARE(editor()->property("lineCount").toInt(), 1);
    }

    void returnRules_data() { TestData::addRows("text-field.json", "returns"); }

    void returnRules() {
        QFETCH(QJsonObject, row);
        const bool submits = row["submits"].toBool();
        m_host->setProperty("allowsNewlines", row["newlines"].toBool());
        m_host->setProperty("submitOnReturn", row["submitOnReturn"].toBool());
        focusField();
        typeLatin(m_window.get(), "ab");
        QTest::keyClick(m_window.get(), Qt::Key_Left);
        QTest::keyClick(m_window.get(), Qt::Key_Return,
                        row["shift"].toBool() ? Qt::ShiftModifier : Qt::NoModifier);

        QCOMPARE(m_host->property("submits").toInt(), submits ? 1 : 0);
        QCOMPARE(m_host->property("model").toString(),
                 submits ? QStringLiteral("ab") : QStringLiteral("a\nb"));
        if (!submits) {
            QTest::keyClick(m_window.get(), Qt::Key_Z, Qt::ControlModifier);
            QCOMPARE(m_host->property("model").toString(), QStringLiteral("ab"));
        }
    }

private:
    QQuickItem* field() const { return m_host->findChild<QQuickItem*>(QStringLiteral("field")); }

    QQuickItem* editor() const { return field()->property("editor").value<QQuickItem*>(); }

    void focusField() {
        m_host->setProperty("wantsFocus", true);
        QTRY_VERIFY(editor()->hasActiveFocus());
    }

    QQmlEngine* m_engine = nullptr;
    std::unique_ptr<QQuickWindow> m_window;
    std::unique_ptr<QObject> m_host;
};

QTEST_MAIN(TestGrowingTextView)
#include "tst_growingtextview.moc"
