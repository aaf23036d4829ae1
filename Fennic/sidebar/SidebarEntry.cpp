#include "SidebarEntry.h"

#include <QLocale>

namespace fennic {

QString SidebarEntry::key() const
{
    return QStringLiteral("%1|%2|%3|%4|%5")
            .arg(static_cast<int>(item.kind))
            .arg(static_cast<int>(item.kind == SidebarItem::Kind::kind ? item.fileKind : FileKind::other))
            .arg(item.path, item.name, item.id.toString(QUuid::WithoutBraces));
}

QString SidebarEntry::accessibleText() const
{
    if (!count) return title;
    const QString number = QLocale().toString(*count);
    return *count == 1 ? QStringLiteral("%1, 1 file").arg(title) : QStringLiteral("%1, %2 files").arg(title, number);
}

bool SidebarEntry::acceptsFiles() const
{
    using K = SidebarItem::Kind;
    return item.kind == K::collection || item.kind == K::tag || item.kind == K::favourites;
}

bool SidebarEntry::isRenamable() const
{
    return item.kind == SidebarItem::Kind::collection || item.kind == SidebarItem::Kind::savedSearch;
}

}  // namespace fennic
