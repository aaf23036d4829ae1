#pragma once

#include <QObject>
#include <memory>

class QAction;
class QMenu;
class QSystemTrayIcon;

namespace fennic {

class AppModel;

// Fennic's item in the desktop's tray: a click opens the window; its menu opens Quick Search
// or the window, scans, pauses image reading, shows what Fennic is doing and quits. Where the
// desktop has no tray the menu is still made (and kept current) but nothing is shown.
class TrayItem : public QObject {
    Q_OBJECT

public:
    explicit TrayItem(AppModel& app, QObject* parent = nullptr);
    ~TrayItem() override;

    // Whether the desktop shows tray items.
    static bool available();

    QMenu* menu() const { return m_menu.get(); }
    // The tray icon; none where the desktop has no tray.
    QSystemTrayIcon* icon() const { return m_icon; }
    QAction* quickSearchAction() const { return m_quickSearch; }
    QAction* openAction() const { return m_open; }
    QAction* scanAction() const { return m_scan; }
    QAction* pauseAction() const { return m_pause; }
    QAction* statusAction() const { return m_status; }
    QAction* quitAction() const { return m_quit; }

Q_SIGNALS:
    void quickSearchRequested();
    void openRequested();

private:
    void refresh();

    AppModel& m_app;
    std::unique_ptr<QMenu> m_menu;  // a menu has no parent object; the item owns it
    QSystemTrayIcon* m_icon = nullptr;
    QAction* m_quickSearch;
    QAction* m_open;
    QAction* m_scan;
    QAction* m_pause;
    QAction* m_status;
    QAction* m_quit;
};

}  // namespace fennic
