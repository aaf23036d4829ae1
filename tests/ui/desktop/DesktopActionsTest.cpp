// Opening, Open With, the file manager and the clipboard, against the test's own desktop:
// an application installed in the private XDG data folder and a URL handler standing in for
// the desktop's opener.
#include "desktop/DesktopActions.h"
#include "support/TempTree.h"
#include "support/TestItems.h"
#include "support/UrlRecorder.h"
#include "theme/DesktopLook.h"

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>
#include <QTest>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::itemAt;
using fennic::test::TempTree;
using fennic::test::UrlRecorder;

TEST(DesktopClipboard, MimeDataCarriesUrlsPathsAndTheGnomeList)
{
    TempTree tree;
    const QString a = tree.write("a b.txt", "a");
    const QString b = tree.write("ü.txt", "b");
    std::unique_ptr<QMimeData> data(DesktopActions::mimeDataFor({itemAt(a), itemAt(b)}));
    EXPECT_EQ(data->urls(), (QList<QUrl>{QUrl::fromLocalFile(a), QUrl::fromLocalFile(b)}));
    EXPECT_EQ(data->text(), a + "\n" + b);
    EXPECT_EQ(data->data("x-special/gnome-copied-files"),
              "copy\n" + QUrl::fromLocalFile(a).toEncoded() + "\n" + QUrl::fromLocalFile(b).toEncoded());
    EXPECT_TRUE(data->data("x-special/gnome-copied-files").contains("a%20b.txt")) << "URLs are encoded";
    EXPECT_FALSE(data->hasImage()) << "building the data never reads a file";
}

TEST(DesktopClipboard, CopyPutsFilesAtOnceAndOnePicturesPixelsWhenLoaded)
{
    TempTree tree;
    QImage picture(24, 12, QImage::Format_RGB32);
    picture.fill(Qt::red);
    const QString png = tree.path("red.png");
    ASSERT_TRUE(picture.save(png, "PNG"));
    const QString text = tree.write("notes.txt", "n");
    QClipboard* clipboard = QGuiApplication::clipboard();

    EXPECT_FALSE(DesktopActions::copiesImage({itemAt(png), itemAt(text)}));
    EXPECT_FALSE(DesktopActions::copiesImage({itemAt(text)}));
    ASSERT_TRUE(DesktopActions::copiesImage({itemAt(png)}));

    DesktopActions::copy({itemAt(png)});
    ASSERT_TRUE(clipboard->mimeData());
    EXPECT_EQ(clipboard->mimeData()->urls(), QList<QUrl>{QUrl::fromLocalFile(png)});
    ASSERT_TRUE(QTest::qWaitFor([&] { return clipboard->mimeData()->hasImage(); }, 5000));
    EXPECT_EQ(qvariant_cast<QImage>(clipboard->mimeData()->imageData()).size(), QSize(24, 12));
    EXPECT_EQ(clipboard->mimeData()->urls(), QList<QUrl>{QUrl::fromLocalFile(png)}) << "the files stay too";

    // A later copy isn't overwritten by a picture that arrives late.
    DesktopActions::copy({itemAt(png)});
    DesktopActions::copyPaths({itemAt(png), itemAt(text)});
    QTest::qWait(200);
    EXPECT_EQ(clipboard->text(), png + "\n" + text);
    EXPECT_FALSE(clipboard->mimeData()->hasImage());
}

TEST(DesktopApplications, InstalledApplicationIsFoundAndLaunched)
{
    DesktopLook::ensureIconTheme();
    const QString applications = qEnvironmentVariable("XDG_DATA_HOME") + "/applications";
    ASSERT_TRUE(QDir().mkpath(applications));
    TempTree tree;
    const QString desktopFile = applications + "/fennic-test-reader.desktop";
    QFile file(desktopFile);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Desktop Entry]\nType=Application\nName=Fennic Test Reader\nExec=true %F\n"
               "Icon=accessories-text-editor\nMimeType=text/plain;\n");
    file.close();
    // The type index update-desktop-database would write, and the user's choice of default.
    QFile cache(applications + "/mimeinfo.cache");
    ASSERT_TRUE(cache.open(QIODevice::WriteOnly));
    cache.write("[MIME Cache]\ntext/plain=fennic-test-reader.desktop;\n");
    cache.close();
    QFile choices(qEnvironmentVariable("XDG_CONFIG_HOME") + "/mimeapps.list");
    ASSERT_TRUE(choices.open(QIODevice::WriteOnly));
    choices.write("[Default Applications]\ntext/plain=fennic-test-reader.desktop;\n");
    choices.close();

    const auto apps = DesktopActions::applicationsFor(tree.path("notes.txt"));
    const auto it = std::find_if(apps.cbegin(), apps.cend(), [](const DesktopActions::Application& a) {
        return a.id == "fennic-test-reader.desktop";
    });
    ASSERT_NE(it, apps.cend()) << "the application registered for text/plain";
    EXPECT_EQ(it, apps.cbegin()) << "the default application comes first";
    EXPECT_EQ(it->name, "Fennic Test Reader");
    EXPECT_FALSE(it->icon.isNull());
    QSet<QString> ids;
    for (const auto& a : apps) ids.insert(a.id);
    EXPECT_EQ(ids.size(), apps.size()) << "each application once";

    QObject context;
    std::optional<QList<DesktopActions::Application>> found;
    DesktopActions::findApplicationsFor(tree.path("notes.txt"), &context, [&](auto list) { found = list; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return found.has_value(); }, 5000));
    EXPECT_EQ(found->size(), apps.size());

    const QString notes = tree.write("notes.txt", "n");
    EXPECT_TRUE(DesktopActions::openWith("fennic-test-reader.desktop", {notes}));
    EXPECT_FALSE(DesktopActions::openWith("no-such-application.desktop", {notes}));
}

TEST(DesktopOpening, OpenAndTheFileManagerFallback)
{
    TempTree tree;
    const QString a = tree.write("docs/a.txt", "a");
    const QString b = tree.write("docs/b.txt", "b");
    const QString c = tree.write("pics/c.txt", "c");
    UrlRecorder recorder;
    DesktopActions::open({a, b});
    EXPECT_EQ(recorder.urls, (QList<QUrl>{QUrl::fromLocalFile(a), QUrl::fromLocalFile(b)}));

    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected() && bus.interface()->isServiceRegistered("org.freedesktop.FileManager1"))
        GTEST_SKIP() << "a real file manager would show the files";
    recorder.urls.clear();
    DesktopActions::showInFolder({a, b, c});
    ASSERT_TRUE(QTest::qWaitFor([&] { return recorder.urls.size() >= 2; }, 10000));
    EXPECT_EQ(recorder.urls,
              (QList<QUrl>{QUrl::fromLocalFile(tree.path("docs")), QUrl::fromLocalFile(tree.path("pics"))}))
        << "each folder once";
}
