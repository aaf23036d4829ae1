#include "KRunnerProvider.h"

#include "DesktopSearch.h"

#include <QDBusMetaType>
#include <QUrl>

namespace fennic {

QDBusArgument& operator<<(QDBusArgument& arg, const KRunnerMatch& match)
{
    arg.beginStructure();
    arg << match.id << match.text << match.iconName << match.type << match.relevance << match.properties;
    arg.endStructure();
    return arg;
}

const QDBusArgument& operator>>(const QDBusArgument& arg, KRunnerMatch& match)
{
    arg.beginStructure();
    arg >> match.id >> match.text >> match.iconName >> match.type >> match.relevance >> match.properties;
    arg.endStructure();
    return arg;
}

QDBusArgument& operator<<(QDBusArgument& arg, const KRunnerAction& action)
{
    arg.beginStructure();
    arg << action.id << action.text << action.iconName;
    arg.endStructure();
    return arg;
}

const QDBusArgument& operator>>(const QDBusArgument& arg, KRunnerAction& action)
{
    arg.beginStructure();
    arg >> action.id >> action.text >> action.iconName;
    arg.endStructure();
    return arg;
}

KRunnerProvider::KRunnerProvider(DesktopSearch& search, QObject* parent) : QObject(parent), m_search(search)
{
    qDBusRegisterMetaType<KRunnerMatch>();
    qDBusRegisterMetaType<QList<KRunnerMatch>>();
    qDBusRegisterMetaType<KRunnerAction>();
    qDBusRegisterMetaType<QList<KRunnerAction>>();
}

QList<KRunnerAction> KRunnerProvider::Actions()
{
    return {KRunnerAction{QLatin1String(kShowInFolder),
                          QStringLiteral("Show in Folder"), QStringLiteral("document-open-folder")}};
}

QList<KRunnerMatch> KRunnerProvider::Match(const QString& query)
{
    QList<KRunnerMatch> matches;
    for (const BestMatch& m : m_search.search(query)) {
        const QString& path = m.item.path;
        matches.append(
            KRunnerMatch{path, m.item.name, DesktopSearch::iconName(path),
                         m.exact ? KRunnerMatch::kExact : KRunnerMatch::kPossible, m.relevance,
                         QVariantMap{{QStringLiteral("subtext"), DesktopSearch::folderText(path)},
                                      {QStringLiteral("urls"), QStringList{QUrl::fromLocalFile(path).toString()}}}});
    }
    return matches;
}

void KRunnerProvider::Run(const QString& matchId, const QString& actionId)
{
    if (actionId.isEmpty())
        m_search.activate(matchId);
    else if (actionId == QLatin1String(kShowInFolder))
        m_search.showInFolder(matchId);
}

}  // namespace fennic
