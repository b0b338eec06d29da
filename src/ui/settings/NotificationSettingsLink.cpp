#include "settings/NotificationSettingsLink.h"

#include "theme/UiLog.h"

#include <QProcess>
#include <QStandardPaths>

namespace {

struct SettingsProgram {
    const char* program;
    QStringList arguments;
};

} // namespace

NotificationSettingsLink::NotificationSettingsLink(QObject* parent)
    : QObject(parent) {
    const SettingsProgram candidates[] = {
        {"gnome-control-center", {QStringLiteral("notifications")}},
        {"systemsettings", {QStringLiteral("kcm_notifications")}},
        {"xfce4-notifyd-config", {}},
    };
    for (const auto& candidate : candidates) {
        const QString path = QStandardPaths::findExecutable(QLatin1String(candidate.program));
        if (!path.isEmpty()) {
            m_program = path;
            m_arguments = candidate.arguments;
            break;
        }
    }
}

bool NotificationSettingsLink::open() const {
    if (m_program.isEmpty())
        return false;
    const bool started = QProcess::startDetached(m_program, m_arguments);
    if (!started)
        qCWarning(lcUi) << "could not start" << m_program;
    return started;
}
