#include "RemindersLog.h"

Q_LOGGING_CATEGORY(lcReminders, "dev.orlen.tavik.reminders", QtInfoMsg)
