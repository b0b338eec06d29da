#pragma once

#include "CloudAccount.h"
#include "CloudSync.h"
#include "settings/SettingsTab.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QRect>
#include <QSize>
#include <QString>
#include <QUrl>
#include <QVariantAnimation>
#include <QVariantList>

#include <memory>

class QQuickWindow;

// Owns the settings window: a toolbar with one button per tab above the selected tab's view.
// The tabs are the list tabs(): the window shows a button for each and builds each view once,
// and each view reports its fitting size here. select() shows one of them and fits the window
// to it, keeping the top-left corner where it is. Closing only hides the window. The app makes
// one on the first openSettings and keeps it.
//
// The engine must import TavikUi from qrc:/qt/qml (the app and the tests add that path).
class SettingsWindowController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The app makes the settings window")
    Q_PROPERTY(QString currentTab READ currentTab NOTIFY currentTabChanged)
    Q_PROPERTY(QString versionLine READ versionLine WRITE setVersionLine NOTIFY versionLineChanged)
    // The sync section's state and the account form; null while the app has none.
    Q_PROPERTY(CloudSync* cloudSync READ cloudSync NOTIFY cloudSyncChanged)
    Q_PROPERTY(CloudAccount* cloudAccount READ cloudAccount NOTIFY cloudSyncChanged)
    // settingsTab values, in toolbar order.
    Q_PROPERTY(QVariantList tabs READ tabValues CONSTANT)
    Q_PROPERTY(int tabWidth READ tabWidth CONSTANT)
    Q_PROPERTY(int generalHeight READ generalHeight CONSTANT)
    Q_PROPERTY(int toolbarHeight READ toolbarHeight CONSTANT)

public:
    static constexpr int tabWidthValue = 480;
    // The General tab's least height; the sync section and the account form make it taller.
    static constexpr int generalHeightValue = 170;
    // The band of tab buttons above the content; the desktop draws the title bar itself.
    static constexpr int toolbarHeightValue = 56;
    // The size the window is made with, before the first select().
    static constexpr int initialContentHeight = 320;
    static constexpr int resizeDurationMs = 200;

    explicit SettingsWindowController(QQmlEngine* engine, QObject* parent = nullptr);
    ~SettingsWindowController() override;

    // The tabs in toolbar order; the first is the one every opening shows.
    [[nodiscard]] static const QList<SettingsTab>& tabs();
    // The tab with this identifier, or the first one.
    [[nodiscard]] static const SettingsTab& tab(const QString& id);
    [[nodiscard]] static QUrl followUrl();

    // Null only when SettingsWindow.qml failed to load (logged).
    [[nodiscard]] QQuickWindow* window() const;
    [[nodiscard]] QString currentTab() const { return m_currentTab; }
    [[nodiscard]] QString versionLine() const { return m_versionLine; }
    void setVersionLine(const QString& line);
    [[nodiscard]] CloudSync* cloudSync() const { return m_cloudSync; }
    [[nodiscard]] CloudAccount* cloudAccount() const { return m_cloudAccount; }
    void setCloudSync(CloudSync* cloudSync, CloudAccount* account);
    [[nodiscard]] QVariantList tabValues() const;
    [[nodiscard]] int tabWidth() const { return tabWidthValue; }
    [[nodiscard]] int generalHeight() const { return generalHeightValue; }
    [[nodiscard]] int toolbarHeight() const { return toolbarHeightValue; }
    // The fitting size a tab's view reported last; invalid for a tab that has no view.
    [[nodiscard]] QSize contentSize(const QString& id) const;
    [[nodiscard]] bool isResizing() const;

    // A tab's view reports its fitting size, once built and whenever it changes. The window
    // follows the selected tab's.
    Q_INVOKABLE void reportContentSize(const QString& id, const QSizeF& size);
    // Shows the tab `id` and fits the window to it (animated while the window is on screen).
    // An unknown identifier, or a tab whose view was not built, changes nothing.
    Q_INVOKABLE void select(const QString& id);
    // What the app's openSettings does: the first tab, centred on the screen, shown and raised.
    void openGeneral();
    void centerOnScreen();

    // The About tab's buttons.
    Q_INVOKABLE void checkForUpdatesPressed();
    Q_INVOKABLE void openFollow();

signals:
    void currentTabChanged();
    void versionLineChanged();
    void cloudSyncChanged();
    // The app connects this to UpdaterController::checkForUpdates.
    void checkForUpdatesRequested();

private:
    // Sizes the window to the current tab's view under the toolbar.
    void fitToContent();
    void applyGeometry(const QRect& geometry);
    void lockSize(const QSize& size);
    void finishResize();

    std::unique_ptr<QQuickWindow> m_window;
    QHash<QString, QSize> m_contentSizes;
    QString m_currentTab;
    QString m_versionLine;
    QPointer<CloudSync> m_cloudSync;
    QPointer<CloudAccount> m_cloudAccount;
    QVariantAnimation m_resize;
    bool m_fitting = false;
};
