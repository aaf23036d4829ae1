#include "DesktopSearch.h"

#include "GnomeSearchProvider.h"
#include "KRunnerProvider.h"
#include "app/AppModel.h"
#include "app/LibraryModel.h"
#include "desktop/DesktopActions.h"
#include "library/Library.h"

#include <QDBusConnectionInterface>
#include <QFileInfo>
#include <QMimeDatabase>

namespace fennic {
namespace {

// Enough for every result the desktop still shows; beyond it the oldest are forgotten.
constexpr qsizetype kRemembered = 500;

}  // namespace

DesktopSearch::DesktopSearch(AppModel& app, QObject* parent)
    : QObject(parent),
      open([](const QString& path) { DesktopActions::open({path}); }),
      reveal([](const QString& path) { DesktopActions::showInFolder({path}); }),
      m_app(app)
{ }

DesktopSearch::~DesktopSearch() { unpublish(); }

bool DesktopSearch::publish(QDBusConnection bus)
{
    unpublish();
    if (!bus.isConnected()) return false;
    auto* shell = new GnomeSearchProvider(*this, this);
    auto* runner = new KRunnerProvider(*this, this);
    const bool exported = bus.registerObject(QLatin1String(kShellPath), shell, QDBusConnection::ExportAllSlots)
        && bus.registerObject(QLatin1String(kRunnerPath), runner, QDBusConnection::ExportAllSlots);
    if (!exported || !bus.registerService(QLatin1String(kBusName))) {
        bus.unregisterObject(QLatin1String(kShellPath));
        bus.unregisterObject(QLatin1String(kRunnerPath));
        delete shell;
        delete runner;
        return false;
    }
    m_bus = bus;
    m_shell = shell;
    m_runner = runner;
    return true;
}

void DesktopSearch::unpublish()
{
    if (!m_bus) return;
    m_bus->unregisterService(QLatin1String(kBusName));
    m_bus->unregisterObject(QLatin1String(kShellPath));
    m_bus->unregisterObject(QLatin1String(kRunnerPath));
    delete m_shell;
    delete m_runner;
    m_shell = m_runner = nullptr;
    m_bus.reset();
}

QList<BestMatch> DesktopSearch::search(const QString& request)
{
    QList<BestMatch> found = BestMatches::find(m_app, request, kMaxResults);
    if (m_handedOut.size() + found.size() > kRemembered) m_handedOut.clear();
    for (const BestMatch& match : found) m_handedOut.insert(match.item.path, match.item);
    return found;
}

std::optional<FileItem> DesktopSearch::itemFor(const QString& path)
{
    if (auto it = m_handedOut.constFind(path); it != m_handedOut.constEnd()) return *it;
    for (const FileItem& item : m_app.library().items())
        if (item.path == path) return item;
    return std::nullopt;
}

void DesktopSearch::activate(const QString& path)
{
    if (!itemFor(path)) return;  // not a file of the library: nothing the desktop may open through us
    if (open) open(path);
    Q_EMIT fileActivated(path);
}

void DesktopSearch::showInFolder(const QString& path)
{
    if (itemFor(path) && reveal) reveal(path);
}

void DesktopSearch::launch(const QString& request) { Q_EMIT launchSearch(request); }

QString DesktopSearch::folderText(const QString& path)
{
    QString folder = QFileInfo(path).path();
    const QString home = Library::home();
    if (folder == home) return QStringLiteral("~");
    if (folder.startsWith(home + u'/')) return u'~' + folder.mid(home.size());
    return folder;
}

QString DesktopSearch::iconName(const QString& path)
{
    static const QMimeDatabase db;
    const QMimeType type = db.mimeTypeForFile(path, QMimeDatabase::MatchExtension);
    return type.iconName();
}

}  // namespace fennic
