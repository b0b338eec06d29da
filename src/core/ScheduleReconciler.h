#pragma once

#include <QDateTime>

class ModelContext;
class NotificationHub;
class Preferences;

// Once per local day: a task placed in today by hand loses the day it no longer has, and an
// explicitly scheduled task that just became overdue comes to the top. Does not save.
namespace ScheduleReconciler {

void reconcile(ModelContext& context, const QDateTime& now, Preferences& preferences,
               NotificationHub& hub);

} // namespace ScheduleReconciler
