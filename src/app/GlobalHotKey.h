#pragma once

#include <QAbstractNativeEventFilter>
#include <QDBusObjectPath>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <functional>

// One system-wide key combination that calls a closure on each press, whichever application
// is in front. X11: a key grab on the root window, once for every lock-key state. Wayland:
// the desktop portal's GlobalShortcuts, where the session offers it. Failures only log.
class GlobalHotKey : public QObject, public QAbstractNativeEventFilter {
    Q_OBJECT
public:
    // What tells one hot key of the process from another. The portal remembers a binding by
    // its shortcut id, so an id never changes from launch to launch.
    struct Binding {
        quint32 id = 1;
        QString shortcutId = QStringLiteral("toggle-board-1");
        QString description = QStringLiteral("显示或隐藏 Tavik 看板");
        // The log line when the combination is taken, with %1 for the status; empty for the
        // board's own wording.
        QString takenLine;
    };

    // The board's toggle.
    GlobalHotKey(Qt::Key key, Qt::KeyboardModifiers modifiers, std::function<void()> onFire,
                 QObject* parent = nullptr);
    GlobalHotKey(Qt::Key key, Qt::KeyboardModifiers modifiers, Binding binding,
                 std::function<void()> onFire, QObject* parent = nullptr);
    ~GlobalHotKey() override;

    [[nodiscard]] quint32 hotKeyID() const { return m_hotKeyID; }
    [[nodiscard]] bool isRegistered() const { return m_registered; }

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private slots:
    void portalSessionCreated(uint response, const QVariantMap& results);
    void portalActivated(const QDBusObjectPath& session, const QString& shortcutId,
                         qulonglong timestamp, const QVariantMap& options);

private:
    void installHandler();
    void registerKey();
    bool registerX11();
    void registerPortal();
    void unregisterX11();
    void logTaken(const QString& status) const;

    Qt::Key m_key;
    Qt::KeyboardModifiers m_modifiers;
    std::function<void()> m_onFire;
    Binding m_binding;
    quint32 m_hotKeyID;
    bool m_registered = false;
    bool m_handlerInstalled = false;

    // X11
    quint8 m_keycode = 0;
    quint16 m_x11Modifiers = 0;
    quint32 m_root = 0;
    // Portal
    QString m_portalSession;
    QString m_shortcutId;
};
