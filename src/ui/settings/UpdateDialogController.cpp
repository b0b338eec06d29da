#include "settings/UpdateDialogController.h"

#include "theme/PolishTree.h"
#include "theme/UiLog.h"

#include <QCursor>
#include <QDesktopServices>
#include <QEvent>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>

namespace {

// Qt's own limit for a side of a window.
const int unlimitedHeight = (1 << 24) - 1;

const QUrl dialogSource(QStringLiteral("qrc:/qt/qml/TavikUi/settings/UpdateDialog.qml"));

QString displayVersion(const QString& version, const QString& build) {
    const QString v = version.trimmed().isEmpty() ? QStringLiteral("—") : version.trimmed();
    return build.trimmed().isEmpty()
               ? v
               : v + QStringLiteral("（") + build.trimmed() + QStringLiteral("）");
}

} // namespace

UpdateDialogController::UpdateDialogController(QQmlEngine* engine, QObject* parent)
    : QObject(parent) {
    QQmlComponent component(engine, dialogSource);
    std::unique_ptr<QObject> object(component.createWithInitialProperties(
        {{QStringLiteral("controller"), QVariant::fromValue(this)}}));
    auto* window = qobject_cast<QQuickWindow*>(object.get());
    if (!window) {
        qCCritical(lcUi) << "update dialog did not load:" << component.errorString();
        return;
    }
    object.release();
    m_window.reset(window);
    m_window->setFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                       Qt::WindowCloseButtonHint);
    m_window->setTitle(QStringLiteral("软件更新"));

    // Closing the dialog from its title bar is the same as its cancel button.
    m_window->installEventFilter(this);
}

UpdateDialogController::~UpdateDialogController() = default;

QQuickWindow* UpdateDialogController::window() const {
    return m_window.get();
}

void UpdateDialogController::setCurrentVersion(const QString& version) {
    m_currentVersion = version.trimmed();
}

void UpdateDialogController::showChecking() {
    present(State::Checking, QStringLiteral("正在检查更新…"), {});
}

void UpdateDialogController::showUpdateFound(const QString& version, const QString& build,
                                             const QString& notes, const QUrl& downloadUrl) {
    // A space parts Latin from Chinese text; a full-width parenthesis needs none.
    const QString shown = displayVersion(version, build);
    QString detail = QStringLiteral("Tavik ") + shown +
                     (shown.endsWith(QChar(0xFF09)) ? QString() : QStringLiteral(" ")) +
                     QStringLiteral("现已推出");
    if (!m_currentVersion.isEmpty())
        detail += QStringLiteral("，你目前使用的是 ") + m_currentVersion;
    detail += QStringLiteral("。要前往下载页面吗？");
    present(State::UpdateFound, QStringLiteral("Tavik 有新版本可用"), detail, notes.trimmed(),
            downloadUrl);
}

void UpdateDialogController::showUpToDate(const QString& message) {
    const QString headline =
        message.trimmed().isEmpty() ? QStringLiteral("已是最新版本") : message.trimmed();
    const QString detail =
        m_currentVersion.isEmpty()
            ? QString()
            : QStringLiteral("Tavik ") + m_currentVersion + QStringLiteral(" 是目前的最新版本。");
    present(State::UpToDate, headline, detail);
}

void UpdateDialogController::showFailed(const QString& message) {
    present(State::Failed, QStringLiteral("检查更新失败"),
            message.trimmed().isEmpty() ? QStringLiteral("未知错误") : message.trimmed());
}

void UpdateDialogController::showNotOffered() {
    present(State::NotOffered, QStringLiteral("此版本不检查更新"),
            QStringLiteral("这个版本没有设置更新来源，新版本请从安装它的地方获取。"));
}

void UpdateDialogController::dismiss() {
    if (m_window)
        m_window->hide();
}

void UpdateDialogController::openDownload() {
    if (m_state != State::UpdateFound)
        return;
    if (!m_downloadUrl.isValid() || !QDesktopServices::openUrl(m_downloadUrl))
        qCWarning(lcUi) << "could not open the download page" << m_downloadUrl;
    dismiss();
}

void UpdateDialogController::cancel() {
    const bool checking = m_state == State::Checking && m_window && m_window->isVisible();
    dismiss();
    if (checking)
        emit cancelRequested();
}

bool UpdateDialogController::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_window.get() && event->type() == QEvent::Close && m_state == State::Checking &&
        m_window->isVisible())
        emit cancelRequested();
    return QObject::eventFilter(watched, event);
}

void UpdateDialogController::fitHeight() {
    // Wrapped text learns its width from one polish pass and its height from the next.
    int fitted = 0;
    for (int pass = 0; pass < 4; ++pass) {
        polishTree(m_window->contentItem());
        const int now = m_window->property("fittedHeight").toInt();
        if (now == fitted)
            break;
        fitted = now;
    }
    if (fitted <= 0 || (m_window->height() == fitted && m_window->minimumHeight() == fitted))
        return;
    // A window manager holds a window to the size limits it knows when the resize arrives:
    // free the height first, resize, then fix it again.
    m_window->setMinimumHeight(0);
    m_window->setMaximumHeight(unlimitedHeight);
    m_window->resize(m_window->width(), fitted);
    m_window->setMinimumHeight(fitted);
    m_window->setMaximumHeight(fitted);
}

void UpdateDialogController::present(State state, const QString& headline, const QString& detail,
                                     const QString& notes, const QUrl& downloadUrl) {
    m_state = state;
    m_headline = headline;
    m_detail = detail;
    m_notes = notes;
    m_downloadUrl = downloadUrl;
    emit contentChanged();
    if (!m_window)
        return;

    fitHeight();
    if (!m_window->isVisible()) {
        QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
        if (!screen)
            screen = QGuiApplication::primaryScreen();
        if (screen) {
            const QMargins frame = m_window->frameMargins();
            const QSize outer = m_window->size().grownBy(frame);
            const QPoint centre = screen->availableGeometry().center() + QPoint(1, 1);
            m_window->setPosition(centre - QPoint(outer.width() / 2, outer.height() / 2) +
                                  QPoint(frame.left(), frame.top()));
        }
    }
    m_window->show();
    m_window->raise();
    m_window->requestActivate();
}
