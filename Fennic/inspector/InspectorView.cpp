#include "InspectorView.h"

#include "FlowLayout.h"
#include "InspectorPreview.h"
#include "app/AppModel.h"
#include "app/ImageIndexer.h"
#include "app/Organiser.h"
#include "library/Library.h"
#include "model/DownloadSource.h"
#include "model/Fmt.h"
#include "model/Fold.h"
#include "quicklook/PreviewReader.h"
#include "theme/Icons.h"
#include "thumbnails/ThumbnailLoader.h"

#include <QDir>
#include <QEvent>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeDatabase>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollArea>
#include <QToolButton>
#include <QVBoxLayout>

namespace fennic {

// A rounded, tinted chip: a tag with its "×", or a picture's label.
class InspectorChip : public QWidget {
public:
    InspectorChip(const QString& text, QColor tint, double fillOpacity, QWidget* parent) : QWidget(parent), m_tint(tint)
    {
        m_fill = ThemeStyle::withOpacity(tint, fillOpacity);
        auto* row = new QHBoxLayout(this);
        row->setContentsMargins(8, 2, 4, 2);
        row->setSpacing(2);
        auto* label = new QLabel(text, this);
        label->setTextFormat(Qt::PlainText);
        row->addWidget(label);
        m_row = row;
    }
    // Adds the "×" that removes the chip's tag.
    QToolButton* addRemoveButton(const QString& accessibleName)
    {
        auto* button = new QToolButton(this);
        button->setText(QStringLiteral("×"));
        button->setAutoRaise(true);
        button->setAccessibleName(accessibleName);
        button->setToolTip(accessibleName);
        button->setFocusPolicy(Qt::StrongFocus);
        button->setCursor(Qt::PointingHandCursor);
        m_row->addWidget(button);
        return button;
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        p.setPen(QPen(ThemeStyle::withOpacity(m_tint, 0.45), 1));
        p.setBrush(m_fill);
        const QRectF r = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        p.drawRoundedRect(r, r.height() / 2, r.height() / 2);
    }

private:
    QColor m_tint;
    QColor m_fill;
    QHBoxLayout* m_row = nullptr;
};

namespace {

constexpr int kMargin = 14;
// Pictures are read at about twice the pane's width so that a wider pane stays sharp.
constexpr QSize kPreviewBound(640, 1280);

QMimeType mimeOf(const FileItem& item)
{
    // By the name only: the GUI thread never opens the file to sniff it.
    return QMimeDatabase().mimeTypeForFile(item.path, QMimeDatabase::MatchExtension);
}

QIcon typeIcon(const QMimeType& mime)
{
    QIcon icon = QIcon::fromTheme(mime.iconName());
    if (icon.isNull()) icon = QIcon::fromTheme(mime.genericIconName());
    if (icon.isNull()) icon = QIcon::fromTheme(QStringLiteral("text-x-generic"));
    return icon;
}

bool isPicture(const FileItem& item)
{
    if (item.kind != FileKind::image) return false;
    static const QList<QByteArray> formats = QImageReader::supportedImageFormats();
    return formats.contains(item.ext.toLatin1()) || item.ext == u"jpeg" || item.ext == u"tif";
}

QString homeShortened(const QString& folder)
{
    const QString home = Library::home();
    if (folder == home) return QStringLiteral("~");
    if (folder.startsWith(home + QLatin1Char('/'))) return QStringLiteral("~") + folder.mid(home.size());
    return folder;
}

bool known(Date d) { return d > Date::distantPast() && d < Date::distantFuture(); }

// The accent mixed into the palette's base: an opaque background rich text can show.
QColor blend(QColor base, QColor tint, double t)
{
    return QColor::fromRgbF(float(base.redF() * (1 - t) + tint.redF() * t),
                            float(base.greenF() * (1 - t) + tint.greenF() * t),
                            float(base.blueF() * (1 - t) + tint.blueF() * t));
}

void clearLayout(QLayout* layout)
{
    // Chips may be removed from inside their own button's click; they go once it returns.
    while (QLayoutItem* item = layout->takeAt(0)) {
        if (QWidget* w = item->widget()) {
            w->hide();
            w->deleteLater();
        }
        delete item;
    }
}

}  // namespace

InspectorView::InspectorView(AppModel& app, QWidget* parent) : QWidget(parent), m_app(app)
{
    setAccessibleName(QStringLiteral("Inspector"));
    setMinimumWidth(220);
    m_scroll = new QScrollArea(this);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setWidgetResizable(true);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setAccessibleName(QStringLiteral("Details of the selection"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_scroll);

    connect(&m_app.organiser(), &Organiser::shelfChanged, this, &InspectorView::refreshShelf);
    connect(&m_app.images(), &ImageIndexer::imageRecordsChanged, this, &InspectorView::refreshRecord);
    rebuild();
}

InspectorView::~InspectorView() = default;

void InspectorView::setItems(const QList<FileItem>& selection)
{
    m_items = selection;
    rebuild();
}

void InspectorView::setHighlight(const QStringList& words)
{
    m_highlight.clear();
    for (const QString& w : words) {
        const QString folded = Fold::text(w.trimmed());
        if (!folded.isEmpty()) m_highlight.append(folded);
    }
    refreshText();
}

void InspectorView::setThemeStyle(const ThemeStyle& style)
{
    m_style = style;
    setPalette(style.palette());
    rebuild();
}

void InspectorView::setThumbnailLoader(ThumbnailLoader* loader)
{
    if (m_thumbnails) disconnect(m_thumbnails, nullptr, this, nullptr);
    m_thumbnails = loader;
    if (loader) connect(loader, &ThumbnailLoader::ready, this, &InspectorView::showThumbnail);
}

bool InspectorView::previewShown() const { return m_preview && m_preview->hasImage(); }

QList<QRectF> InspectorView::textBoxRects() const
{
    QList<QRectF> boxes;
    if (!m_preview) return boxes;
    const QPointF offset = m_preview->mapTo(this, QPoint(0, 0));
    for (const QRectF& box : m_preview->boxRects()) boxes.append(box.translated(offset));
    return boxes;
}

void InspectorView::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    // Without a style of its own the pane takes its tints from the desktop's palette.
    if (event->type() == QEvent::PaletteChange && !m_style) rebuild();
}

ThemeStyle InspectorView::style() const { return m_style.value_or(ThemeStyle(Theme::playful, palette())); }

std::optional<ImageRecord> InspectorView::recordOf(const QString& path) const
{
    const auto& records = m_app.images().imageRecords();
    const auto it = records.constFind(path);
    if (it == records.constEnd() || it->failed) return std::nullopt;
    return *it;
}

void InspectorView::rebuild()
{
    ++m_generation;
    m_preview = nullptr;
    m_star = nullptr;
    m_tags = nullptr;
    m_addTag = nullptr;
    m_collections = nullptr;
    m_pixels = nullptr;
    m_pixelsHeading = nullptr;
    m_textSection = nullptr;
    m_textHeading = nullptr;
    m_text = nullptr;
    m_labelsHeading = nullptr;
    m_labels = nullptr;
    m_grid = nullptr;
    if (QWidget* old = m_scroll->takeWidget()) {
        old->hide();
        old->deleteLater();
    }
    m_content = new QWidget;
    m_content->setAccessibleName(QStringLiteral("Details"));
    m_layout = new QVBoxLayout(m_content);
    m_layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    m_layout->setSpacing(8);

    if (m_items.isEmpty())
        buildEmpty();
    else if (m_items.size() > 1)
        buildMany();
    else
        buildOne(m_items.first());
    m_layout->addStretch(1);
    m_scroll->setWidget(m_content);
    refreshShelf();
}

QLabel* InspectorView::heading(const QString& text)
{
    auto* label = new QLabel(text, m_content);
    label->setTextFormat(Qt::PlainText);
    QPalette p = label->palette();
    p.setColor(QPalette::WindowText, style().secondaryText());
    label->setPalette(p);
    return label;
}

QLabel* InspectorView::value(const QString& text, const QString& accessibleName)
{
    auto* label = new QLabel(text, m_content);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setAccessibleName(accessibleName);
    return label;
}

void InspectorView::addRow(const QString& title, QWidget* field)
{
    auto* form = static_cast<QFormLayout*>(m_grid->layout());
    form->addRow(heading(title), field);
}

void InspectorView::buildEmpty()
{
    m_layout->addStretch(1);
    QLabel* hint = heading(QStringLiteral("Select a file to see its details"));
    hint->setAlignment(Qt::AlignCenter);
    hint->setWordWrap(true);
    hint->setAccessibleName(QStringLiteral("Select a file to see its details"));
    m_layout->addWidget(hint);
}

void InspectorView::buildMany()
{
    const ThemeStyle look = style();
    m_preview = new InspectorPreview(m_content);
    m_preview->setLook(look.cardRadius(), look.cardBackground(), look.accent());
    m_preview->setIcon(
        QIcon::fromTheme(QStringLiteral("edit-select-all"), QIcon::fromTheme(QStringLiteral("text-x-generic"))));
    m_preview->setAccessibleName(QStringLiteral("Several files"));
    m_preview->setFixedHeight(120);
    m_layout->addWidget(m_preview);

    qint64 total = 0;
    for (const FileItem& i : std::as_const(m_items)) total += i.size;
    QLabel* count = value(Fmt::count(m_items.size(), QStringLiteral("file"))
                                     + QStringLiteral(" selected"), QStringLiteral("Selection"));
    QFont big = count->font();
    big.setBold(true);
    big.setPointSizeF(big.pointSizeF() * 1.2);
    count->setFont(big);
    m_layout->addWidget(count);
    QLabel* size = heading(Fmt::size(total) + QStringLiteral(" in all"));
    size->setAccessibleName(QStringLiteral("Total size"));
    m_layout->addWidget(size);

    auto* actions = new QHBoxLayout;
    m_star = new QToolButton(m_content);
    m_star->setCheckable(true);
    m_star->setIcon(QIcon::fromTheme(QStringLiteral("non-starred")));
    m_star->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_star->setText(QStringLiteral("Favourite all"));
    m_star->setAccessibleName(QStringLiteral("Favourite"));
    connect(m_star, &QToolButton::clicked, this, [this] { m_app.organiser().toggleFavourite(m_items); });
    actions->addWidget(m_star);
    auto* collect = new QToolButton(m_content);
    collect->setText(QStringLiteral("Add to collection"));
    collect->setIcon(QIcon::fromTheme(QStringLiteral("list-add")));
    collect->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    collect->setPopupMode(QToolButton::InstantPopup);
    collect->setAccessibleName(QStringLiteral("Add to collection"));
    collect->setMenu(collectionMenu(collect));
    actions->addWidget(collect);
    actions->addStretch(1);
    m_layout->addLayout(actions);

    m_layout->addSpacing(6);
    m_layout->addWidget(heading(QStringLiteral("Tags")));
    m_addTag = new QLineEdit(m_content);
    m_addTag->setPlaceholderText(QStringLiteral("Add a tag to all"));
    m_addTag->setAccessibleName(QStringLiteral("Add tag"));
    m_addTag->setClearButtonEnabled(true);
    connect(m_addTag, &QLineEdit::returnPressed, this, &InspectorView::addTagFromField);
    m_layout->addWidget(m_addTag);
}

void InspectorView::buildOne(const FileItem& item)
{
    const ThemeStyle look = style();
    const QMimeType mime = mimeOf(item);

    m_preview = new InspectorPreview(m_content);
    m_preview->setLook(look.cardRadius(), look.cardBackground(), look.accent());
    m_preview->setIcon(typeIcon(mime));
    m_preview->setAccessibleName(QStringLiteral("Preview of ") + item.name);
    m_layout->addWidget(m_preview);
    loadPreview(item);

    QLabel* name = value(item.name, QStringLiteral("Name"));
    name->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    // A long name without spaces is cut rather than widening the pane.
    name->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    QFont big = name->font();
    big.setBold(true);
    big.setPointSizeF(big.pointSizeF() * 1.2);
    name->setFont(big);
    m_layout->addWidget(name);
    // Some comments of the shared MIME database start in lower case ("plain text document").
    const QString kind = !mime.isDefault() && !mime.comment().isEmpty()
        ? mime.comment().left(1).toUpper() + mime.comment().mid(1)
        : FileKinds::singular(item.kind);
    QLabel* summary = heading(kind + QStringLiteral(" · ") + Fmt::size(item.size));
    summary->setAccessibleName(QStringLiteral("Kind and size"));
    m_layout->addWidget(summary);

    // Actions.
    auto* actions = new QHBoxLayout;
    actions->setSpacing(4);
    m_star = new QToolButton(m_content);
    m_star->setCheckable(true);
    m_star->setIcon(QIcon::fromTheme(QStringLiteral("non-starred")));
    m_star->setAccessibleName(QStringLiteral("Favourite"));
    m_star->setToolTip(QStringLiteral("Favourite (Ctrl+D)"));
    m_star->setAutoRaise(true);
    connect(m_star, &QToolButton::clicked, this, [this] { m_app.organiser().toggleFavourite(m_items); });
    actions->addWidget(m_star);
    auto* collect = new QToolButton(m_content);
    collect->setIcon(QIcon::fromTheme(QStringLiteral("list-add")));
    collect->setToolTip(QStringLiteral("Add to collection"));
    collect->setAccessibleName(QStringLiteral("Add to collection"));
    collect->setAutoRaise(true);
    collect->setPopupMode(QToolButton::InstantPopup);
    collect->setMenu(collectionMenu(collect));
    actions->addWidget(collect);
    actions->addStretch(1);
    if (item.kind == FileKind::image) {
        auto* more = new QPushButton(Icons::themed(QStringLiteral("edit-find"), palette()),
                                                   QStringLiteral("More like this"), m_content);
        more->setAccessibleName(QStringLiteral("More like this"));
        const QString path = item.path;
        connect(more, &QPushButton::clicked, this, [this, path] { Q_EMIT moreLikeThis(path); });
        actions->addWidget(more);
    }
    m_layout->addLayout(actions);

    // Information.
    m_grid = new QWidget(m_content);
    auto* form = new QFormLayout(m_grid);
    form->setContentsMargins(0, 4, 0, 4);
    form->setLabelAlignment(Qt::AlignLeft | Qt::AlignTop);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setRowWrapPolicy(QFormLayout::DontWrapRows);
    form->setHorizontalSpacing(12);
    form->setVerticalSpacing(4);
    m_layout->addWidget(m_grid);
    addRow(QStringLiteral("Kind"), value(kind, QStringLiteral("Kind")));
    addRow(QStringLiteral("Size"), value(Fmt::size(item.size), QStringLiteral("Size")));
    if (item.kind == FileKind::image) {
        m_pixels = value(QString(), QStringLiteral("Dimensions"));
        m_pixelsHeading = heading(QStringLiteral("Dimensions"));
        form->addRow(m_pixelsHeading, m_pixels);
    }
    if (known(item.created))
        addRow(QStringLiteral("Created"), value(Fmt::date(item.created), QStringLiteral("Created")));
    if (known(item.modified))
        addRow(QStringLiteral("Modified"), value(Fmt::date(item.modified), QStringLiteral("Modified")));
    if (known(item.added)) addRow(QStringLiteral("Added"), value(Fmt::date(item.added), QStringLiteral("Added")));
    QLabel* folder = value(homeShortened(item.folderPath()), QStringLiteral("Folder"));
    folder->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    folder->setToolTip(item.folderPath());
    addRow(QStringLiteral("Folder"), folder);
    const std::optional<QString> sourceKey = item.sourceKey ? item.sourceKey : DownloadSource::keyFor(item.whereFrom);
    if (sourceKey || !item.whereFrom.isEmpty()) {
        auto* from = new QWidget(m_grid);
        auto* fromLayout = new QVBoxLayout(from);
        fromLayout->setContentsMargins(0, 0, 0, 0);
        fromLayout->setSpacing(2);
        if (sourceKey) {
            const DownloadSource source = DownloadSource::sourceFor(*sourceKey);
            auto* row = new QHBoxLayout;
            auto* icon = new QLabel(from);
            const int side = fontMetrics().height();
            icon->setPixmap(QIcon::fromTheme(
                source.symbol,
                QIcon::fromTheme(QStringLiteral("web-browser"))).pixmap(QSize(side, side), devicePixelRatioF()));
            row->addWidget(icon);
            auto* name2 = new QLabel(source.name, from);
            name2->setTextFormat(Qt::PlainText);
            name2->setAccessibleName(QStringLiteral("Downloaded from"));
            row->addWidget(name2, 1);
            fromLayout->addLayout(row);
        }
        for (const QString& url : item.whereFrom) {
            auto* link = new QLabel(from);
            link->setTextFormat(Qt::PlainText);
            link->setText(link->fontMetrics().elidedText(url, Qt::ElideMiddle, 150));
            link->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
            link->setToolTip(url);
            link->setTextInteractionFlags(Qt::TextSelectableByMouse);
            link->setAccessibleName(QStringLiteral("Address ") + url);
            QPalette p = link->palette();
            p.setColor(QPalette::WindowText, look.secondaryText());
            link->setPalette(p);
            fromLayout->addWidget(link);
        }
        addRow(QStringLiteral("From"), from);
    }
    if (item.camera && !item.camera->isEmpty())
        addRow(QStringLiteral("Camera"), value(*item.camera, QStringLiteral("Camera")));

    // Tags and collections.
    m_layout->addSpacing(4);
    m_layout->addWidget(heading(QStringLiteral("Tags")));
    m_tags = new QWidget(m_content);
    new FlowLayout(m_tags, 6);
    m_tags->setAccessibleName(QStringLiteral("Tags"));
    m_layout->addWidget(m_tags);
    m_addTag = new QLineEdit(m_content);
    m_addTag->setPlaceholderText(QStringLiteral("Add tag"));
    m_addTag->setAccessibleName(QStringLiteral("Add tag"));
    m_addTag->setClearButtonEnabled(true);
    connect(m_addTag, &QLineEdit::returnPressed, this, &InspectorView::addTagFromField);
    m_layout->addWidget(m_addTag);
    m_layout->addSpacing(4);
    m_layout->addWidget(heading(QStringLiteral("Collections")));
    m_collections = value(QString(), QStringLiteral("Collections"));
    m_layout->addWidget(m_collections);

    // What was read in a picture.
    if (item.kind == FileKind::image) {
        m_textSection = new QWidget(m_content);
        auto* section = new QVBoxLayout(m_textSection);
        section->setContentsMargins(0, 4, 0, 0);
        section->setSpacing(6);
        m_text = new QLabel(m_textSection);
        m_text->setTextFormat(Qt::RichText);
        m_text->setWordWrap(true);
        m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        m_text->setAccessibleName(QStringLiteral("Text in the picture"));
        m_textHeading = heading(QStringLiteral("Text in the picture"));
        section->addWidget(m_textHeading);
        section->addWidget(m_text);
        m_labels = new QWidget(m_textSection);
        new FlowLayout(m_labels, 6);
        m_labels->setAccessibleName(QStringLiteral("Labels"));
        m_labelsHeading = heading(QStringLiteral("Labels"));
        section->addWidget(m_labelsHeading);
        section->addWidget(m_labels);
        m_layout->addWidget(m_textSection);
        refreshRecord();
    }
}

void InspectorView::loadPreview(const FileItem& item)
{
    if (m_previewPath == item.path && !m_previewImage.isNull()) {
        m_preview->setImage(m_previewImage);
        return;
    }
    m_previewPath = item.path;
    m_previewImage = QImage();
    m_pixelSize = QSize();
    if (isPicture(item)) {
        const quint64 generation = m_generation;
        const QString path = item.path;
        m_reply.run([path] { return PreviewReader::readImage(path, kPreviewBound); },
                    [this, generation, path](const PreviewReader::Picture& picture) {
                        if (generation != m_generation || path != m_previewPath) return;
                        m_pixelSize = picture.pixelSize;
                        if (picture.image.isNull()) return refreshRecord();
                        m_previewImage = picture.image;
                        if (m_preview) m_preview->setImage(picture.image);
                        refreshRecord();
                        Q_EMIT previewReady(path);
                    });
    } else if (m_thumbnails) {
        ThumbnailLoader::Request request{item.path, item.ext, qint64(item.modified.toUnix())};
        if (const std::optional<QImage> thumb = m_thumbnails->thumbnail(request)) {
            m_previewImage = *thumb;
            m_preview->setImage(*thumb);
        }
    }
}

void InspectorView::showThumbnail(const QString& path, const QImage& image)
{
    if (m_items.size() != 1 || m_items.first().path != path || isPicture(m_items.first()) || !m_preview) return;
    m_previewPath = path;
    m_previewImage = image;
    m_preview->setImage(image);
    Q_EMIT previewReady(path);
}

void InspectorView::refreshShelf()
{
    if (m_items.isEmpty()) return;
    const Shelf& shelf = m_app.organiser().shelf();
    if (m_star) {
        const bool starred =
            std::all_of(m_items.begin(), m_items.end(), [&](const FileItem& i) { return shelf.isFavourite(i.path); });
        m_star->setChecked(starred);
        m_star->setIcon(QIcon::fromTheme(starred ? QStringLiteral("starred") : QStringLiteral("non-starred")));
        if (m_items.size() == 1)
            m_star->setToolTip(starred ? QStringLiteral("Remove from favourites (Ctrl+D)")
                                       : QStringLiteral("Add to favourites (Ctrl+D)"));
    }
    if (m_items.size() != 1) return;
    const QString path = m_items.first().path;
    if (m_tags) {
        clearLayout(m_tags->layout());
        const ThemeStyle look = style();
        const QColor tint = look.tokenColour(SearchFilter::Category::mine);
        for (const QString& tag : shelf.tagsOf(path)) {
            auto* chip = new InspectorChip(QStringLiteral("#") + tag, tint, look.chipFillOpacity(), m_tags);
            chip->setAccessibleName(QStringLiteral("Tag ") + tag);
            QToolButton* remove = chip->addRemoveButton(QStringLiteral("Remove tag ") + tag);
            connect(remove, &QToolButton::clicked, this, [this, path, tag] {
                Shelf changed = m_app.organiser().shelf();
                changed.removeTag(tag, path);
                m_app.organiser().setShelf(changed);
            });
            m_tags->layout()->addWidget(chip);
        }
        m_tags->setVisible(!shelf.tagsOf(path).isEmpty());
    }
    if (m_collections) {
        QStringList names;
        for (const FileCollection& c : shelf.collections())
            if (c.paths.contains(path)) names.append(c.name);
        m_collections->setText(names.isEmpty() ? QStringLiteral("In no collection") : names.join(QStringLiteral(", ")));
    }
}

void InspectorView::refreshRecord()
{
    if (m_items.size() != 1 || m_items.first().kind != FileKind::image) return;
    const std::optional<ImageRecord> record = recordOf(m_items.first().path);
    if (m_pixels) {
        QSize size = m_pixelSize;
        if (record && record->pixelWidth > 0 && record->pixelHeight > 0)
            size = QSize(int(record->pixelWidth), int(record->pixelHeight));
        m_pixels->setText(size.isValid() ? QStringLiteral("%1 × %2 pixels").arg(size.width()).arg(size.height())
                                         : QString());
        m_pixels->setVisible(size.isValid());
        m_pixelsHeading->setVisible(size.isValid());
    }
    if (m_preview) m_preview->setLines(record ? record->lines : QList<TextLine>());
    if (m_labels) {
        clearLayout(m_labels->layout());
        const ThemeStyle look = style();
        const QColor tint = look.tokenColour(SearchFilter::Category::sight);
        const auto labels = record ? record->topLabels(8) : QList<std::pair<QString, float>>();
        for (const auto& [label, confidence] : labels) {
            auto* chip = new InspectorChip(label, tint, look.chipFillOpacity(), m_labels);
            chip->setAccessibleName(QStringLiteral("Label ") + label);
            chip->setToolTip(QStringLiteral("%1% sure").arg(qRound(confidence * 100)));
            m_labels->layout()->addWidget(chip);
        }
    }
    refreshText();
}

void InspectorView::refreshText()
{
    if (!m_text || m_items.size() != 1) return;
    const std::optional<ImageRecord> record = recordOf(m_items.first().path);
    const bool hasText = record && !record->lines.isEmpty();
    const bool hasLabels = record && !record->labels.isEmpty();
    m_textSection->setVisible(hasText || hasLabels);
    m_textHeading->setVisible(hasText);
    m_text->setVisible(hasText);
    m_labelsHeading->setVisible(hasLabels);
    m_labels->setVisible(hasLabels);
    if (!hasText) {
        m_text->clear();
        return;
    }
    const ThemeStyle look = style();
    const QColor mark = blend(look.palette().color(QPalette::Base), look.accent(), look.isDark() ? 0.45 : 0.3);
    static const QRegularExpression wordPattern(QStringLiteral("\\S+"));
    static const QRegularExpression edges(QStringLiteral("^[^\\w]+|[^\\w]+$"));
    QStringList html;
    for (const TextLine& line : record->lines) {
        QString out;
        qsizetype at = 0;
        for (const QRegularExpressionMatch& m : wordPattern.globalMatch(line.text)) {
            out += line.text.mid(at, m.capturedStart() - at).toHtmlEscaped();
            const QString word = m.captured();
            QString folded = Fold::text(word);
            folded.remove(edges);
            const bool hit = !folded.isEmpty()
                && std::any_of(m_highlight.begin(), m_highlight.end(),
                               [&](const QString& h) { return folded.contains(h); });
            out += hit ? QStringLiteral("<span style=\"background-color:%1; font-weight:600;\">%2</span>") .arg(
                mark.name(), word.toHtmlEscaped())
                       : word.toHtmlEscaped();
            at = m.capturedEnd();
        }
        out += line.text.mid(at).toHtmlEscaped();
        html.append(out);
    }
    m_text->setText(html.join(QStringLiteral("<br>")));
}

void InspectorView::addTagFromField()
{
    if (!m_addTag) return;
    const QString tag = m_addTag->text().trimmed();
    if (tag.isEmpty()) return;
    m_addTag->clear();
    m_app.organiser().addTag(tag, m_items);
}

QMenu* InspectorView::collectionMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    menu->setAccessibleName(QStringLiteral("Collections"));
    // Filled when opened, so that it lists the collections as they are then.
    connect(menu, &QMenu::aboutToShow, this, [this, menu] {
        menu->clear();
        const auto& collections = m_app.organiser().shelf().collections();
        if (collections.isEmpty()) {
            QAction* none = menu->addAction(QStringLiteral("No collections yet"));
            none->setEnabled(false);
            return;
        }
        for (const FileCollection& c : collections) {
            QAction* action = menu->addAction(QIcon::fromTheme(QStringLiteral("folder")), c.name);
            const QUuid id = c.id;
            connect(action, &QAction::triggered, this, [this, id] { m_app.organiser().addToCollection(m_items, id); });
        }
    });
    return menu;
}

}  // namespace fennic
