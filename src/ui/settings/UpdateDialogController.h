#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>
#include <QUrl>

#include <memory>

class QQuickWindow;

// The dialog of a check the user asked for: "checking…" while the request runs, then the
// newer version with its notes and a way to the download page, "已是最新版本", or why the
// check failed. The app feeds it from UpdaterController (checking, checkFinished) and wires
// cancelRequested to UpdaterController::cancelCheck.
//
// The engine must import TavikUi from qrc:/qt/qml (the app and the tests add that path).
class UpdateDialogController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The app makes the update dialog")
    Q_PROPERTY(State state READ state NOTIFY contentChanged)
    Q_PROPERTY(QString headline READ headline NOTIFY contentChanged)
    Q_PROPERTY(QString detail READ detail NOTIFY contentChanged)
    Q_PROPERTY(QString notes READ notes NOTIFY contentChanged)
    Q_PROPERTY(QUrl downloadUrl READ downloadUrl NOTIFY contentChanged)

public:
    enum class State { Checking, UpdateFound, UpToDate, Failed, NotOffered };
    Q_ENUM(State)

    explicit UpdateDialogController(QQmlEngine* engine, QObject* parent = nullptr);
    ~UpdateDialogController() override;

    // Null only when UpdateDialog.qml failed to load (logged).
    [[nodiscard]] QQuickWindow* window() const;

    // The running version, named in the texts when known.
    void setCurrentVersion(const QString& version);
    [[nodiscard]] QString currentVersion() const { return m_currentVersion; }

    [[nodiscard]] State state() const { return m_state; }
    [[nodiscard]] QString headline() const { return m_headline; }
    [[nodiscard]] QString detail() const { return m_detail; }
    [[nodiscard]] QString notes() const { return m_notes; }
    [[nodiscard]] QUrl downloadUrl() const { return m_downloadUrl; }

    // Each of these shows the dialog; it is centred when it was not on screen already.
    void showChecking();
    void showUpdateFound(const QString& version, const QString& build, const QString& notes,
                         const QUrl& downloadUrl);
    // `message` is the updater's wording; blank gives "已是最新版本".
    void showUpToDate(const QString& message = {});
    void showFailed(const QString& message);
    // A build without a release feed: not a failure, the build simply does not look.
    void showNotOffered();
    // Hides the dialog without a word, as after a cancelled check.
    void dismiss();

    // The buttons. openDownload opens the download page and closes the dialog; cancel
    // closes it and, while a check runs, calls the check off.
    Q_INVOKABLE void openDownload();
    Q_INVOKABLE void cancel();

signals:
    void contentChanged();
    void cancelRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void fitHeight();
    void present(State state, const QString& headline, const QString& detail,
                 const QString& notes = {}, const QUrl& downloadUrl = {});

    std::unique_ptr<QQuickWindow> m_window;
    State m_state = State::Checking;
    QString m_currentVersion;
    QString m_headline;
    QString m_detail;
    QString m_notes;
    QUrl m_downloadUrl;
};
