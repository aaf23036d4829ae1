#include "SyntheticHome.h"

#include "model/DownloadSource.h"
#include "model/FileKind.h"

#include <QDateTime>
#include <QFile>
#include <QHash>
#include <QSet>
#include <QTimeZone>
#include <array>
#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace fennic::bench {
namespace {

constexpr double kMinute = 60.0;
constexpr double kHour = 3600.0;
constexpr double kDay = 86400.0;
constexpr double kYear = 365.0 * kDay;
// Names that carry a date (screenshots, camera files) are written as if the plan were made on
// this day, so that the names never depend on the clock.
constexpr qint64 kNameEpoch = 1748779200;  // 2025-06-01T12:00:00Z
constexpr qint64 kMB = qint64(1000) * 1000;
// Bumped whenever the generator changes, so that an old tree on disk is not reused.
constexpr int kPlanVersion = 3;

// splitmix64: tiny, fast and the same on every platform, unlike the standard distributions.
class Rng {
public:
    explicit Rng(quint64 seed) : m_state(seed * 0x9E3779B97F4A7C15ull + 0x632BE59BD9B4E019ull) { }
    quint64 next()
    {
        quint64 z = (m_state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    int below(int n) { return n <= 0 ? 0 : int(next() % quint64(n)); }
    int range(int lo, int hi) { return lo + below(hi - lo + 1); }
    double unit() { return double(next() >> 11) * 0x1.0p-53; }
    bool chance(double p) { return unit() < p; }
    double uniform(double lo, double hi) { return lo + (hi - lo) * unit(); }
    qint64 logSize(qint64 lo, qint64 hi)
    {
        return qint64(std::exp(uniform(std::log(double(lo)), std::log(double(hi)))));
    }
    template <typename T, size_t N> const T& pick(const std::array<T, N>& a) { return a[size_t(below(int(N)))]; }

private:
    quint64 m_state;
};

using Names = std::array<const char*, 12>;

constexpr Names kPlaces{"Lisbon",  "Beach Day", "Alps Hike", "Birthday",   "Kyoto",     "Garden",
                        "Wedding", "Road Trip", "Paris",     "Graduation", "Christmas", "Camping"};
constexpr Names kTopics{"Quarterly Report", "Invoice", "Meeting notes", "Budget", "Pitch deck",      "Contract",
                        "Thesis draft",     "Receipt", "Travel plan",   "Resume", "Lease agreement", "Tax return"};
constexpr Names kAreas{"Work/Acme Corp/Reports",
                       "Work/Acme Corp/Clients",
                       "Taxes",
                       "School/Thesis",
                       "Personal/Receipts",
                       "Invoices",
                       "Contracts",
                       "Home/Insurance",
                       "Work/Side projects",
                       "Health",
                       "Travel",
                       "Recipes"};
constexpr Names kProjects{"fennic-demo", "website", "dotfiles", "raytracer",   "budget-app", "chat-bot",
                          "game-jam",    "scraper", "homelab",  "thesis-code", "cli-tools",  "photo-sorter"};
constexpr Names kArtists{"The Quiet Hours", "Nora Vale", "Kite Theory",  "Los Planetas", "Miles Ahead", "Saffron Lane",
                         "Echo Park",       "Juniper",   "The Lanterns", "Ana Duarte",   "Paper Moons", "Northbound"};
constexpr Names kWords{"Morning", "River",  "Lights",  "Home", "Static", "Blue",
                       "Letters", "Summer", "Gravity", "Slow", "Fire",   "Ocean"};
constexpr Names kSources{"main",  "util", "parser", "render", "config", "network",
                         "model", "view", "store",  "cache",  "scene",  "input"};

struct Download {
    const char* ext;
    qint64 minSize;
    qint64 maxSize;
};

QString twoDigits(int n) { return QStringLiteral("%1").arg(n, 2, 10, QLatin1Char('0')); }

// The date-time a name shows for a file of this age.
QDateTime nameTime(double ageSeconds)
{
    return QDateTime::fromSecsSinceEpoch(kNameEpoch - qint64(ageSeconds), QTimeZone::utc());
}

class Planner {
public:
    Planner(int target, quint32 seed) : m_rng(seed), m_target(target) { }

    QList<PlannedFile> run()
    {
        // Weights by share of listed items: photos, screenshots, documents, source trees,
        // downloads, movies, music, desktop.
        static constexpr std::array<int, 8> kWeights{26, 7, 20, 7, 19, 3, 15, 3};
        int total = 0;
        for (int w : kWeights) total += w;
        addFixedExtras();
        while (!full()) {
            int r = m_rng.below(total);
            int unit = 0;
            while (r >= kWeights[size_t(unit)]) r -= kWeights[size_t(unit++)];
            switch (unit) {
            case 0: photoAlbum(); break;
            case 1: screenshots(); break;
            case 2: documents(); break;
            case 3: sourceTree(); break;
            case 4: downloads(); break;
            case 5: movies(); break;
            case 6: musicAlbum(); break;
            default: desktop(); break;
            }
        }
        applications();
        return m_out;
    }

private:
    bool full() const { return m_listed >= m_target; }

    // A broad spread of ages: some files from this week, many from this year, most older.
    double age()
    {
        const double r = m_rng.unit();
        if (r < 0.06) return m_rng.uniform(kMinute * 5, 7 * kDay);
        if (r < 0.16) return m_rng.uniform(7 * kDay, 30 * kDay);
        if (r < 0.42) return m_rng.uniform(30 * kDay, kYear);
        return m_rng.uniform(kYear, 9 * kYear);
    }

    // Generated names may repeat (two albums of one day, two invoices of one number): later
    // copies get " 2", " 3"... before the extension, as a file manager would name them.
    QString unique(const QString& path)
    {
        if (!m_used.contains(path)) {
            m_used.insert(path);
            return path;
        }
        const qsizetype slash = path.lastIndexOf(u'/');
        qsizetype dot = path.lastIndexOf(u'.');
        if (dot <= slash + 1) dot = path.size();
        for (int n = 2;; ++n) {
            QString candidate = path.left(dot) + QStringLiteral(" %1").arg(n) + path.mid(dot);
            if (!m_used.contains(candidate)) {
                m_used.insert(candidate);
                return candidate;
            }
        }
    }

    PlannedFile* add(const QString& path, qint64 size, double modifiedAgo, bool listed)
    {
        if (listed && m_openPackage.isEmpty()) {
            if (full()) return nullptr;
            ++m_listed;
        }
        PlannedFile f;
        f.relativePath = unique(path);
        f.listed = listed && m_openPackage.isEmpty();
        f.size = size;
        f.modifiedAgo = modifiedAgo;
        f.createdAgo = modifiedAgo + (m_rng.chance(0.7) ? 0.0 : m_rng.uniform(kMinute, 30 * kDay));
        f.addedAgo = f.createdAgo;
        m_out.append(std::move(f));
        return &m_out.last();
    }
    PlannedFile* listed(const QString& path, qint64 size, double ago) { return add(path, size, ago, true); }
    void unlisted(const QString& path, qint64 size, double ago) { add(path, size, ago, false); }
    void link(const QString& path, const QString& target)
    {
        PlannedFile f;
        f.relativePath = unique(path);
        f.type = PlannedFile::Type::symlink;
        f.linkTarget = target;
        f.modifiedAgo = f.createdAgo = f.addedAgo = m_rng.uniform(kDay, kYear);
        m_out.append(std::move(f));
    }

    // Files added between beginPackage and endPackage are its contents; a package that is
    // listed counts as one item whatever it holds.
    // Returns the package's path (made unique), empty when no more items may be listed.
    QString beginPackage(const QString& path, bool listed)
    {
        if (listed && full()) return QString();
        m_openPackage = unique(path);
        m_packageStart = m_out.size();
        m_packageListed = listed;
        return m_openPackage;
    }
    PlannedFile& endPackage(double ago)
    {
        qint64 size = 0;
        for (qsizetype i = m_packageStart; i < m_out.size(); ++i)
            if (m_out[i].type == PlannedFile::Type::file) size += m_out[i].size;
        PlannedFile p;
        p.relativePath = m_openPackage;
        p.type = PlannedFile::Type::package;
        p.listed = m_packageListed;
        p.size = size;
        p.modifiedAgo = ago;
        p.createdAgo = p.addedAgo = ago + m_rng.uniform(0, kDay);
        m_openPackage.clear();
        if (p.listed) ++m_listed;
        m_out.append(std::move(p));
        return m_out.last();
    }

    void photoAlbum()
    {
        const double base = age();
        const QDateTime when = nameTime(base);
        const QString folder =
            QStringLiteral("Pictures/Photos/%1/%2 %3")
                               .arg(when.date().year())
                               .arg(when.toString(QStringLiteral("yyyy-MM-dd")), QLatin1String(m_rng.pick(kPlaces)));
        const int style = m_rng.below(4);
        const int count = m_rng.range(8, 120);
        int number = m_rng.range(1, 9000);
        for (int i = 0; i < count; ++i) {
            const double ago = std::max(kMinute, base - i * m_rng.uniform(10, 900));
            const QDateTime t = nameTime(ago);
            QString name;
            switch (style) {
            case 0: name = QStringLiteral("IMG_%1.JPG").arg(number++, 4, 10, QLatin1Char('0')); break;
            case 1: name = QStringLiteral("DSC_%1.jpg").arg(number++, 4, 10, QLatin1Char('0')); break;
            case 2: name = QStringLiteral("PXL_%1.jpg").arg(t.toString(QStringLiteral("yyyyMMdd_hhmmsszzz"))); break;
            default: name = QStringLiteral("IMG_%1.heic").arg(t.toString(QStringLiteral("yyyyMMdd_hhmmss"))); break;
            }
            if (m_rng.chance(0.04)) {
                if (!listed(folder + u'/' + name.section(u'.', 0, 0)
                            + QStringLiteral(".MOV"), m_rng.logSize(5 * kMB, 80 * kMB), ago))
                    return;
            }
            if (style < 2 && m_rng.chance(0.05)) {
                if (!listed(folder + u'/' + name.section(u'.', 0, 0)
                            + QStringLiteral(".CR2"), m_rng.logSize(20 * kMB, 32 * kMB), ago))
                    return;
            }
            if (!listed(folder + u'/' + name, m_rng.logSize(kMB + kMB / 2, 9 * kMB), ago)) return;
        }
        if (m_rng.chance(0.3)) unlisted(folder + QStringLiteral("/.DS_Store"), 6148, base);
        if (m_rng.chance(0.1)) unlisted(folder + QStringLiteral("/.picasa.ini"), 300, base);
        if (m_rng.chance(0.2)) {
            const QString edits = folder + QStringLiteral("/Edited");
            for (int i = 0; i < 4; ++i)
                if (!listed(edits
                            + QStringLiteral("/edit-%1.png").arg(i + 1), m_rng.logSize(2 * kMB, 12 * kMB), base - kDay))
                    return;
        }
    }

    QString screenshotName(double ago, int style)
    {
        const QDateTime t = nameTime(ago);
        switch (style) {
        case 0: return t.toString(QStringLiteral("'Screenshot from 'yyyy-MM-dd hh-mm-ss'.png'"));
        case 1: return t.toString(QStringLiteral("'Screen Shot 'yyyy-MM-dd' at 'h.mm.ss AP'.png'"));
        case 2: return t.toString(QStringLiteral("'Screenshot 'yyyy-MM-dd' at 'hh.mm.ss'.png'"));
        case 3: return t.toString(QStringLiteral("'CleanShot 'yyyy-MM-dd' at 'hh.mm.ss'@2x.png'"));
        case 4: return t.toString(QStringLiteral("'Screenshot_'yyyyMMdd_hhmmss'.png'"));
        case 5:
            return t.toString(QStringLiteral("'Simulator Screen Shot - iPhone 15 - 'yyyy-MM-dd' at 'hh.mm.ss'.png'"));
        case 6: return t.toString(QStringLiteral("'screenshot-'yyyyMMdd-hhmmss'.jpg'"));
        default: return t.toString(QStringLiteral("'Screen Recording 'yyyy-MM-dd' at 'hh.mm.ss'.gif'"));
        }
    }

    void screenshots()
    {
        const bool desktop = m_rng.chance(0.4);
        const double base = age();
        const int count = m_rng.range(5, 60);
        const int style = m_rng.below(8);
        const QString folder =
            desktop ? QStringLiteral("Desktop")
                    : QStringLiteral("Pictures/Screenshots/") + nameTime(base).toString(QStringLiteral("yyyy-MM"));
        for (int i = 0; i < count; ++i) {
            const double ago = std::max(kMinute, base - i * m_rng.uniform(kMinute, 6 * kHour));
            PlannedFile* f = nullptr;
            if (m_rng.chance(0.03)) {
                // Copied from a Mac with a localised name: only the attribute tells.
                f = listed(folder
                           + nameTime(ago).toString(QStringLiteral("'/Capture d’écran 'yyyy-MM-dd' à 'hh.mm.ss'.png'")),
                                                    m_rng.logSize(200000, 4 * kMB), ago);
                if (f) f->captureAttribute = true;
            } else {
                f = listed(folder + u'/' + screenshotName(ago, m_rng.chance(0.8) ? style : m_rng.below(8)),
                           m_rng.logSize(80000, 6 * kMB), ago);
            }
            if (!f) return;
        }
    }

    void document(const QString& folder, double ago)
    {
        static constexpr std::array<Download, 12> kDocs{{{"pdf", 40000, 20 * kMB},
                                                         {"docx", 15000, 4 * kMB},
                                                         {"xlsx", 10000, 3 * kMB},
                                                         {"pptx", 200000, 40 * kMB},
                                                         {"odt", 10000, 2 * kMB},
                                                         {"txt", 100, 50000},
                                                         {"md", 200, 40000},
                                                         {"csv", 1000, 30 * kMB},
                                                         {"pdf", 40000, 5 * kMB},
                                                         {"json", 200, 2 * kMB},
                                                         {"epub", 300000, 8 * kMB},
                                                         {"ods", 8000, 2 * kMB}}};
        const Download& d = m_rng.pick(kDocs);
        QString name = QLatin1String(m_rng.pick(kTopics));
        switch (m_rng.below(4)) {
        case 0: name += QStringLiteral(" %1").arg(nameTime(ago).date().year()); break;
        case 1: name += QStringLiteral(" v%1").arg(m_rng.range(1, 9)); break;
        case 2: name += QStringLiteral("-%1").arg(m_rng.range(100, 99999)); break;
        default: name += QStringLiteral(" (%1)").arg(nameTime(ago).toString(QStringLiteral("MMM d"))); break;
        }
        listed(folder + u'/' + name + u'.' + QLatin1String(d.ext), m_rng.logSize(d.minSize, d.maxSize), ago);
    }

    void documents()
    {
        const double base = age();
        const QString area = QStringLiteral("Documents/") + QLatin1String(m_rng.pick(kAreas));
        const QString folder =
            m_rng.chance(0.5) ? area : area + QStringLiteral("/%1").arg(nameTime(base).date().year());
        const int count = m_rng.range(3, 40);
        for (int i = 0; i < count && !full(); ++i)
            document(folder, std::max(kMinute, base - m_rng.uniform(0, 60 * kDay)));
        if (m_rng.chance(0.15)) {
            // A rich-text document with pictures is a folder shown as one file.
            const QString pkg = beginPackage(
                folder
                + QStringLiteral("/%1 notes %2.rtfd").arg(QLatin1String(m_rng.pick(kWords))).arg(m_rng.range(1, 999)),
                                 true);
            if (!pkg.isEmpty()) {
                unlisted(pkg + QStringLiteral("/TXT.rtf"), m_rng.logSize(2000, 200000), base);
                for (int i = 0; i < m_rng.range(1, 4); ++i)
                    unlisted(
                        pkg + QStringLiteral("/Pasted Graphic %1.png").arg(i + 1), m_rng.logSize(50000, 3 * kMB), base);
                endPackage(base);
            }
        }
        if (m_rng.chance(0.08)) {
            const QString pkg =
                beginPackage(folder + QStringLiteral("/%1.pages").arg(QLatin1String(m_rng.pick(kTopics))), true);
            if (!pkg.isEmpty()) {
                unlisted(pkg + QStringLiteral("/Index.zip"), m_rng.logSize(20000, 2 * kMB), base);
                unlisted(pkg + QStringLiteral("/Data/image.jpg"), m_rng.logSize(100000, 4 * kMB), base);
                unlisted(pkg + QStringLiteral("/preview.jpg"), m_rng.logSize(30000, 300000), base);
                endPackage(base);
            }
        }
        if (m_rng.chance(0.1)) unlisted(folder + QStringLiteral("/.DS_Store"), 6148, base);
        if (m_rng.chance(0.05)) unlisted(folder + QStringLiteral("/.~lock.Budget.xlsx#"), 90, base);
        if (m_rng.chance(0.04)) {
            // Sync-client stand-ins for files that were never downloaded.
            unlisted(QStringLiteral("Documents/Nextcloud/%1.pdf.nextcloud").arg(QLatin1String(m_rng.pick(kTopics))), 0,
                                    base);
            unlisted(QStringLiteral("Documents/Nextcloud/Photos/%1.jpg.owncloud").arg(m_rng.range(1000, 9999)), 0,
                                    base);
        }
    }

    void sourceTree()
    {
        static constexpr std::array<const char*, 6> kLangs{"cpp", "py", "rs", "js", "go", "java"};
        const double base = age();
        const QString lang = QLatin1String(kLangs[size_t(m_rng.below(6))]);
        const QString project =
            QStringLiteral("Documents/Code/%1-%2").arg(QLatin1String(m_rng.pick(kProjects))).arg(m_rng.range(1, 9999));
        auto ago = [&] { return std::max(kMinute, base - m_rng.uniform(0, 200 * kDay)); };

        if (!listed(project + QStringLiteral("/README.md"), m_rng.logSize(500, 20000), ago())) return;
        listed(project + QStringLiteral("/LICENSE"), 1070, base);
        unlisted(project + QStringLiteral("/.gitignore"), m_rng.logSize(20, 600), base);
        unlisted(project + QStringLiteral("/.editorconfig"), 200, base);
        unlisted(project + QStringLiteral("/.github/workflows/ci.yml"), m_rng.logSize(300, 3000), base);

        const int files = m_rng.range(10, 220);
        for (int i = 0; i < files && !full(); ++i) {
            const QString dir = project
                + (m_rng.chance(0.3) ? QStringLiteral("/src")
                                     : QStringLiteral("/src/%1").arg(QLatin1String(m_rng.pick(kSources))));
            const QString stem = QStringLiteral("%1_%2").arg(QLatin1String(m_rng.pick(kSources))).arg(i);
            listed(dir + u'/' + stem + u'.' + lang, m_rng.logSize(300, 60000), ago());
            if (lang == u"cpp" && m_rng.chance(0.8))
                listed(dir + u'/' + stem + QStringLiteral(".h"), m_rng.logSize(200, 10000), ago());
        }
        // What a scan prunes: version-control data and the language's dependency and build
        // folders, each with files inside.
        const int objects = files / 5 + m_rng.range(3, 12);
        for (int i = 0; i < objects; ++i)
            unlisted(project
                     + QStringLiteral("/.git/objects/%1/%2")
                                          .arg(twoDigits(m_rng.below(100)))
                                          .arg(m_rng.next() & 0xffffffffffull, 10, 16, QLatin1Char('0')),
                                      m_rng.logSize(100, 80000), base);
        unlisted(project + QStringLiteral("/.git/HEAD"), 23, base);
        QString heavy;
        if (lang == u"js")
            heavy = QStringLiteral("node_modules");
        else if (lang == u"rs")
            heavy = QStringLiteral("target");
        else if (lang == u"py")
            heavy = QStringLiteral("venv");
        else if (lang == u"go")
            heavy = QStringLiteral("vendor");
        else if (lang == u"java")
            heavy = QStringLiteral(".gradle");
        else
            heavy = QStringLiteral(".build");
        const int deps = files / 6 + m_rng.range(3, 20);
        for (int i = 0; i < deps; ++i)
            unlisted(project
                     + QStringLiteral("/%1/pkg-%2/lib/%3.%4").arg(heavy).arg(i % 7).arg(i).arg(lang),
                                      m_rng.logSize(200, 200000), base);
        if (lang == u"py") {
            for (int i = 0; i < 4; ++i)
                unlisted(project + QStringLiteral("/src/__pycache__/mod%1.cpython-311.pyc").arg(i), 3000, base);
        }
        if (lang == u"cpp" && m_rng.chance(0.5)) {
            // Plain "build" is not a pruned name: its objects are listed like any file.
            for (int i = 0; i < 6 && !full(); ++i)
                listed(project + QStringLiteral("/build/obj%1.o").arg(i), m_rng.logSize(5000, 400000), base);
            const QString pkg = beginPackage(project + QStringLiteral("/ios/App.xcodeproj"), false);
            if (!pkg.isEmpty()) {
                unlisted(pkg + QStringLiteral("/project.pbxproj"), 24000, base);
                endPackage(base);
            }
        }
        if (m_rng.chance(0.1)) {
            // A game engine project keeps its cache in "Library", pruned at any depth.
            for (int i = 0; i < 10; ++i)
                unlisted(project + QStringLiteral("/Library/ShaderCache/%1.bin").arg(i), 50000, base);
        }
        if (m_rng.chance(0.15)) link(project + QStringLiteral("/loop"), QStringLiteral(".."));
    }

    struct Origin {
        const char* url;       // %1 = file name
        const char* referrer;  // may be empty
    };

    void downloads()
    {
        static constexpr std::array<Download, 20> kKinds{
            {{"pdf", 30000, 15 * kMB},       {"zip", 50000, 300 * kMB},     {"dmg", 100 * kMB, 700 * kMB},
             {"iso", 600 * kMB, 5000 * kMB}, {"deb", kMB, 150 * kMB},       {"AppImage", 80 * kMB, 250 * kMB},
             {"png", 40000, 5 * kMB},        {"jpeg", 40000, 5 * kMB},      {"docx", 15000, 3 * kMB},
             {"xlsx", 10000, 2 * kMB},       {"tar.gz", 100000, 120 * kMB}, {"mp4", 5 * kMB, 900 * kMB},
             {"pdf", 30000, 3 * kMB},        {"exe", kMB, 90 * kMB},        {"csv", 500, 5 * kMB},
             {"pkg", 20 * kMB, 400 * kMB},   {"webp", 30000, 2 * kMB},      {"epub", 200000, 5 * kMB},
             {"mp3", 2 * kMB, 10 * kMB},     {"torrent", 10000, 200000}}};
        static constexpr std::array<Origin, 20> kOrigins{{
            {"https://mail-attachment.googleusercontent.com/attachment/u/0/?ui=2&ik=8c1e&attid=0.1&disp=safe&name=%1",
             "https://mail.google.com/"},
            {"https://github.com/someone/tool/releases/download/v2.3.1/%1", "https://github.com/someone/tool/releases"},
            {"https://objects.githubusercontent.com/github-production-release-asset/%1", "https://github.com/"},
            {"https://doc-0s-8c-docs.googleusercontent.com/docs/securesc/%1", "https://drive.google.com/"},
            {"https://files.slack.com/files-pri/T0123-F0456/%1", "https://app.slack.com/client/T0123"},
            {"https://cdn.discordapp.com/attachments/1234/5678/%1", "https://discord.com/channels/1/2"},
            {"https://www.dropbox.com/s/abc123/%1?dl=1", ""},
            {"https://files.oaiusercontent.com/file-Ab12?filename=%1", "https://chatgpt.com/c/1234"},
            {"https://web.whatsapp.com/%1", ""},
            {"https://www.figma.com/exports/%1", "https://www.figma.com/file/xyz"},
            {"https://export.canva.com/design/%1", "https://www.canva.com/design/DAF"},
            {"https://www.notion.so/signed/%1", "https://www.notion.so/workspace"},
            {"https://cdimage.debian.org/debian-cd/current/amd64/iso-cd/%1", "https://www.debian.org/distrib/"},
            {"https://www.python.org/ftp/python/3.12.1/%1", "https://www.python.org/downloads/"},
            {"https://download.mozilla.org/?product=firefox&os=linux64&name=%1",
             "https://www.mozilla.org/en-US/firefox/new/"},
            {"https://arxiv.org/pdf/2401.01234/%1", "https://arxiv.org/abs/2401.01234"},
            {"https://www.cs.example-university.edu/courses/fall/%1", ""},
            {"https://releases.hashicorp.com/terraform/1.7.0/%1", ""},
            {"blob:https://web.telegram.org/4f2a-%1", "https://web.telegram.org/k/"},
            {"chrome-extension://abcdefghijklmnop/%1", ""},
        }};
        const double base = m_rng.chance(0.5) ? m_rng.uniform(kMinute * 5, 45 * kDay) : age();
        const bool sub = m_rng.chance(0.12);
        const QString folder = sub ? QStringLiteral("Downloads/%1").arg(m_rng.chance(0.5) ? QStringLiteral("Telegram Desktop") : QStringLiteral("old stuff"))
                                   : QStringLiteral("Downloads");
        const int count = m_rng.range(2, 25);
        for (int i = 0; i < count; ++i) {
            const Download& d = m_rng.pick(kKinds);
            const double added = std::max(kMinute, base - i * m_rng.uniform(kMinute, 3 * kDay));
            QString stem = QLatin1String(m_rng.pick(kTopics)) + QStringLiteral(" %1").arg(m_rng.range(1, 99999));
            if (d.ext == QLatin1String("AppImage"))
                stem = QLatin1String(m_rng.pick(kProjects))
                    + QStringLiteral("-%1.%2-x86_64").arg(m_rng.range(0, 9)).arg(m_rng.range(0, 30));
            if (m_rng.chance(0.08)) stem += QStringLiteral(" (1)");
            const QString name = stem + u'.' + QLatin1String(d.ext);
            // Files often keep the server's date: an edit date well before the arrival.
            const double modified = m_rng.chance(0.3) ? added + m_rng.uniform(2 * kDay, 3 * kYear) : added;
            PlannedFile* f = listed(folder + u'/' + name, m_rng.logSize(d.minSize, d.maxSize), modified);
            if (!f) return;
            f->addedAgo = added;
            f->createdAgo = std::max(added, modified);
            if (m_rng.chance(0.85)) {
                const Origin& o = m_rng.pick(kOrigins);
                f->whereFrom << QString::fromUtf8(o.url).arg(QString::fromUtf8(QUrl::toPercentEncoding(name)));
                if (*o.referrer) f->whereFrom << QString::fromUtf8(o.referrer);
                f->carriedOverWhereFrom = m_rng.chance(0.03);
            }
        }
        if (m_rng.chance(0.2))
            unlisted(folder
                     + QStringLiteral("/.~partial-%1.crdownload").arg(m_rng.range(1, 9999)),
                                      m_rng.logSize(kMB, 50 * kMB), base);
        if (m_rng.chance(0.1)) {
            // An unpacked archive: plain files, no origin.
            const QString dir = QStringLiteral("Downloads/%1-main").arg(QLatin1String(m_rng.pick(kProjects)));
            for (int i = 0; i < m_rng.range(3, 30) && !full(); ++i)
                listed(dir + QStringLiteral("/docs/page%1.md").arg(i), m_rng.logSize(500, 30000), base + kYear);
        }
        const QString pkg =
            m_rng.chance(0.03) ? beginPackage(QStringLiteral("Downloads/Tool %1.app").arg(m_rng.range(1, 999)), true)
                               : QString();
        if (!pkg.isEmpty()) {
            unlisted(pkg + QStringLiteral("/Contents/Info.plist"), 1500, base);
            unlisted(pkg + QStringLiteral("/Contents/MacOS/tool"), m_rng.logSize(kMB, 40 * kMB), base);
            endPackage(base);
        }
        if (m_rng.chance(0.05))
            link(QStringLiteral("Downloads/old-link-%1").arg(m_rng.range(1, 9999)),
                                QStringLiteral("/nonexistent/fennic/x.pdf"));
    }

    void movies()
    {
        static constexpr std::array<const char*, 5> kExts{"mp4", "mov", "mkv", "m4v", "avi"};
        const double base = age();
        const QString folder = QStringLiteral("Movies/%1").arg(m_rng.chance(0.5) ? QLatin1String(m_rng.pick(kPlaces))
                                                                                 : QLatin1String("Clips"));
        for (int i = 0, n = m_rng.range(1, 8); i < n; ++i) {
            const double ago = std::max(kMinute, base - i * kHour);
            const QString name = QStringLiteral("%1 %2.%3")
                                                    .arg(QLatin1String(m_rng.pick(kPlaces)))
                                                    .arg(i + 1)
                                                    .arg(QLatin1String(kExts[size_t(m_rng.below(5))]));
            if (!listed(folder + u'/' + name, m_rng.logSize(20 * kMB, 3000 * kMB), ago)) return;
        }
        if (m_rng.chance(0.1)) {
            listed(nameTime(base).toString(
                QStringLiteral("'Movies/Screen Recordings/Screencast from 'yyyy-MM-dd hh-mm-ss'.webm'")),
                m_rng.logSize(2 * kMB, 300 * kMB), base);
        }
    }

    void musicAlbum()
    {
        static constexpr std::array<Download, 3> kExts{
            {{"mp3", 3 * kMB, 12 * kMB}, {"flac", 18 * kMB, 45 * kMB}, {"m4a", 3 * kMB, 10 * kMB}}};
        const double base = age();
        const Download& d = m_rng.pick(kExts);
        const QString album = QStringLiteral("Music/%1/%2 %3").arg(
            QLatin1String(m_rng.pick(kArtists)), QLatin1String(m_rng.pick(kWords)), QLatin1String(m_rng.pick(kWords)));
        for (int i = 0, n = m_rng.range(6, 16); i < n; ++i) {
            const QString title =
                QStringLiteral("%1 %2 %3.%4").arg(twoDigits(i + 1), QLatin1String(m_rng.pick(kWords)),
                                                  QLatin1String(m_rng.pick(kWords)), QLatin1String(d.ext));
            if (!listed(album + u'/' + title, m_rng.logSize(d.minSize, d.maxSize), base)) return;
        }
        if (m_rng.chance(0.6)) listed(album + QStringLiteral("/cover.jpg"), m_rng.logSize(50000, 2 * kMB), base);
        if (m_rng.chance(0.1)) unlisted(album + QStringLiteral("/.folder.png"), 40000, base);
    }

    void desktop()
    {
        const double base = m_rng.chance(0.5) ? m_rng.uniform(kMinute * 5, 20 * kDay) : age();
        for (int i = 0, n = m_rng.range(1, 6); i < n && !full(); ++i)
            document(QStringLiteral("Desktop"), std::max(kMinute, base - i * kHour));
        if (m_rng.chance(0.3))
            listed(QStringLiteral("Desktop/todo %1.txt").arg(m_rng.range(1, 9999)), m_rng.logSize(50, 4000), base);
        if (m_rng.chance(0.3))
            listed(QStringLiteral("Desktop/stuff/old-%1.zip").arg(m_rng.range(1, 9999)), m_rng.logSize(kMB, 200 * kMB),
                                  base + kYear);
    }

    // Things every home has once: links into other folders (never followed), photo and
    // media libraries (left out whole), a hidden folder.
    void addFixedExtras()
    {
        link(QStringLiteral("Desktop/Code"), QStringLiteral("../Documents/Code"));
        link(QStringLiteral("Desktop/Photos"), QStringLiteral("../Pictures/Photos"));
        link(QStringLiteral("Documents/latest.pdf"), QStringLiteral("Taxes/none.pdf"));
        link(QStringLiteral("Music/Whole home"), QStringLiteral(".."));
        const struct {
            const char* path;
            int files;
        } kLibraries[] = {{"Pictures/Photos Library.photoslibrary", 400},
                          {"Music/Music Library.musiclibrary", 30},
                          {"Movies/iMovie Library.imovielibrary", 40},
                          {"Movies/Edit.fcpbundle", 20}};
        for (const auto& lib : kLibraries) {
            const double base = age();
            const QString pkg = beginPackage(QString::fromUtf8(lib.path), false);
            for (int i = 0; i < lib.files; ++i)
                unlisted(pkg
                         + QStringLiteral("/originals/%1/%2.jpg").arg(i % 16, 1, 16).arg(i),
                                          m_rng.logSize(kMB, 6 * kMB), base);
            unlisted(pkg + QStringLiteral("/database/Photos.sqlite"), 50 * kMB, base);
            endPackage(base);
        }
        for (int i = 0; i < 20; ++i) unlisted(QStringLiteral("Documents/.hidden-notes/note%1.md").arg(i), 800, kYear);
        unlisted(QStringLiteral("Documents/.DS_Store"), 6148, kDay);
        unlisted(QStringLiteral("Desktop/.directory"), 120, kDay);
    }

    void applications()
    {
        static constexpr std::array<const char*, 8> kBundles{"Firefox", "Visual Studio Code", "Slack",    "GIMP",
                                                             "Blender", "LibreOffice",        "Obsidian", "Old Game"};
        for (const char* name : kBundles) {
            const double ago = age();
            const QString pkg = beginPackage(QStringLiteral("Applications/%1.app").arg(QLatin1String(name)), false);
            unlisted(pkg + QStringLiteral("/Contents/Info.plist"), m_rng.logSize(1000, 5000), ago);
            unlisted(
                pkg + QStringLiteral("/Contents/MacOS/") + QLatin1String(name), m_rng.logSize(5 * kMB, 300 * kMB), ago);
            for (int i = 0; i < 6; ++i)
                unlisted(pkg
                         + QStringLiteral("/Contents/Resources/res%1.bin").arg(i), m_rng.logSize(1000, 20 * kMB), ago);
            PlannedFile& p = endPackage(ago);
            p.listed = true;  // listed by the applications pass, not counted among the roots' items
            p.accessedAgo = m_rng.chance(0.25) ? m_rng.uniform(100 * kDay, 3 * kYear) : m_rng.uniform(kHour, 20 * kDay);
        }
        for (const char* name : {"krita-5.2.2-x86_64.appimage", "Joplin-2.13.AppImage", "Cursor-0.42.AppImage"}) {
            PlannedFile f;
            f.relativePath = QStringLiteral("Applications/") + QLatin1String(name);
            f.listed = true;
            f.size = m_rng.logSize(80 * kMB, 300 * kMB);
            f.modifiedAgo = f.createdAgo = f.addedAgo = age();
            f.accessedAgo = m_rng.uniform(kHour, 90 * kDay);
            m_out.append(std::move(f));
        }
        // Not applications: a read-me, a folder of tools, a bundle named in capitals, a
        // hidden bundle.
        for (const char* name : {"README.txt", "Utilities/Terminal.app/Contents/Info.plist",
                                 "Shouting.APP/Contents/Info.plist", ".Hidden.app/Contents/Info.plist"}) {
            PlannedFile f;
            f.relativePath = QStringLiteral("Applications/") + QLatin1String(name);
            f.size = 500;
            f.modifiedAgo = f.createdAgo = f.addedAgo = kYear;
            m_out.append(std::move(f));
        }
    }

    Rng m_rng;
    int m_target;
    int m_listed = 0;
    QList<PlannedFile> m_out;
    QSet<QString> m_used;
    QString m_openPackage;
    qsizetype m_packageStart = 0;
    bool m_packageListed = false;
};

bool isScreenshotExtension(const QString& ext)
{
    static const QSet<QString> exts{"png", "jpg", "jpeg", "heic", "tiff"};
    return exts.contains(ext);
}

bool hasScreenshotName(const QString& name)
{
    const QString lower = name.toLower();
    return lower.startsWith(u"screenshot") || lower.startsWith(u"screen shot") || lower.startsWith(u"cleanshot")
        || lower.startsWith(u"simulator screen");
}

QByteArray xmlEscape(const QString& s) { return s.toHtmlEscaped().toUtf8(); }

QByteArray plistOf(const QByteArray& body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">"
        + body + "</plist>\n";
}

timespec toTimespec(double unixSeconds)
{
    timespec ts{};
    ts.tv_sec = time_t(std::floor(unixSeconds));
    ts.tv_nsec = long((unixSeconds - std::floor(unixSeconds)) * 1e9);
    return ts;
}

class Writer {
public:
    explicit Writer(const QString& root) : m_root(QFile::encodeName(root)) { }

    bool ensureDir(const QByteArray& dir)
    {
        if (dir.isEmpty() || m_made.contains(dir)) return true;
        const qsizetype slash = dir.lastIndexOf('/');
        if (slash > 0 && !ensureDir(dir.left(slash))) return false;
        if (::mkdir(dir.constData(), 0755) != 0 && errno != EEXIST) return false;
        m_made.insert(dir);
        return true;
    }

    bool write(const PlannedFile& f, double now)
    {
        const QByteArray path = m_root + '/' + QFile::encodeName(f.relativePath);
        if (!ensureDir(path.left(path.lastIndexOf('/')))) return false;
        const double accessed = now - f.accessedAgo.value_or(f.modifiedAgo);
        const timespec times[2] = {toTimespec(accessed), toTimespec(now - f.modifiedAgo)};
        switch (f.type) {
        case PlannedFile::Type::symlink:
            ::unlink(path.constData());
            if (::symlink(QFile::encodeName(f.linkTarget).constData(), path.constData()) != 0) return false;
            return ::utimensat(AT_FDCWD, path.constData(), times, AT_SYMLINK_NOFOLLOW) == 0;
        case PlannedFile::Type::package:
            // Set after the whole tree is written: adding contents changes a folder's times.
            if (!ensureDir(path)) return false;
            m_packageTimes.append({path, {times[0], times[1]}});
            return true;
        case PlannedFile::Type::file: break;
        }
        const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0644);
        if (fd < 0) return false;
        bool ok = ::ftruncate(fd, f.size) == 0;
        if (!f.whereFrom.isEmpty()) {
            if (f.carriedOverWhereFrom) {
                QByteArray body = "<array>";
                for (const QString& s : f.whereFrom) body += "<string>" + xmlEscape(s) + "</string>";
                body += "</array>";
                const QByteArray v = plistOf(body);
                ok &= ::fsetxattr(fd, "user.com.apple.metadata:kMDItemWhereFroms", v.constData(), size_t(v.size()), 0)
                    == 0;
            } else {
                const QByteArray origin = f.whereFrom.value(0).toUtf8();
                ok &= ::fsetxattr(fd, "user.xdg.origin.url", origin.constData(), size_t(origin.size()), 0) == 0;
                if (f.whereFrom.size() > 1) {
                    const QByteArray ref = f.whereFrom.value(1).toUtf8();
                    ok &= ::fsetxattr(fd, "user.xdg.referrer.url", ref.constData(), size_t(ref.size()), 0) == 0;
                }
            }
        }
        if (f.captureAttribute) {
            const QByteArray v = plistOf("<true/>");
            ok &= ::fsetxattr(fd, "user.com.apple.metadata:kMDItemIsScreenCapture", v.constData(), size_t(v.size()), 0)
                == 0;
        }
        ok &= ::futimens(fd, times) == 0;
        ::close(fd);
        return ok;
    }

    bool finish()
    {
        bool ok = true;
        for (const auto& [path, times] : m_packageTimes)
            ok &= ::utimensat(AT_FDCWD, path.constData(), times.data(), 0) == 0;
        return ok;
    }

private:
    QByteArray m_root;
    QSet<QByteArray> m_made;
    QList<std::pair<QByteArray, std::array<timespec, 2>>> m_packageTimes;
};

QByteArray markerText(int fileCount, quint32 seed)
{
    return QByteArray("fennic synthetic home v") + QByteArray::number(kPlanVersion) + " files "
        + QByteArray::number(fileCount) + " seed " + QByteArray::number(seed) + '\n';
}

QString markerPath(const QString& root) { return root + QStringLiteral("/.fennic-synthetic-home"); }

}  // namespace

QStringList roots(const QString& root)
{
    QStringList out;
    for (const char* name : {"Desktop", "Documents", "Downloads", "Pictures", "Movies", "Music"})
        out << root + u'/' + QLatin1String(name);
    return out;
}

QStringList appFolders(const QString& root) { return {root + QStringLiteral("/Applications")}; }

QList<PlannedFile> plan(int fileCount, quint32 seed) { return Planner(fileCount, seed).run(); }

bool write(const QString& root, const QList<PlannedFile>& plan, int fileCount, quint32 seed)
{
    QFile::remove(markerPath(root));
    Writer writer(root);
    if (!writer.ensureDir(QFile::encodeName(root))) return false;
    const double now = double(QDateTime::currentMSecsSinceEpoch()) / 1000.0;
    bool ok = true;
    for (const PlannedFile& f : plan) ok &= writer.write(f, now);
    ok &= writer.finish();
    if (!ok) return false;
    QFile marker(markerPath(root));
    return marker.open(QIODevice::WriteOnly) && marker.write(markerText(fileCount, seed)) > 0;
}

bool isWritten(const QString& root, int fileCount, quint32 seed)
{
    QFile marker(markerPath(root));
    return marker.open(QIODevice::ReadOnly) && marker.readAll() == markerText(fileCount, seed);
}

QList<FileItem> items(const QString& root, const QList<PlannedFile>& plan, Date now)
{
    QHash<QString, QString> sharedExts;
    auto makeItem = [&](const PlannedFile& f) {
        FileItem item;
        item.path = root + u'/' + f.relativePath;
        item.name = f.relativePath.mid(f.relativePath.lastIndexOf(u'/') + 1);
        const QString ext = pathExtension(item.name).toLower();
        auto it = sharedExts.constFind(ext);
        item.ext = it != sharedExts.constEnd() ? *it : *sharedExts.insert(ext, ext);
        item.size = f.size;
        item.created = now - f.createdAgo;
        item.modified = now - f.modifiedAgo;
        item.added = now - f.addedAgo;
        item.kind = FileKinds::classify(item.ext);
        item.isScreenshot = isScreenshotExtension(item.ext) && (f.captureAttribute || hasScreenshotName(item.name));
        item.whereFrom = f.whereFrom;
        item.sourceKey = DownloadSource::keyFor(f.whereFrom);
        if (f.accessedAgo) item.lastUsed = now - *f.accessedAgo;
        return item;
    };
    QList<FileItem> out;
    QList<FileItem> apps;
    out.reserve(plan.size());
    for (const PlannedFile& f : plan) {
        if (!f.listed) continue;
        if (f.relativePath.startsWith(u"Applications/"))
            apps.append(makeItem(f));
        else
            out.append(makeItem(f));
    }
    out.append(apps);
    return out;
}

}  // namespace fennic::bench
