#include "LaunchOptions.h"

#include <QCommandLineParser>

namespace {

const QString kList = QStringLiteral("list");
const QString kJson = QStringLiteral("json");
const QString kCountToday = QStringLiteral("count-today");
const QString kExport = QStringLiteral("export");
const QString kImport = QStringLiteral("import");
const QString kConnect = QStringLiteral("connect");
const QString kDisconnect = QStringLiteral("disconnect");
const QString kSync = QStringLiteral("sync");
const QString kAt = QStringLiteral("at");
const QString kHelp = QStringLiteral("help");
const QString kSeedDemo = QStringLiteral("seed-demo");
const QString kBackground = QStringLiteral("background");
const QString kToggle = QStringLiteral("toggle");
const QString kQuickAdd = QStringLiteral("quick-add");
const QString kDebugFrame = QStringLiteral("debug-frame");
const QString kDebugOpenEditor = QStringLiteral("debug-open-editor");
const QString kDebugDoneOpen = QStringLiteral("debug-done-open");

} // namespace

LaunchOptions LaunchOptions::parse(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOptions({
        {kList, {}},
        {kJson, {}},
        {kCountToday, {}},
        {kExport, {}},
        {kImport, {}},
        {kConnect, {}},
        {kDisconnect, {}},
        {kSync, {}},
        {kAt, {}, QStringLiteral("moment")},
        {{QStringLiteral("h"), kHelp}, {}},
        {kSeedDemo, {}},
        {kBackground, {}},
        {kToggle, {}},
        {kQuickAdd, {}},
        {kDebugFrame, {}},
        {kDebugOpenEditor, {}},
        {kDebugDoneOpen, {}},
    });

    LaunchOptions options;
    if (!parser.parse(arguments))
        options.error = parser.errorText();
    for (const QString& name :
         {kList, kCountToday, kExport, kImport, kConnect, kDisconnect, kSync}) {
        if (parser.isSet(name))
            options.commands << QStringLiteral("--") + name;
    }
    options.positional = parser.positionalArguments();
    options.help = parser.isSet(kHelp);
    options.json = parser.isSet(kJson);
    if (parser.isSet(kAt))
        options.at = parser.value(kAt);
    options.seedDemo = parser.isSet(kSeedDemo);
    options.background = parser.isSet(kBackground);
    options.toggle = parser.isSet(kToggle);
    options.quickAdd = parser.isSet(kQuickAdd);
    options.debugFrame = parser.isSet(kDebugFrame);
    options.debugOpenEditor = parser.isSet(kDebugOpenEditor);
    options.debugDoneOpen = parser.isSet(kDebugDoneOpen);
    return options;
}

bool LaunchOptions::isCommand() const {
    return !commands.isEmpty() || help || json || at.has_value();
}

bool LaunchOptions::isSyncCommand() const {
    static const QStringList sync{QStringLiteral("--connect"), QStringLiteral("--disconnect"),
                                  QStringLiteral("--sync")};
    return error.isEmpty() && !help && commands.size() == 1 && sync.contains(commands.first());
}
