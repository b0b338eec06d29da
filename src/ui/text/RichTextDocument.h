#pragma once

#include "RichText.h"

#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickTextDocument>
#include <QString>
#include <QTextCharFormat>
#include <QTextDocument>

class QKeyEvent;

// The bridge between a rich-text TextEdit and the core's RichText: loads a note into the
// edit's QTextDocument and reads it back, and gives the edit its formatting keys.
//
// In the document, bold, italic, underline and strikethrough are character formats and a
// bulleted line is a block in a QTextList. Everything else a document can hold (fonts, colours,
// links, images, other list styles) is not part of a note: it is dropped when the document is
// read, and a paste brings in only what a note can hold.
//
// With `editor` set, the helper watches the edit's key and input-method events: Ctrl+B, Ctrl+I,
// Ctrl+U and Ctrl+Shift+X toggle an attribute on the selection, Ctrl+Shift+8 toggles bullets
// on the selected lines, and paste goes through the note form. A toggle with no selection
// applies to what is typed next at the caret, committed input-method text included.
class RichTextDocument : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickTextDocument* textDocument READ textDocument WRITE setTextDocument NOTIFY
                   textDocumentChanged)
    Q_PROPERTY(QQuickItem* editor READ editor WRITE setEditor NOTIFY editorChanged)
    Q_PROPERTY(QString plainText READ plainText NOTIFY contentChanged)

public:
    enum Attribute { Bold, Italic, Underline, Strikethrough };
    Q_ENUM(Attribute)

    explicit RichTextDocument(QObject* parent = nullptr);

    [[nodiscard]] QQuickTextDocument* textDocument() const { return m_textDocument; }
    void setTextDocument(QQuickTextDocument* textDocument);
    [[nodiscard]] QQuickItem* editor() const { return m_editor; }
    void setEditor(QQuickItem* editor);

    // The document worked on: the text document's, or one set directly.
    [[nodiscard]] QTextDocument* document() const { return m_document; }
    void setDocument(QTextDocument* document);

    // Replaces the content with `text`. Loading is not a step the user can undo.
    void load(const RichText& text);
    [[nodiscard]] RichText richText() const;
    [[nodiscard]] QString plainText() const;

    // The conversions themselves.
    static void write(const RichText& text, QTextDocument* document);
    [[nodiscard]] static RichText read(const QTextDocument& document);

    // Toggles over [start, end): on everywhere unless the whole range has it already. An empty
    // range sets the attribute of the next text typed at that position instead.
    Q_INVOKABLE void toggleAttribute(RichTextDocument::Attribute attribute, int start, int end);
    // Every line touched by [start, end] becomes a bullet, or all lose it when all have one.
    Q_INVOKABLE void toggleBullet(int start, int end);
    // Replaces [start, end) with the note form of the clipboard's content.
    Q_INVOKABLE void paste(int start, int end);
    // Replaces [start, end) with `text`, keeping only what a note can hold.
    void insert(const RichText& text, int start, int end);

    // Whether a key event is one of the formatting keys; performs it on the editor's selection.
    bool handleKey(QKeyEvent* event);

    // The format that text typed at `position` gets next (for the pending toggle).
    [[nodiscard]] QTextCharFormat typingFormat(int position) const;

signals:
    void textDocumentChanged();
    void editorChanged();
    void contentChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    void onEditorCursorMoved();

private:
    [[nodiscard]] int editorInt(const char* property) const;
    // Types the text of a key press or an input-method commit at the caret in the pending
    // format. A line break takes it too, so the new line goes on in the toggled format.
    bool typeWithPendingFormat(QObject* watched, QEvent* event);
    void clearPending();

    QPointer<QQuickTextDocument> m_textDocument;
    QPointer<QQuickItem> m_editor;
    QPointer<QTextDocument> m_document;
    QMetaObject::Connection m_contentsConnection;
    QMetaObject::Connection m_cursorConnection;

    // A toggle made with no selection waits here for the next text typed at its position.
    int m_pendingPosition = -1;
    QTextCharFormat m_pendingFormat;
    bool m_forwarding = false;
};
