#pragma once

#include "BestMatches.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <functional>
#include <optional>

namespace fennic {

class AppModel;

// Fennic's files in the desktop's own search: GNOME Shell's search provider and a KRunner
// runner, both exported on the session bus under one name and both answering from the
// running application's library (BestMatches). This object holds what they share: the model,
// what opening a result does, and the files recently handed out, so that the shell's later
// questions about them (their icons, opening one) need no search.
//
// Results are named by the file's path. GUI thread only.
class DesktopSearch : public QObject {
    Q_OBJECT

public:
    static constexpr const char* kBusName = "io.github.fennic.Fennic.SearchProvider";
    static constexpr const char* kShellPath = "/io/github/fennic/Fennic/SearchProvider";
    static constexpr const char* kRunnerPath = "/io/github/fennic/Fennic/KRunner";
    // What one search hands to the desktop: the shell shows a handful, KRunner a few more.
    static constexpr qsizetype kMaxResults = 20;

    explicit DesktopSearch(AppModel& app, QObject* parent = nullptr);
    ~DesktopSearch() override;

    // Opening a result, and showing it in its folder. By default the desktop's own
    // (DesktopActions::open and showInFolder); tests put their own.
    std::function<void(const QString& path)> open;
    std::function<void(const QString& path)> reveal;

    // Exports both providers on `bus` and takes kBusName there. False (nothing left
    // registered) when the bus is not connected or another process holds the name.
    bool publish(QDBusConnection bus = QDBusConnection::sessionBus());
    // Gives the name and the objects back; nothing when not published.
    void unpublish();

    // The best matches for the request, remembered for itemFor().
    QList<BestMatch> search(const QString& request);
    // A file handed out by an earlier search, or (when the shell kept an id across a restart)
    // found in the library; none when it is not in the library.
    std::optional<FileItem> itemFor(const QString& path);

    // Opens the file (through `open`) and announces it.
    void activate(const QString& path);
    // Shows the file in its folder (through `reveal`).
    void showInFolder(const QString& path);
    // Asks for Fennic's window with this request.
    void launch(const QString& request);

    // The file's folder as the results show it: "~/Documents/Invoices".
    static QString folderText(const QString& path);
    // A themed icon name for the file's type, judged by its name alone ("application-pdf").
    static QString iconName(const QString& path);

Q_SIGNALS:
    // A result was opened from the desktop's search.
    void fileActivated(const QString& path);
    // The user asked to see the search in Fennic: show the window with this request.
    void launchSearch(const QString& request);

private:
    AppModel& m_app;
    QHash<QString, FileItem> m_handedOut;
    std::optional<QDBusConnection> m_bus;
    QObject* m_shell = nullptr;
    QObject* m_runner = nullptr;
};

}  // namespace fennic
