#include "SupportFiles.h"

#include <QDir>
#include <QStandardPaths>

namespace fennic {

SupportFiles SupportFiles::current()
{
    QString dir;
    if (const auto root = fixtureRoot()) {
        dir = forFixture(*root).dir();
    } else {
        dir = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Fennic");
    }
    QDir().mkpath(dir);
    return SupportFiles(dir);
}

SupportFiles SupportFiles::forFixture(const QString& root)
{
    // Hidden, so that the scanner never lists the application's own files as library items.
    return SupportFiles(root + QStringLiteral("/.fennic-support"));
}

std::optional<QString> SupportFiles::fixtureRoot()
{
    if (!qEnvironmentVariableIsSet("FENNIC_LIBRARY_ROOT")) return std::nullopt;
    const QString value = qEnvironmentVariable("FENNIC_LIBRARY_ROOT");
    if (value.isEmpty()) return std::nullopt;
    return QDir::cleanPath(QDir::current().absoluteFilePath(value));
}

QString SupportFiles::file(const QString& name) const { return m_dir + u'/' + name; }

}  // namespace fennic
