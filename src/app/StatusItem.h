#pragma once

#include <QIcon>
#include <QObject>
#include <QSystemTrayIcon>

class QMenu;

// The tray icon: Tavik's logo with today's open count as a badge and in the tooltip. A left
// click toggles the board; a right click (or Ctrl and a left click) opens the status menu.
class StatusItem : public QObject {
    Q_OBJECT
public:
    explicit StatusItem(QObject* parent = nullptr);
    ~StatusItem() override;

    void show();
    void setCount(int count);
    [[nodiscard]] int count() const { return m_count; }
    // " 3" for a count, "" for none: the title the count shows as.
    [[nodiscard]] static QString titleForCount(int count);
    [[nodiscard]] static QIcon iconForCount(int count);
    [[nodiscard]] QSystemTrayIcon& trayIcon() { return m_tray; }

signals:
    void toggleRequested();
    void openBoardRequested();
    void quickAddRequested();
    void settingsRequested();
    void quitRequested();

private:
    void activated(QSystemTrayIcon::ActivationReason reason);
    void showStatusMenu();

    QSystemTrayIcon m_tray;
    QMenu* m_menu = nullptr;
    int m_count = -1;
};
