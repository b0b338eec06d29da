#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>

// The create popover of the list strip: the draft's name and colour, whether it can be
// created, and the hand-off of a new list. The strip draws it and forwards presses here.
class CategoryStripController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool creating READ creating NOTIFY creatingChanged)
    Q_PROPERTY(QString draftName READ draftName WRITE setDraftName NOTIFY draftNameChanged)
    Q_PROPERTY(QString draftColor READ draftColor NOTIFY draftColorChanged)
    Q_PROPERTY(bool pickingColor READ pickingColor NOTIFY pickingColorChanged)
    Q_PROPERTY(bool canCreate READ canCreate NOTIFY draftNameChanged)
public:
    explicit CategoryStripController(QObject* parent = nullptr);

    [[nodiscard]] bool creating() const { return m_creating; }
    [[nodiscard]] QString draftName() const { return m_draftName; }
    void setDraftName(const QString& draftName);
    [[nodiscard]] QString draftColor() const { return m_draftColor; }
    [[nodiscard]] bool pickingColor() const { return m_pickingColor; }
    [[nodiscard]] bool canCreate() const;

    // The plus button: every opening starts from an empty name and the first colour.
    Q_INVOKABLE void beginCreate();
    // Closed from outside (a click elsewhere, Escape). The draft stays until the next opening.
    Q_INVOKABLE void dismiss();
    Q_INVOKABLE void openColorPicker();
    Q_INVOKABLE void closeColorPicker();
    Q_INVOKABLE void pickColor(const QString& hex);
    // Return in the name field or the create button. A blank name does nothing and leaves
    // the popover open; otherwise the trimmed name leaves through createRequested.
    Q_INVOKABLE bool create();

signals:
    void creatingChanged();
    void draftNameChanged();
    void draftColorChanged();
    void pickingColorChanged();
    void createRequested(const QString& name, const QString& colorHex);

private:
    void setCreating(bool creating);
    void setPickingColor(bool pickingColor);
    void setDraftColor(const QString& draftColor);

    bool m_creating = false;
    QString m_draftName;
    QString m_draftColor;
    bool m_pickingColor = false;
};
