#include "RichText.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "TaskText.h"

#include <QTest>

class TestTaskText : public QObject {
    Q_OBJECT
private slots:
    void cleaned_data();
    void cleaned();
    void blank();
    void richNoteIsCleanedRunByRun();
};

void TestTaskText::cleaned_data() {
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("note");
    const auto row = [](const char* name, const QString& in, const QString& title,
                        const QString& note) { QTest::newRow(name) << in << title << note; };
    row("plain and CJK", u"给妈妈打电话 call"_qs, u"给妈妈打电话 call"_qs, u"给妈妈打电话 call"_qs);
    row("line breaks", u"a\nb\r\nc\rd\u2028e"_qs, u"a b c d e"_qs, u"a\nb\nc\nd\ne"_qs);
    row("tab", u"a\tb"_qs, u"a b"_qs, u"a b"_qs);
    row("escape sequence", u"\x1b[2Jred\x1b]0;x\x07"_qs, u"[2Jred]0;x"_qs, u"[2Jred]0;x"_qs);
    row("C1 and DEL", u"a\u0085b\u009bc\x7f"_qs, u"abc"_qs, u"abc"_qs);
    row("emoji at the cut", QString(TaskText::maxTitleLength - 1, u'x') + u"😀"_qs,
        QString(TaskText::maxTitleLength - 1, u'x'),
        QString(TaskText::maxTitleLength - 1, u'x') + u"😀"_qs);
}

void TestTaskText::cleaned() {
    QFETCH(QString, input);
    QFETCH(QString, title);
    QFETCH(QString, note);
    TaskItem task(input, 0, QDateTime::currentDateTimeUtc());
    QCOMPARE(task.title(), title);
    task.setTitle(QStringLiteral("other"));
    task.setTitle(input);
    QCOMPARE(task.title(), title);
    task.setNote(input);
    QCOMPARE(task.note(), note);
    // A list's name is a line too.
    TaskCategory list(input, QStringLiteral("#34C759"), 0, QDateTime::currentDateTimeUtc());
    QCOMPARE(list.name(), title);
    list.setName(QStringLiteral("other"));
    list.setName(input);
    QCOMPARE(list.name(), title);
}

void TestTaskText::blank() {
    QVERIFY(TaskText::isBlank(QString()));
    QVERIFY(TaskText::isBlank(u" \u3000 "_qs));
    QVERIFY(TaskText::isBlank(u"\u200b\u200c\u2060\ufeff"_qs));
    QVERIFY(!TaskText::isBlank(u"\u200ba\u200b"_qs));
}

void TestTaskText::richNoteIsCleanedRunByRun() {
    TaskItem task(QStringLiteral("t"), 0, QDateTime::currentDateTimeUtc());
    TextRun bold;
    bold.text = QStringLiteral("a\x1b[0m");
    bold.bold = true;
    TextRun rest;
    rest.text = QString(TaskText::maxNoteLength, u'x');
    task.setRichNote(RichText({bold, rest}), QDateTime::currentDateTimeUtc());
    QCOMPARE(task.note().size(), TaskText::maxNoteLength);
    QVERIFY(task.note().startsWith(QStringLiteral("a[0mxxx")));
    QCOMPARE(task.richNote().runs().constFirst().text, QStringLiteral("a[0m"));

    task.setRichNote(RichText(), QDateTime::currentDateTimeUtc());
    QVERIFY(task.noteData().isEmpty());
}

QTEST_GUILESS_MAIN(TestTaskText)
#include "tst_tasktext.moc"
