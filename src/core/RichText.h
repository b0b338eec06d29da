#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

// The rich form of a task note: runs of text with character attributes, and lines marked as
// bullets. This is the one JSON form of rich notes in the program:
//
//   {"runs":[{"text":"Buy ","bold":true},{"text":"milk\n"}, ...]}
//
// A run may carry "bold", "italic", "underline", "strikethrough" (character attributes) and
// "bullet" (the line the run belongs to is a bulleted line). Absent means false.
struct TextRun {
    QString text;
    bool bold = false;
    bool italic = false;
    bool underline = false;
    bool strikethrough = false;
    bool bullet = false;

    [[nodiscard]] bool sameAttributes(const TextRun& other) const;
    friend bool operator==(const TextRun&, const TextRun&) = default;
};

class RichText {
public:
    RichText() = default;
    explicit RichText(QList<TextRun> runs);

    [[nodiscard]] static RichText fromPlainText(const QString& text);
    // Returns false and leaves `out` untouched when the bytes are not this JSON form.
    [[nodiscard]] static bool fromJson(const QByteArray& json, RichText* out);

    [[nodiscard]] QByteArray toJson() const;
    [[nodiscard]] QString plainText() const;
    [[nodiscard]] bool isEmpty() const { return m_runs.isEmpty(); }
    [[nodiscard]] const QList<TextRun>& runs() const { return m_runs; }

    friend bool operator==(const RichText&, const RichText&) = default;

private:
    QList<TextRun> m_runs; // adjacent runs with the same attributes are merged
};
