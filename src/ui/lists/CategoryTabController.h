#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>

// The state of one tab of the list strip, from its list id, the selected id and whether a
// dragged task hovers it. "" is the tab 全部 on both sides.
class CategoryTabController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString categoryId READ categoryId WRITE setCategoryId NOTIFY categoryIdChanged)
    Q_PROPERTY(QString selectedCategoryId READ selectedCategoryId WRITE setSelectedCategoryId NOTIFY
                   selectedCategoryIdChanged)
    // Set by the strip while a dragged task would be assigned to this tab's list.
    Q_PROPERTY(bool hot READ hot WRITE setHot NOTIFY hotChanged)
    Q_PROPERTY(bool isSelected READ isSelected NOTIFY stateChanged)
    Q_PROPERTY(bool swatchFilled READ swatchFilled NOTIFY stateChanged)
    Q_PROPERTY(bool showsHotCapsule READ showsHotCapsule NOTIFY stateChanged)
    Q_PROPERTY(int horizontalPadding READ horizontalPadding NOTIFY stateChanged)
public:
    explicit CategoryTabController(QObject* parent = nullptr);

    [[nodiscard]] QString categoryId() const { return m_categoryId; }
    void setCategoryId(const QString& categoryId);
    [[nodiscard]] QString selectedCategoryId() const { return m_selectedCategoryId; }
    void setSelectedCategoryId(const QString& selectedCategoryId);
    [[nodiscard]] bool hot() const { return m_hot; }
    void setHot(bool hot);

    [[nodiscard]] bool isSelected() const;
    [[nodiscard]] bool swatchFilled() const { return isSelected() || m_hot; }
    // The selection pill wins over the hover capsule of a drag.
    [[nodiscard]] bool showsHotCapsule() const { return m_hot && !isSelected(); }
    [[nodiscard]] int horizontalPadding() const { return isSelected() ? 10 : 7; }

    // Two ids name the same list whatever their braces or letter case; "" matches only "".
    [[nodiscard]] static bool sameId(const QString& a, const QString& b);

signals:
    void categoryIdChanged();
    void selectedCategoryIdChanged();
    void hotChanged();
    void stateChanged();

private:
    QString m_categoryId;
    QString m_selectedCategoryId;
    bool m_hot = false;
};
