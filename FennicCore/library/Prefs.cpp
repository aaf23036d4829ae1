#include "Prefs.h"

#include "Library.h"

#include <QDir>
#include <QStandardPaths>
#include <atomic>
#include <mutex>

namespace fennic::Prefs {
namespace {

std::mutex configureMutex;
bool configured = false;

}  // namespace

std::optional<QString> fixtureRoot()
{
    if (!qEnvironmentVariableIsSet("FENNIC_LIBRARY_ROOT")) return std::nullopt;
    const QString value = qEnvironmentVariable("FENNIC_LIBRARY_ROOT");
    if (value.isEmpty()) return std::nullopt;
    return QDir::cleanPath(QDir::current().absoluteFilePath(value));
}

void configure()
{
    std::lock_guard lock(configureMutex);
    if (configured) return;
    configured = true;
    // There is no demonstration library yet; a fixture root is the only override.
    const auto root = fixtureRoot();
    if (!root) return;
    QDir().mkpath(*root);
    const QString real = Library::realPath(*root);
    Library::setHomeOverride(real);
    Library::setAppFoldersOverride(QStringList{real + QStringLiteral("/Applications")});
}

QString supportDir()
{
    QString dir;
    if (const auto root = fixtureRoot()) {
        dir = *root + QStringLiteral("/.fennic-support");
    } else {
        dir = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Fennic");
    }
    QDir().mkpath(dir);
    return dir;
}

void resetForTesting()
{
    std::lock_guard lock(configureMutex);
    configured = false;
    Library::setHomeOverride(std::nullopt);
    Library::setAppFoldersOverride(std::nullopt);
}

}  // namespace fennic::Prefs
