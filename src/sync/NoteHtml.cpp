#include "NoteHtml.h"

#include <QXmlStreamReader>

namespace {

QString escaped(const QString& text) {
    return text.toHtmlEscaped();
}

// The runs of one line, with the line break taken off.
struct Line {
    QList<TextRun> runs;
    bool bullet = false;
};

QList<Line> linesOf(const RichText& note) {
    QList<Line> lines{Line{}};
    for (const TextRun& run : note.runs()) {
        const QStringList parts = run.text.split(QLatin1Char('\n'));
        for (qsizetype i = 0; i < parts.size(); ++i) {
            if (i > 0)
                lines.append(Line{});
            TextRun piece = run;
            piece.text = parts.at(i);
            // The line break that ends a line belongs to it, bullet and all.
            const bool endsLine = i + 1 < parts.size();
            if (run.bullet && (endsLine || !piece.text.isEmpty()))
                lines.last().bullet = true;
            if (!piece.text.isEmpty())
                lines.last().runs.append(piece);
        }
    }
    return lines;
}

} // namespace

QString NoteHtml::toHtml(const RichText& note) {
    QString html = QStringLiteral("<html><body>");
    bool inList = false;
    for (const Line& line : linesOf(note)) {
        if (line.bullet != inList) {
            html += line.bullet ? QStringLiteral("<ul>") : QStringLiteral("</ul>");
            inList = line.bullet;
        }
        html += line.bullet ? QStringLiteral("<li>") : QStringLiteral("<p>");
        for (const TextRun& run : line.runs) {
            QString open, close;
            const auto wrap = [&](bool on, const char* tag) {
                if (!on)
                    return;
                open += QStringLiteral("<%1>").arg(QLatin1String(tag));
                close.prepend(QStringLiteral("</%1>").arg(QLatin1String(tag)));
            };
            wrap(run.bold, "b");
            wrap(run.italic, "i");
            wrap(run.underline, "u");
            wrap(run.strikethrough, "s");
            html += open + escaped(run.text) + close;
        }
        html += line.bullet ? QStringLiteral("</li>") : QStringLiteral("</p>");
    }
    if (inList)
        html += QStringLiteral("</ul>");
    return html + QStringLiteral("</body></html>");
}

bool NoteHtml::fromHtml(const QString& html, RichText* out) {
    QXmlStreamReader xml(html);
    QList<TextRun> runs;
    TextRun current;
    int lines = 0;
    bool bullet = false;
    while (!xml.atEnd()) {
        xml.readNext();
        const QStringView tag = xml.name();
        if (xml.isStartElement()) {
            if (tag == u"p" || tag == u"li") {
                if (lines++ > 0)
                    runs.append(TextRun{QStringLiteral("\n"), false, false, false, false, bullet});
                bullet = tag == u"li";
            } else if (tag == u"b" || tag == u"strong") {
                current.bold = true;
            } else if (tag == u"i" || tag == u"em") {
                current.italic = true;
            } else if (tag == u"u") {
                current.underline = true;
            } else if (tag == u"s" || tag == u"strike" || tag == u"del") {
                current.strikethrough = true;
            } else if (tag == u"br") {
                runs.append(TextRun{QStringLiteral("\n"), false, false, false, false, bullet});
            }
        } else if (xml.isEndElement()) {
            if (tag == u"b" || tag == u"strong")
                current.bold = false;
            else if (tag == u"i" || tag == u"em")
                current.italic = false;
            else if (tag == u"u")
                current.underline = false;
            else if (tag == u"s" || tag == u"strike" || tag == u"del")
                current.strikethrough = false;
        } else if (xml.isCharacters() && lines > 0) {
            TextRun run = current;
            run.text = xml.text().toString();
            run.bullet = bullet;
            runs.append(run);
        }
    }
    if (xml.hasError())
        return false;
    // A line break belongs to the line it ends: mark it bulleted like the text before it.
    for (qsizetype i = 1; i < runs.size(); ++i) {
        if (runs.at(i).text == QLatin1String("\n"))
            runs[i].bullet = runs.at(i - 1).bullet;
    }
    *out = RichText(runs);
    return true;
}
