#pragma once

#include <QAbstractListModel>
#include <QDate>
#include <QDateTime>
#include <QPointer>
#include <QQmlEngine>
#include <QQmlParserStatus>
#include <QStringList>
#include <functional>

#include "types/QmlClock.h"

// The cells of a month grid: the days of the month of `monthStart`, led by the last days of
// the month before so that the first column is `firstDayOfWeek`, and filled up with the next
// month's days to whole weeks (4 to 6 rows). Each cell is the start of a local day; cells
// are made from calendar dates, so a daylight-saving month still has 24-hour-free arithmetic.
class CalendarGridModel : public QAbstractListModel, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    // Which cell is today; without a clock no cell is.
    Q_PROPERTY(QmlClock* clock READ clock WRITE setClock NOTIFY clockChanged REQUIRED)
    // Any moment of the month on show; read back as the start of its first day.
    Q_PROPERTY(QDateTime monthStart READ monthStart WRITE setMonthStart NOTIFY monthStartChanged)
    Q_PROPERTY(QDateTime selected READ selected WRITE setSelected NOTIFY selectedChanged)
    // Days before this one are shown but cannot be picked.
    Q_PROPERTY(QDateTime minDay READ minDay WRITE setMinDay NOTIFY minDayChanged)
    // Qt::DayOfWeek; the desktop locale's first day unless set.
    Q_PROPERTY(
        int firstDayOfWeek READ firstDayOfWeek WRITE setFirstDayOfWeek NOTIFY firstDayOfWeekChanged)
    Q_PROPERTY(int leadingDays READ leadingDays NOTIFY gridChanged)
    Q_PROPERTY(int rows READ rows NOTIFY gridChanged)
    Q_PROPERTY(QString title READ title NOTIFY monthStartChanged)
    Q_PROPERTY(QStringList weekdaySymbols READ weekdaySymbols NOTIFY firstDayOfWeekChanged)

public:
    enum Role {
        DateRole = Qt::UserRole + 1,
        DayNumberRole,
        InMonthRole,
        BeforeMinRole,
        IsSelectedRole,
        IsTodayRole,
    };
    Q_ENUM(Role)

    explicit CalendarGridModel(QObject* parent = nullptr);
    explicit CalendarGridModel(QmlClock* clock, QObject* parent = nullptr);

    [[nodiscard]] QmlClock* clock() const { return m_clock; }
    void setClock(QmlClock* clock);

    // While QML builds the controller, its clock may not have arrived yet.
    void classBegin() override { m_building = true; }
    void componentComplete() override;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    [[nodiscard]] QDateTime monthStart() const;
    void setMonthStart(const QDateTime& moment);
    [[nodiscard]] QDateTime selected() const { return m_selected; }
    void setSelected(const QDateTime& selected);
    [[nodiscard]] QDateTime minDay() const { return m_minDay; }
    void setMinDay(const QDateTime& minDay);
    [[nodiscard]] int firstDayOfWeek() const { return m_firstDayOfWeek; }
    void setFirstDayOfWeek(int day);

    [[nodiscard]] int leadingDays() const;
    [[nodiscard]] int rows() const { return rowCount() / 7; }
    [[nodiscard]] QString title() const;
    [[nodiscard]] QStringList weekdaySymbols() const;
    [[nodiscard]] QDate cellDate(int index) const;

    // Shows the month `delta` months away.
    Q_INVOKABLE void page(int delta);

signals:
    void clockChanged();
    void monthStartChanged();
    void selectedChanged();
    void minDayChanged();
    void firstDayOfWeekChanged();
    // The leading days or the number of rows may have changed.
    void gridChanged();

private:
    void resetCells(const std::function<void()>& change);
    void refreshFlags();

    QPointer<QmlClock> m_clock;
    bool m_building = false;
    QDate m_month; // the first day of the month on show
    QDateTime m_selected;
    QDateTime m_minDay;
    int m_firstDayOfWeek;
};
