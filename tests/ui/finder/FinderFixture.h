#pragma once

#include "Pictures.h"
#include "app/AppModel.h"
#include "app/LibraryHome.h"
#include "images/ImageIndex.h"
#include "library/LibraryCache.h"
#include "model/SupportFiles.h"
#include "support/TestItems.h"
#include "support/UrlRecorder.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QDir>
#include <QFileInfo>
#include <memory>
#include <vector>

namespace fennic::test {

// A feature print of `values`, as the image index stores it.
inline QByteArray printOf(const std::vector<float>& values)
{
    return QByteArray(reinterpret_cast<const char*>(values.data()), qsizetype(values.size() * sizeof(float)));
}

// One recognised line, its box in the picture's lower-left-origin fractions.
inline TextLine lineAt(const QString& text, float x, float y, float w, float h)
{
    return TextLine{text, x, y, w, h, 0.9f};
}

// A library of real drawn pictures in a temporary home, with their records already in the
// image index (as a finished reading leaves them), a library cache naming them, and a
// thumbnail cache of its own. Nothing is read again unless a test starts indexing.
class FinderFixture : public LibraryHome {
public:
    // Draws the picture into Pictures/ and gives it a record; returns its path.
    QString addPicture(const QString& name, const QImage& image, QHash<QString, float> labels,
                       QList<TextLine> lines = {}, std::optional<QByteArray> print = std::nullopt)
    {
        QString path = save(image, tree.path("Pictures/" + name));
        const QFileInfo info(path);
        FileItem item = itemAt(path);
        item.size = info.size();
        item.created = item.modified = item.added = Date::fromQDateTime(info.lastModified());
        items.append(item);
        records.insert(path,
                       ImageRecord(path, item.size, item.modified, std::move(labels), {}, std::move(lines), QString(),
                                   std::move(print), image.width(), image.height(), false));
        return path;
    }

    // Draws the picture into Pictures/ without a record: it waits to be read.
    QString addUnreadPicture(const QString& name, const QImage& image)
    {
        QString path = save(image, tree.path("Pictures/" + name));
        FileItem item = itemAt(path);
        item.size = QFileInfo(path).size();
        item.created = item.modified = item.added = Date::fromQDateTime(QFileInfo(path).lastModified());
        items.append(item);
        return path;
    }

    AppModel& open()
    {
        LibraryCache::save(LibraryCache::defaultPath(), items);
        ImageIndex(QStringList(), records).save(SupportFiles::current().imageIndex());
        model = std::make_unique<AppModel>(env);
        return *model;
    }

    ThumbnailLoader thumbnails{ThumbnailCache(tree.path(".thumbnails"))};
    QList<FileItem> items;
    QHash<QString, ImageRecord> records;
    std::unique_ptr<AppModel> model;
};

}  // namespace fennic::test
