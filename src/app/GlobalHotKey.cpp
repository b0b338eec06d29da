#include "GlobalHotKey.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QRandomGenerator>
#include <QtGui/qguiapplication_platform.h>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

Q_LOGGING_CATEGORY(lcHotKey, "dev.orlen.tavik.hotkey")

namespace {

constexpr quint16 kLockMask = XCB_MOD_MASK_LOCK; // CapsLock
constexpr quint16 kNumLockMask = XCB_MOD_MASK_2; // NumLock on nearly every layout
constexpr quint16 kLockVariants[] = {0, kLockMask, kNumLockMask, kLockMask | kNumLockMask};

xcb_connection_t* x11Connection() {
    auto* x11 = qApp ? qApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

quint16 x11Modifiers(Qt::KeyboardModifiers modifiers) {
    quint16 mask = 0;
    if (modifiers & Qt::ShiftModifier)
        mask |= XCB_MOD_MASK_SHIFT;
    if (modifiers & Qt::ControlModifier)
        mask |= XCB_MOD_MASK_CONTROL;
    if (modifiers & Qt::AltModifier)
        mask |= XCB_MOD_MASK_1;
    if (modifiers & Qt::MetaModifier)
        mask |= XCB_MOD_MASK_4;
    return mask;
}

// Letters and digits are all the board needs; their keysyms are their Latin-1 codes.
xcb_keysym_t keysymFor(Qt::Key key) {
    if (key >= Qt::Key_A && key <= Qt::Key_Z)
        return static_cast<xcb_keysym_t>('a' + (key - Qt::Key_A));
    if (key >= Qt::Key_0 && key <= Qt::Key_9)
        return static_cast<xcb_keysym_t>('0' + (key - Qt::Key_0));
    return 0;
}

QString portalTrigger(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QString trigger;
    if (modifiers & Qt::ControlModifier)
        trigger += QStringLiteral("CTRL+");
    if (modifiers & Qt::AltModifier)
        trigger += QStringLiteral("ALT+");
    if (modifiers & Qt::ShiftModifier)
        trigger += QStringLiteral("SHIFT+");
    if (modifiers & Qt::MetaModifier)
        trigger += QStringLiteral("LOGO+");
    return trigger + QChar(ushort(keysymFor(key)));
}

const QString kPortalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kShortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString kRequestInterface = QStringLiteral("org.freedesktop.portal.Request");

} // namespace

// One entry of the portal's a(sa{sv}) shortcut list.
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};
Q_DECLARE_METATYPE(PortalShortcut)

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

GlobalHotKey::GlobalHotKey(Qt::Key key, Qt::KeyboardModifiers modifiers,
                           std::function<void()> onFire, QObject* parent)
    : GlobalHotKey(key, modifiers, Binding{}, std::move(onFire), parent) {}

GlobalHotKey::GlobalHotKey(Qt::Key key, Qt::KeyboardModifiers modifiers, Binding binding,
                           std::function<void()> onFire, QObject* parent)
    : QObject(parent)
    , m_key(key)
    , m_modifiers(modifiers)
    , m_onFire(std::move(onFire))
    , m_binding(std::move(binding))
    , m_hotKeyID(m_binding.id)
    , m_shortcutId(m_binding.shortcutId) {
    installHandler();
    registerKey();
}

GlobalHotKey::~GlobalHotKey() {
    if (m_registered && m_keycode)
        unregisterX11();
    if (m_handlerInstalled && QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(this);
}

void GlobalHotKey::logTaken(const QString& status) const {
    if (m_binding.takenLine.isEmpty()) {
        qCWarning(lcHotKey).noquote()
            << QStringLiteral("[Tavik] RegisterEventHotKey failed (status %1); the combo may be "
                              "taken — use the menu-bar icon.")
                   .arg(status);
        return;
    }
    qCWarning(lcHotKey).noquote() << m_binding.takenLine.arg(status);
}

void GlobalHotKey::installHandler() {
    if (x11Connection()) {
        QCoreApplication::instance()->installNativeEventFilter(this);
        m_handlerInstalled = true;
        return;
    }
    if (QDBusConnection::sessionBus().isConnected()) {
        m_handlerInstalled = QDBusConnection::sessionBus().connect(
            kPortalService, kPortalPath, kShortcutsInterface, QStringLiteral("Activated"), this,
            SLOT(portalActivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    }
    if (!m_handlerInstalled)
        qCWarning(lcHotKey).noquote()
            << "[Tavik] InstallEventHandler failed (status -1); hotkey will not fire.";
}

void GlobalHotKey::registerKey() {
    if (x11Connection()) {
        m_registered = registerX11();
        return;
    }
    registerPortal();
}

bool GlobalHotKey::registerX11() {
    xcb_connection_t* connection = x11Connection();
    const xcb_keysym_t keysym = keysymFor(m_key);
    xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(connection);
    xcb_keycode_t* codes = symbols ? xcb_key_symbols_get_keycode(symbols, keysym) : nullptr;
    m_keycode = codes ? codes[0] : 0;
    free(codes);
    if (symbols)
        xcb_key_symbols_free(symbols);
    m_x11Modifiers = x11Modifiers(m_modifiers);
    m_root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    if (!m_keycode) {
        logTaken(QStringLiteral("-1"));
        return false;
    }

    // The grab must hold whatever the lock keys say, so grab every lock-key state.
    int status = 0;
    for (quint16 locks : kLockVariants) {
        xcb_void_cookie_t cookie =
            xcb_grab_key_checked(connection, 1, m_root, m_x11Modifiers | locks, m_keycode,
                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        if (xcb_generic_error_t* error = xcb_request_check(connection, cookie)) {
            status = error->error_code; // BadAccess (10): another client holds it
            free(error);
            break;
        }
    }
    if (status != 0) {
        for (quint16 locks : kLockVariants)
            xcb_ungrab_key(connection, m_keycode, m_root, m_x11Modifiers | locks);
        xcb_flush(connection);
        logTaken(QString::number(status));
        return false;
    }
    xcb_flush(connection);
    return true;
}

void GlobalHotKey::unregisterX11() {
    xcb_connection_t* connection = x11Connection();
    if (!connection)
        return;
    for (quint16 locks : kLockVariants)
        xcb_ungrab_key(connection, m_keycode, m_root, m_x11Modifiers | locks);
    xcb_flush(connection);
}

bool GlobalHotKey::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (!m_registered || eventType != "xcb_generic_event_t")
        return false;
    auto* event = static_cast<xcb_generic_event_t*>(message);
    if ((event->response_type & ~0x80) != XCB_KEY_PRESS)
        return false;
    auto* press = reinterpret_cast<xcb_key_press_event_t*>(event);
    const quint16 state = press->state & ~(kLockMask | kNumLockMask);
    if (press->detail != m_keycode || state != m_x11Modifiers)
        return false;
    if (m_onFire)
        m_onFire();
    return true;
}

void GlobalHotKey::registerPortal() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        logTaken(QStringLiteral("-1"));
        return;
    }
    const QString token = QStringLiteral("tavik%1").arg(QRandomGenerator::global()->generate());
    QDBusMessage create = QDBusMessage::createMethodCall(
        kPortalService, kPortalPath, kShortcutsInterface, QStringLiteral("CreateSession"));
    create << QVariantMap{{QStringLiteral("handle_token"), token},
                          {QStringLiteral("session_handle_token"), token}};
    // The answer comes as a Response signal on the request object the portal names.
    QString sender = bus.baseService().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
    const QString requestPath =
        QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token);
    bus.connect(kPortalService, requestPath, kRequestInterface, QStringLiteral("Response"), this,
                SLOT(portalSessionCreated(uint, QVariantMap)));
    const QDBusMessage reply = bus.call(create, QDBus::Block, 2000);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        logTaken(reply.errorName().isEmpty() ? QStringLiteral("-1") : reply.errorName());
    }
}

void GlobalHotKey::portalSessionCreated(uint response, const QVariantMap& results) {
    if (response != 0) {
        logTaken(QString::number(response));
        return;
    }
    m_portalSession = results.value(QStringLiteral("session_handle")).toString();
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
    const QList<PortalShortcut> shortcuts{
        {m_shortcutId,
         {{QStringLiteral("description"), m_binding.description},
          {QStringLiteral("preferred_trigger"), portalTrigger(m_key, m_modifiers)}}}};
    QDBusMessage bind = QDBusMessage::createMethodCall(
        kPortalService, kPortalPath, kShortcutsInterface, QStringLiteral("BindShortcuts"));
    bind << QVariant::fromValue(QDBusObjectPath(m_portalSession)) << QVariant::fromValue(shortcuts)
         << QString()
         << QVariantMap{
                {QStringLiteral("handle_token"), QStringLiteral("tavikbind%1").arg(m_hotKeyID)}};
    const QDBusMessage reply = QDBusConnection::sessionBus().call(bind, QDBus::Block, 2000);
    m_registered = reply.type() == QDBusMessage::ReplyMessage;
    if (!m_registered) {
        logTaken(reply.errorName());
    }
}

void GlobalHotKey::portalActivated(const QDBusObjectPath& session, const QString& shortcutId,
                                   qulonglong, const QVariantMap&) {
    if (session.path() != m_portalSession || shortcutId != m_shortcutId)
        return;
    if (m_onFire)
        m_onFire();
}
