#include "settings/SettingsWindowController.h"

#include "theme/PolishTree.h"
#include "theme/UiLog.h"

#include <QCursor>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>
#include <QtMath>

namespace {

const QUrl windowSource(QStringLiteral("qrc:/qt/qml/TavikUi/settings/SettingsWindow.qml"));

// QWindow's own bound for a maximum size (QWINDOWSIZE_MAX is not public).
constexpr int maxWindowSize = (1 << 24) - 1;

// The QML property of SettingsWindow.qml that holds each tab's view.
QString viewProperty(const QString& id) {
    return id + QStringLiteral("Tab");
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

    m_contentHost = m_window->findChild<QQuickItem*>(QStringLiteral("contentHost"));
    for (const Tab& t : tabs()) {
        auto* view = m_window->property(viewProperty(t.id).toUtf8()).value<QQuickItem*>();
        if (view)
            m_tabs.insert(t.id, view);
        else
            qCWarning(lcUi) << "settings window has no view for the tab" << t.id;
    }
}

SettingsWindowController::~SettingsWindowController() {
    m_resize.stop();
    // The tab views live in the window's object tree and go with it.
    m_window.reset();
}

const QList<SettingsWindowController::Tab>& SettingsWindowController::tabs() {
    static const QList<Tab> list{
        {QStringLiteral("general"), QStringLiteral("通用"), QStringLiteral("gearshape"),
         QStringLiteral("Tavik 通用")},
        {QStringLiteral("about"), QStringLiteral("关于"), QStringLiteral("info.circle"),
         QStringLiteral("Tavik 关于")},
    };
    return list;
}

const SettingsWindowController::Tab& SettingsWindowController::tab(const QString& id) {
    return id == tabs().at(1).id ? tabs().at(1) : tabs().at(0);
}

QUrl SettingsWindowController::followUrl() {
    return QUrl(QStringLiteral("https://mastodon.social/@orlen"));
}

QQuickWindow* SettingsWindowController::window() const {
    return m_window.get();
}

void SettingsWindowController::setVersionLine(const QString& line) {
    if (line == m_versionLine)
        return;
    m_versionLine = line;
    emit versionLineChanged();
}

QVariantList SettingsWindowController::toolbarItems() const {
    QVariantList items;
    for (const Tab& t : tabs()) {
        items.append(QVariantMap{{QStringLiteral("id"), t.id},
                                 {QStringLiteral("label"), t.label},
                                 {QStringLiteral("symbol"), t.symbol}});
    }
    return items;
}

QQuickItem* SettingsWindowController::tabView(const QString& id) const {
    return m_tabs.value(id);
}

bool SettingsWindowController::isResizing() const {
    return m_resize.state() == QAbstractAnimation::Running;
}

void SettingsWindowController::select(const QString& id) {
    QQuickItem* view = tabView(id);
    if (!m_window || !m_contentHost || !view)
        return;

    if (id != m_currentTab) {
        if (QQuickItem* previous = tabView(m_currentTab))
            previous->setParentItem(nullptr);
        m_currentTab = id;
        emit currentTabChanged();
    }
    m_window->setTitle(tab(id).windowTitle);
    view->setParentItem(m_contentHost);
    view->setPosition({0, 0});

    // The view's implicit size is its fitting size; the toolbar sits above it.
    polishTree(view);
    const QSize content(qCeil(view->implicitWidth()), qCeil(view->implicitHeight()));
    view->setSize(content);
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
    select(tabs().at(0).id);
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
