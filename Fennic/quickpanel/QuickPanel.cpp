#include "QuickPanel.h"

#include "QuickResultDelegate.h"
#include "QuickResultModel.h"
#include "app/AppModel.h"
#include "ask/AskBar.h"
#include "ask/AskField.h"
#include "desktop/DesktopActions.h"
#include "quicklook/QuickLookWindow.h"
#include "theme/Labels.h"

#include <QApplication>
#include <QCursor>
#include <QKeyEvent>
#include <QLabel>
#include <QListView>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>

namespace fennic {

namespace {

constexpr int kMargin = 12;
// Rows shown before the list scrolls: the dozen results fit on a laptop's screen this way.
constexpr int kVisibleRows = 8;

}  // namespace

QuickPanel::QuickPanel(AppModel& app, ThumbnailLoader& thumbnails, QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      m_model(app),
      m_thumbnails(thumbnails),
      m_theme(app.settings().theme(), QApplication::palette())
{
    setWindowTitle(QStringLiteral("Quick Search"));
    setAccessibleName(QStringLiteral("Quick Search"));
    setAccessibleDescription(QString::fromLatin1(QuickSearchModel::kHelp));

    m_ask = new AskBar(AskStyle::panel, this);
    m_ask->setAccessibleName(QStringLiteral("Quick Search request"));

    m_flash = plainLabel(QString(), this);
    m_flash->hide();

    m_rows = new QuickResultModel(m_model, thumbnails, this);
    m_delegate = new QuickResultDelegate(this);
    m_list = new QListView(this);
    m_list->setAccessibleName(QStringLiteral("Quick Search results"));
    m_list->setModel(m_rows);
    m_list->setItemDelegate(m_delegate);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setUniformItemSizes(true);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setMouseTracking(true);
    // The field keeps the keyboard; the list only shows where Up and Down are.
    m_list->setFocusPolicy(Qt::NoFocus);
    m_list->viewport()->setAutoFillBackground(false);
    m_list->hide();

    m_empty = plainLabel(QString(), this);
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->hide();

    m_help = plainLabel(QString::fromLatin1(QuickSearchModel::kHelp), this);
    m_help->setWordWrap(true);
    scaleFont(m_help, 0.88, false);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(8);
    layout->addWidget(m_ask);
    layout->addWidget(m_flash);
    layout->addWidget(m_list);
    layout->addWidget(m_empty);
    layout->addWidget(m_help);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    AskField* field = m_ask->field();
    connect(field, &AskField::textEdited, &m_model, &QuickSearchModel::setQuery);
    connect(field, &AskField::moved, this, [this](int step) { m_model.move(step); });
    connect(field, &AskField::submitted, this, [this] { m_model.handle(Qt::Key_Return, Qt::NoModifier, false); });
    connect(field, &AskField::escapePressed, this, [this] { m_model.handle(Qt::Key_Escape, Qt::NoModifier, false); });
    field->setKeyHandler([this](QKeyEvent* event) { return handleKey(event); });

    connect(m_list, &QListView::clicked, this, [this](const QModelIndex& index) {
        m_model.move(index.row() - m_model.index());
        m_ask->field()->setFocus(Qt::MouseFocusReason);
    });
    connect(m_list, &QListView::activated, this, [this](const QModelIndex& index) {
        m_model.move(index.row() - m_model.index());
        m_model.handle(Qt::Key_Return, Qt::NoModifier, false);
    });

    connect(&m_model, &QuickSearchModel::resultsChanged, this, &QuickPanel::resultsChanged);
    connect(&m_model, &QuickSearchModel::searchingChanged, this, &QuickPanel::resultsChanged);
    connect(&m_model, &QuickSearchModel::indexChanged, this, &QuickPanel::selectionFromModel);
    connect(&m_model, &QuickSearchModel::previewingChanged, this, &QuickPanel::previewChanged);
    connect(&m_model, &QuickSearchModel::flashChanged, this, [this] {
        setLabelText(m_flash, m_model.flashText());
        m_flash->setVisible(!m_model.flashText().isEmpty());
    });
    m_model.close = [this] { dismiss(); };
    m_model.actions.open = [](const QString& path) { DesktopActions::open({path}); };
    m_model.actions.reveal = [](const QString& path) { DesktopActions::showInFolder({path}); };

    applyStyle();
    resultsChanged();
}

QuickPanel::~QuickPanel() = default;

QString QuickPanel::flashText() const { return m_flash->isVisibleTo(this) ? m_flash->text() : QString(); }

QString QuickPanel::emptyText() const { return m_empty->isVisibleTo(this) ? m_empty->text() : QString(); }

void QuickPanel::setThemeStyle(const ThemeStyle& theme)
{
    m_theme = theme;
    applyStyle();
}

void QuickPanel::applyStyle()
{
    setPalette(m_theme.palette());
    m_ask->setThemeStyle(m_theme);
    m_delegate->setThemeStyle(m_theme);
    if (m_preview) m_preview->setThemeStyle(m_theme);
    QPalette accent = palette();
    accent.setColor(QPalette::WindowText, m_theme.accent());
    m_flash->setPalette(accent);
    QPalette soft = palette();
    soft.setColor(QPalette::WindowText, m_theme.secondaryText());
    m_help->setPalette(soft);
    m_empty->setPalette(soft);
    m_list->setPalette(palette());
    update();
}

bool QuickPanel::handleKey(QKeyEvent* event)
{
    const auto mods = event->modifiers() & ~Qt::KeypadModifier;
    // While the request is being typed, Ctrl+Backspace deletes the word before the cursor as
    // in every text field; once the person has moved into the list it moves the file away.
    if ((event->key() == Qt::Key_Backspace || event->key() == Qt::Key_Delete) && !m_model.browsing()) return false;
    return m_model.handle(event->key(), mods, m_ask->field()->textCursor().hasSelection());
}

void QuickPanel::keyPressEvent(QKeyEvent* event)
{
    // Keys that reach the panel itself (the field hands on what it doesn't use).
    if (handleKey(event)) {
        event->accept();
        return;
    }
    QWidget::keyPressEvent(event);
}

void QuickPanel::resultsChanged()
{
    const int rows = int(m_model.results().size());
    m_list->setVisible(rows > 0);
    const int rowHeight = QuickResultDelegate::rowHeight(m_list->font());
    m_list->setFixedHeight(std::min(rows, kVisibleRows) * rowHeight + 2);
    // "No files" only once the search has answered: not in the moment before its first rows.
    const bool nothing = rows == 0 && !m_model.searching() && !m_model.query().trimmed().isEmpty();
    if (nothing) setLabelText(m_empty, QStringLiteral("No files match “%1”.").arg(m_model.query().trimmed()));
    m_empty->setVisible(nothing);
    selectionFromModel();
    fitHeight();
}

void QuickPanel::selectionFromModel()
{
    if (m_model.results().isEmpty()) return;
    const QModelIndex current = m_rows->index(m_model.index());
    m_list->setCurrentIndex(current);
    m_list->scrollTo(current);
    if (m_model.previewing() && m_preview) {
        if (const auto row = m_model.selected()) m_preview->showItem(row->item);
    }
}

void QuickPanel::previewChanged()
{
    if (!m_model.previewing()) {
        if (m_preview && m_preview->isVisible()) m_preview->hide();
        return;
    }
    const auto row = m_model.selected();
    if (!row) {
        m_model.setPreviewing(false);
        return;
    }
    if (!m_preview) {
        m_preview = std::make_unique<QuickLookWindow>();
        m_preview->setPassive(true);
        m_preview->setThemeStyle(m_theme);
        connect(m_preview.get(), &QuickLookWindow::closed, this, [this] { m_model.setPreviewing(false); });
    }
    const bool placed = m_preview->isVisible();
    m_preview->showItem(row->item);
    if (!placed) placePreview();
}

void QuickPanel::placePreview()
{
    // Below the panel, so the list stays in sight while the preview follows it.
    const QScreen* panelScreen = screen();
    if (!panelScreen) return;
    const QRect area = panelScreen->availableGeometry();
    const QRect panel = frameGeometry();
    const int top = panel.bottom() + 12;
    const int width = std::min(area.width() * 6 / 10, std::max(panel.width(), 640));
    const int height = std::max(320, area.bottom() - top - 24);
    m_preview->resize(width, std::min(height, area.height() * 7 / 10));
    m_preview->move(area.left() + (area.width() - width) / 2, std::min(top, area.bottom() - m_preview->height()));
}

void QuickPanel::present()
{
    if (!isVisible()) placeOnScreen();
    AskField* field = m_ask->field();
    field->selectAll();
    show();
    raise();
    activateWindow();
    field->setFocus(Qt::ActiveWindowFocusReason);
    // The library may have changed since the panel last showed; re-asked once it is painted.
    if (!m_model.query().trimmed().isEmpty()) QTimer::singleShot(0, &m_model, [this] { m_model.recompute(); });
    Q_EMIT presented();
}

void QuickPanel::dismiss()
{
    m_model.setPreviewing(false);
    if (m_preview) m_preview->hide();
    if (!isVisible()) return;
    hide();
    Q_EMIT dismissed();
}

void QuickPanel::placeOnScreen()
{
    const QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen) screen = QGuiApplication::primaryScreen();
    if (!screen) return;
    const QRect area = screen->availableGeometry();
    const int width = std::clamp(area.width() * 2 / 5, 560, 720);
    m_ask->setFixedWidth(width - 2 * kMargin);
    m_help->setFixedWidth(width - 2 * kMargin);
    m_list->setFixedWidth(width - 2 * kMargin);
    m_empty->setFixedWidth(width - 2 * kMargin);
    adjustSize();
    move(area.left() + (area.width() - width) / 2, area.top() + area.height() / 6);
}

void QuickPanel::fitHeight()
{
    // Grows and shrinks downwards: the field stays where the eye is.
    const QPoint topLeft = pos();
    adjustSize();
    if (isVisible()) move(topLeft);
}

void QuickPanel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Window));
    painter.setPen(m_theme.isDark() ? palette().color(QPalette::Light) : palette().color(QPalette::Mid));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void QuickPanel::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    // Summoned over another application, the panel goes when the person goes elsewhere.
    if (event->type() == QEvent::ActivationChange && isVisible() && !isActiveWindow()) dismiss();
    if (event->type() == QEvent::PaletteChange) m_list->viewport()->update();
}

}  // namespace fennic
