#pragma once

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcUi) // "dev.orlen.tavik.ui"
