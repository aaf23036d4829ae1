#include "HomePage.h"

#include "FileStrip.h"
#include "HomeTile.h"
#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "app/LibraryModel.h"
#include "app/SearchSession.h"
#include "ask/AskBar.h"
#include "ask/AskField.h"
#include "browser/BrowserView.h"
#include "inspector/FlowLayout.h"
#include "library/Library.h"
#include "model/Fmt.h"
#include "search/SearchParser.h"
#include "sidebar/SidebarSections.h"
#include "theme/Icons.h"
#include "theme/Labels.h"
#include "thumbnails/ThumbnailLoader.h"
#include "window/SessionResults.h"

#include <QApplication>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace fennic {

namespace {

using K = SidebarItem::Kind;

constexpr int kPageMargin = 24;

QIcon iconFor(const QStringList& names, const QPalette& palette)
{
    return Icons::themed(names.value(0), palette, names.mid(1));
}

// A label's text in the theme's quieter colour.
void soften(QWidget* label, const ThemeStyle& theme)
{
    QPalette secondary = label->palette();
    secondary.setColor(QPalette::WindowText, theme.secondaryText());
    label->setPalette(secondary);
}

QString sizeAndCount(qint64 count, qint64 bytes)
{
    return Fmt::count(count, QStringLiteral("file")) + QStringLiteral(" · ") + Fmt::size(bytes);
}

}  // namespace

HomePage::HomePage(AppModel& app, ThumbnailLoader& thumbnails, QWidget* parent)
    : QWidget(parent), m_app(app), m_thumbnails(thumbnails), m_theme(app.settings().theme(), QApplication::palette())
{
    setObjectName(QStringLiteral("HomePage"));
    setAccessibleName(QStringLiteral("Home"));

    m_hero = new AskBar(AskStyle::hero, this);
    m_hero->setAccessibleName(QStringLiteral("Ask"));
    m_hero->field()->setAnalyzer([env = m_app.environment()](const QString& text) {
        return SearchParser::analyze(text, env.now(), env.calendar(), Library::home());
    });
    auto* heroRow = new QHBoxLayout;
    heroRow->setContentsMargins(kPageMargin, kPageMargin, kPageMargin, 12);
    heroRow->addStretch(1);
    heroRow->addWidget(m_hero, 8);
    heroRow->addStretch(1);

    m_results = new BrowserView(m_thumbnails, this);
    m_results->setAccessibleName(QStringLiteral("Results"));
    m_stack = new QStackedWidget(this);
    m_stack->addWidget(buildOverview());
    m_stack->addWidget(m_results);
    m_stack->addWidget(buildEmptyState());

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(heroRow);
    column->addWidget(m_stack, 1);

    SearchSession& search = m_app.search();
    LibraryModel& library = m_app.library();
    AppSettings& settings = m_app.settings();

    // The request: the hero field and the toolbar's field show the same one.
    AskField* field = m_hero->field();
    connect(field, &AskField::textEdited, this, &HomePage::heroEdited);
    connect(field, &AskField::escapePressed, this, [this] { heroEdited(QString()); });
    connect(field, &AskField::submitted, this, [this] {
        if (isShowingResults()) m_results->selectFirst();
    });
    connect(field, &AskField::moved, this, [this](int direction) {
        if (direction > 0 && isShowingResults()) m_results->selectFirst();
    });
    connect(m_results, &BrowserView::moveOutOfTop, this, [this] { m_hero->field()->setFocus(Qt::OtherFocusReason); });
    connect(m_results, &BrowserView::activated, this, &HomePage::fileActivated);
    connect(&search, &SearchSession::queryChanged, this, &HomePage::followQuery);
    connect(&search, &SearchSession::homeResultsChanged, this, &HomePage::showPage);
    connect(&search, &SearchSession::sidebarChanged, this, &HomePage::showPage);
    for (auto signal : {&SearchSession::shownItemsChanged, &SearchSession::searchSettledChanged})
        connect(&search, signal, this, &HomePage::showResults);

    // The results follow the browser's settings.
    connect(&settings, &AppSettings::viewModeChanged, this,
            [this, &settings] { m_results->setViewMode(settings.viewMode()); });
    connect(&settings, &AppSettings::cardSizeChanged, this,
            [this, &settings] { m_results->setCardSize(settings.cardSize()); });
    for (auto signal : {&AppSettings::sortKeyChanged, &AppSettings::sortAscendingChanged})
        connect(&settings, signal, this,
                [this, &settings] { m_results->setSort(settings.sortKey(), settings.sortAscending()); });
    m_results->setViewMode(settings.viewMode());
    m_results->setCardSize(settings.cardSize());
    m_results->setSort(settings.sortKey(), settings.sortAscending());

    // The overview follows the library; bursts of changes are shown once.
    m_refreshTimer.setObjectName(QStringLiteral("HomePage refresh"));
    m_refreshTimer.setSingleShot(true);
    m_refreshTimer.setInterval(0);
    connect(&m_refreshTimer, &QTimer::timeout, this, &HomePage::refresh);
    for (auto signal : {&LibraryModel::statsChanged, &LibraryModel::latelyChanged, &LibraryModel::suggestionsChanged,
                        &LibraryModel::isScanningChanged})
        connect(&library, signal, this, &HomePage::scheduleRefresh);
    // The empty state says at once that the folders are being read.
    for (auto signal : {&LibraryModel::isScanningChanged, &LibraryModel::scannedCountChanged})
        connect(&library, signal, this, &HomePage::refreshEmptyState);
    connect(&library, &LibraryModel::itemsChanged, this, [this] {
        ++m_itemsGeneration;
        scheduleRefresh();
    });
    connect(&library, &LibraryModel::latelyChanged, this, [this] { ++m_itemsGeneration; });

    m_hero->field()->setText(search.query());
    setThemeStyle(m_theme);
    refresh();
    showPage();
}

HomePage::~HomePage() = default;

// --- building

QWidget* HomePage::sectionHeader(const QString& title, QLabel** detail, QPushButton** showAll,
                                 const QString& showAllName)
{
    auto* header = new QWidget;
    auto* row = new QHBoxLayout(header);
    row->setContentsMargins(0, 12, 0, 2);
    row->setSpacing(10);
    auto* heading = new QLabel(title, header);
    QFont font = heading->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.2);
    heading->setFont(font);
    heading->setAccessibleName(title);
    row->addWidget(heading);
    if (detail) {
        *detail = new QLabel(header);
        row->addWidget(*detail);
    }
    row->addStretch(1);
    if (showAll) {
        *showAll = new QPushButton(QStringLiteral("Show all"), header);
        (*showAll)->setFlat(true);
        (*showAll)->setCursor(Qt::PointingHandCursor);
        (*showAll)->setAccessibleName(showAllName);
        row->addWidget(*showAll);
    }
    return header;
}

QWidget* HomePage::buildOverview()
{
    m_overview = new QScrollArea(this);
    m_overview->setWidgetResizable(true);
    m_overview->setFrameShape(QFrame::NoFrame);
    m_overview->setAccessibleName(QStringLiteral("Library overview"));
    auto* content = new QWidget(m_overview);
    content->setBackgroundRole(QPalette::Window);
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(kPageMargin, 0, kPageMargin, kPageMargin);
    column->setSpacing(8);

    // The library by kind.
    QLabel* summary = nullptr;
    column->addWidget(sectionHeader(QStringLiteral("Your library"), &summary, nullptr, {}));
    m_summary = summary;
    auto* kinds = new QWidget(content);
    m_kinds = new FlowLayout(kinds, 10);
    m_kinds->setContentsMargins(0, 0, 0, 0);
    column->addWidget(kinds);

    // What clean-up would free.
    m_cleanup = new HomeTile(content);
    m_cleanup->setWide(true);
    m_cleanup->setObjectName(QStringLiteral("CleanupCard"));
    connect(m_cleanup, &HomeTile::clicked, this, [this] { openSidebar(SidebarItem::page(K::cleanup)); });
    column->addSpacing(4);
    column->addWidget(m_cleanup);

    // Recent files by day.
    m_recentSection = new QWidget(content);
    auto* recent = new QVBoxLayout(m_recentSection);
    recent->setContentsMargins(0, 0, 0, 0);
    m_recentRows = new QVBoxLayout;
    m_recentRows->setSpacing(4);
    recent->addLayout(m_recentRows);
    column->addWidget(m_recentSection);

    // Downloads by where they came from.
    m_downloadSection = new QWidget(content);
    auto* downloads = new QVBoxLayout(m_downloadSection);
    downloads->setContentsMargins(0, 0, 0, 0);
    QPushButton* allDownloads = nullptr;
    downloads->addWidget(sectionHeader(QStringLiteral("Downloads"), &m_downloadDetail, &allDownloads,
                                                      QStringLiteral("Show all downloaded files")));
    connect(allDownloads, &QPushButton::clicked, this, [this] { openSidebar(SidebarItem::downloadedFrom(QString())); });
    auto* sources = new QWidget(m_downloadSection);
    m_sources = new FlowLayout(sources, 10);
    m_sources->setContentsMargins(0, 0, 0, 0);
    downloads->addWidget(sources);
    column->addWidget(m_downloadSection);

    // Screenshots and large files at a glance.
    const auto glance = [&](const QString& title, const QString& allName, QLabel** detail, FileStrip** strip,
                            const SidebarItem& entry) {
        auto* section = new QWidget(content);
        auto* box = new QVBoxLayout(section);
        box->setContentsMargins(0, 0, 0, 0);
        QPushButton* all = nullptr;
        box->addWidget(sectionHeader(title, detail, &all, allName));
        connect(all, &QPushButton::clicked, this, [this, entry] { openSidebar(entry); });
        *strip = new FileStrip(m_thumbnails, section);
        (*strip)->setAccessibleName(title);
        connect(*strip, &FileStrip::activated, this, &HomePage::fileActivated);
        box->addWidget(*strip);
        column->addWidget(section);
        return section;
    };
    m_screenshotSection = glance(QStringLiteral("Screenshots"),
                                                QStringLiteral("Show all screenshots"), &m_screenshotDetail,
                                                               &m_screenshots, SidebarItem::page(K::screenshots));
    m_largeSection = glance(QStringLiteral("Large files"),
                                           QStringLiteral("Show all large files"), &m_largeDetail, &m_largest,
                                                          SidebarItem::page(K::largeFiles));
    column->addStretch(1);

    m_overview->setWidget(content);
    return m_overview;
}

QWidget* HomePage::buildEmptyState()
{
    m_empty = new QWidget(this);
    auto* column = new QVBoxLayout(m_empty);
    column->setContentsMargins(kPageMargin, kPageMargin, kPageMargin, kPageMargin);
    column->setSpacing(10);
    column->addStretch(1);
    m_emptyIcon = new QLabel(m_empty);
    m_emptyIcon->setAlignment(Qt::AlignCenter);
    m_emptyTitle = new QLabel(m_empty);
    m_emptyTitle->setAlignment(Qt::AlignCenter);
    QFont font = m_emptyTitle->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.3);
    m_emptyTitle->setFont(font);
    m_emptyDetail = new QLabel(m_empty);
    m_emptyDetail->setAlignment(Qt::AlignCenter);
    m_emptyDetail->setWordWrap(true);
    m_emptyAdd = new QPushButton(QStringLiteral("Add Folder…"), m_empty);
    m_emptyAdd->setAccessibleName(QStringLiteral("Add a folder to the library"));
    connect(m_emptyAdd, &QPushButton::clicked, this, &HomePage::addFolder);
    column->addWidget(m_emptyIcon);
    column->addWidget(m_emptyTitle);
    column->addWidget(m_emptyDetail);
    column->addWidget(m_emptyAdd, 0, Qt::AlignHCenter);
    column->addStretch(2);
    return m_empty;
}

// --- the request

void HomePage::heroEdited(const QString& text)
{
    SearchSession& search = m_app.search();
    search.setQuery(text);
    search.setHomeResults(!text.trimmed().isEmpty());
    showPage();
}

void HomePage::followQuery()
{
    SearchSession& search = m_app.search();
    m_hero->field()->setText(search.query());
    // A request typed in the toolbar while Home is shown shows its results here too; clearing
    // it anywhere brings the overview back.
    if (search.query().trimmed().isEmpty())
        search.setHomeResults(false);
    else if (search.sidebar().kind == K::home)
        search.setHomeResults(true);
    showPage();
}

bool HomePage::isShowingResults() const { return m_stack->currentWidget() == m_results; }
bool HomePage::isShowingEmptyState() const { return m_stack->currentWidget() == m_empty; }
QString HomePage::emptyStateTitle() const { return m_emptyTitle->text(); }

void HomePage::showPage()
{
    const SearchSession& search = m_app.search();
    const bool results = search.homeResults() && search.sidebar().kind == K::home && !search.query().isEmpty();
    QWidget* page = m_overview;
    if (results)
        page = m_results;
    else if (m_app.library().items().isEmpty())
        page = m_empty;
    const bool changed = m_stack->currentWidget() != page;
    m_stack->setCurrentWidget(page);
    if (results) showResults();
    if (changed && page == m_overview) tellVisibleThumbnails();
}

void HomePage::showResults()
{
    if (isShowingResults()) SessionResults::show(*m_results, m_app);
}

// --- the overview

void HomePage::scheduleRefresh() { m_refreshTimer.start(); }

bool HomePage::isBehindAnotherPage() const { return window()->isVisible() && !isVisible(); }

void HomePage::refresh()
{
    // A scan changes the library many times over; rebuilding an overview nobody sees each
    // time would hold up the page that is shown.
    if (isBehindAnotherPage()) {
        m_overviewStale = true;
        return;
    }
    m_overviewStale = false;
    refreshKinds();
    refreshCleanup();
    refreshEmptyState();
    if (m_digestGeneration != m_itemsGeneration) requestDigest();
    showPage();
}

void HomePage::refreshKinds()
{
    const LibraryStats& stats = m_app.library().stats();
    m_summary->setText(stats.totalCount > 0 ? sizeAndCount(stats.totalCount, stats.totalSize) : QString());
    setSpokenName(m_summary, m_summary->text());
    soften(m_summary, m_theme);

    // The tiles stay while the same kinds have files, so a tile keeps the focus across scans.
    QList<FileKind> kinds;
    for (FileKind kind : FileKinds::shelves)
        if (stats.total(kind).count > 0) kinds << kind;
    QList<FileKind> shown;
    for (const HomeTile* tile : std::as_const(m_kindTiles))
        shown << *FileKinds::fromRawValue(tile->property("fileKind").toString());
    if (kinds != shown) {
        for (HomeTile* tile : std::as_const(m_kindTiles)) {
            m_kinds->removeWidget(tile);
            tile->hide();
            tile->deleteLater();
        }
        m_kindTiles.clear();
        for (FileKind kind : std::as_const(kinds)) {
            auto* tile = new HomeTile(m_kinds->parentWidget());
            tile->setObjectName(QStringLiteral("KindTile-") + FileKinds::rawValue(kind));
            tile->setProperty("fileKind", FileKinds::rawValue(kind));
            connect(tile, &HomeTile::clicked, this, [this, kind] { openSidebar(SidebarItem::ofKind(kind)); });
            m_kinds->addWidget(tile);
            m_kindTiles << tile;
        }
    }
    for (qsizetype i = 0; i < kinds.size(); ++i) {
        const FileKind kind = kinds.at(i);
        const KindTotal total = stats.total(kind);
        HomeTile* tile = m_kindTiles.at(i);
        tile->setContent(iconFor(SidebarSections::kindIconNames(kind), m_theme.palette()), FileKinds::title(kind),
                         Fmt::count(total.count, QStringLiteral("file")), Fmt::size(total.size));
        tile->setTint(m_theme.kindColour(kind));
        tile->setThemeStyle(m_theme);
    }
}

void HomePage::refreshCleanup()
{
    const qint64 reclaimable = m_app.library().reclaimable();
    const QStringList icons{QStringLiteral("edit-clear-all"), QStringLiteral("user-trash")};
    if (reclaimable > 0)
        m_cleanup->setContent(
            iconFor(icons, m_theme.palette()),
            QStringLiteral("Clean-up"),
                QStringLiteral("%1 to reclaim").arg(Fmt::size(reclaimable)),
                    QStringLiteral("Review what can go; everything goes to the Trash, and Undo puts it back"));
    else
        m_cleanup->setContent(
            iconFor(icons, m_theme.palette()),
            QStringLiteral("Clean-up"), QStringLiteral("Nothing to reclaim"), QStringLiteral("Your folders look tidy"));
    m_cleanup->setProperty("reclaimable", reclaimable);
    m_cleanup->setTint(m_theme.accent());
    m_cleanup->setThemeStyle(m_theme);
}

void HomePage::refreshEmptyState()
{
    if (isBehindAnotherPage()) {
        m_overviewStale = true;
        return;
    }
    const LibraryModel& library = m_app.library();
    const QPalette& palette = m_theme.palette();
    QString icon;
    if (library.isScanning()) {
        icon = QStringLiteral("folder-saved-search");
        m_emptyTitle->setText(QStringLiteral("Fennic is reading your folders…"));
        m_emptyDetail->setText(library.scannedCount() > 0 ? QStringLiteral("%1 found so far").arg(Fmt::count(library.scannedCount(), QStringLiteral("file")))
            : QStringLiteral("Your files appear here as soon as they are found."));
        m_emptyAdd->hide();
    } else {
        icon = QStringLiteral("folder-new");
        m_emptyTitle->setText(QStringLiteral("Nothing here yet"));
        m_emptyDetail->setText(
            QStringLiteral("Add a folder with your everyday files, and Fennic gathers them into your library."));
        m_emptyAdd->show();
    }
    m_emptyIcon->setPixmap(Icons::themed(icon, palette, {QStringLiteral("folder")}).pixmap(64, 64));
    setSpokenName(m_emptyTitle, m_emptyTitle->text());
    setSpokenName(m_emptyDetail, m_emptyDetail->text());
    soften(m_emptyDetail, m_theme);
}

void HomePage::requestDigest()
{
    const int generation = m_itemsGeneration;
    m_reply.run(
        [items = m_app.library().items(), lately = m_app.library().lately()] { return HomeDigest::of(items, lately); },
        [this, generation](const HomeDigest& digest) {
            if (generation != m_itemsGeneration) return;  // a newer pick is on its way
            m_digest = digest;
            m_digestGeneration = generation;
            m_digestUnshown = isBehindAnotherPage();
            if (!m_digestUnshown) applyDigest();
        });
}

HomePage::RecentRow HomePage::recentRow(Lately::Bucket bucket)
{
    RecentRow row;
    row.bucket = bucket;
    const QString title = Lately::title(bucket);
    QPushButton* all = nullptr;
    row.header = sectionHeader(title, &row.detail, &all, QStringLiteral("Show all recent files"));
    row.header->setParent(m_recentSection);
    connect(all, &QPushButton::clicked, this, [this] { openSidebar(SidebarItem::page(K::recents)); });
    soften(row.detail, m_theme);
    row.strip = new FileStrip(m_thumbnails, m_recentSection);
    row.strip->setAccessibleName(title);
    row.strip->setThemeStyle(m_theme);
    connect(row.strip, &FileStrip::activated, this, &HomePage::fileActivated);
    return row;
}

QList<FileStrip*> HomePage::recentStrips() const
{
    QList<FileStrip*> strips;
    for (const RecentRow& row : m_recent) strips << row.strip;
    return strips;
}

void HomePage::applyDigest()
{
    const LibraryStats& stats = m_app.library().stats();
    const QPalette& palette = m_theme.palette();

    // Rows and tiles stay while their day or source does and only take the new files and
    // counts: a scan refreshes the page many times, and rebuilding them would take the focus
    // from a card under the person's keys and have screen readers announce every one again.

    // Recent files, a row per day.
    const QList<FileStrip*> stripsBefore = recentStrips();
    QList<RecentRow> rows;
    for (const HomeDigest::Recent& group : std::as_const(m_digest.recent)) {
        const auto kept = std::find_if(m_recent.begin(), m_recent.end(),
                                       [&](const RecentRow& row) { return row.bucket == group.bucket; });
        RecentRow row;
        if (kept != m_recent.end()) {
            row = *kept;
            m_recent.erase(kept);
        } else {
            row = recentRow(group.bucket);
        }
        row.detail->setText(Fmt::count(group.total, QStringLiteral("file")));
        row.strip->setFiles(group.newest);
        rows << row;
    }
    for (const RecentRow& gone : std::as_const(m_recent))
        for (QWidget* w : {gone.header, static_cast<QWidget*>(gone.strip)}) {
            w->hide();
            w->deleteLater();
        }
    m_recent = rows;
    if (recentStrips() != stripsBefore) {
        while (QLayoutItem* item = m_recentRows->takeAt(0)) delete item;  // the rows themselves stay
        for (const RecentRow& row : std::as_const(m_recent)) {
            m_recentRows->addWidget(row.header);
            m_recentRows->addWidget(row.strip);
        }
    }
    m_recentSection->setVisible(!m_digest.recent.isEmpty());

    // Downloads by source.
    const QList<HomeTile*> tilesBefore = m_sourceTiles;
    QList<HomeTile*> tiles;
    for (const HomeDigest::Source& s : std::as_const(m_digest.sources)) {
        const auto kept = std::find_if(m_sourceTiles.begin(), m_sourceTiles.end(), [&](const HomeTile* tile) {
            return tile->property("sourceKey").toString() == s.source.key;
        });
        HomeTile* tile = nullptr;
        if (kept != m_sourceTiles.end()) {
            tile = *kept;
            m_sourceTiles.erase(kept);
        } else {
            tile = new HomeTile(m_sources->parentWidget());
            tile->setProperty("sourceKey", s.source.key);
            connect(tile, &HomeTile::clicked, this,
                    [this, key = s.source.key] { openSidebar(SidebarItem::downloadedFrom(key)); });
        }
        tile->setContent(iconFor(SidebarSections::downloadSourceIconNames(s.source.key), palette), s.source.name,
                         Fmt::count(s.count, QStringLiteral("file")));
        tile->setThemeStyle(m_theme);
        tiles << tile;
    }
    for (HomeTile* gone : std::as_const(m_sourceTiles)) {
        m_sources->removeWidget(gone);
        gone->hide();
        gone->deleteLater();
    }
    if (tiles != tilesBefore) {
        for (HomeTile* tile : std::as_const(tiles)) m_sources->removeWidget(tile);
        for (HomeTile* tile : std::as_const(tiles)) m_sources->addWidget(tile);
    }
    m_sourceTiles = tiles;
    m_downloadDetail->setText(Fmt::count(stats.downloadedFrom, QStringLiteral("file")));
    m_downloadSection->setVisible(!m_digest.sources.isEmpty());

    m_screenshots->setFiles(m_digest.screenshots);
    m_screenshotDetail->setText(Fmt::count(stats.screenshots, QStringLiteral("screenshot")));
    m_screenshotSection->setVisible(stats.screenshots > 0);
    m_largest->setFiles(m_digest.largest);
    m_largeDetail->setText(QStringLiteral("%1 over %2") .arg(Fmt::count(stats.largeFiles, QStringLiteral("file")),
                                                                        Fmt::size(LibraryStats::largeFileSize)));
    m_largeSection->setVisible(stats.largeFiles > 0);

    for (QLabel* label : {m_downloadDetail, m_screenshotDetail, m_largeDetail}) {
        soften(label, m_theme);
    }
    if (m_stack->currentWidget() == m_overview) tellVisibleThumbnails();
}

void HomePage::tellVisibleThumbnails()
{
    // The overview's few pictures come first while it is on screen.
    if (!isVisible()) return;
    QSet<QString> paths;
    QList<FileStrip*> strips = recentStrips();
    strips << m_screenshots << m_largest;
    for (const FileStrip* strip : std::as_const(strips))
        for (const FileItem& item : strip->files()) paths.insert(item.path);
    if (!paths.isEmpty()) m_thumbnails.setVisible(paths);
}

void HomePage::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_overviewStale) refresh();
    if (std::exchange(m_digestUnshown, false)) applyDigest();
    if (m_stack->currentWidget() == m_overview) tellVisibleThumbnails();
}

void HomePage::openSidebar(const SidebarItem& entry) { m_app.search().setSidebar(entry); }

void HomePage::addFolder()
{
    if (m_dialog) return;
    auto* dialog = new QFileDialog(this, QStringLiteral("Add a Folder to the Library"), Library::home());
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& path) {
        if (!path.isEmpty()) m_app.library().addFolder(path);
    });
    m_dialog = dialog;
    dialog->open();
}

void HomePage::setThemeStyle(const ThemeStyle& theme)
{
    m_theme = theme;
    m_hero->setThemeStyle(theme);
    m_results->setThemeStyle(theme);
    refreshKinds();
    refreshCleanup();
    refreshEmptyState();
    QList<FileStrip*> strips = recentStrips();
    strips << m_screenshots << m_largest;
    for (FileStrip* strip : std::as_const(strips)) strip->setThemeStyle(theme);
    for (const RecentRow& row : std::as_const(m_recent)) soften(row.detail, theme);
    applyDigest();
}

}  // namespace fennic
