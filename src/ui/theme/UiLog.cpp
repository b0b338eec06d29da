#include "theme/UiLog.h"

Q_LOGGING_CATEGORY(lcUi, "dev.orlen.tavik.ui", QtInfoMsg)
