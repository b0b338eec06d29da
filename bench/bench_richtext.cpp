// The note editor's conversions: loading a note into the editor's document, and reading the
// document back into the working copy, which the drawer does after every change of the note.
#include "RichText.h"
#include "text/RichTextDocument.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTextDocument>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

// A note of `lines` lines of mixed Chinese text: every third line a bullet, some runs styled.
RichText makeNote(int lines) {
    QList<TextRun> runs;
    for (int i = 0; i < lines; ++i) {
        TextRun head{QStringLiteral("第%1项：").arg(i + 1)};
        head.bold = i % 5 == 0;
        TextRun body{QStringLiteral("记得带上购物袋和会员卡\n")};
        body.italic = i % 7 == 0;
        head.bullet = body.bullet = i % 3 != 0;
        runs << head << body;
    }
    return RichText(runs);
}

template <typename Work> double medianMs(int runs, Work work) {
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        work();
        times.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

} // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    constexpr int runs = 21;
    std::printf("%8s %10s %12s %12s %12s\n", "lines", "chars", "load ms", "read ms", "json ms");
    for (int lines : {10, 100, 1000, 10000}) {
        const RichText note = makeNote(lines);
        QTextDocument document;
        const double load = medianMs(runs, [&] { RichTextDocument::write(note, &document); });
        RichText back;
        const double read = medianMs(runs, [&] { back = RichTextDocument::read(document); });
        QByteArray json;
        const double encode = medianMs(runs, [&] { json = back.toJson(); });
        if (!(back == note))
            std::fprintf(stderr, "round trip differs at %d lines\n", lines);
        std::printf("%8d %10lld %12.3f %12.3f %12.3f\n", lines,
                    static_cast<long long>(note.plainText().size()), load, read, encode);
    }
    return 0;
}
