// The fake Gemini service as a process of its own, for the end-to-end runs: it answers as
// the JSON file named on the command line says ({"answers": {raw line: answer}, "fallback":
// answer}, each answer as in FakeGemini), prints its address and logs each request.
#include "FakeGemini.h"

#include <QCoreApplication>
#include <QTimer>
#include <cstdio>

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: fake_gemini ANSWERS.json\n");
        return 2;
    }
    QFile file(QString::fromLocal8Bit(argv[1]));
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", argv[1]);
        return 2;
    }
    const QJsonObject script = QJsonDocument::fromJson(file.readAll()).object();
    FakeGemini fake;
    fake.answers = script["answers"].toObject();
    fake.fallback = script["fallback"].toObject();
    std::printf("%s\n", qPrintable(fake.url().toString()));
    std::fflush(stdout);

    // One line per request, once its answer is chosen: the raw line and any wire fault.
    QTimer poll;
    size_t reported = 0;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        for (; reported < fake.seen.size(); ++reported) {
            const SeenRequest& seen = fake.seen[reported];
            std::printf("request %s faults=%d %s\n", qPrintable(seen.path), int(seen.faults.size()),
                        qPrintable(seen.input));
            for (const QString& fault : seen.faults)
                std::printf("fault %s\n", qPrintable(fault));
        }
        std::fflush(stdout);
    });
    poll.start(50);
    return app.exec();
}
