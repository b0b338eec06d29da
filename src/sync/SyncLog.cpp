#include "SyncLog.h"

Q_LOGGING_CATEGORY(lcSync, "dev.orlen.tavik.sync", QtInfoMsg)
