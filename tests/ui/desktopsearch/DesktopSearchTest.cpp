// The desktop's search over a real library: the shell's search provider and the KRunner runner
// called over D-Bus, as the desktop calls them, on a private bus daemon started for the test.
#include "AppTestSupport.h"

#include "desktopsearch/BestMatches.h"
#include "desktopsearch/DesktopSearch.h"
#include "desktopsearch/KRunnerMatch.h"
#include "library/Library.h"
#include "support/PrivateBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QDateTime>
#include <QFile>
#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

class DesktopSearchTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        // Ages chosen so that name order, age order and ranking all differ.
        write("Documents/Invoices/q3-invoice.pdf", 3);
        write("Documents/invoice.pdf", 40);
        write("Downloads/invoice-march.pdf", 10);
        write("Documents/invoice-march.txt", 1);
        write("Desktop/old notes invoice.pdf", 2);
        write("Documents/report.pdf", 1);
        write("Documents/Taxes/2025/summary.pdf", 5);
        app = &f.make();
        app->library().scan();
        ASSERT_TRUE(app->waitForIdle());

        search = std::make_unique<DesktopSearch>(*app);
        search->open = [this](const QString& path) { opened << path; };
        search->reveal = [this](const QString& path) { revealed << path; };
        if (!bus.isRunning()) GTEST_SKIP() << "needs dbus-daemon";
        ASSERT_TRUE(search->publish(bus.connect(QStringLiteral("fennic-provider"))));
        client = std::make_unique<QDBusConnection>(bus.connect(QStringLiteral("fennic-desktop")));
        ASSERT_TRUE(client->isConnected());
    }
    void TearDown() override { search.reset(); }

    void write(const QString& relative, int daysOld)
    {
        const QString path = f.tree.write(relative, "x");
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        const QDateTime when =
            QDateTime::fromString(QStringLiteral("2026-03-10T12:00:00Z"), Qt::ISODate).addDays(-daysOld);
        ASSERT_TRUE(file.setFileTime(when, QFileDevice::FileModificationTime));
    }
    QString path(const QString& relative) const { return f.tree.path(relative); }

    // Calls a method as the desktop would, letting this thread's event loop serve it meanwhile.
    QDBusMessage call(const char* objectPath, const char* interface, const char* method, const QVariantList& args)
    {
        QDBusMessage message =
            QDBusMessage::createMethodCall(QLatin1String(DesktopSearch::kBusName), QLatin1String(objectPath),
                                           QLatin1String(interface), QLatin1String(method));
        message.setArguments(args);
        QDBusPendingCall pending = client->asyncCall(message, 10000);
        QDBusPendingCallWatcher watcher(pending);
        QSignalSpy finished(&watcher, &QDBusPendingCallWatcher::finished);
        if (!watcher.isFinished()) finished.wait(10000);
        EXPECT_NE(pending.reply().type(), QDBusMessage::ErrorMessage) << qPrintable(pending.reply().errorMessage());
        return pending.reply();
    }
    QDBusMessage shell(const char* method, const QVariantList& args)
    {
        return call(DesktopSearch::kShellPath, "org.gnome.Shell.SearchProvider2", method, args);
    }
    QDBusMessage runner(const char* method, const QVariantList& args)
    {
        return call(DesktopSearch::kRunnerPath, "org.kde.krunner1", method, args);
    }

    test::AppFixture f;
    test::PrivateBus bus;
    AppModel* app = nullptr;
    std::unique_ptr<DesktopSearch> search;
    std::unique_ptr<QDBusConnection> client;
    QStringList opened, revealed;
};

template <typename T> T first(const QDBusMessage& reply)
{
    if (reply.arguments().isEmpty()) return T();
    return qdbus_cast<T>(reply.arguments().constFirst());
}

// A structured reply (aa{sv}, a(sssida{sv})...) read into T.
template <typename T> T structured(const QDBusMessage& reply)
{
    T out;
    if (!reply.arguments().isEmpty()) reply.arguments().constFirst().value<QDBusArgument>() >> out;
    return out;
}

}  // namespace

TEST_F(DesktopSearchTest, TheShellGetsTheBestMatchesFirstWithTheirDetails)
{
    // "invoice pdfs": the word in the name, and the kind. A name that is the word comes first,
    // then names that begin with it, then names with it inside; newer first among equals.
    const QStringList expected{path("Documents/invoice.pdf"), path("Downloads/invoice-march.pdf"),
                               path("Desktop/old notes invoice.pdf"), path("Documents/Invoices/q3-invoice.pdf")};
    const auto initial = first<QStringList>(shell("GetInitialResultSet", {QStringList{"invoice", "pdfs"}}));
    EXPECT_EQ(initial, expected);

    // Typing on narrows the search.
    const auto narrower =
        first<QStringList>(shell("GetSubsearchResultSet", {initial, QStringList{"invoice", "pdfs", "notes"}}));
    EXPECT_EQ(narrower, QStringList{path("Desktop/old notes invoice.pdf")});
    EXPECT_TRUE(first<QStringList>(shell("GetInitialResultSet", {QStringList{"zzzz"}})).isEmpty());

    const QDBusMessage metasReply = shell("GetResultMetas", {QStringList{expected[0], path("Documents/nothing.pdf")}});
    const auto metas = structured<QList<QVariantMap>>(metasReply);
    ASSERT_EQ(metas.size(), 1) << "an id that is not a library file gets no entry";
    EXPECT_EQ(metas[0]["id"].toString(), expected[0]);
    EXPECT_EQ(metas[0]["name"].toString(), "invoice.pdf");
    EXPECT_EQ(metas[0]["description"].toString(), "~/Documents");
    EXPECT_TRUE(metas[0]["gicon"].toString().contains("application-pdf")) << qPrintable(metas[0]["gicon"].toString());
}

TEST_F(DesktopSearchTest, ActivatingOpensTheFileAndLaunchingAsksForTheWindow)
{
    QSignalSpy launched(search.get(), &DesktopSearch::launchSearch);
    shell("ActivateResult", {path("Documents/report.pdf"), QStringList{"report"}, 0u});
    EXPECT_EQ(opened, QStringList{path("Documents/report.pdf")});
    shell("ActivateResult", {QStringLiteral("/etc/passwd"), QStringList{"passwd"}, 0u});
    EXPECT_EQ(opened.size(), 1) << "only files of the library are opened";

    shell("LaunchSearch", {QStringList{"invoice", "pdfs"}, 0u});
    ASSERT_EQ(launched.count(), 1);
    EXPECT_EQ(launched[0][0].toString(), "invoice pdfs");

    runner("Run", {path("Documents/invoice.pdf"), QString()});
    runner("Run", {path("Documents/invoice.pdf"), QStringLiteral("show-in-folder")});
    EXPECT_EQ(opened.last(), path("Documents/invoice.pdf"));
    EXPECT_EQ(revealed, QStringList{path("Documents/invoice.pdf")});
}

TEST_F(DesktopSearchTest, KRunnerGetsTheSameMatchesRankedByRelevance)
{
    qDBusRegisterMetaType<KRunnerMatch>();
    qDBusRegisterMetaType<QList<KRunnerMatch>>();
    qDBusRegisterMetaType<KRunnerAction>();
    qDBusRegisterMetaType<QList<KRunnerAction>>();

    const auto matches = structured<QList<KRunnerMatch>>(runner("Match", {QStringLiteral("invoice pdfs")}));
    const auto shellIds = first<QStringList>(shell("GetInitialResultSet", {QStringList{"invoice", "pdfs"}}));
    QStringList ids;
    for (const KRunnerMatch& m : matches) ids << m.id;
    EXPECT_EQ(ids, shellIds);
    for (qsizetype i = 1; i < matches.size(); ++i)
        EXPECT_GE(matches[i - 1].relevance, matches[i].relevance) << "row " << i;
    ASSERT_EQ(matches.size(), 4);
    EXPECT_EQ(matches[0].type, KRunnerMatch::kExact);
    EXPECT_EQ(matches[3].type, KRunnerMatch::kPossible) << "q3-invoice only holds the word";
    EXPECT_GT(matches[0].relevance, matches[3].relevance);
    EXPECT_EQ(matches[0].text, "invoice.pdf");
    EXPECT_EQ(matches[0].properties["subtext"].toString(), "~/Documents");

    const auto actions = structured<QList<KRunnerAction>>(runner("Actions", {}));
    ASSERT_EQ(actions.size(), 1);
    EXPECT_EQ(actions[0].id, "show-in-folder");
}

TEST_F(DesktopSearchTest, OnlyOneProcessHoldsTheName)
{
    DesktopSearch second(*app);
    EXPECT_FALSE(second.publish(bus.connect(QStringLiteral("fennic-second"))));
    EXPECT_FALSE(second.publish(QDBusConnection(QStringLiteral("no such bus"))));
}

TEST(BestMatches, RequestsWithoutFiltersOrRoomFindNothing)
{
    test::AppFixture f;
    f.tree.write("Documents/a.pdf", "x");
    AppModel& app = f.make();
    app.library().scan();
    ASSERT_TRUE(app.waitForIdle());
    EXPECT_TRUE(BestMatches::find(app, QStringLiteral("   "), 10).isEmpty());
    EXPECT_TRUE(BestMatches::find(app, QStringLiteral("pdfs"), 0).isEmpty());
    const QList<BestMatch> pdfs = BestMatches::find(app, QStringLiteral("pdfs"), 10);
    ASSERT_EQ(pdfs.size(), 1);
    EXPECT_DOUBLE_EQ(pdfs[0].relevance, 0.5) << "no words: every match fits alike";
    EXPECT_EQ(BestMatches::requestFor({"invoice", " pdfs "}), "invoice pdfs");
}
