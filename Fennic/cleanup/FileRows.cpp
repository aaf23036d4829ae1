#include "FileRows.h"

#include "browser/BrowserModel.h"
#include "library/Library.h"
#include "model/Fmt.h"

#include <QHash>
#include <QMimeDatabase>
#include <cmath>

namespace fennic::FileRows {

ThumbnailLoader::Request thumbnailRequest(const FileItem& item)
{
    return {item.path, item.ext, qint64(std::floor(item.modified.toUnix()))};
}

QVariant picture(ThumbnailLoader& thumbnails, const FileItem& item)
{
    if (BrowserModel::hasThumbnail(item)) {
        if (auto image = thumbnails.thumbnail(thumbnailRequest(item))) return *image;
    }
    return typeIcon(item);
}

QPixmap square(const QImage& image, int edge, qreal ratio)
{
    const int px = qRound(edge * ratio);
    const QImage scaled = image.scaled(px, px, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
    QPixmap out = QPixmap::fromImage(scaled.copy((scaled.width() - px) / 2, (scaled.height() - px) / 2, px, px));
    out.setDevicePixelRatio(ratio);
    return out;
}

QIcon typeIcon(const FileItem& item)
{
    // Icons by extension, made once: a long list repaints the same few types.
    static QHash<QString, QIcon> cache;
    if (const auto it = cache.constFind(item.ext); it != cache.cend()) return *it;
    const QMimeType type = QMimeDatabase().mimeTypeForFile(item.name, QMimeDatabase::MatchExtension);
    QIcon icon = QIcon::fromTheme(type.iconName(), QIcon::fromTheme(type.genericIconName()));
    if (icon.isNull()) icon = QIcon::fromTheme(QStringLiteral("text-x-generic"));
    cache.insert(item.ext, icon);
    return icon;
}

QString folderText(const FileItem& item)
{
    QString folder = item.folderPath();
    const QString home = Library::home();
    if (!home.isEmpty() && home != u"/") {
        if (folder == home) return QStringLiteral("~");
        if (folder.startsWith(home) && folder.size() > home.size() && folder.at(home.size()) == u'/')
            return QStringLiteral("~") + folder.mid(home.size());
    }
    return folder;
}

QString dateText(const FileItem& item)
{
    const Date date = item.date();
    return date == Date::distantPast() ? QString() : Fmt::date(date);
}

}  // namespace fennic::FileRows
