#include "FileItem.h"

#include <algorithm>
#include <iterator>

namespace fennic {

QString FileItem::folderPath() const
{
    const qsizetype slash = path.lastIndexOf(u'/');
    if (slash < 0) return QString();
    if (slash == 0) return QStringLiteral("/");
    return path.left(slash);
}

QString FileItem::folderName() const
{
    QString folder = folderPath();
    if (folder == u"/") return folder;
    return folder.mid(folder.lastIndexOf(u'/') + 1);
}

QString FileItem::displayName() const
{
    if (kind != FileKind::app || ext.isEmpty()) return name;
    return name.left(name.size() - ext.size() - 1);
}

bool FileItem::isInstaller() const
{
    // Disk images and installer packages, and the packages and self-extracting installers
    // Linux software arrives in; the clean-up rules treat all of them as one kind of leftover.
    static constexpr QStringView kExtensions[] = {
        u"dmg", u"pkg", u"iso", u"mpkg", u"deb", u"rpm", u"flatpak", u"flatpakref", u"snap", u"run",
    };
    return std::find(std::begin(kExtensions), std::end(kExtensions), QStringView(ext)) != std::end(kExtensions);
}

QString pathExtension(QStringView name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot <= 0 || dot == name.size() - 1) return QString();
    return name.mid(dot + 1).toString();
}

}  // namespace fennic
