#include "text/RichTextDocument.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QQuickItem>
#include <QQuickTextDocument>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextList>
#include <optional>

namespace {

// Bullets stand this far in; the document's default of 40 suits print, not a card.
constexpr qreal bulletIndentWidth = 20;

bool hasAttribute(const QTextCharFormat& format, RichTextDocument::Attribute attribute) {
    switch (attribute) {
    case RichTextDocument::Bold:
        return format.fontWeight() >= QFont::DemiBold;
    case RichTextDocument::Italic:
        return format.fontItalic();
    case RichTextDocument::Underline:
        return format.fontUnderline();
    case RichTextDocument::Strikethrough:
        return format.fontStrikeOut();
    }
    return false;
}

void setAttribute(QTextCharFormat& format, RichTextDocument::Attribute attribute, bool on) {
    switch (attribute) {
    case RichTextDocument::Bold:
        format.setFontWeight(on ? QFont::Bold : QFont::Normal);
        break;
    case RichTextDocument::Italic:
        format.setFontItalic(on);
        break;
    case RichTextDocument::Underline:
        format.setFontUnderline(on);
        break;
    case RichTextDocument::Strikethrough:
        format.setFontStrikeOut(on);
        break;
    }
}

bool isLineBreak(const QKeyEvent* key) {
    return key->matches(QKeySequence::InsertParagraphSeparator) ||
           key->matches(QKeySequence::InsertLineSeparator);
}

TextRun runFor(const QTextCharFormat& format, bool bullet) {
    TextRun run;
    run.bold = hasAttribute(format, RichTextDocument::Bold);
    run.italic = hasAttribute(format, RichTextDocument::Italic);
    run.underline = hasAttribute(format, RichTextDocument::Underline);
    run.strikethrough = hasAttribute(format, RichTextDocument::Strikethrough);
    run.bullet = bullet;
    return run;
}

// Only the four attributes; the rest comes from the editor's default font.
QTextCharFormat formatFor(const TextRun& run) {
    QTextCharFormat format;
    if (run.bold)
        format.setFontWeight(QFont::Bold);
    if (run.italic)
        format.setFontItalic(true);
    if (run.underline)
        format.setFontUnderline(true);
    if (run.strikethrough)
        format.setFontStrikeOut(true);
    return format;
}

QTextListFormat bulletFormat() {
    QTextListFormat format;
    format.setStyle(QTextListFormat::ListDisc);
    format.setIndent(1);
    return format;
}

// Puts the cursor's block into the bulleted list running above it, or starts one; a line
// without a bullet ends the run. Answers the list the next line continues.
QTextList* continueList(QTextCursor& cursor, QTextList* list, bool bullet) {
    if (!bullet)
        return nullptr;
    if (!list)
        return cursor.createList(bulletFormat());
    list->add(cursor.block());
    return list;
}

// A soft line break is a line of the note; an embedded object has no place in one.
QString noteCharacters(const QString& fragment) {
    QString text = fragment;
    text.replace(QChar::LineSeparator, QLatin1Char('\n'));
    text.remove(QChar::ObjectReplacementCharacter);
    return text;
}

struct Line {
    QList<TextRun> pieces;
    std::optional<TextRun> newline; // the run that holds the line's "\n", if it has one
    bool bullet = false;
};

QList<Line> splitLines(const RichText& text) {
    QList<Line> lines(1);
    for (const TextRun& run : text.runs()) {
        const QStringList parts = run.text.split(QLatin1Char('\n'));
        for (qsizetype i = 0; i < parts.size(); ++i) {
            if (i > 0) {
                TextRun newline = run;
                newline.text = QStringLiteral("\n");
                lines.last().newline = newline;
                lines.last().bullet = lines.last().bullet || run.bullet;
                lines.append(Line{});
            }
            if (!parts.at(i).isEmpty()) {
                TextRun piece = run;
                piece.text = parts.at(i);
                lines.last().pieces.append(piece);
                lines.last().bullet = lines.last().bullet || run.bullet;
            }
        }
    }
    return lines;
}

} // namespace

RichTextDocument::RichTextDocument(QObject* parent)
    : QObject(parent) {}

void RichTextDocument::setTextDocument(QQuickTextDocument* textDocument) {
    if (m_textDocument == textDocument)
        return;
    m_textDocument = textDocument;
    setDocument(textDocument ? textDocument->textDocument() : nullptr);
    emit textDocumentChanged();
}

void RichTextDocument::setEditor(QQuickItem* editor) {
    if (m_editor == editor)
        return;
    if (m_editor) {
        m_editor->removeEventFilter(this);
        disconnect(m_cursorConnection);
    }
    m_editor = editor;
    clearPending();
    if (m_editor) {
        m_editor->installEventFilter(this);
        // Moving the caret away drops a pending toggle, as in any editor.
        const QMetaObject* meta = m_editor->metaObject();
        const int signal = meta->indexOfSignal("cursorPositionChanged()");
        const int slot = staticMetaObject.indexOfSlot("onEditorCursorMoved()");
        if (signal >= 0 && slot >= 0)
            m_cursorConnection =
                connect(m_editor, meta->method(signal), this, staticMetaObject.method(slot));
        if (!m_textDocument) {
            auto* textDocument = m_editor->property("textDocument").value<QQuickTextDocument*>();
            if (textDocument)
                setTextDocument(textDocument);
        }
    }
    emit editorChanged();
}

void RichTextDocument::setDocument(QTextDocument* document) {
    if (m_document == document)
        return;
    disconnect(m_contentsConnection);
    m_document = document;
    clearPending();
    if (m_document) {
        m_document->setIndentWidth(bulletIndentWidth);
        m_contentsConnection = connect(m_document, &QTextDocument::contentsChanged, this,
                                       &RichTextDocument::contentChanged);
    }
    emit contentChanged();
}

void RichTextDocument::load(const RichText& text) {
    if (!m_document)
        return;
    clearPending();
    const bool undo = m_document->isUndoRedoEnabled();
    m_document->setUndoRedoEnabled(false);
    write(text, m_document);
    m_document->setUndoRedoEnabled(undo);
    // The editor's caret rode along with the inserted text; a note opens at its start.
    if (m_editor)
        m_editor->setProperty("cursorPosition", 0);
}

RichText RichTextDocument::richText() const {
    return m_document ? read(*m_document) : RichText();
}

QString RichTextDocument::plainText() const {
    return richText().plainText();
}

void RichTextDocument::write(const RichText& text, QTextDocument* document) {
    if (!document)
        return;
    document->clear();
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    QTextList* list = nullptr;
    const QList<Line> lines = splitLines(text);
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const Line& line = lines.at(i);
        if (i > 0) {
            // The separator's format is the block's own character format: what typing on an
            // empty line starts with.
            cursor.insertBlock(QTextBlockFormat(), formatFor(*lines.at(i - 1).newline));
        } else if (!line.pieces.isEmpty()) {
            cursor.setBlockCharFormat(formatFor(line.pieces.first()));
        }
        list = continueList(cursor, list, line.bullet);
        for (const TextRun& piece : line.pieces)
            cursor.insertText(piece.text, formatFor(piece));
    }
    cursor.endEditBlock();
}

RichText RichTextDocument::read(const QTextDocument& document) {
    QList<TextRun> runs;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const bool bullet = block.textList() != nullptr;
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            if (!fragment.isValid())
                continue;
            TextRun run = runFor(fragment.charFormat(), bullet);
            run.text = noteCharacters(fragment.text());
            runs.append(run);
        }
        const QTextBlock next = block.next();
        if (next.isValid()) {
            // The line break belongs to this line, and is styled as the next block starts.
            TextRun newline = runFor(next.charFormat(), bullet);
            newline.text = QStringLiteral("\n");
            runs.append(newline);
        }
    }
    return RichText(runs);
}

QTextCharFormat RichTextDocument::typingFormat(int position) const {
    if (!m_document)
        return {};
    QTextCursor cursor(m_document);
    cursor.setPosition(qBound(0, position, m_document->characterCount() - 1));
    QTextCharFormat format = cursor.charFormat();
    if (position == m_pendingPosition)
        format.merge(m_pendingFormat);
    return format;
}

void RichTextDocument::toggleAttribute(Attribute attribute, int start, int end) {
    if (!m_document)
        return;
    const int last = m_document->characterCount() - 1;
    start = qBound(0, start, last);
    end = qBound(0, end, last);
    if (start > end)
        std::swap(start, end);

    if (start == end) {
        const bool on = !hasAttribute(typingFormat(start), attribute);
        if (m_pendingPosition != start)
            m_pendingFormat = QTextCharFormat();
        m_pendingPosition = start;
        setAttribute(m_pendingFormat, attribute, on);
        return;
    }

    // On everywhere unless every character already has it; line breaks don't count.
    bool all = true;
    for (QTextBlock block = m_document->findBlock(start); block.isValid() && all;
         block = block.next()) {
        if (block.position() >= end)
            break;
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            if (fragment.position() + fragment.length() <= start || fragment.position() >= end)
                continue;
            if (!hasAttribute(fragment.charFormat(), attribute)) {
                all = false;
                break;
            }
        }
    }
    QTextCharFormat change;
    setAttribute(change, attribute, !all);
    QTextCursor cursor(m_document);
    cursor.setPosition(start);
    cursor.setPosition(end, QTextCursor::KeepAnchor);
    cursor.mergeCharFormat(change);
}

void RichTextDocument::toggleBullet(int start, int end) {
    if (!m_document)
        return;
    const int last = m_document->characterCount() - 1;
    start = qBound(0, start, last);
    end = qBound(0, end, last);
    if (start > end)
        std::swap(start, end);
    // A selection that ends at the very start of a line doesn't take that line in.
    if (end > start && m_document->findBlock(end).position() == end)
        --end;

    const QTextBlock first = m_document->findBlock(start);
    const QTextBlock lastBlock = m_document->findBlock(end);
    bool all = true;
    for (QTextBlock block = first; block.isValid(); block = block.next()) {
        if (!block.textList())
            all = false;
        if (block == lastBlock)
            break;
    }

    QTextCursor cursor(m_document);
    cursor.beginEditBlock();
    if (all) {
        for (QTextBlock block = first; block.isValid(); block = block.next()) {
            QTextCursor line(block);
            QTextBlockFormat format = line.blockFormat();
            format.setObjectIndex(-1);
            format.setIndent(0);
            line.setBlockFormat(format);
            if (block == lastBlock)
                break;
        }
    } else {
        cursor.setPosition(first.position());
        cursor.setPosition(lastBlock.position(), QTextCursor::KeepAnchor);
        cursor.createList(bulletFormat());
    }
    cursor.endEditBlock();
}

void RichTextDocument::paste(int start, int end) {
    const QMimeData* mime = QGuiApplication::clipboard()->mimeData();
    if (!m_document || !mime)
        return;
    if (mime->hasHtml()) {
        QTextDocument pasted;
        pasted.setHtml(mime->html());
        insert(read(pasted), start, end);
        return;
    }
    if (!mime->hasText())
        return;
    // Plain text takes the format at the caret, and new lines the caret's line format.
    const int last = m_document->characterCount() - 1;
    QTextCursor cursor(m_document);
    cursor.setPosition(qBound(0, start, last));
    cursor.setPosition(qBound(0, end, last), QTextCursor::KeepAnchor);
    cursor.insertText(mime->text());
}

void RichTextDocument::insert(const RichText& text, int start, int end) {
    if (!m_document)
        return;
    const int last = m_document->characterCount() - 1;
    QTextCursor cursor(m_document);
    cursor.setPosition(qBound(0, start, last));
    cursor.setPosition(qBound(0, end, last), QTextCursor::KeepAnchor);
    cursor.beginEditBlock();
    cursor.removeSelectedText();
    const QList<Line> lines = splitLines(text);
    // The first line joins the line at the caret and keeps its bullet state; the others bring
    // their own.
    QTextList* list = cursor.currentList();
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const Line& line = lines.at(i);
        if (i > 0) {
            cursor.insertBlock(QTextBlockFormat(), formatFor(*lines.at(i - 1).newline));
            list = continueList(cursor, list, line.bullet);
        }
        for (const TextRun& piece : line.pieces)
            cursor.insertText(piece.text, formatFor(piece));
    }
    cursor.endEditBlock();
}

bool RichTextDocument::handleKey(QKeyEvent* event) {
    if (!m_document || !m_editor)
        return false;
    const Qt::KeyboardModifiers modifiers =
        event->modifiers() &
        (Qt::ControlModifier | Qt::ShiftModifier | Qt::AltModifier | Qt::MetaModifier);
    const int start = editorInt("selectionStart");
    const int end = editorInt("selectionEnd");
    const int caret = editorInt("cursorPosition");
    const int from = start == end ? caret : start;
    const int to = start == end ? caret : end;

    if (event->matches(QKeySequence::Paste)) {
        paste(start, end);
        return true;
    }
    if (modifiers == Qt::ControlModifier) {
        switch (event->key()) {
        case Qt::Key_B:
            toggleAttribute(Bold, from, to);
            return true;
        case Qt::Key_I:
            toggleAttribute(Italic, from, to);
            return true;
        case Qt::Key_U:
            toggleAttribute(Underline, from, to);
            return true;
        default:
            return false;
        }
    }
    if (modifiers == (Qt::ControlModifier | Qt::ShiftModifier)) {
        switch (event->key()) {
        case Qt::Key_X:
            toggleAttribute(Strikethrough, from, to);
            return true;
        case Qt::Key_8:
        case Qt::Key_Asterisk: // Shift+8 on layouts that put "*" there
            toggleBullet(from, to);
            return true;
        default:
            return false;
        }
    }
    return false;
}

bool RichTextDocument::eventFilter(QObject* watched, QEvent* event) {
    if (watched != m_editor || m_forwarding)
        return false;
    switch (event->type()) {
    case QEvent::ShortcutOverride: {
        // Keep the formatting keys in the editor even where the window has shortcuts of its
        // own on them.
        auto* key = static_cast<QKeyEvent*>(event);
        const Qt::KeyboardModifiers mods = key->modifiers() & ~Qt::KeypadModifier;
        const bool ctrl =
            mods == Qt::ControlModifier &&
            (key->key() == Qt::Key_B || key->key() == Qt::Key_I || key->key() == Qt::Key_U);
        const bool ctrlShift =
            mods == (Qt::ControlModifier | Qt::ShiftModifier) &&
            (key->key() == Qt::Key_X || key->key() == Qt::Key_8 || key->key() == Qt::Key_Asterisk);
        if (ctrl || ctrlShift) {
            event->accept();
            return true;
        }
        return false;
    }
    case QEvent::KeyPress: {
        auto* key = static_cast<QKeyEvent*>(event);
        if (handleKey(key))
            return true;
        const bool typed = !key->text().isEmpty() && key->text().front().isPrint();
        if (m_pendingPosition >= 0 && (typed || isLineBreak(key)))
            return typeWithPendingFormat(watched, event);
        return false;
    }
    case QEvent::InputMethod: {
        auto* input = static_cast<QInputMethodEvent*>(event);
        if (m_pendingPosition >= 0 && !input->commitString().isEmpty())
            return typeWithPendingFormat(watched, event);
        return false;
    }
    default:
        return false;
    }
}

bool RichTextDocument::typeWithPendingFormat(QObject* watched, QEvent* event) {
    const int caret = editorInt("cursorPosition");
    if (caret != m_pendingPosition || editorInt("selectionStart") != editorInt("selectionEnd")) {
        clearPending();
        return false;
    }
    QString text;
    bool newBlock = false;
    if (event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        newBlock = key->matches(QKeySequence::InsertParagraphSeparator);
        text = key->matches(QKeySequence::InsertLineSeparator) ? QString(QChar::LineSeparator)
                                                               : key->text();
    } else {
        const auto* input = static_cast<QInputMethodEvent*>(event);
        // A commit that replaces text around the caret is left to the editor as it is.
        if (input->replacementLength() != 0) {
            clearPending();
            return false;
        }
        text = input->commitString();
    }

    // Typed here rather than by the editor, so that text and format are one undo step.
    QTextCharFormat format = typingFormat(caret);
    QTextCursor cursor(m_document);
    cursor.setPosition(caret);
    m_forwarding = true;
    // The new block keeps the line's list, as the editor's own Return does.
    if (newBlock)
        cursor.insertBlock(cursor.blockFormat(), format);
    else
        cursor.insertText(text, format);
    if (event->type() == QEvent::InputMethod) {
        // The composition that goes on after the commit still belongs to the editor.
        const auto* input = static_cast<QInputMethodEvent*>(event);
        QInputMethodEvent rest(input->preeditString(), input->attributes());
        QCoreApplication::sendEvent(watched, &rest);
    }
    m_forwarding = false;
    clearPending();
    event->accept();
    return true;
}

void RichTextDocument::onEditorCursorMoved() {
    if (!m_forwarding && m_pendingPosition >= 0 && editorInt("cursorPosition") != m_pendingPosition)
        clearPending();
}

void RichTextDocument::clearPending() {
    m_pendingPosition = -1;
    m_pendingFormat = QTextCharFormat();
}

int RichTextDocument::editorInt(const char* property) const {
    return m_editor ? m_editor->property(property).toInt() : 0;
}
