#include "DesktopActions.h"

#include "system/WorkerPool.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImageReader>
#include <QMimeData>
#include <QPointer>
#include <QSet>
#include <QThreadPool>
#include <QUrl>
#include <atomic>
#include <memory>

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

namespace fennic::DesktopActions {

namespace {

// GLib's objects and strings, freed when they go out of scope.
struct GFree {
    void operator()(gpointer p) const { g_free(p); }
};
struct GUnref {
    void operator()(gpointer p) const { g_object_unref(p); }
};
using GText = std::unique_ptr<gchar, GFree>;
template <typename T> using GObjectPtr = std::unique_ptr<T, GUnref>;

QString fromUtf8(const char* text) { return text ? QString::fromUtf8(text) : QString(); }

// An application as found off the GUI thread; the icon is made from its name on the GUI thread.
struct FoundApplication {
    QString id;
    QString name;
    QString icon;  // g_icon_to_string: a theme name, a path, or a serialised list of names
};

FoundApplication describe(GAppInfo* info)
{
    FoundApplication app{fromUtf8(g_app_info_get_id(info)), fromUtf8(g_app_info_get_display_name(info)), {}};
    if (GIcon* icon = g_app_info_get_icon(info)) app.icon = fromUtf8(GText(g_icon_to_string(icon)).get());
    return app;
}

QList<FoundApplication> findApplications(const QString& path)
{
    // The type is guessed from the name alone: no read of the file.
    const QByteArray name = QFile::encodeName(QFileInfo(path).fileName());
    gboolean uncertain = FALSE;
    const GText type(g_content_type_guess(name.constData(), nullptr, 0, &uncertain));
    QList<FoundApplication> found;
    if (!type) return found;

    QSet<QString> seen;
    const auto add = [&](GAppInfo* info) {
        FoundApplication app = describe(info);
        if (app.id.isEmpty() || seen.contains(app.id)) return;
        seen.insert(app.id);
        found << std::move(app);
    };
    if (const GObjectPtr<GAppInfo> defaultApp{g_app_info_get_default_for_type(type.get(), FALSE)})
        add(defaultApp.get());
    GList* all = g_app_info_get_all_for_type(type.get());
    for (GList* it = all; it; it = it->next) add(static_cast<GAppInfo*>(it->data));
    g_list_free_full(all, g_object_unref);
    return found;
}

QIcon iconFrom(const QString& serialised)
{
    static const QString fallback = QStringLiteral("application-x-executable");
    if (serialised.startsWith(u'/')) return QIcon(serialised);
    QStringList names;
    if (serialised.startsWith(QLatin1String(". GThemedIcon ")))
        names = serialised.mid(14).split(u' ', Qt::SkipEmptyParts);
    else if (!serialised.isEmpty() && !serialised.startsWith(u'.'))
        names << serialised;
    for (const QString& name : std::as_const(names))
        if (QIcon::hasThemeIcon(name)) return QIcon::fromTheme(name);
    return QIcon::fromTheme(fallback);
}

QList<Application> toApplications(const QList<FoundApplication>& found)
{
    QList<Application> apps;
    apps.reserve(found.size());
    for (const FoundApplication& f : found) apps << Application{f.id, f.name, iconFrom(f.icon)};
    return apps;
}

void openFolders(const QStringList& paths)
{
    QStringList folders;
    for (const QString& path : paths) {
        const QString folder = QFileInfo(path).absolutePath();
        if (!folders.contains(folder)) folders << folder;
    }
    for (const QString& folder : std::as_const(folders)) QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
}

const QString kCopyMarker = QStringLiteral("application/x-fennic-copy");

// Reads a picture for the clipboard; pictures past this many pixels are left as files only.
QImage loadForClipboard(const QString& path)
{
    constexpr qint64 kMaxPixels = 50'000'000;
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (size.isValid() && qint64(size.width()) * size.height() > kMaxPixels) return {};
    return reader.read();
}

}  // namespace

void open(const QStringList& paths)
{
    for (const QString& path : paths) QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

QList<Application> applicationsFor(const QString& path) { return toApplications(findApplications(path)); }

void findApplicationsFor(const QString& path, QObject* context, std::function<void(QList<Application>)> done)
{
    QPointer<QObject> receiver(context);
    WorkerPool::shared()->start([path, receiver, done = std::move(done)]() mutable {
        QList<FoundApplication> found = findApplications(path);
        if (!receiver) return;
        QMetaObject::invokeMethod(
            receiver.data(),
            [receiver, found = std::move(found), done = std::move(done)] {
                if (receiver) done(toApplications(found));
            },
            Qt::QueuedConnection);
    });
}

bool openWith(const QString& appId, const QStringList& paths)
{
    const QByteArray id = appId.toUtf8();
    const GObjectPtr<GDesktopAppInfo> info{g_desktop_app_info_new(id.constData())};
    if (!info) return false;
    GList* files = nullptr;
    for (auto it = paths.crbegin(); it != paths.crend(); ++it)
        files = g_list_prepend(files, g_file_new_for_path(QFile::encodeName(*it).constData()));
    GError* error = nullptr;
    const bool launched = g_app_info_launch(G_APP_INFO(info.get()), files, nullptr, &error);
    if (error) {
        qWarning("Could not open with %s: %s", id.constData(), error->message);
        g_error_free(error);
    }
    g_list_free_full(files, g_object_unref);
    return launched;
}

void showInFolder(const QStringList& paths)
{
    if (paths.isEmpty()) return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        openFolders(paths);
        return;
    }
    QStringList uris;
    for (const QString& path : paths) uris << QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
                       QStringLiteral("/org/freedesktop/FileManager1"),
                                      QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << uris << QString();
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, 5000), QCoreApplication::instance());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [paths](QDBusPendingCallWatcher* w) {
        // No file manager on the bus (ServiceUnknown) or one that failed: the folders instead.
        if (w->isError()) openFolders(paths);
        w->deleteLater();
    });
}

QMimeData* mimeDataFor(const QList<FileItem>& items)
{
    auto* data = new QMimeData;
    QList<QUrl> urls;
    QStringList paths;
    QByteArray gnome = "copy";
    for (const FileItem& item : items) {
        const QUrl url = QUrl::fromLocalFile(item.path);
        urls << url;
        paths << item.path;
        gnome += '\n' + url.toEncoded();
    }
    data->setUrls(urls);
    data->setText(paths.join(u'\n'));
    data->setData(QStringLiteral("x-special/gnome-copied-files"), gnome);
    return data;
}

bool copiesImage(const QList<FileItem>& items)
{
    if (items.size() != 1 || items.first().kind != FileKind::image) return false;
    return QImageReader::supportedImageFormats().contains(items.first().ext.toLatin1());
}

void copy(const QList<FileItem>& items)
{
    static std::atomic<quint64> serial{0};
    const QByteArray mark = QByteArray::number(++serial);
    QMimeData* data = mimeDataFor(items);
    data->setData(kCopyMarker, mark);
    QGuiApplication::clipboard()->setMimeData(data);
    if (!copiesImage(items)) return;

    // The files are on the clipboard at once; the picture follows when read, unless something
    // else was copied meanwhile.
    const QString path = items.first().path;
    QPointer<QCoreApplication> app(QCoreApplication::instance());
    WorkerPool::shared()->start([items, path, mark, app] {
        QImage image = loadForClipboard(path);
        if (image.isNull() || !app) return;
        QMetaObject::invokeMethod(
            app.data(),
            [items, mark, image = std::move(image)] {
                QClipboard* clipboard = QGuiApplication::clipboard();
                const QMimeData* current = clipboard->mimeData();
                if (!current || current->data(kCopyMarker) != mark) return;
                QMimeData* withImage = mimeDataFor(items);
                withImage->setData(kCopyMarker, mark);
                withImage->setImageData(image);
                clipboard->setMimeData(withImage);
            },
            Qt::QueuedConnection);
    });
}

void copyPaths(const QList<FileItem>& items)
{
    QStringList paths;
    paths.reserve(items.size());
    for (const FileItem& item : items) paths << item.path;
    QGuiApplication::clipboard()->setText(paths.join(u'\n'));
}

}  // namespace fennic::DesktopActions
