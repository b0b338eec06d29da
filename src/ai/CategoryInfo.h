#pragma once

#include <QMetaType>
#include <QString>
#include <QUuid>

// A list as the AI path sees it: no store, no object, just what matching and showing need.
struct CategoryInfo {
    Q_GADGET
    Q_PROPERTY(QUuid id MEMBER id)
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QString colorHex MEMBER colorHex)

public:
    QUuid id;
    QString name; // as stored, blanks included
    QString colorHex;

    friend bool operator==(const CategoryInfo&, const CategoryInfo&) = default;
};
Q_DECLARE_METATYPE(CategoryInfo)
