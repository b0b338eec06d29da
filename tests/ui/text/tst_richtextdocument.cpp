#include "RichText.h"
#include "TestData.h"
#include "text/RichTextDocument.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QKeySequence>
#include <QMimeData>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QStandardPaths>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextList>
#include <QtQml/qqmlextensionplugin.h>
#include <memory>

Q_IMPORT_QML_PLUGIN(TavikUiPlugin)

namespace {

RichText fromJson(const QByteArray& json) {
    RichText text;
    if (!RichText::fromJson(json, &text))
        qFatal("test data is not a rich note: %s", json.constData());
    return text;
}

const QByteArray editorQml = R"(
import QtQuick
import TavikUi
TextEdit {
    id: edit
    width: 400
    height: 300
    textFormat: TextEdit.RichText
    wrapMode: TextEdit.Wrap
    font.pixelSize: 14
    focus: true
    RichTextDocument {
        textDocument: edit.textDocument
        editor: edit
    }
}
)";

} // namespace

namespace QTest {
template <> inline char* toString(const RichText& text) {
    return qstrdup(text.toJson().constData());
}
} // namespace QTest

class TestRichTextDocument : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init() {
        m_view = std::make_unique<QQuickView>();
        m_view->engine()->addImportPath(QStringLiteral("qrc:/qt/qml"));
        m_view->resize(400, 300);
    }

    void cleanup() {
        m_edit = nullptr;
        m_helper = nullptr;
        m_view.reset();
    }

    void roundTrip_data() {
        QTest::addColumn<QByteArray>("json");
        for (const QJsonValue& row : TestData::cases("richtext.json", "roundTrips"))
            TestData::newRow(row.toObject()) << TestData::compact(row["note"]);
    }

    void roundTrip() {
        QFETCH(QByteArray, json);
        const RichText original = fromJson(json);

        QTextDocument document;
        RichTextDocument::write(original, &document);
        const RichText back = RichTextDocument::read(document);

        QCOMPARE(back, original);
        QCOMPARE(back.toJson(), original.toJson());
        QCOMPARE(document.toPlainText(), original.plainText());
    }

    void documentStructure() {
        const RichText text = fromJson(R"({"runs":[{"text":"斜\n","italic":true},)"
                                       R"({"text":"一\n","bullet":true},{"text":"中\n"},)"
                                       R"({"text":"三","bullet":true}]})");
        QTextDocument document;
        RichTextDocument::write(text, &document);
        const QTextCharFormat format = document.begin().begin().fragment().charFormat();
        QVERIFY(format.fontItalic());
        QVERIFY(!format.hasProperty(QTextFormat::FontFamilies));
        QVERIFY(!format.hasProperty(QTextFormat::FontPixelSize));
        const QTextBlock one = document.begin().next();
        QCOMPARE(one.textList()->format().style(), QTextListFormat::ListDisc);
        QVERIFY(one.next().next().textList() != one.textList());

        RichTextDocument helper; // loading a note is not an edit to undo
        helper.setDocument(&document);
        helper.load(fromJson(R"({"runs":[{"text":"新","bold":true}]})"));
        QVERIFY(!document.isUndoAvailable());
        QCOMPARE(helper.plainText(), QStringLiteral("新"));
    }

    void editing_data() {
        TestData::addRows("richtext.json", "selection keys");
        for (const QJsonValue& row : TestData::cases("richtext.json", "typing"))
            TestData::newRow(row.toObject()) << row.toObject();
    }

    void editing() {
        QFETCH(QJsonObject, row);
        const RichText initial = fromJson(TestData::compact(row["before"]));
        openEditor(initial);
        if (row.contains("select"))
            select(row["select"][0].toInt(), row["select"][1].toInt());
        else
            m_edit->setProperty("cursorPosition", row["caret"].toInt());
        const QJsonArray steps =
            row.contains("key") ? QJsonArray{row["key"]} : row["steps"].toArray();
        for (const QJsonValue& value : steps) {
            const QString step = value.toString();
            if (step.startsWith(QLatin1String("type:"))) {
                for (QChar c : step.mid(5))
                    QTest::keyClick(m_view.get(), c.toLatin1());
            } else if (step.startsWith(QLatin1String("paste:"))) {
                QGuiApplication::clipboard()->setText(step.mid(6));
                QTest::keyClick(m_view.get(), Qt::Key_V, Qt::ControlModifier);
            } else if (step.startsWith(QLatin1String("ime:"))) {
                QInputMethodEvent compose(QStringLiteral("hen hao"), {});
                QCoreApplication::sendEvent(m_edit, &compose);
                QCOMPARE(m_helper->plainText(), initial.plainText());
                QInputMethodEvent commit;
                commit.setCommitString(step.mid(4));
                QCoreApplication::sendEvent(m_edit, &commit);
            } else {
                press(step);
            }
        }
        QCOMPARE(m_helper->richText(), fromJson(TestData::compact(row["after"])));
    }

    void pasteBringsOnlyNoteAttributes() {
        openEditor(fromJson(R"({"runs":[{"text":"ab"}]})"));
        auto* mime = new QMimeData;
        mime->setHtml(QStringLiteral(R"(<b>粗</b><span style="font-size:40px; color:red">大</span>)"
                                     R"(<ol><li>项</li></ol>)"));
        mime->setText(QStringLiteral("粗大\n项"));
        QGuiApplication::clipboard()->setMimeData(mime);
        m_edit->setProperty("cursorPosition", 1);
        QTest::keyClick(m_view.get(), Qt::Key_V, Qt::ControlModifier);

        QCOMPARE(m_helper->richText(),
                 fromJson(R"({"runs":[{"text":"a"},{"text":"粗","bold":true},{"text":"大\n"},)"
                          R"({"text":"项b","bullet":true}]})"));
        for (QTextBlock block = m_helper->document()->begin(); block.isValid();
             block = block.next()) {
            for (auto it = block.begin(); !it.atEnd(); ++it) {
                const QTextCharFormat format = it.fragment().charFormat();
                QVERIFY(!format.hasProperty(QTextFormat::FontPixelSize));
                QVERIFY(!format.hasProperty(QTextFormat::FontPointSize));
                QVERIFY(!format.hasProperty(QTextFormat::ForegroundBrush));
            }
        }
    }

private:
    void openEditor(const RichText& initial) {
        QQmlComponent component(m_view->engine());
        component.setData(editorQml, QUrl(QStringLiteral("qrc:/test/Editor.qml")));
        QVERIFY2(component.isReady(), qPrintable(component.errorString()));
        m_edit = qobject_cast<QQuickItem*>(component.create());
        QVERIFY(m_edit);
        m_edit->setParentItem(m_view->contentItem());
        m_edit->setParent(m_view->contentItem());
        m_helper = m_edit->findChild<RichTextDocument*>();
        QVERIFY(m_helper);
        QVERIFY(m_helper->document());
        m_helper->load(initial);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
        m_edit->forceActiveFocus();
        QTRY_VERIFY(m_edit->hasActiveFocus());
    }

    void select(int start, int end) {
        QVERIFY(QMetaObject::invokeMethod(m_edit, "select", Q_ARG(int, start), Q_ARG(int, end)));
        QCOMPARE(m_edit->property("selectionStart").toInt(), qMin(start, end));
    }

    void press(const QString& key) {
        const QKeyCombination combination = QKeySequence::fromString(key)[0];
        QVERIFY2(combination.key() != Qt::Key_unknown, qPrintable(key));
        QTest::keyClick(m_view.get(), combination.key(), combination.keyboardModifiers());
    }

    std::unique_ptr<QQuickView> m_view;
    QQuickItem* m_edit = nullptr;
    RichTextDocument* m_helper = nullptr;
};

QTEST_MAIN(TestRichTextDocument)
#include "tst_richtextdocument.moc"
