#include "Prefs.h"

#include "Library.h"

#include <QDir>
#include <mutex>

namespace fennic::Prefs {
namespace {

std::mutex configureMutex;
bool configured = false;

}  // namespace

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

void resetForTesting()
{
    std::lock_guard lock(configureMutex);
    configured = false;
    Library::setHomeOverride(std::nullopt);
    Library::setAppFoldersOverride(std::nullopt);
}

}  // namespace fennic::Prefs
