#include "TaskText.h"

namespace TaskText {

namespace {

QString clean(const QString& text, qsizetype maxLength, bool keepLineBreaks) {
    QString out;
    out.reserve(std::min(text.size(), maxLength));
    for (qsizetype i = 0; i < text.size() && out.size() < maxLength; ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('\r') && i + 1 < text.size() && text.at(i + 1) == QLatin1Char('\n'))
            continue; // the \n that follows stands for the pair
        const bool lineBreak = c == QLatin1Char('\n') || c == QLatin1Char('\r') ||
                               c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
        if (lineBreak) {
            out += keepLineBreaks ? QLatin1Char('\n') : QLatin1Char(' ');
        } else if (c == QLatin1Char('\t')) {
            out += QLatin1Char(' ');
        } else if (c.category() != QChar::Other_Control) {
            out += c;
        }
    }
    // Never end on half of a surrogate pair.
    if (!out.isEmpty() && out.back().isHighSurrogate())
        out.chop(1);
    return out;
}

} // namespace

QString cleanTitle(const QString& title) {
    return clean(title, maxTitleLength, false);
}

QString cleanNote(const QString& note) {
    return clean(note, maxNoteLength, true);
}

bool isBlank(const QString& text) {
    for (const QChar c : text) {
        if (!c.isSpace() && c.category() != QChar::Other_Format)
            return false;
    }
    return true;
}

} // namespace TaskText
