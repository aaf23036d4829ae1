#pragma once

#include <QDBusContext>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace fennic {

class DesktopSearch;

// GNOME Shell's search provider interface (org.gnome.Shell.SearchProvider2) over the
// desktop search. The shell sends the words typed in its overview; results are file paths.
// Its slots are the D-Bus methods, under the interface's own names.
class GnomeSearchProvider : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.gnome.Shell.SearchProvider2")

public:
    explicit GnomeSearchProvider(DesktopSearch& search, QObject* parent = nullptr);

public Q_SLOTS:
    QStringList GetInitialResultSet(const QStringList& terms);
    // The shell narrows a search as the user types on; searching afresh is as fast as
    // filtering the previous ids and finds files the previous list had no room for.
    QStringList GetSubsearchResultSet(const QStringList& previousResults, const QStringList& terms);
    // "id", "name", "description" (the folder) and "gicon" (the thumbnail when one is cached,
    // else the type's themed icon). Answered from a pool thread: looking for thumbnails
    // touches the disk.
    QList<QVariantMap> GetResultMetas(const QStringList& ids);
    void ActivateResult(const QString& id, const QStringList& terms, uint timestamp);
    void LaunchSearch(const QStringList& terms, uint timestamp);

private:
    DesktopSearch& m_search;
};

}  // namespace fennic
