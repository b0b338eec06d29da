#pragma once

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QRect>
#include <QString>
#include <QUrl>
#include <QVariantAnimation>
#include <QVariantList>

#include <memory>

class QQuickItem;
class QQuickWindow;

// Owns the settings window: a toolbar with the tabs "通用" and "关于" above the selected tab's
// view. Both views are built once with the window; select() moves one of them into the
// window's content and fits the window to it, keeping the top-left corner where it is.
// Closing only hides the window. The app makes one on the first openSettings and keeps it.
//
// The engine must import TavikUi from qrc:/qt/qml (the app and the tests add that path).
class SettingsWindowController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The app makes the settings window")
    Q_PROPERTY(QString currentTab READ currentTab NOTIFY currentTabChanged)
    Q_PROPERTY(QString versionLine READ versionLine WRITE setVersionLine NOTIFY versionLineChanged)
    Q_PROPERTY(QVariantList toolbarItems READ toolbarItems CONSTANT)
    Q_PROPERTY(int tabWidth READ tabWidth CONSTANT)
    Q_PROPERTY(int generalHeight READ generalHeight CONSTANT)
    Q_PROPERTY(int toolbarHeight READ toolbarHeight CONSTANT)

public:
    struct Tab {
        QString id;
        QString label;
        QString symbol;
        QString windowTitle;
    };

    static constexpr int tabWidthValue = 480;
    // The General tab is a fixed box, with or without the sync section inside.
    static constexpr int generalHeightValue = 170;
    // The band of tab buttons above the content; the desktop draws the title bar itself.
    static constexpr int toolbarHeightValue = 56;
    // The size the window is made with, before the first select().
    static constexpr int initialContentHeight = 320;
    static constexpr int resizeDurationMs = 200;

    explicit SettingsWindowController(QQmlEngine* engine, QObject* parent = nullptr);
    ~SettingsWindowController() override;

    // The tabs in toolbar order.
    [[nodiscard]] static const QList<Tab>& tabs();
    // The toolbar's values for an identifier; anything but "about" gets General's.
    [[nodiscard]] static const Tab& tab(const QString& id);
    [[nodiscard]] static QUrl followUrl();

    // Null only when SettingsWindow.qml failed to load (logged).
    [[nodiscard]] QQuickWindow* window() const;
    [[nodiscard]] QString currentTab() const { return m_currentTab; }
    [[nodiscard]] QString versionLine() const { return m_versionLine; }
    void setVersionLine(const QString& line);
    [[nodiscard]] QVariantList toolbarItems() const;
    [[nodiscard]] int tabWidth() const { return tabWidthValue; }
    [[nodiscard]] int generalHeight() const { return generalHeightValue; }
    [[nodiscard]] int toolbarHeight() const { return toolbarHeightValue; }
    // The view built for a tab, or null for an unknown identifier.
    [[nodiscard]] QQuickItem* tabView(const QString& id) const;
    [[nodiscard]] bool isResizing() const;

    // Shows the tab `id` and fits the window to it (animated while the window is on screen).
    // An unknown identifier changes nothing.
    Q_INVOKABLE void select(const QString& id);
    // What the app's openSettings does: General, centred on the screen, shown and raised.
    void openGeneral();
    void centerOnScreen();

    // The About tab's buttons.
    Q_INVOKABLE void checkForUpdatesPressed();
    Q_INVOKABLE void openFollow();

signals:
    void currentTabChanged();
    void versionLineChanged();
    // The app connects this to UpdaterController::checkForUpdates.
    void checkForUpdatesRequested();

private:
    void applyGeometry(const QRect& geometry);
    void lockSize(const QSize& size);
    void finishResize();

    std::unique_ptr<QQuickWindow> m_window;
    QPointer<QQuickItem> m_contentHost;
    QHash<QString, QPointer<QQuickItem>> m_tabs;
    QString m_currentTab;
    QString m_versionLine;
    QVariantAnimation m_resize;
};
