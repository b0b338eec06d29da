#pragma once

#include <QtGlobal>

// An ISO 8601 week: the week-based year (not the calendar year) and the week number.
struct WeekKey {
    qint64 year = 0;
    qint64 week = 0;

    friend bool operator==(const WeekKey&, const WeekKey&) = default;
};
