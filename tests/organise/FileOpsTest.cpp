#include "organise/FileOps.h"
#include "organise/TrashMessages.h"
#include "support/TempTree.h"
#include "support/TestItems.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <ostream>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace fennic;
using namespace fennic::FileOps;

namespace fennic::TrashMessages {
// Readable notices in failure messages.
void PrintTo(const Notice& n, std::ostream* os)
{
    *os << '{' << n.text.toStdString() << " | " << n.symbol.toStdString() << " | error " << n.isError << ", undo "
        << n.offersUndo << ", sound " << n.playsSound << '}';
}
}  // namespace fennic::TrashMessages

namespace {

FileItem itemAt(const QString& path)
{
    FileItem f = test::itemAt(path);
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

QString infoFileOf(const QString& trashed)
{
    return trashFolder() + QStringLiteral("/info/") + QFileInfo(trashed).fileName() + QStringLiteral(".trashinfo");
}

QStringList trashEntries(const char* sub)
{
    return QDir(trashFolder() + u'/' + QLatin1String(sub))
        .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
}

// A file that cannot be moved. Without privileges a read-only folder is enough; root ignores
// folder permissions, so for root the file itself is made immutable (the file system's own
// "locked" flag). Undone on destruction so that the temporary tree can be removed.
class LockedFile {
public:
    explicit LockedFile(const QString& path) : m_path(path)
    {
        if (::geteuid() == 0)
            m_locked = setImmutable(true);
        else
            m_locked = ::chmod(QFile::encodeName(folder()).constData(), 0555) == 0;
    }
    ~LockedFile()
    {
        if (m_locked && ::geteuid() == 0)
            setImmutable(false);
        else if (m_locked)
            ::chmod(QFile::encodeName(folder()).constData(), 0755);
    }
    bool locked() const { return m_locked; }

private:
    QString folder() const { return QFileInfo(m_path).path(); }
    bool setImmutable(bool on) const
    {
        const int fd = ::open(QFile::encodeName(m_path).constData(), O_RDONLY | O_NONBLOCK);
        int flags = 0;
        bool ok = fd >= 0 && ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
        flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
        ok = ok && ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
        if (fd >= 0) ::close(fd);
        return ok;
    }

    QString m_path;
    bool m_locked = false;
};

class FileOpsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        // Every test starts without a Trash (the test main's private data folder).
        QDir(trashFolder()).removeRecursively();
        setLogSink([this](const QString& line) { logged.append(line); });
    }
    void TearDown() override { setLogSink({}); }

    test::TempTree tree;
    QStringList logged;
};

}  // namespace

TEST_F(FileOpsTest, TrashAndPutBackRoundTripWhileVanishedFilesFailOnTheirOwn)
{
    const QString a = tree.write("Documents/a.txt", "alpha");
    const QString b = tree.write("Pictures/a.txt", "same name, other folder");
    const QString package = tree.mkdir("Documents/Report.pages");
    tree.write("Documents/Report.pages/index.xml", "<x/>");
    const FileItem gone = itemAt(tree.write("Downloads/gone.zip", "z"));
    QFile::remove(gone.path);

    // The second request for a finds it gone.
    const TrashResult result = trash({itemAt(a), gone, itemAt(b), itemAt(package), itemAt(a)});
    ASSERT_EQ(result.moved.size(), 3);
    ASSERT_EQ(result.failed.size(), 2);
    EXPECT_EQ(result.failed[0].path, gone.path);
    EXPECT_EQ(result.failed[1].path, a);
    EXPECT_EQ(result.reasons.size(), 2);
    EXPECT_EQ(logged.size(), 2);
    QSet<QString> locations;
    for (const TrashedItem& m : result.moved) {
        ASSERT_TRUE(m.trashed);
        EXPECT_TRUE(m.trashed->startsWith(trashFolder() + QStringLiteral("/files/"))) << m.trashed->toStdString();
        EXPECT_FALSE(QFileInfo::exists(m.item.path));
        locations.insert(*m.trashed);
        EXPECT_TRUE(contentOf(infoFileOf(*m.trashed)).contains("Path=" + QUrl::toPercentEncoding(m.item.path, "/")))
            << m.trashed->toStdString();
    }
    EXPECT_EQ(locations.size(), 3) << "two files of one name get two places";
    // The home Trash was made on the way, private to the user.
    for (const QString& folder : {trashFolder(), trashFolder() + "/files", trashFolder() + "/info"}) {
        EXPECT_TRUE(QFileInfo(folder).isDir()) << folder.toStdString();
        EXPECT_EQ(QFileInfo(folder).permissions()
                      & (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther),
                  0)
            << folder.toStdString();
    }

    const QList<FileItem> back = putBack(result.moved);
    ASSERT_EQ(back.size(), 3);
    EXPECT_EQ(back[0].path, a);
    EXPECT_EQ(contentOf(a), "alpha");
    EXPECT_EQ(contentOf(b), "same name, other folder");
    EXPECT_EQ(contentOf(package + QStringLiteral("/index.xml")), "<x/>");
    EXPECT_TRUE(trashEntries("files").isEmpty());
    EXPECT_TRUE(trashEntries("info").isEmpty()) << "the Trash no longer lists what went back";
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
    ASSERT_EQ(result.reasons.size(), 1);
    EXPECT_FALSE(result.reasons[0].isEmpty());
    EXPECT_EQ(logged, QStringList({"Fennic: could not trash " + lockedPath + ": " + result.reasons[0]}));
    EXPECT_EQ(contentOf(lockedPath), "locked");
    EXPECT_EQ(trashEntries("info").size(), 1) << "no stray entry for the file that stayed";
}

TEST_F(FileOpsTest, PutBackNeverOverwritesAndRestoresWhatItCan)
{
    const QString plan = tree.write("Projects/2025/March/plan.md", "plan");
    const QString notes = tree.write("Documents/notes.txt", "old");
    const QString link = tree.write("Documents/link.txt", "l");
    const QString emptied = tree.write("emptied.txt", "e");
    const TrashResult result = trash({itemAt(plan), itemAt(notes), itemAt(link), itemAt(emptied)});
    ASSERT_EQ(result.moved.size(), 4);
    ASSERT_TRUE(QDir(tree.path("Projects")).removeRecursively());  // its folder is made again
    tree.write("Documents/notes.txt", "new");                      // a new file took the place
    tree.symlink("Documents/link.txt", tree.path("nowhere"));      // a dangling link takes it too
    QFile::remove(*result.moved[3].trashed);                       // emptied from the Trash meanwhile
    QList<TrashedItem> pairs = result.moved;
    pairs.prepend(TrashedItem{itemAt(tree.path("never.txt")), std::nullopt});

    const QList<FileItem> back = putBack(pairs);
    ASSERT_EQ(back.size(), 1);
    EXPECT_EQ(back[0].path, plan);
    EXPECT_EQ(contentOf(plan), "plan");
    EXPECT_EQ(contentOf(notes), "new");
    EXPECT_EQ(contentOf(*result.moved[1].trashed), "old") << "what could not go back stays in the Trash";
    EXPECT_TRUE(QFileInfo::exists(infoFileOf(*result.moved[1].trashed))) << "and stays listed there";
    EXPECT_TRUE(QFileInfo(link).isSymLink());
    EXPECT_EQ(contentOf(*result.moved[2].trashed), "l");
    EXPECT_FALSE(QFileInfo::exists(emptied));
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
    EXPECT_TRUE(QDir(work.path()).isEmpty()) << "nothing left behind in the working folder";
    EXPECT_EQ(logged.size(), 1);
}

TEST(TrashMessagesTest, CountsAndWording)
{
    using TrashMessages::Notice;
    auto result = [](int moved, const QStringList& failed) {
        TrashResult r;
        for (int i = 0; i < moved; ++i)
            r.moved.append({itemAt(QStringLiteral("/f%1").arg(i)), QStringLiteral("/t%1").arg(i)});
        for (const QString& name : failed) r.failed.append(itemAt(u'/' + name));
        return r;
    };
    const QString advice = QStringLiteral(". Check you have permission to move it.");
    const QString warning = QStringLiteral("exclamationmark.triangle");
    const QString partly = QStringLiteral("Moved 1 item to the Trash, but couldn\u2019t move ");
    struct Row {
        const char* name;
        TrashResult result;
        std::optional<Notice> expected;
    };
    const Row rows[] = {
        {"nothing at all", result(0, {}), std::nullopt},
        {"one moved", result(1, {}), Notice{"Moved 1 item to the Trash", "trash", false, true, true}},
        {"one failed beside", result(1, {"Keep Me.txt"}),
         Notice{partly + "\u201cKeep Me.txt\u201d" + advice, warning, true, true, true}},
        {"two failed beside", result(1, {"a.zip", "b.zip"}),
         Notice{partly + "2 items" + advice, warning, true, true, true}},
        {"nothing moved", result(0, {"gone.zip"}),
         Notice{"Couldn\u2019t move \u201cgone.zip\u201d" + advice, warning, true, false, false}},
        {"an app without its extension", result(0, {"Tool.app"}),
         Notice{"Couldn\u2019t move \u201cTool\u201d" + advice, warning, true, false, false}},
    };
    for (const Row& r : rows) EXPECT_EQ(TrashMessages::moveToTrash(r.result), r.expected) << r.name;

    EXPECT_EQ(TrashMessages::putBack(3, 3), (Notice{"Put back 3 items", "arrow.uturn.backward", false, false, false}));
    EXPECT_EQ(TrashMessages::putBack(1, 1).text, "Put back 1 item");
    EXPECT_EQ(TrashMessages::putBack(2, 3),
              (Notice{"Put back 2 of 3. The rest are still in the Trash.", warning, true, false, false}));
}
