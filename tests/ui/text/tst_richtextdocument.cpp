#include "BoardTestSupport.h"
#include "Clock.h"
#include "RichText.h"
#include "drawer/TaskDrawerController.h"
#include "text/RichTextDocument.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QInputMethodEvent>
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

// The editor as the drawer builds it: a rich-text TextEdit with the helper attached.
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
    void init();
    void cleanup();

    void roundTrip_data();
    void roundTrip();
    void documentStructure();
    void readKeepsOnlyNoteAttributes_data();
    void readKeepsOnlyNoteAttributes();
    void loadIsNotUndoable();

    void shortcutsOnSelection_data();
    void shortcutsOnSelection();
    void caretFormatReachesWhatArrivesNext_data();
    void caretFormatReachesWhatArrivesNext();
    void pasteBringsOnlyNoteAttributes();

    void undecodableNoteDataFallsBackToNote_data();
    void undecodableNoteDataFallsBackToNote();

private:
    void openEditor(const RichText& initial);
    void select(int start, int end);

    std::unique_ptr<QQuickView> m_view;
    QQuickItem* m_edit = nullptr;
    RichTextDocument* m_helper = nullptr;
};

void TestRichTextDocument::init() {
    m_view = std::make_unique<QQuickView>();
    m_view->engine()->addImportPath(QStringLiteral("qrc:/qt/qml"));
    m_view->resize(400, 300);
}

void TestRichTextDocument::cleanup() {
    m_edit = nullptr;
    m_helper = nullptr;
    m_view.reset();
}

void TestRichTextDocument::openEditor(const RichText& initial) {
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

void TestRichTextDocument::select(int start, int end) {
    QVERIFY(QMetaObject::invokeMethod(m_edit, "select", Q_ARG(int, start), Q_ARG(int, end)));
    QCOMPARE(m_edit->property("selectionStart").toInt(), qMin(start, end));
}

void TestRichTextDocument::roundTrip_data() {
    QTest::addColumn<QByteArray>("json");

    QTest::newRow("empty") << QByteArray(R"({"runs":[]})");
    QTest::newRow("each attribute") << QByteArray(
        R"({"runs":[{"text":"a","bold":true},{"text":"b","italic":true},)"
        R"({"text":"c","underline":true},{"text":"d","strikethrough":true},{"text":"e"}]})");
    QTest::newRow("mixed runs in one line") << QByteArray(
        R"({"runs":[{"text":"买","bold":true},{"text":"牛奶","italic":true,"underline":true},)"
        R"({"text":"和"},{"text":"面包","bold":true,"strikethrough":true}]})");
    QTest::newRow("bullets between plain lines") << QByteArray(
        R"({"runs":[{"text":"清单：\n"},{"text":"鸡蛋\n牛奶\n","bullet":true},{"text":"完"}]})");
    QTest::newRow("two separate bullet groups") << QByteArray(
        R"({"runs":[{"text":"a\n","bullet":true},{"text":"b\n"},{"text":"c","bullet":true}]})");
    QTest::newRow("empty bullet line in the middle")
        << QByteArray(R"({"runs":[{"text":"a\n\nb","bullet":true}]})");
    QTest::newRow("styled line break")
        << QByteArray(R"({"runs":[{"text":"粗体行\n","bold":true},{"text":"普通行"}]})");
    QTest::newRow("line break styled unlike its line")
        << QByteArray(R"({"runs":[{"text":"a"},{"text":"\n","italic":true},{"text":"b"}]})");
    QTest::newRow("leading and trailing line breaks")
        << QByteArray(R"({"runs":[{"text":"\n中间\n"}]})");
    QTest::newRow("CJK, emoji and combining marks")
        << QByteArray(R"({"runs":[{"text":"今天😀","bold":true},{"text":"é naïve ，。"}]})");
}

void TestRichTextDocument::roundTrip() {
    QFETCH(QByteArray, json);
    const RichText original = fromJson(json);

    QTextDocument document;
    RichTextDocument::write(original, &document);
    const RichText back = RichTextDocument::read(document);

    QCOMPARE(back, original);
    QCOMPARE(back.toJson(), original.toJson());
    QCOMPARE(document.toPlainText(), original.plainText());
}

void TestRichTextDocument::documentStructure() {
    const RichText text = fromJson(
        R"({"runs":[{"text":"粗","bold":true},{"text":"斜","italic":true},{"text":"\n"},)"
        R"({"text":"一\n二\n","bullet":true},{"text":"中\n"},{"text":"三","bullet":true}]})");
    QTextDocument document;
    RichTextDocument::write(text, &document);

    QCOMPARE(document.blockCount(), 5);
    const QTextBlock first = document.begin();
    QVERIFY(!first.textList());
    auto fragment = first.begin().fragment();
    QCOMPARE(fragment.text(), QStringLiteral("粗"));
    QCOMPARE(fragment.charFormat().fontWeight(), int(QFont::Bold));
    QVERIFY(!fragment.charFormat().fontItalic());
    fragment = (++first.begin()).fragment();
    QCOMPARE(fragment.text(), QStringLiteral("斜"));
    QVERIFY(fragment.charFormat().fontItalic());
    // Nothing but the attributes: the editor's own font must show through.
    QVERIFY(!fragment.charFormat().hasProperty(QTextFormat::FontFamilies));
    QVERIFY(!fragment.charFormat().hasProperty(QTextFormat::FontPixelSize));

    const QTextBlock one = first.next();
    const QTextBlock two = one.next();
    const QTextBlock middle = two.next();
    const QTextBlock three = middle.next();
    QVERIFY(one.textList());
    QCOMPARE(one.textList()->format().style(), QTextListFormat::ListDisc);
    QCOMPARE(two.textList(), one.textList());
    QCOMPARE(one.textList()->count(), 2);
    QVERIFY(!middle.textList());
    QVERIFY(three.textList());
    QVERIFY(three.textList() != one.textList());
}

void TestRichTextDocument::readKeepsOnlyNoteAttributes_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("a soft line break is a line")
        << "甲<br>乙" << QByteArray(R"({"runs":[{"text":"甲\n乙"}]})");
    QTest::newRow("images are left out") << R"(前<img src="nothing.png" width="10" height="10">后)"
                                         << QByteArray(R"({"runs":[{"text":"前后"}]})");
}

void TestRichTextDocument::readKeepsOnlyNoteAttributes() {
    QFETCH(QString, html);
    QFETCH(QByteArray, expected);
    QTextDocument document;
    document.setHtml(html);
    QCOMPARE(RichTextDocument::read(document), fromJson(expected));
}

void TestRichTextDocument::loadIsNotUndoable() {
    QTextDocument document;
    RichTextDocument helper;
    helper.setDocument(&document);
    helper.load(fromJson(R"({"runs":[{"text":"旧"}]})"));
    helper.load(fromJson(R"({"runs":[{"text":"新","bold":true}]})"));
    QVERIFY(!document.isUndoAvailable());
    QCOMPARE(helper.plainText(), QStringLiteral("新"));
}

void TestRichTextDocument::shortcutsOnSelection_data() {
    QTest::addColumn<QByteArray>("initial");
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("end");
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<QByteArray>("expected");

    const int ctrl = Qt::ControlModifier;
    const int ctrlShift = Qt::ControlModifier | Qt::ShiftModifier;

    QTest::newRow("Ctrl+B bolds the selection")
        << QByteArray(R"({"runs":[{"text":"hello world"}]})") << 0 << 5 << int(Qt::Key_B) << ctrl
        << QByteArray(R"({"runs":[{"text":"hello","bold":true},{"text":" world"}]})");
    QTest::newRow("Ctrl+B on bold text unbolds it")
        << QByteArray(R"({"runs":[{"text":"hello","bold":true},{"text":" world"}]})") << 0 << 5
        << int(Qt::Key_B) << ctrl << QByteArray(R"({"runs":[{"text":"hello world"}]})");
    QTest::newRow("Ctrl+B on partly bold text bolds all of it")
        << QByteArray(R"({"runs":[{"text":"he","bold":true},{"text":"llo"}]})") << 0 << 5
        << int(Qt::Key_B) << ctrl << QByteArray(R"({"runs":[{"text":"hello","bold":true}]})");
    QTest::newRow("Ctrl+I on CJK")
        << QByteArray(R"({"runs":[{"text":"今天很好"}]})") << 2 << 4 << int(Qt::Key_I) << ctrl
        << QByteArray(R"({"runs":[{"text":"今天"},)"
                      R"({"text":"很好","italic":true}]})");
    QTest::newRow("Ctrl+Shift+X strikes through")
        << QByteArray(R"({"runs":[{"text":"abc"}]})") << 0 << 3 << int(Qt::Key_X) << ctrlShift
        << QByteArray(R"({"runs":[{"text":"abc","strikethrough":true}]})");
    QTest::newRow("attributes add up")
        << QByteArray(R"({"runs":[{"text":"abc","bold":true}]})") << 1 << 2 << int(Qt::Key_I)
        << ctrl
        << QByteArray(R"({"runs":[{"text":"a","bold":true},{"text":"b","bold":true,)"
                      R"("italic":true},{"text":"c","bold":true}]})");
    QTest::newRow("a toggle over several lines")
        << QByteArray(R"({"runs":[{"text":"ab\ncd"}]})") << 1 << 4 << int(Qt::Key_U) << ctrl
        << QByteArray(R"({"runs":[{"text":"a"},{"text":"b\nc","underline":true},{"text":"d"}]})");

    // Bullets: 一=0 \n=1 二=2 \n=3 三=4.
    QTest::newRow("Ctrl+Shift+8 at the caret bullets its line")
        << QByteArray(R"({"runs":[{"text":"一\n二\n三"}]})") << 3 << 3 << int(Qt::Key_8)
        << ctrlShift
        << QByteArray(R"({"runs":[{"text":"一\n"},{"text":"二\n","bullet":true},{"text":"三"}]})");
    QTest::newRow("a selection ending at a line start leaves that line")
        << QByteArray(R"({"runs":[{"text":"一\n二\n三"}]})") << 0 << 2 << int(Qt::Key_8)
        << ctrlShift << QByteArray(R"({"runs":[{"text":"一\n","bullet":true},{"text":"二\n三"}]})");
    QTest::newRow("all lines bulleted: the bullets go")
        << QByteArray(R"({"runs":[{"text":"一\n二\n三","bullet":true}]})") << 0 << 5
        << int(Qt::Key_8) << ctrlShift << QByteArray(R"({"runs":[{"text":"一\n二\n三"}]})");
    QTest::newRow("some lines bulleted: all get one")
        << QByteArray(R"({"runs":[{"text":"一\n","bullet":true},{"text":"二\n三"}]})") << 0 << 5
        << int(Qt::Key_8) << ctrlShift
        << QByteArray(R"({"runs":[{"text":"一\n二\n三","bullet":true}]})");
    QTest::newRow("removing one bullet keeps the others")
        << QByteArray(R"({"runs":[{"text":"一\n二\n三","bullet":true}]})") << 2 << 2
        << int(Qt::Key_8) << ctrlShift
        << QByteArray(R"({"runs":[{"text":"一\n","bullet":true},{"text":"二\n"},)"
                      R"({"text":"三","bullet":true}]})");
}

void TestRichTextDocument::shortcutsOnSelection() {
    QFETCH(QByteArray, initial);
    QFETCH(int, start);
    QFETCH(int, end);
    QFETCH(int, key);
    QFETCH(int, modifiers);
    QFETCH(QByteArray, expected);

    openEditor(fromJson(initial));
    select(start, end);
    QTest::keyClick(m_view.get(), Qt::Key(key), Qt::KeyboardModifiers(modifiers));

    QCOMPARE(m_helper->richText(), fromJson(expected));
    // The key did only that: no character was typed and nothing was cut.
    QCOMPARE(m_helper->plainText(), fromJson(initial).plainText());
}

void TestRichTextDocument::caretFormatReachesWhatArrivesNext_data() {
    QTest::addColumn<QByteArray>("initial");
    QTest::addColumn<int>("caret");
    // "B" and "I" toggle, "\n" is Return, "<" moves left, "Z" undoes, "ime:" commits through
    // the input method, "paste:" pastes plain text, any other text is typed.
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("bold typing at the end")
        << QByteArray(R"({"runs":[{"text":"abc"}]})") << 3 << QStringList{"B", "de"}
        << QByteArray(R"({"runs":[{"text":"abc"},{"text":"de","bold":true}]})");
    QTest::newRow("unbold typing inside bold text")
        << QByteArray(R"({"runs":[{"text":"abc","bold":true}]})") << 3 << QStringList{"B", "d"}
        << QByteArray(R"({"runs":[{"text":"abc","bold":true},{"text":"d"}]})");
    QTest::newRow("two toggles stack")
        << QByteArray(R"({"runs":[{"text":"ab"}]})") << 1 << QStringList{"B", "I", "x"}
        << QByteArray(R"({"runs":[{"text":"a"},{"text":"x",)"
                      R"("bold":true,"italic":true},{"text":"b"}]})");
    QTest::newRow("undo takes the pending format with its typing")
        << QByteArray(R"({"runs":[{"text":"abc"}]})") << 3 << QStringList{"B", "d", "Z"}
        << QByteArray(R"({"runs":[{"text":"abc"}]})");
    QTest::newRow("plain paste takes the caret format")
        << QByteArray(R"({"runs":[{"text":"ab","bold":true}]})") << 2 << QStringList{"paste:x\ny"}
        << QByteArray(R"({"runs":[{"text":"abx\ny","bold":true}]})");
    QTest::newRow("moving the caret drops the toggle")
        << QByteArray(R"({"runs":[{"text":"abc"}]})") << 3 << QStringList{"B", "<", "x"}
        << QByteArray(R"({"runs":[{"text":"abxc"}]})");
    // A new line started right after a toggle goes on in the toggled format.
    QTest::newRow("italic off, then a new line")
        << QByteArray(R"({"runs":[{"text":"abc","italic":true}]})") << 3
        << QStringList{"I", "\n", "d"}
        << QByteArray(R"({"runs":[{"text":"abc","italic":true},{"text":"\nd"}]})");
    QTest::newRow("bold on in a bulleted line, then a new line")
        << QByteArray(R"({"runs":[{"text":"abc","bullet":true}]})") << 3
        << QStringList{"B", "\n", "d"}
        << QByteArray(R"({"runs":[{"text":"abc","bullet":true},)"
                      R"({"text":"\nd","bold":true,"bullet":true}]})");
    QTest::newRow("committed input-method text takes the toggle")
        << QByteArray(R"({"runs":[{"text":"今天"}]})") << 2 << QStringList{"I", "ime:很好"}
        << QByteArray(R"({"runs":[{"text":"今天"},{"text":"很好","italic":true}]})");
}

void TestRichTextDocument::caretFormatReachesWhatArrivesNext() {
    QFETCH(QByteArray, initial);
    QFETCH(int, caret);
    QFETCH(QStringList, steps);
    QFETCH(QByteArray, expected);

    openEditor(fromJson(initial));
    m_edit->setProperty("cursorPosition", caret);
    for (const QString& step : std::as_const(steps)) {
        if (step == QLatin1String("B")) {
            QTest::keyClick(m_view.get(), Qt::Key_B, Qt::ControlModifier);
        } else if (step == QLatin1String("I")) {
            QTest::keyClick(m_view.get(), Qt::Key_I, Qt::ControlModifier);
        } else if (step == QLatin1String("\n")) {
            QTest::keyClick(m_view.get(), Qt::Key_Return);
        } else if (step == QLatin1String("<")) {
            QTest::keyClick(m_view.get(), Qt::Key_Left);
        } else if (step == QLatin1String("Z")) {
            QTest::keyClick(m_view.get(), Qt::Key_Z, Qt::ControlModifier);
        } else if (step.startsWith(QLatin1String("paste:"))) {
            QGuiApplication::clipboard()->setText(step.mid(6));
            QTest::keyClick(m_view.get(), Qt::Key_V, Qt::ControlModifier);
        } else if (step.startsWith(QLatin1String("ime:"))) {
            const QString committed = step.mid(4);
            // A composition first, then its commit, as a Chinese input method sends them.
            QInputMethodEvent compose(QStringLiteral("hen hao"), {});
            QCoreApplication::sendEvent(m_edit, &compose);
            QCOMPARE(m_helper->plainText(), fromJson(initial).plainText());
            QInputMethodEvent commit;
            commit.setCommitString(committed);
            QCoreApplication::sendEvent(m_edit, &commit);
        } else {
            for (QChar c : step)
                QTest::keyClick(m_view.get(), c.toLatin1());
        }
    }
    QCOMPARE(m_helper->richText(), fromJson(expected));
}

void TestRichTextDocument::pasteBringsOnlyNoteAttributes() {
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
    // The pasted size and colour never reach the document, not even for the session, and a
    // numbered list arrives as bullets.
    for (QTextBlock block = m_helper->document()->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextCharFormat format = it.fragment().charFormat();
            QVERIFY(!format.hasProperty(QTextFormat::FontPixelSize));
            QVERIFY(!format.hasProperty(QTextFormat::FontPointSize));
            QVERIFY(!format.hasProperty(QTextFormat::ForegroundBrush));
        }
    }
}

void TestRichTextDocument::undecodableNoteDataFallsBackToNote_data() {
    QTest::addColumn<QByteArray>("noteData");
    QTest::addColumn<QString>("note");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("bytes that are not JSON") << QByteArray("\x00\xff{not json", 12) << "纯文本备注"
                                             << QByteArray(R"({"runs":[{"text":"纯文本备注"}]})");
    QTest::newRow("no rich form") << QByteArray() << "第一行\n第二行"
                                  << QByteArray(R"({"runs":[{"text":"第一行\n第二行"}]})");
    QTest::newRow("undecodable and no note")
        << QByteArray("garbage") << "" << QByteArray(R"({"runs":[]})");
    QTest::newRow("a good rich form wins over the note")
        << QByteArray(R"({"runs":[{"text":"富","bold":true}]})") << "旧的纯文本"
        << QByteArray(R"({"runs":[{"text":"富","bold":true}]})");
}

void TestRichTextDocument::undecodableNoteDataFallsBackToNote() {
    QFETCH(QByteArray, noteData);
    QFETCH(QString, note);
    QFETCH(QByteArray, expected);

    BoardTest::Store store;
    const QDateTime now = BoardTest::local(2024, 6, 12, 10);
    TaskItem* task = store.addTask(QStringLiteral("任务"), 1, now);
    task->setNote(note);
    task->setNoteData(noteData);

    QTextDocument document;
    RichTextDocument helper;
    helper.setDocument(&document);
    ManualClock clock(now);
    TaskDrawerController drawer;
    drawer.setClock(&clock);
    drawer.setDocument(&helper);
    drawer.setTask(task);
    drawer.appear();

    QCOMPARE(RichTextDocument::read(document), fromJson(expected));
    QCOMPARE(document.toPlainText(), fromJson(expected).plainText());

    // Closing turns the fallback into the rich form; the plain text survives unchanged.
    drawer.disappear();
    QCOMPARE(task->richNote(), fromJson(expected));
    QCOMPARE(task->note(), fromJson(expected).plainText());
    RichText stored;
    QVERIFY(RichText::fromJson(task->noteData(), &stored));
}

QTEST_MAIN(TestRichTextDocument)
#include "tst_richtextdocument.moc"
