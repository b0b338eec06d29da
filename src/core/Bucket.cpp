#include "Bucket.h"

namespace BucketInfo {

QString rawValue(Bucket bucket) {
    switch (bucket) {
    case Bucket::later:
        return QStringLiteral("later");
    case Bucket::thisWeek:
        return QStringLiteral("thisWeek");
    case Bucket::today:
        return QStringLiteral("today");
    case Bucket::done:
        return QStringLiteral("done");
    }
    return {};
}

std::optional<Bucket> fromRawValue(const QString& raw) {
    for (Bucket bucket : allCases) {
        if (rawValue(bucket) == raw)
            return bucket;
    }
    return std::nullopt;
}

QString title(Bucket bucket) {
    switch (bucket) {
    case Bucket::later:
        return QStringLiteral("稍后");
    case Bucket::thisWeek:
        return QStringLiteral("本周");
    case Bucket::today:
        return QStringLiteral("今天");
    case Bucket::done:
        return QStringLiteral("已完成");
    }
    return {};
}

QString systemImage(Bucket bucket) {
    switch (bucket) {
    case Bucket::later:
        return QStringLiteral("tray");
    case Bucket::thisWeek:
        return QStringLiteral("calendar.badge.clock");
    case Bucket::today:
        return QStringLiteral("sun.max");
    case Bucket::done:
        return QStringLiteral("checkmark.circle");
    }
    return {};
}

} // namespace BucketInfo
