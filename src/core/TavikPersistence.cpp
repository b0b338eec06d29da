#include "TavikPersistence.h"

#include "ModelContext.h"
#include "Notifications.h"

Q_LOGGING_CATEGORY(lcPersistence, "dev.orlen.tavik.persistence", QtInfoMsg)

namespace TavikPersistence {

bool save(ModelContext& context, const QString& action, NotificationHub& hub) {
    // A save that writes nothing proves nothing, so it does not end a run of failures.
    if (!context.hasChanges())
        return true;

    QString error;
    if (!context.save(&error)) {
        // arg(a, b) substitutes both at once, so a '%' in the action can't swallow the error.
        qCWarning(lcPersistence).noquote()
            << QStringLiteral("save FAILED after %1: %2").arg(action, error);
        if (!context.saveFailing()) {
            context.setSaveFailing(true);
            // Once per run of failures: the user is told that changes are not reaching the
            // disk, not told again for every change that follows.
            hub.post(TavikNotification::saveFailed,
                     {{QStringLiteral("error"), error}, {QStringLiteral("action"), action}});
        }
        return false;
    }

    if (context.saveFailing()) {
        context.setSaveFailing(false);
        qCInfo(lcPersistence).noquote() << QStringLiteral("save recovered after %1").arg(action);
    }
    return true;
}

bool isFailing(const ModelContext& context) {
    return context.saveFailing();
}

} // namespace TavikPersistence
