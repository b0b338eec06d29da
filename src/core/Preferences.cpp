#include "Preferences.h"

Preferences::Preferences()
    : m_settings(std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                             QStringLiteral("tavik"), QStringLiteral("tavik"))) {}

Preferences::Preferences(const QString& iniPath)
    : m_settings(std::make_unique<QSettings>(iniPath, QSettings::IniFormat)) {}

QString Preferences::selectedListId() const {
    return m_settings->value(selectedListIdKey, QString()).toString();
}

void Preferences::setSelectedListId(const QString& value) {
    m_settings->setValue(selectedListIdKey, value);
}

bool Preferences::compactRows() const {
    return m_settings->value(compactRowsKey, false).toBool();
}

void Preferences::setCompactRows(bool value) {
    m_settings->setValue(compactRowsKey, value);
}

QDateTime Preferences::scheduleReconcileLastDay() const {
    const QVariant value = m_settings->value(reconcileLastDayKey);
    // INI files hand dates back as QDateTime; anything else reads as absent.
    if (value.typeId() != QMetaType::QDateTime)
        return {};
    return value.toDateTime().toUTC();
}

void Preferences::setScheduleReconcileLastDay(const QDateTime& day) {
    m_settings->setValue(reconcileLastDayKey, day.toUTC());
}
