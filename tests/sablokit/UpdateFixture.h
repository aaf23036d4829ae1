#pragma once

#include "SabloKit/BundleInfo.h"
#include "SabloKit/Updater.h"
#include "TestHttpServer.h"
#include "support/TempTree.h"

#include <QByteArray>
#include <QList>
#include <QSignalSpy>
#include <QString>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

typedef struct evp_pkey_st EVP_PKEY;

namespace fennic::test {

// A fresh Ed25519 key pair, as the maker holds it.
class SigningKey {
public:
    SigningKey();
    ~SigningKey();
    SigningKey(const SigningKey&) = delete;
    SigningKey& operator=(const SigningKey&) = delete;

    QString publicKey() const;                   // base64 of the raw 32 bytes
    QString sign(const QByteArray& data) const;  // base64 of the 64-byte signature

private:
    EVP_PKEY* m_key;
};

// Writes an application folder at `folder`: the information file for `info`, bin/fennic,
// share/fennic/notes.txt, a link bin/fennic-latest -> fennic, and a matching manifest.
void makeApp(const QString& folder, const BundleInfo& info);

// One archive member written as it is, for archives no release would make.
struct RawEntry {
    enum class Type {
        file,
        folder,
        link
    };
    QString path;
    Type type = Type::file;
    QByteArray content;  // the file's bytes or the link's target
};

// A zip of the folder `root` (members named relative to its parent, so the folder itself is
// the top-level entry), followed by `extra`; links are stored as links.
QByteArray zipFolder(const QString& root, const QList<RawEntry>& extra = {});
QByteArray zipEntries(const QList<RawEntry>& entries);

// A release server on the loopback and an installed copy of Fennic 2.9 that checks it, for the
// updater's tests and the update window's.
class UpdaterFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        installedInfo = {kIdentifier, "2.9", server.url("/feed.json"), key.publicKey()};
        makeApp(installed, installedInfo);
    }

    // Publishes a release of `info` at /Fennic.zip and its feed at /feed.json. `changeFolder`
    // may alter the release folder before it is zipped, and `change` the feed and archive
    // before they are served.
    UpdateFeed publish(const BundleInfo& info, const std::function<void(const QString&)>& changeFolder = {},
                       const std::function<void(UpdateFeed&, QByteArray&)>& change = {})
    {
        const QString folder =
            tree.path("releases/" + info.shortVersion + "-" + QString::number(++releases) + "/Fennic");
        makeApp(folder, info);
        if (changeFolder) changeFolder(folder);
        QByteArray archive = zipFolder(folder);
        UpdateFeed feed;
        feed.version = info.shortVersion;
        feed.url = server.url("/about");
        feed.notes = QStringLiteral("Better in every way.");
        feed.download = {server.url("/Fennic.zip"), archive.size(), key.sign(archive)};
        if (change) change(feed, archive);
        server.serve("/Fennic.zip", archive);
        server.serve("/feed.json", feed.encode());
        return feed;
    }
    UpdateFeed publish(const QString& version) { return publish(release(version)); }

    UpdaterEnvironment environment()
    {
        UpdaterEnvironment env;
        env.settingsFile = tree.path("settings.ini");
        env.stagingFolder = tree.path("cache/SabloUpdate");
        env.systemVersion = QStringLiteral("12");
        env.quit = [this] { ++quitRequests; };
        return env;
    }

    std::unique_ptr<Updater> makeUpdater(const QString& folder = {})
    {
        return std::make_unique<Updater>(folder.isEmpty() ? installed : folder, installedInfo, environment());
    }

    // Waits until the updater stops checking or downloading; returns the phase it settled in.
    static Updater::Phase settle(Updater& updater)
    {
        QSignalSpy changed(&updater, &Updater::phaseChanged);
        while (updater.phase() == Updater::Phase::checking || updater.phase() == Updater::Phase::downloading)
            if (!changed.wait(30000)) break;
        return updater.phase();
    }

    static BundleInfo release(const QString& version) { return {kIdentifier, version, {}, {}}; }
    QString installedVersion() const { return BundleInfo::read(installed).value_or(BundleInfo{}).shortVersion; }

    inline static const QString kIdentifier = QStringLiteral("io.github.fennic.Fennic");

    TempTree tree;
    TestHttpServer server;
    SigningKey key;
    QString installed = tree.path("opt/Fennic");
    BundleInfo installedInfo;
    int releases = 0;
    int quitRequests = 0;
};

}  // namespace fennic::test
