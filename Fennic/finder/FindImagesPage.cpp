#include "FindImagesPage.h"

#include "FinderDelegate.h"
#include "FinderModel.h"
#include "app/AppModel.h"
#include "app/ImageIndexer.h"
#include "app/LibraryModel.h"
#include "app/Organiser.h"
#include "ask/AskBar.h"
#include "ask/AskField.h"
#include "desktop/DesktopActions.h"
#include "model/Fmt.h"
#include "theme/Icons.h"
#include "theme/Labels.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QLabel>
#include <QListView>
#include <QLocale>
#include <QMenu>
#include <QPushButton>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

namespace fennic {

namespace {

// Changes made in one turn of the event loop (a mode and a request set together) make one
// search; a longer wait would only delay every answer, since a newer request wins anyway.
constexpr int kRequestDelayMs = 0;
constexpr int kFollowDelayMs = 1000;  // while pictures are read, results follow this often
constexpr int kLoadingDelayMs = 250;  // a quicker search never shows the loading state

const QList<FindMode> kModes{FindMode::everything, FindMode::text, FindMode::describe};

QString modeTitle(FindMode mode) { return VisualSearch::title(ImageFinder::modeFor(mode)); }

}  // namespace

FindImagesPage::FindImagesPage(AppModel& app, ThumbnailLoader& thumbnails, QWidget* parent)
    : QWidget(parent), m_app(app), m_thumbnails(thumbnails), m_style(Theme::playful, QApplication::palette())
{
    setAccessibleName(QStringLiteral("Find Images"));
    SearchSession& search = m_app.search();
    ImageIndexer& images = m_app.images();

    m_model = new FinderModel(m_thumbnails, this);
    m_delegate = new FinderDelegate(this);
    m_grid = new QListView(this);
    m_grid->setAccessibleName(QStringLiteral("Pictures found"));
    m_grid->setViewMode(QListView::IconMode);
    m_grid->setResizeMode(QListView::Adjust);
    m_grid->setMovement(QListView::Static);
    m_grid->setUniformItemSizes(true);
    m_grid->setSelectionMode(QAbstractItemView::SingleSelection);
    m_grid->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_grid->setSpacing(4);
    m_grid->setFrameShape(QFrame::NoFrame);
    m_grid->setMouseTracking(true);
    m_grid->setContextMenuPolicy(Qt::CustomContextMenu);
    m_grid->setModel(m_model);
    m_grid->setItemDelegate(m_delegate);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 12, 16, 0);
    layout->setSpacing(10);
    layout->addWidget(buildHeader());
    m_stack = new QStackedWidget(this);
    m_stack->addWidget(m_grid);
    m_stack->addWidget(buildEmptyPage());
    layout->addWidget(m_stack, 1);

    // The field and the mode are the session's, both ways.
    AskField* field = m_ask->field();
    field->setText(search.findQuery());
    connect(field, &AskField::textEdited, this, [this](const QString& text) {
        // Typing a description leaves the look-alikes for its results.
        m_app.search().setSimilarTo(std::nullopt);
        m_app.search().setFindQuery(text);
    });
    connect(field, &AskField::escapePressed, this, [this] {
        if (m_app.search().similarTo())
            m_app.search().setSimilarTo(std::nullopt);
        else
            m_app.search().setFindQuery(QString());
    });
    const auto intoResults = [this] {
        if (m_model->rowCount() == 0) return;
        m_grid->setFocus(Qt::TabFocusReason);
        if (!m_grid->currentIndex().isValid())
            m_grid->selectionModel()->setCurrentIndex(m_model->index(0), QItemSelectionModel::ClearAndSelect);
    };
    connect(field, &AskField::submitted, this, intoResults);
    connect(field, &AskField::moved, this, [intoResults](int direction) {
        if (direction > 0) intoResults();
    });
    connect(&search, &SearchSession::findQueryChanged, this, [this] {
        m_ask->field()->setText(m_app.search().findQuery());
        requestSearch();
    });
    connect(&search, &SearchSession::findModeChanged, this, [this] {
        updateModeButtons();
        requestSearch();
    });
    connect(&search, &SearchSession::similarToChanged, this, [this] {
        updateSimilarBar();
        requestSearch();
    });
    connect(m_modes, &QButtonGroup::idClicked, this, [this](int id) { m_app.search().setFindMode(FindMode(id)); });
    connect(m_favouritesOnly, &QCheckBox::toggled, this, [this] { requestSearch(); });
    connect(m_tags, &QComboBox::currentIndexChanged, this, [this] { requestSearch(); });

    // What the search runs over.
    const auto picturesChanged = [this] {
        m_pictures.reset();
        ++m_picturesVersion;
    };
    connect(&m_app.library(), &LibraryModel::itemsChanged, this, [this, picturesChanged] {
        picturesChanged();
        requestSearch();
    });
    connect(&images, &ImageIndexer::imageRecordsChanged, this, [this, picturesChanged] {
        picturesChanged();
        if (!m_followTimer.isActive()) m_followTimer.start();
    });
    connect(&m_app.organiser(), &Organiser::shelfChanged, this, [this] {
        updateTags();
        if (m_favouritesOnly->isChecked() || m_tags->currentIndex() > 0) requestSearch();
    });
    // Reading starts quietly and reports its first progress a moment later; that report, a
    // pause and the end are when the page says so.
    // The count moves many times a second: it is followed a few times a second, and not at
    // all while another page is shown.
    const auto follow = [this] {
        if (window()->isVisible() && !isVisible()) {
            m_progressStale = true;
            return;
        }
        m_progressStale = false;
        updateProgress();
        updateState();
    };
    m_progressTimer.setObjectName(QStringLiteral("FindImagesPage progress"));
    m_progressTimer.setSingleShot(true);
    m_progressTimer.setInterval(150);
    connect(&m_progressTimer, &QTimer::timeout, this, follow);
    connect(&images, &ImageIndexer::ocrProgressChanged, this, [this] {
        if (!m_progressTimer.isActive()) m_progressTimer.start();
    });
    for (auto signal : {&ImageIndexer::imageIndexPausedChanged, &ImageIndexer::imageIndexingFinished})
        connect(&images, signal, this, follow);
    connect(m_pause, &QPushButton::clicked, this,
            [this] { m_app.images().setImageIndexPaused(!m_app.images().imageIndexPaused()); });
    connect(m_back, &QPushButton::clicked, this, [this] {
        m_app.search().setSimilarTo(std::nullopt);
        m_ask->field()->setFocus(Qt::OtherFocusReason);
    });
    connect(m_more, &QPushButton::clicked, this, [this] { showMoreLikeCurrent(); });

    // The results.
    connect(m_grid, &QListView::activated, this, [this] { openCurrent(); });
    connect(m_grid, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) { showContextMenu(at); });
    connect(m_grid->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this] { m_more->setEnabled(!currentPath().isEmpty()); });
    connect(m_delegate, &FinderDelegate::moreLikeThisClicked, this, [this](const QModelIndex& index) {
        m_app.search().setSimilarTo(index.data(FinderModel::PathRole).toString());
    });

    m_requestTimer.setObjectName(QStringLiteral("FindImagesPage request"));
    m_requestTimer.setSingleShot(true);
    m_requestTimer.setInterval(kRequestDelayMs);
    connect(&m_requestTimer, &QTimer::timeout, this, [this] { startSearch(); });
    m_followTimer.setObjectName(QStringLiteral("FindImagesPage follow"));
    m_followTimer.setSingleShot(true);
    m_followTimer.setInterval(kFollowDelayMs);
    connect(&m_followTimer, &QTimer::timeout, this, [this] { startSearch(); });
    m_loadingTimer.setObjectName(QStringLiteral("FindImagesPage loading"));
    m_loadingTimer.setSingleShot(true);
    m_loadingTimer.setInterval(kLoadingDelayMs);
    connect(&m_loadingTimer, &QTimer::timeout, this, [this] {
        m_loadingShown = isSearching();
        updateState();
    });

    updateModeButtons();
    updateTags();
    updateProgress();
    updateSimilarBar();
    updateLook();
    startSearch();
}

FindImagesPage::~FindImagesPage() { m_reply.close(); }

QWidget* FindImagesPage::buildHeader()
{
    auto* header = new QWidget(this);
    auto* column = new QVBoxLayout(header);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);

    m_ask = new AskBar(AskStyle::describe, header);
    m_ask->setAccessibleName(QStringLiteral("Describe a picture"));
    m_ask->field()->setAccessibleName(QStringLiteral("Describe a picture"));
    m_ask->clearButton()->setAccessibleName(QStringLiteral("Clear the description"));
    column->addWidget(m_ask);

    // The modes as one segmented control, and the filters.
    auto* controls = new QHBoxLayout;
    controls->setSpacing(12);
    auto* segments = new QWidget(header);
    segments->setObjectName(QStringLiteral("FinderModes"));
    segments->setAccessibleName(QStringLiteral("Search in"));
    auto* segmentRow = new QHBoxLayout(segments);
    segmentRow->setContentsMargins(0, 0, 0, 0);
    segmentRow->setSpacing(0);
    m_modes = new QButtonGroup(this);
    m_modes->setExclusive(true);
    for (FindMode mode : kModes) {
        auto* button = new QToolButton(segments);
        button->setText(modeTitle(mode));
        button->setAccessibleName(modeTitle(mode));
        button->setObjectName(QStringLiteral("FinderMode-") + FindModes::rawValue(mode));
        button->setCheckable(true);
        button->setFocusPolicy(Qt::StrongFocus);
        button->setToolButtonStyle(Qt::ToolButtonTextOnly);
        m_modes->addButton(button, int(mode));
        segmentRow->addWidget(button);
    }
    controls->addWidget(segments);
    controls->addStretch(1);
    m_favouritesOnly = new QCheckBox(QStringLiteral("Favourites only"), header);
    m_favouritesOnly->setAccessibleName(QStringLiteral("Favourites only"));
    controls->addWidget(m_favouritesOnly);
    m_tags = new QComboBox(header);
    m_tags->setAccessibleName(QStringLiteral("Tag"));
    m_tags->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    controls->addWidget(m_tags);
    column->addLayout(controls);

    // Look-alikes of one picture, and the way back.
    m_similarBar = new QWidget(header);
    auto* similarRow = new QHBoxLayout(m_similarBar);
    similarRow->setContentsMargins(0, 0, 0, 0);
    m_back = new QPushButton(QStringLiteral("Back to results"), m_similarBar);
    m_back->setAccessibleName(QStringLiteral("Back to results"));
    similarRow->addWidget(m_back);
    m_similarLabel = new QLabel(m_similarBar);
    m_similarLabel->setTextFormat(Qt::PlainText);
    similarRow->addWidget(m_similarLabel, 1);
    column->addWidget(m_similarBar);

    // How far the reading of pictures got.
    m_progressBar = new QWidget(header);
    auto* progressRow = new QHBoxLayout(m_progressBar);
    progressRow->setContentsMargins(0, 0, 0, 0);
    m_progress = new QLabel(m_progressBar);
    m_progress->setTextFormat(Qt::PlainText);
    progressRow->addWidget(m_progress, 1);
    m_pause = new QPushButton(m_progressBar);
    progressRow->addWidget(m_pause);
    column->addWidget(m_progressBar);

    // How many were found, and "More like this" for the chosen one.
    auto* resultsRow = new QHBoxLayout;
    m_count = new QLabel(header);
    m_count->setTextFormat(Qt::PlainText);
    resultsRow->addWidget(m_count, 1);
    m_more = new QPushButton(QStringLiteral("More like this"), header);
    m_more->setAccessibleName(QStringLiteral("More like this"));
    m_more->setToolTip(QStringLiteral("Show pictures that look like the chosen one"));
    m_more->setEnabled(false);
    resultsRow->addWidget(m_more);
    column->addLayout(resultsRow);
    return header;
}

QWidget* FindImagesPage::buildEmptyPage()
{
    m_emptyPage = new QWidget(this);
    auto* column = new QVBoxLayout(m_emptyPage);
    column->addStretch(1);
    m_emptyIcon = new QLabel(m_emptyPage);
    m_emptyIcon->setAlignment(Qt::AlignCenter);
    column->addWidget(m_emptyIcon);
    m_emptyTitle = new QLabel(m_emptyPage);
    m_emptyTitle->setAlignment(Qt::AlignCenter);
    m_emptyTitle->setTextFormat(Qt::PlainText);
    QFont titleFont = m_emptyTitle->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.3);
    titleFont.setWeight(QFont::DemiBold);
    m_emptyTitle->setFont(titleFont);
    column->addWidget(m_emptyTitle);
    m_emptyDetail = new QLabel(m_emptyPage);
    m_emptyDetail->setAlignment(Qt::AlignCenter);
    m_emptyDetail->setTextFormat(Qt::PlainText);
    m_emptyDetail->setWordWrap(true);
    column->addWidget(m_emptyDetail);

    m_examplesRow = new QWidget(m_emptyPage);
    auto* examples = new QHBoxLayout(m_examplesRow);
    examples->setContentsMargins(0, 8, 0, 0);
    examples->addStretch(1);
    for (const QString& example : {QStringLiteral("a white island in a blue ocean"),
                                                  QStringLiteral("receipt"), QStringLiteral("snowy mountains")}) {
        auto* button = new QPushButton(example, m_examplesRow);
        button->setAccessibleName(QStringLiteral("Try “%1”").arg(example));
        button->setCursor(Qt::PointingHandCursor);
        connect(button, &QPushButton::clicked, this, [this, example] {
            m_app.search().setSimilarTo(std::nullopt);
            m_app.search().setFindQuery(example);
            m_ask->field()->setFocus(Qt::OtherFocusReason);
        });
        examples->addWidget(button);
        m_examples.append(button);
    }
    examples->addStretch(1);
    column->addWidget(m_examplesRow);
    column->addStretch(2);
    return m_emptyPage;
}

QAbstractButton* FindImagesPage::modeButton(FindMode mode) const { return m_modes->button(int(mode)); }

void FindImagesPage::setThemeStyle(const ThemeStyle& style)
{
    m_style = style;
    m_ask->setThemeStyle(style);
    m_ask->field()->setThemeStyle(style);
    m_delegate->setThemeStyle(style);
    updateLook();
    m_pauseIconFor = -1;  // tinted for the old look
    updateProgress();
    updateState();
    m_grid->viewport()->update();
}

void FindImagesPage::focusField() { m_ask->field()->setFocus(Qt::OtherFocusReason); }

void FindImagesPage::requestSearch() { m_requestTimer.start(); }

void FindImagesPage::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_progressStale) {
        m_progressStale = false;
        updateProgress();
        updateState();
    }
    if (m_searchOnShow) startSearch();
}

void FindImagesPage::startSearch()
{
    m_requestTimer.stop();
    m_followTimer.stop();
    // A hidden page doesn't follow the reading of pictures or the library; it catches up when shown.
    m_searchOnShow = !isVisible();
    if (m_searchOnShow) return;
    const int generation = ++m_generation;
    const SearchSession& search = m_app.search();
    ImageFinder::Request request;
    request.query = search.findQuery();
    request.mode = ImageFinder::modeFor(search.findMode());
    request.similarTo = search.similarTo();
    request.favouritesOnly = m_favouritesOnly->isChecked();
    request.tag = m_tags->currentData().toString();
    if (request.favouritesOnly || !request.tag.isEmpty()) request.shelf = m_app.organiser().shelf();
    if (!request.similarTo && request.query.trimmed().isEmpty()) {
        m_shownGeneration = generation;
        applyResults({});
        return;
    }

    // The library and its records are handed over as they are (shared, not copied) and let go
    // of as soon as they are gathered, so the indexer can add to its records without a copy.
    struct Source {
        QList<FileItem> items;
        QHash<QString, ImageRecord> records;
    };
    std::shared_ptr<std::optional<Source>> source;
    if (!m_pictures)
        source =
            std::make_shared<std::optional<Source>>(Source{m_app.library().items(), m_app.images().imageRecords()});
    struct Outcome {
        std::shared_ptr<const ImageFinder::Pictures> pictures;
        QList<FoundPicture> found;
    };
    m_reply.run(
        [request, pictures = m_pictures, source] {
            Outcome outcome{pictures, {}};
            if (!outcome.pictures) {
                outcome.pictures = ImageFinder::gather((*source)->items, (*source)->records);
                source->reset();
            }
            outcome.found = ImageFinder::find(request, *outcome.pictures);
            return outcome;
        },
        [this, generation, version = m_picturesVersion](const Outcome& outcome) {
            if (version == m_picturesVersion) m_pictures = outcome.pictures;
            if (generation != m_generation) return;
            m_shownGeneration = generation;
            applyResults(outcome.found);
        });
    m_loadingShown = false;
    m_loadingTimer.start();
}

void FindImagesPage::applyResults(const QList<FoundPicture>& found)
{
    m_loadingTimer.stop();
    m_loadingShown = false;
    const QString current = currentPath();
    m_model->setPictures(found);
    if (const int row = m_model->rowOf(current); row >= 0)
        m_grid->selectionModel()->setCurrentIndex(m_model->index(row), QItemSelectionModel::ClearAndSelect);
    m_more->setEnabled(!currentPath().isEmpty());
    updateState();
    Q_EMIT resultsChanged();
}

void FindImagesPage::updateModeButtons()
{
    if (QAbstractButton* button = modeButton(m_app.search().findMode())) button->setChecked(true);
}

void FindImagesPage::updateTags()
{
    const QString chosen = m_tags->currentData().toString();
    const QSignalBlocker blocker(m_tags);
    m_tags->clear();
    m_tags->addItem(QStringLiteral("Any tag"), QString());
    for (const Shelf::TagCount& tag : m_app.organiser().shelf().allTags())
        m_tags->addItem(QStringLiteral("#") + tag.tag, tag.tag);
    const int at = m_tags->findData(chosen);
    m_tags->setCurrentIndex(std::max(0, at));
    m_tags->setEnabled(m_tags->count() > 1);
    if (at < 0 && !chosen.isEmpty()) requestSearch();
}

void FindImagesPage::updateProgress()
{
    const ImageIndexer& images = m_app.images();
    const bool paused = images.imageIndexPaused();
    const bool reading = images.isIndexingImages();
    m_progressBar->setVisible(paused || reading);
    const auto [done, total] = images.ocrProgress();
    if (paused)
        m_progress->setText(QStringLiteral("Reading pictures is paused — Fennic picks up where it left off"));
    else if (total > 0)
        m_progress->setText(
            QStringLiteral("Reading pictures… %1 of %2").arg(QLocale().toString(done), QLocale().toString(total)));
    else
        m_progress->setText(QStringLiteral("Reading pictures…"));
    setSpokenName(m_progress, m_progress->text());
    m_pause->setText(paused ? QStringLiteral("Resume") : QStringLiteral("Pause"));
    setSpokenName(m_pause,
                  paused ? QStringLiteral("Resume reading pictures") : QStringLiteral("Pause reading pictures"));
    if (m_pauseIconFor != int(paused)) {
        m_pauseIconFor = int(paused);
        m_pause->setIcon(Icons::themed(paused ? QStringLiteral("media-playback-start")
                                              : QStringLiteral("media-playback-pause"), m_style.palette()));
    }
}

void FindImagesPage::updateSimilarBar()
{
    const std::optional<QString>& similar = m_app.search().similarTo();
    m_similarBar->setVisible(similar.has_value());
    if (similar) {
        const QString name = similar->section(u'/', -1);
        m_similarLabel->setText(QStringLiteral("Pictures that look like “%1”").arg(name));
        setSpokenName(m_similarLabel, m_similarLabel->text());
    }
}

void FindImagesPage::updateState()
{
    const SearchSession& search = m_app.search();
    const ImageIndexer& images = m_app.images();
    const bool asking = search.similarTo() || !search.findQuery().trimmed().isEmpty();
    const bool nothingRead = images.imageRecords().isEmpty() || (m_pictures && m_pictures->records.isEmpty());
    const auto readingState = [&images]() -> EmptyState {
        if (images.imageIndexPaused())
            return {QStringLiteral("Reading pictures is paused"),
                QStringLiteral("Resume reading to find pictures by what they show or the words in them."), false};
        if (images.isIndexingImages())
            return {QStringLiteral("Reading your pictures"),
                QStringLiteral("Results appear as soon as the first ones are done — keep working meanwhile."), false};
        return {QStringLiteral("No pictures to search yet"),
                               QStringLiteral("Pictures in your library are read on this computer as they arrive."),
                                              false};
    };

    std::optional<EmptyState> state;
    QString iconName = QStringLiteral("image-x-generic");
    if (!asking) {
        if (nothingRead) {
            state = readingState();
        } else {
            state = EmptyState{
                QStringLiteral("Describe a picture"),
                               QStringLiteral("Say what it shows, or type words written in it. For example:"), true};
            iconName = QStringLiteral("edit-find");
        }
    } else if (m_model->rowCount() > 0) {
        state.reset();
    } else if (isSearching()) {
        if (!m_loadingShown) return;  // a quick search keeps what is shown until it is back
        state = EmptyState{QStringLiteral("Looking through your pictures…"), QString(), false};
        iconName = QStringLiteral("content-loading");
    } else if (nothingRead) {
        state = readingState();
    } else {
        const bool filtered = m_favouritesOnly->isChecked() || m_tags->currentIndex() > 0;
        QString detail;
        if (search.similarTo())
            detail = QStringLiteral("No other picture looks like this one.");
        else if (filtered)
            detail = QStringLiteral("Try without “Favourites only” or the tag, or describe it another way.");
        else
            detail = QStringLiteral("Try other words, or look in “%1”.") .arg(
                modeTitle(search.findMode() == FindMode::everything ? FindMode::describe : FindMode::everything));
        state = EmptyState{QStringLiteral("No pictures match"), detail, false};
        iconName = QStringLiteral("edit-find");
    }

    m_emptyState = state;
    const int shown = m_model->rowCount();
    m_count->setVisible(!state);
    if (search.similarTo())
        m_count->setText(Fmt::count(std::max(0, shown - 1), QStringLiteral("look-alike")));
    else
        m_count->setText(Fmt::count(shown, QStringLiteral("picture")));
    setSpokenName(m_count, m_count->text());
    m_more->setVisible(!state);
    if (!state) {
        m_stack->setCurrentWidget(m_grid);
        return;
    }
    m_emptyTitle->setText(state->title);
    m_emptyDetail->setText(state->detail);
    m_emptyDetail->setVisible(!state->detail.isEmpty());
    m_examplesRow->setVisible(state->examples);
    m_emptyPage->setAccessibleName(state->title);
    m_emptyPage->setAccessibleDescription(state->detail);
    const QIcon icon = Icons::themed(iconName, m_style.palette(), {QStringLiteral("image-x-generic")});
    m_emptyIcon->setPixmap(icon.pixmap(64, 64));
    m_emptyIcon->setVisible(!icon.isNull());
    m_stack->setCurrentWidget(m_emptyPage);
}

void FindImagesPage::updateLook()
{
    // The modes read as one control: joined buttons, the chosen one in the accent's tint.
    const QPalette& palette = m_style.palette();
    const QColor outline = ThemeStyle::withOpacity(palette.color(QPalette::Text), m_style.isDark() ? 0.25 : 0.18);
    const QColor chosen = ThemeStyle::withOpacity(m_style.accent(), m_style.isDark() ? 0.40 : 0.22);
    const QColor hover = ThemeStyle::withOpacity(m_style.accent(), 0.10);
    const int radius = int(std::min(m_style.fieldRadius(), 12.0));
    const auto rgba = [](const QColor& c) {
        return QStringLiteral("rgba(%1,%2,%3,%4)").arg(c.red()).arg(c.green()).arg(c.blue()).arg(c.alphaF());
    };
    const QString first = QStringLiteral("QToolButton#FinderMode-") + FindModes::rawValue(kModes.first());
    const QString last = QStringLiteral("QToolButton#FinderMode-") + FindModes::rawValue(kModes.last());
    const QString sheet =
        QStringLiteral("QToolButton { border: 1px solid %1; border-left-width: 0; padding: 5px 14px; "
                       "background: transparent; color: %5; }"
                       "%7 { border-left-width: 1px; border-top-left-radius: %4px; border-bottom-left-radius: %4px; }"
                       "%8 { border-top-right-radius: %4px; border-bottom-right-radius: %4px; }"
                       "QToolButton:hover { background: %3; }"
                       "QToolButton:checked { background: %2; }"
                       "QToolButton:focus { border-color: %6; }")
                           .arg(rgba(outline), rgba(chosen), rgba(hover))
                           .arg(radius)
                           .arg(rgba(palette.color(QPalette::ButtonText)), rgba(m_style.accent()), first, last);
    if (QWidget* segments = findChild<QWidget*>(QStringLiteral("FinderModes"))) segments->setStyleSheet(sheet);
    // The examples as soft pills in the accent's tint, inviting a click.
    const QString pill =
        QStringLiteral("QPushButton { border: 1px solid %1; border-radius: %4px; padding: 6px 14px; "
                                        "background: %2; color: %5; }"
                                        "QPushButton:hover { background: %3; }"
                                        "QPushButton:focus { border: 2px solid %6; }")
                           .arg(rgba(ThemeStyle::withOpacity(m_style.accent(), 0.45)),
                                rgba(ThemeStyle::withOpacity(m_style.accent(), m_style.isDark() ? 0.22 : 0.10)),
                                rgba(ThemeStyle::withOpacity(m_style.accent(), m_style.isDark() ? 0.32 : 0.18)))
                           .arg(m_style.theme() == Theme::playful ? 12 : 6)
                           .arg(rgba(palette.color(QPalette::Text)), rgba(m_style.accent()));
    m_examplesRow->setStyleSheet(pill);
    QPalette secondary = m_count->palette();
    secondary.setColor(QPalette::WindowText, m_style.secondaryText());
    m_count->setPalette(secondary);
    m_progress->setPalette(secondary);
    m_similarLabel->setPalette(secondary);
    m_emptyDetail->setPalette(secondary);
    m_back->setIcon(Icons::themed(QStringLiteral("go-previous"), palette));
    m_more->setIcon(Icons::themed(QStringLiteral("edit-find"), palette));
}

QString FindImagesPage::currentPath() const
{
    const QModelIndex current = m_grid->currentIndex();
    return current.isValid() ? current.data(FinderModel::PathRole).toString() : QString();
}

void FindImagesPage::showMoreLikeCurrent()
{
    const QString path = currentPath();
    if (!path.isEmpty()) m_app.search().setSimilarTo(path);
}

void FindImagesPage::openCurrent()
{
    const QString path = currentPath();
    if (!path.isEmpty()) DesktopActions::open({path});
}

void FindImagesPage::showContextMenu(const QPoint& position)
{
    const QModelIndex index = m_grid->indexAt(position);
    if (!index.isValid()) return;
    m_grid->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    QMenu menu(this);
    menu.setAccessibleName(QStringLiteral("Picture"));
    menu.addAction(Icons::themed(QStringLiteral("document-open"), m_style.palette()),
                                 QStringLiteral("Open"), this, [this] { openCurrent(); });
    menu.addAction(Icons::themed(QStringLiteral("edit-find"), m_style.palette()),
                                 QStringLiteral("More like this"), this, [this] { showMoreLikeCurrent(); });
    menu.exec(m_grid->viewport()->mapToGlobal(position));
}

}  // namespace fennic
