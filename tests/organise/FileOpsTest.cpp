#include "organise/FileOps.h"
#include "organise/TrashMessages.h"
#include "support/TempTree.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace fennic;
using namespace fennic::FileOps;

namespace {

FileItem itemAt(const QString& path)
{
    FileItem f;
    f.path = path;
    f.name = QFileInfo(path).fileName();
    f.ext = pathExtension(f.name).toLower();
    f.size = QFileInfo(path).size();
    return f;
}

QByteArray contentOf(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QString trashFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Trash");
}

QStringList trashEntries(const char* sub)
{
    return QDir(trashFolder() + u'/' + QLatin1String(sub)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
}

// A file that cannot be moved. Without privileges a read-only folder is enough; root ignores
// folder permissions, so for root the file itself is made immutable (the file system's own
// "locked" flag). Undone on destruction so that the temporary tree can be removed.
class LockedFile {
public:
    explicit LockedFile(const QString& path) : m_path(path)
    {
        if (::geteuid() != 0) {
            m_folder = QFileInfo(path).path();
            m_locked = ::chmod(QFile::encodeName(m_folder).constData(), 0555) == 0;
            return;
        }
        m_locked = setImmutable(true);
    }
    ~LockedFile()
    {
        if (!m_locked) return;
        if (m_folder.isEmpty()) setImmutable(false);
        else ::chmod(QFile::encodeName(m_folder).constData(), 0755);
    }
    bool locked() const { return m_locked; }

private:
    bool setImmutable(bool on)
    {
        const int fd = ::open(QFile::encodeName(m_path).constData(), O_RDONLY | O_NONBLOCK);
        if (fd < 0) return false;
        int flags = 0;
        bool ok = ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
        flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
        ok = ok && ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
        ::close(fd);
        return ok;
    }

    QString m_path;
    QString m_folder;
    bool m_locked = false;
};

class FileOpsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        // Every test starts with an empty private Trash (the test main's data folder).
        QDir(trashFolder()).removeRecursively();
        setLogSink([this](const QString& line) { logged.append(line); });
    }
    void TearDown() override { setLogSink({}); }

    test::TempTree tree;
    QStringList logged;
};

}  // namespace

TEST_F(FileOpsTest, TrashAndPutBackRoundTrip)
{
    const QString a = tree.write("Documents/a.txt", "alpha");
    const QString b = tree.write("Pictures/a.txt", "same name, other folder");
    const QString package = tree.mkdir("Documents/Report.pages");
    tree.write("Documents/Report.pages/index.xml", "<x/>");

    const TrashResult result = trash({itemAt(a), itemAt(b), itemAt(package)});
    ASSERT_EQ(result.moved.size(), 3);
    EXPECT_TRUE(result.failed.isEmpty());
    EXPECT_TRUE(logged.isEmpty());
    QSet<QString> locations;
    for (const TrashedItem& m : result.moved) {
        ASSERT_TRUE(m.trashed);
        EXPECT_TRUE(m.trashed->startsWith(trashFolder() + QStringLiteral("/files/"))) << m.trashed->toStdString();
        EXPECT_TRUE(QFileInfo::exists(*m.trashed));
        EXPECT_FALSE(QFileInfo::exists(m.item.path));
        locations.insert(*m.trashed);
        const QString info = trashFolder() + QStringLiteral("/info/") + QFileInfo(*m.trashed).fileName() + QStringLiteral(".trashinfo");
        EXPECT_TRUE(contentOf(info).contains("Path=" + QUrl::toPercentEncoding(m.item.path, "/"))) << info.toStdString();
    }
    EXPECT_EQ(locations.size(), 3) << "two files of one name get two places";
    EXPECT_EQ(trashEntries("info").size(), 3);

    const QList<FileItem> back = putBack(result.moved);
    ASSERT_EQ(back.size(), 3);
    EXPECT_EQ(back[0].path, a);
    EXPECT_EQ(contentOf(a), "alpha");
    EXPECT_EQ(contentOf(b), "same name, other folder");
    EXPECT_EQ(contentOf(package + QStringLiteral("/index.xml")), "<x/>");
    EXPECT_TRUE(trashEntries("files").isEmpty());
    EXPECT_TRUE(trashEntries("info").isEmpty()) << "the Trash no longer lists what went back";

    EXPECT_EQ(TrashMessages::putBack(back.size(), result.moved.size()).text, "Put back 3 items");
}

TEST_F(FileOpsTest, ALockedFileStaysAndTheOtherMoves)
{
    const QString ordinary = tree.write("Documents/ordinary.txt", "o");
    const QString lockedPath = tree.write("Locked/Keep Me.txt", "locked");
    LockedFile lock(lockedPath);
    if (!lock.locked()) GTEST_SKIP() << "cannot lock a file here (no immutable flag for root on this file system)";

    const TrashResult result = trash({itemAt(lockedPath), itemAt(ordinary)});
    ASSERT_EQ(result.moved.size(), 1);
    EXPECT_EQ(result.moved[0].item.path, ordinary);
    ASSERT_EQ(result.failed.size(), 1);
    EXPECT_EQ(result.failed[0].path, lockedPath);
    EXPECT_EQ(contentOf(lockedPath), "locked");
    ASSERT_EQ(logged.size(), 1);
    EXPECT_TRUE(logged[0].startsWith(QStringLiteral("Fennic: could not trash ") + lockedPath + QStringLiteral(": ")))
        << logged[0].toStdString();
    EXPECT_GT(logged[0].size(), QStringLiteral("Fennic: could not trash : ").size() + lockedPath.size());
    EXPECT_TRUE(trashEntries("info").size() == 1) << "no stray entry for the file that stayed";

    const auto notice = TrashMessages::moveToTrash(result);
    ASSERT_TRUE(notice);
    EXPECT_EQ(notice->text, QStringLiteral("Moved 1 item to the Trash, but couldn\u2019t move \u201cKeep Me.txt\u201d. "
                                           "Check it isn\u2019t locked or open in another app."));
    EXPECT_TRUE(notice->isError);
    EXPECT_TRUE(notice->offersUndo);

    // Undo restores only what moved.
    EXPECT_EQ(putBack(result.moved).size(), 1);
    EXPECT_EQ(contentOf(ordinary), "o");
}

TEST_F(FileOpsTest, AVanishedFileFailsOnItsOwn)
{
    const QString gone = tree.write("Downloads/gone.zip", "z");
    const QString here = tree.write("Downloads/here.zip", "h");
    const FileItem goneItem = itemAt(gone);
    QFile::remove(gone);

    const TrashResult result = trash({goneItem, itemAt(here), itemAt(here)});
    ASSERT_EQ(result.moved.size(), 1);
    ASSERT_EQ(result.failed.size(), 2) << "the second request for the same file finds it gone";
    EXPECT_EQ(result.failed[0].path, gone);
    EXPECT_EQ(result.reasons.size(), 2);
    EXPECT_EQ(logged.size(), 2);
    EXPECT_EQ(TrashMessages::moveToTrash(result)->text,
              QStringLiteral("Moved 1 item to the Trash, but couldn\u2019t move 2 items. Check it isn\u2019t locked or open in another app."));

    const TrashResult none = trash({goneItem});
    EXPECT_EQ(TrashMessages::moveToTrash(none)->text,
              QStringLiteral("Couldn\u2019t move \u201cgone.zip\u201d. Check it isn\u2019t locked or open in another app."));
    EXPECT_FALSE(TrashMessages::moveToTrash(none)->offersUndo);
    EXPECT_FALSE(TrashMessages::moveToTrash(none)->playsSound);
}

TEST_F(FileOpsTest, AnOccupiedPlaceIsNeverOverwritten)
{
    const QString path = tree.write("Documents/notes.txt", "old");
    const TrashResult result = trash({itemAt(path)});
    ASSERT_EQ(result.moved.size(), 1);
    tree.write("Documents/notes.txt", "new");

    EXPECT_TRUE(putBack(result.moved).isEmpty());
    EXPECT_EQ(contentOf(path), "new");
    EXPECT_EQ(contentOf(*result.moved[0].trashed), "old") << "the trashed file stays in the Trash";
    EXPECT_EQ(trashEntries("info").size(), 1);

    const auto notice = TrashMessages::putBack(0, 1);
    EXPECT_EQ(notice.text, "Put back 0 of 1. The rest are still in the Trash.");
    EXPECT_TRUE(notice.isError);
    EXPECT_EQ(notice.symbol, "exclamationmark.triangle");

    // A dangling link occupies the place too.
    QFile::remove(path);
    tree.symlink("Documents/notes.txt", tree.path("nowhere"));
    EXPECT_TRUE(putBack(result.moved).isEmpty());
}

TEST_F(FileOpsTest, PutBackRecreatesADeletedFolder)
{
    const QString path = tree.write("Projects/2025/March/plan.md", "plan");
    const TrashResult result = trash({itemAt(path)});
    ASSERT_EQ(result.moved.size(), 1);
    ASSERT_TRUE(QDir(tree.path("Projects")).removeRecursively());

    const QList<FileItem> back = putBack(result.moved);
    ASSERT_EQ(back.size(), 1);
    EXPECT_EQ(contentOf(path), "plan");
}

TEST_F(FileOpsTest, PutBackSkipsWhatHasNoTrashPlaceOrIsGoneFromTheTrash)
{
    const QString a = tree.write("a.txt", "a");
    const QString b = tree.write("b.txt", "b");
    TrashResult result = trash({itemAt(a), itemAt(b)});
    ASSERT_EQ(result.moved.size(), 2);
    QFile::remove(*result.moved[1].trashed);  // emptied from the Trash meanwhile
    QList<TrashedItem> pairs = result.moved;
    pairs.prepend(TrashedItem{itemAt(tree.path("never.txt")), std::nullopt});

    const QList<FileItem> back = putBack(pairs);
    ASSERT_EQ(back.size(), 1);
    EXPECT_EQ(back[0].path, a);
    EXPECT_FALSE(QFileInfo::exists(b));
    EXPECT_EQ(TrashMessages::putBack(back.size(), pairs.size()).text, "Put back 1 of 3. The rest are still in the Trash.");
}

TEST_F(FileOpsTest, AnEmptyListDoesNothing)
{
    const TrashResult result = trash({});
    EXPECT_TRUE(result.moved.isEmpty());
    EXPECT_TRUE(result.failed.isEmpty());
    EXPECT_EQ(TrashMessages::moveToTrash(result), std::nullopt);
    EXPECT_TRUE(putBack({}).isEmpty());
}

TEST_F(FileOpsTest, TheHomeTrashIsMadePrivate)
{
    ASSERT_TRUE(QDir(trashFolder()).removeRecursively());
    const QString path = tree.write("x.txt", "x");
    ASSERT_EQ(trash({itemAt(path)}).moved.size(), 1);
    for (const QString& folder : {trashFolder(), trashFolder() + "/files", trashFolder() + "/info"}) {
        const QFileInfo info(folder);
        EXPECT_TRUE(info.isDir()) << folder.toStdString();
        EXPECT_EQ(info.permissions() & (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther), 0)
            << folder.toStdString();
    }
}

// When no Trash can be set up, the file must not end up in a "files" folder under the working
// folder: it stays where it was and the failure is reported.
TEST_F(FileOpsTest, NoUsableTrashLeavesTheFileInPlace)
{
    const QString path = tree.write("Documents/keep.txt", "keep");
    const QString blocker = tree.write("not-a-folder", "x");
    QTemporaryDir work;
    const QString oldCwd = QDir::currentPath();
    const QByteArray oldData = qgetenv("XDG_DATA_HOME");
    QDir::setCurrent(work.path());
    qputenv("XDG_DATA_HOME", QFile::encodeName(blocker + QStringLiteral("/data")));

    const TrashResult result = trash({itemAt(path)});

    qputenv("XDG_DATA_HOME", oldData);
    QDir::setCurrent(oldCwd);
    EXPECT_TRUE(result.moved.isEmpty());
    ASSERT_EQ(result.failed.size(), 1);
    EXPECT_EQ(contentOf(path), "keep");
    EXPECT_FALSE(QFileInfo::exists(work.path() + QStringLiteral("/files/keep.txt")));
    EXPECT_TRUE(QDir(work.path()).isEmpty()) << "no folders left behind in the working folder";
    EXPECT_EQ(logged.size(), 1);
}

TEST(TrashMessagesTest, CountsAndWording)
{
    auto moved = [](int n) {
        FileOps::TrashResult r;
        for (int i = 0; i < n; ++i) {
            FileItem f;
            f.path = QStringLiteral("/f%1").arg(i);
            r.moved.append({f, f.path});
        }
        return r;
    };
    const auto one = TrashMessages::moveToTrash(moved(1));
    EXPECT_EQ(one->text, "Moved 1 item to the Trash");
    EXPECT_EQ(one->symbol, "trash");
    EXPECT_FALSE(one->isError);
    EXPECT_TRUE(one->offersUndo);
    EXPECT_TRUE(one->playsSound);
    EXPECT_EQ(TrashMessages::moveToTrash(moved(1234))->text, "Moved 1,234 items to the Trash");

    FileOps::TrashResult app = moved(0);
    FileItem tool;
    tool.path = QStringLiteral("/Applications/Tool.app");
    tool.name = QStringLiteral("Tool.app");
    tool.ext = QStringLiteral("app");
    tool.kind = FileKind::app;
    app.failed.append(tool);
    EXPECT_EQ(TrashMessages::moveToTrash(app)->text,
              QStringLiteral("Couldn\u2019t move \u201cTool\u201d. Check it isn\u2019t locked or open in another app."))
        << "an app shows without its extension";

    const auto all = TrashMessages::putBack(1, 1);
    EXPECT_EQ(all.text, "Put back 1 item");
    EXPECT_EQ(all.symbol, "arrow.uturn.backward");
    EXPECT_FALSE(all.isError);
}
