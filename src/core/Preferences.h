#pragma once

#include <QDateTime>
#include <QSettings>
#include <QString>
#include <memory>

// The user's preferences, under the keys the rest of the system knows ("tavik.*").
// Backed by QSettings: ~/.config/tavik/tavik.ini unless a file is given.
class Preferences {
public:
    Preferences();                                // the user's own preferences
    explicit Preferences(const QString& iniPath); // a file of its own (tests, demo runs)

    inline static const QString selectedListIdKey = QStringLiteral("tavik.selectedListId");
    inline static const QString compactRowsKey = QStringLiteral("tavik.compactRows");
    inline static const QString reconcileLastDayKey =
        QStringLiteral("tavik.scheduleReconcile.lastDay");
    inline static const QString aiEnabledKey = QStringLiteral("tavik.ai.enabled");
    inline static const QString aiModelKey = QStringLiteral("tavik.ai.model");

    [[nodiscard]] QString selectedListId() const;
    void setSelectedListId(const QString& value);

    [[nodiscard]] bool compactRows() const;
    void setCompactRows(bool value);

    // Invalid when absent or not a date.
    [[nodiscard]] QDateTime scheduleReconcileLastDay() const;
    void setScheduleReconcileLastDay(const QDateTime& day);

    [[nodiscard]] QSettings& settings() { return *m_settings; }

private:
    std::unique_ptr<QSettings> m_settings;
};
