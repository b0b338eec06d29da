#pragma once

#include <QLoggingCategory>
#include <QString>

class ModelContext;
class NotificationHub;

Q_DECLARE_LOGGING_CATEGORY(lcPersistence) // "dev.orlen.tavik.persistence"

// The one checked save: a failure is logged and announced once per run of failures
// (tavikSaveFailed with "error" and "action"), and the recovery is logged.
namespace TavikPersistence {

bool save(ModelContext& context, const QString& action, NotificationHub& hub);

// Whether the last save of `context` failed (for tests and the app's own state).
[[nodiscard]] bool isFailing(const ModelContext& context);

} // namespace TavikPersistence
