#include "settings/SettingsWindowController.h"

#include "theme/PolishTree.h"
#include "theme/UiLog.h"

#include <QCursor>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScopedValueRollback>
#include <QScreen>
#include <QtMath>

namespace {

const QUrl windowSource(QStringLiteral("qrc:/qt/qml/TavikUi/settings/SettingsWindow.qml"));

// QWindow's own bound for a maximum size (QWINDOWSIZE_MAX is not public).
constexpr int maxWindowSize = (1 << 24) - 1;

QUrl paneSource(const char* file) {
    return QUrl(QStringLiteral("qrc:/qt/qml/TavikUi/settings/") + QLatin1String(file));
}

} // namespace

SettingsWindowController::SettingsWindowController(QQmlEngine* engine, QObject* parent)
    : QObject(parent) {
    m_resize.setDuration(resizeDurationMs);
    m_resize.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&m_resize, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { applyGeometry(value.toRect()); });
    connect(&m_resize, &QVariantAnimation::finished, this, [this] { finishResize(); });

    QQmlComponent component(engine, windowSource);
    std::unique_ptr<QObject> object(component.createWithInitialProperties(
        {{QStringLiteral("controller"), QVariant::fromValue(this)}}));
    auto* window = qobject_cast<QQuickWindow*>(object.get());
    if (!window) {
        qCCritical(lcUi) << "settings window did not load:" << component.errorString();
        return;
    }
    object.release();
    m_window.reset(window);

    // Titled and closable only: no minimise or maximise button, and a fixed size.
    m_window->setFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                       Qt::WindowCloseButtonHint);
    m_window->setTitle(QStringLiteral("Tavik 设置"));
    applyGeometry(QRect(0, 0, tabWidthValue, toolbarHeightValue + initialContentHeight));
    finishResize();
    for (const SettingsTab& t : tabs()) {
        if (!m_contentSizes.contains(t.id))
            qCWarning(lcUi) << "settings window has no view for the tab" << t.id;
    }
}

SettingsWindowController::~SettingsWindowController() {
    m_resize.stop();
    // The tab views live in the window's object tree and go with it.
    m_window.reset();
}

const QList<SettingsTab>& SettingsWindowController::tabs() {
    static const QList<SettingsTab> list{
        {QStringLiteral("general"), QStringLiteral("通用"), QStringLiteral("gearshape"),
         paneSource("GeneralSettingsPane.qml")},
        {QStringLiteral("ai"), QStringLiteral("AI"), QStringLiteral("sparkles"),
         QUrl(QStringLiteral("qrc:/qt/qml/TavikUi/ai/AISettingsPane.qml"))},
        {QStringLiteral("about"), QStringLiteral("关于"), QStringLiteral("info.circle"),
         paneSource("AboutSettingsPane.qml")},
    };
    return list;
}

const SettingsTab& SettingsWindowController::tab(const QString& id) {
    for (const SettingsTab& t : tabs()) {
        if (t.id == id)
            return t;
    }
    return tabs().constFirst();
}

QUrl SettingsWindowController::followUrl() {
    return QUrl(QStringLiteral("https://mastodon.social/@orlen"));
}

QQuickWindow* SettingsWindowController::window() const {
    return m_window.get();
}

void SettingsWindowController::setCloudSync(CloudSync* cloudSync, CloudAccount* account) {
    m_cloudSync = cloudSync;
    m_cloudAccount = account;
    emit cloudSyncChanged();
}

void SettingsWindowController::setVersionLine(const QString& line) {
    if (line == m_versionLine)
        return;
    m_versionLine = line;
    emit versionLineChanged();
}

QVariantList SettingsWindowController::tabValues() const {
    QVariantList values;
    for (const SettingsTab& t : tabs())
        values.append(QVariant::fromValue(t));
    return values;
}

QSize SettingsWindowController::contentSize(const QString& id) const {
    return m_contentSizes.value(id);
}

bool SettingsWindowController::isResizing() const {
    return m_resize.state() == QAbstractAnimation::Running;
}

void SettingsWindowController::reportContentSize(const QString& id, const QSizeF& size) {
    const QSize content(qCeil(size.width()), qCeil(size.height()));
    if (m_contentSizes.value(id) == content && m_contentSizes.contains(id))
        return;
    m_contentSizes.insert(id, content);
    if (id == m_currentTab && !m_fitting)
        fitToContent();
}

void SettingsWindowController::select(const QString& id) {
    if (!m_window || !m_contentSizes.contains(id))
        return;
    if (id != m_currentTab) {
        m_currentTab = id;
        emit currentTabChanged();
    }
    m_window->setTitle(tab(id).windowTitle());
    fitToContent();
}

void SettingsWindowController::fitToContent() {
    const QScopedValueRollback fitting(m_fitting, true);
    // Layouts work out their fitting size when polished, which a hidden window never is:
    // polishing here brings every view's report up to date before it is read.
    polishTree(m_window->contentItem());
    const QSize content = m_contentSizes.value(m_currentTab);
    // A resize still running starts over from where it stands; the corner is the same.
    m_resize.stop();
    const QRect current = m_window->geometry();
    const QRect to(current.topLeft(),
                   QSize(content.width(), toolbarHeightValue + content.height()));

    if (m_window->isVisible() && current.size() != to.size()) {
        m_resize.setStartValue(current);
        m_resize.setEndValue(to);
        m_resize.start();
    } else {
        applyGeometry(to);
        finishResize();
    }
}

void SettingsWindowController::openGeneral() {
    if (!m_window)
        return;
    select(tabs().constFirst().id);
    centerOnScreen();
    m_window->show();
    m_window->raise();
    m_window->requestActivate();
}

void SettingsWindowController::centerOnScreen() {
    if (!m_window)
        return;
    // A resize still running would pull the window back to its old corner.
    if (isResizing()) {
        const QRect end = m_resize.endValue().toRect();
        m_resize.stop();
        applyGeometry(end);
        finishResize();
    }
    QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen)
        screen = m_window->screen() ? m_window->screen() : QGuiApplication::primaryScreen();
    if (!screen)
        return;
    const QMargins frame = m_window->frameMargins();
    const QSize outer = m_window->size().grownBy(frame);
    const QRect available = screen->availableGeometry();
    const QPoint frameTopLeft(available.center().x() + 1 - outer.width() / 2,
                              available.center().y() + 1 - outer.height() / 2);
    m_window->setPosition(frameTopLeft + QPoint(frame.left(), frame.top()));
}

void SettingsWindowController::checkForUpdatesPressed() {
    emit checkForUpdatesRequested();
}

void SettingsWindowController::openFollow() {
    if (!QDesktopServices::openUrl(followUrl()))
        qCWarning(lcUi) << "could not open" << followUrl();
}

void SettingsWindowController::applyGeometry(const QRect& geometry) {
    if (!m_window)
        return;
    // Unlock while the size moves, so no step is clamped to the previous size.
    m_window->setMinimumSize(QSize(0, 0));
    m_window->setMaximumSize(QSize(maxWindowSize, maxWindowSize));
    m_window->setGeometry(geometry);
}

void SettingsWindowController::lockSize(const QSize& size) {
    m_window->setMinimumSize(size);
    m_window->setMaximumSize(size);
}

void SettingsWindowController::finishResize() {
    if (m_window)
        lockSize(m_window->size());
}
