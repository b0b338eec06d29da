#include "VersionNumber.h"

#include <QList>

#include <algorithm>

namespace {

bool isDigits(QStringView part) {
    if (part.isEmpty())
        return false;
    for (QChar c : part) {
        if (c < u'0' || c > u'9')
            return false;
    }
    return true;
}

// Compares two digit strings as numbers of any length, so a component never overflows.
int compareComponent(QStringView a, QStringView b) {
    while (a.size() > 1 && a.front() == u'0')
        a = a.sliced(1);
    while (b.size() > 1 && b.front() == u'0')
        b = b.sliced(1);
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    return a.compare(b);
}

} // namespace

bool VersionNumber::isValid(QStringView version) {
    const QStringView trimmed = version.trimmed();
    if (trimmed.isEmpty())
        return false;
    for (QStringView part : trimmed.split(u'.')) {
        if (!isDigits(part))
            return false;
    }
    return true;
}

int VersionNumber::compare(QStringView a, QStringView b) {
    if (!isValid(a) || !isValid(b))
        return 0;
    const QList<QStringView> left = a.trimmed().split(u'.');
    const QList<QStringView> right = b.trimmed().split(u'.');
    const qsizetype count = std::max(left.size(), right.size());
    for (qsizetype i = 0; i < count; ++i) {
        const QStringView l = i < left.size() ? left[i] : QStringView(u"0");
        const QStringView r = i < right.size() ? right[i] : QStringView(u"0");
        if (const int order = compareComponent(l, r); order != 0)
            return order < 0 ? -1 : 1;
    }
    return 0;
}
