#include "GnomeSearchProvider.h"

#include "DesktopSearch.h"
#include "thumbnails/ThumbnailCache.h"

#include "system/WorkerPool.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QFileInfo>
#include <QThreadPool>

namespace fennic {
namespace {

struct MetaSource {
    QString path;
    QString name;
    QString folder;
    QString icon;
};

QList<QVariantMap> metasFor(const QList<MetaSource>& sources)
{
    const ThumbnailCache thumbnails;
    QList<QVariantMap> metas;
    for (const MetaSource& s : sources) {
        QString gicon = thumbnails.thumbnailPath(s.path, ThumbnailCache::Size::normal);
        // The shell reads a themed icon as ". GThemedIcon name fallback…".
        if (!QFileInfo::exists(gicon))
            gicon = QStringLiteral(". GThemedIcon %1 text-x-generic").arg(s.icon.isEmpty() ? QStringLiteral("unknown")
                                                                                           : s.icon);
        metas.append(QVariantMap{{QStringLiteral("id"), s.path},
                                  {QStringLiteral("name"), s.name},
                                   {QStringLiteral("description"), s.folder}, {QStringLiteral("gicon"), gicon}});
    }
    return metas;
}

QStringList ids(const QList<BestMatch>& matches)
{
    QStringList out;
    out.reserve(matches.size());
    for (const BestMatch& m : matches) out.append(m.item.path);
    return out;
}

}  // namespace

GnomeSearchProvider::GnomeSearchProvider(DesktopSearch& search, QObject* parent) : QObject(parent), m_search(search)
{
    qDBusRegisterMetaType<QList<QVariantMap>>();
}

QStringList GnomeSearchProvider::GetInitialResultSet(const QStringList& terms)
{
    return ids(m_search.search(BestMatches::requestFor(terms)));
}

QStringList GnomeSearchProvider::GetSubsearchResultSet(const QStringList&, const QStringList& terms)
{
    return GetInitialResultSet(terms);
}

QList<QVariantMap> GnomeSearchProvider::GetResultMetas(const QStringList& idList)
{
    QList<MetaSource> sources;
    for (const QString& id : idList)
        if (const auto item = m_search.itemFor(id))
            sources.append(MetaSource{item->path, item->name, DesktopSearch::folderText(item->path),
                                      DesktopSearch::iconName(item->path)});
    if (!calledFromDBus()) return metasFor(sources);
    setDelayedReply(true);
    WorkerPool::shared()->start([sources, reply = message().createReply(), bus = connection()]() mutable {
        reply << QVariant::fromValue(metasFor(sources));
        bus.send(reply);
    });
    return {};
}

void GnomeSearchProvider::ActivateResult(const QString& id, const QStringList&, uint) { m_search.activate(id); }

void GnomeSearchProvider::LaunchSearch(const QStringList& terms, uint)
{
    m_search.launch(BestMatches::requestFor(terms));
}

}  // namespace fennic
