#pragma once

#include "CloudAccount.h"
#include "CloudSync.h"
#include "CloudSyncMonitor.h"

#include <QQmlEngine>

// The cloud mirror's types as QML sees them: the app makes them, the settings window shows
// and drives them.
struct ForeignCloudSync {
    Q_GADGET
    QML_FOREIGN(CloudSync)
    QML_NAMED_ELEMENT(CloudSync)
    QML_UNCREATABLE("The app owns the one cloud mirror.")
};

struct ForeignCloudSyncMonitor {
    Q_GADGET
    QML_FOREIGN(CloudSyncMonitor)
    QML_NAMED_ELEMENT(CloudSyncMonitor)
    QML_UNCREATABLE("The cloud mirror makes its monitor.")
};

struct ForeignCloudAccount {
    Q_GADGET
    QML_FOREIGN(CloudAccount)
    QML_NAMED_ELEMENT(CloudAccount)
    QML_UNCREATABLE("The app owns the one sync account.")
};
