#pragma once

#include "KRunnerMatch.h"

#include <QList>
#include <QObject>

namespace fennic {

class DesktopSearch;

// KRunner's D-Bus runner interface (org.kde.krunner1) over the desktop search: the same best
// matches as the shell's, with their relevance, and "Show in Folder" as an extra action. Its
// slots are the D-Bus methods, under the interface's own names.
class KRunnerProvider : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.krunner1")

public:
    static constexpr const char* kShowInFolder = "show-in-folder";

    explicit KRunnerProvider(DesktopSearch& search, QObject* parent = nullptr);

public Q_SLOTS:
    QList<fennic::KRunnerAction> Actions();
    QList<fennic::KRunnerMatch> Match(const QString& query);
    // An empty action id opens the file; kShowInFolder shows it in its folder.
    void Run(const QString& matchId, const QString& actionId);

private:
    DesktopSearch& m_search;
};

}  // namespace fennic
