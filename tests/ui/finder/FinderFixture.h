#pragma once

#include "Pictures.h"
#include "app/AppModel.h"
#include "images/ImageIndex.h"
#include "library/LibraryCache.h"
#include "library/Prefs.h"
#include "model/SupportFiles.h"
#include "support/TempTree.h"
#include "support/TestItems.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QDesktopServices>
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

// Receives what would have gone to the desktop's default application.
class OpenedUrls : public QObject {
    Q_OBJECT

public:
    OpenedUrls() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open"); }
    ~OpenedUrls() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }
    QList<QUrl> urls;

public Q_SLOTS:
    void open(const QUrl& url) { urls << url; }
};

// A library of real drawn pictures in a temporary home, with their records already in the
// image index (as a finished reading leaves them), a library cache naming them, and a
// thumbnail cache of its own. Nothing is read again unless a test starts indexing.
class FinderFixture {
public:
    FinderFixture()
    {
        for (const char* folder : {"Desktop", "Documents", "Downloads", "Pictures", "Movies", "Music"})
            tree.mkdir(QString::fromLatin1(folder));
        qputenv("FENNIC_LIBRARY_ROOT", QFile::encodeName(tree.root()));
        Prefs::resetForTesting();
        Prefs::configure();
        env.settingsFile = tree.path(".fennic-support/settings.ini");
        env.playSound = [](const QString&) {};
    }
    ~FinderFixture()
    {
        model.reset();
        qunsetenv("FENNIC_LIBRARY_ROOT");
        Prefs::resetForTesting();
    }

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

    TempTree tree;
    AppEnvironment env;
    ThumbnailLoader thumbnails{ThumbnailCache(tree.path(".thumbnails"))};
    QList<FileItem> items;
    QHash<QString, ImageRecord> records;
    std::unique_ptr<AppModel> model;
};

}  // namespace fennic::test
