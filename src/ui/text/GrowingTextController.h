#pragma once

#include <QObject>
#include <QQmlEngine>

// The rules of GrowingTextView that are not drawing: what Return means, and which height
// reports are worth a refresh of the parent.
class GrowingTextController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool allowsNewlines READ allowsNewlines WRITE setAllowsNewlines NOTIFY
                   allowsNewlinesChanged)
    Q_PROPERTY(bool submitOnReturn READ submitOnReturn WRITE setSubmitOnReturn NOTIFY
                   submitOnReturnChanged)

public:
    enum ReturnAction {
        // An input method is composing: Return belongs to it (it commits the composition).
        LeaveToInputMethod,
        Submit,
        NewLine,
    };
    Q_ENUM(ReturnAction)

    explicit GrowingTextController(QObject* parent = nullptr);

    [[nodiscard]] bool allowsNewlines() const { return m_allowsNewlines; }
    void setAllowsNewlines(bool allows);
    [[nodiscard]] bool submitOnReturn() const { return m_submitOnReturn; }
    void setSubmitOnReturn(bool submit);

    // `modifiers` are Qt::KeyboardModifiers; only Shift counts.
    Q_INVOKABLE [[nodiscard]] GrowingTextController::ReturnAction returnAction(bool composing,
                                                                               int modifiers) const;
    // An empty layout keeps the last height, and changes of half a point or less are noise.
    Q_INVOKABLE [[nodiscard]] bool shouldReportHeight(qreal measured, qreal reported) const;

signals:
    void allowsNewlinesChanged();
    void submitOnReturnChanged();

private:
    bool m_allowsNewlines = true;
    bool m_submitOnReturn = false;
};
