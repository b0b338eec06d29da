#pragma once

#include <QAbstractListModel>
#include <QDateTime>
#include <QList>
#include <QQmlEngine>

// The quarter-hour slots of the day of `initial`, 00:00 to 23:45. A slot that a
// daylight-saving jump skips does not exist and is left out. Every slot is offered, past or
// not. `anchorIndex` is the row the list centres on when it appears: the first slot at or
// after the selected time (or `initial` without one), else the last slot.
class TimeListModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QDateTime selected READ selected WRITE setSelected NOTIFY selectedChanged)
    Q_PROPERTY(QDateTime initial READ initial WRITE setInitial NOTIFY initialChanged)
    Q_PROPERTY(int anchorIndex READ anchorIndex NOTIFY anchorIndexChanged)
    Q_PROPERTY(int count READ rowCount NOTIFY initialChanged)

public:
    enum Role {
        SlotRole = Qt::UserRole + 1,
        LabelRole,
        IsSelectedRole,
    };
    Q_ENUM(Role)

    static constexpr int slotMinutes = 15;

    explicit TimeListModel(QObject* parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    [[nodiscard]] QDateTime selected() const { return m_selected; }
    void setSelected(const QDateTime& selected);
    [[nodiscard]] QDateTime initial() const { return m_initial; }
    void setInitial(const QDateTime& initial);
    [[nodiscard]] int anchorIndex() const;
    [[nodiscard]] QDateTime slotAt(int index) const { return m_slots.value(index); }

signals:
    void selectedChanged();
    void initialChanged();
    void anchorIndexChanged();

private:
    [[nodiscard]] bool isSelected(const QDateTime& slot) const;

    QDateTime m_selected;
    QDateTime m_initial;
    QList<QDateTime> m_slots;
};
