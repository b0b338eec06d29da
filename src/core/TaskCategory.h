#pragma once

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QUuid>

class ModelContext;

// A list: a name, a colour and a place in the strip (smaller sortIndex first).
// Tasks point to their list; deleting a list leaves its tasks without one.
class TaskCategory : public QObject {
    Q_OBJECT
    Q_PROPERTY(QUuid id READ id CONSTANT)
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QString colorHex READ colorHex WRITE setColorHex NOTIFY colorHexChanged)
    Q_PROPERTY(qint64 sortIndex READ sortIndex WRITE setSortIndex NOTIFY sortIndexChanged)
    Q_PROPERTY(QDateTime createdAt READ createdAt CONSTANT)

public:
    inline static const QString defaultColorHex = QStringLiteral("8B8D98");

    TaskCategory(const QString& name, const QString& colorHex, qint64 sortIndex,
                 const QDateTime& now);
    // A record as it was stored (the store and the importer).
    TaskCategory(const QUuid& id, const QDateTime& createdAt);

    [[nodiscard]] QUuid id() const { return m_id; }
    [[nodiscard]] QString name() const { return m_name; }
    [[nodiscard]] QString colorHex() const { return m_colorHex; }
    [[nodiscard]] qint64 sortIndex() const { return m_sortIndex; }
    [[nodiscard]] QDateTime createdAt() const { return m_createdAt; }

    void setName(const QString& name);
    void setColorHex(const QString& colorHex);
    void setSortIndex(qint64 sortIndex);

    [[nodiscard]] ModelContext* modelContext() const { return m_context; }
    [[nodiscard]] bool isDeleted() const { return m_deleted; }

signals:
    void nameChanged();
    void colorHexChanged();
    void sortIndexChanged();

private:
    friend class ModelContext;
    friend class StoreQuery;
    void markChanged();

    QUuid m_id;
    QString m_name;
    QString m_colorHex = defaultColorHex;
    qint64 m_sortIndex = 0;
    QDateTime m_createdAt;

    ModelContext* m_context = nullptr;
    bool m_deleted = false;
};
