#include "QuickLookWindow.h"

#include "PreviewReader.h"
#include "model/Fmt.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QIcon>
#include <QImageReader>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeDatabase>
#include <QPainter>
#include <QPainterPath>
#include <QPlainTextEdit>
#include <QScreen>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

namespace fennic {

// The picture, page or video frame, fit to the space and centred, with rounded corners and,
// for videos, a play symbol over it.
class QuickLookPicture : public QWidget {
public:
    explicit QuickLookPicture(QWidget* parent) : QWidget(parent)
    {
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
        setFocusPolicy(Qt::NoFocus);
    }

    void set(const QImage& image, bool playSymbol)
    {
        m_image = image;
        m_play = playSymbol;
        update();
    }
    const QImage& image() const { return m_image; }
    void setLook(double radius, QColor accent)
    {
        m_radius = radius;
        m_accent = accent;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        if (m_image.isNull()) return;
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        p.setRenderHint(QPainter::SmoothPixmapTransform);
        const QRectF area = QRectF(rect()).adjusted(12, 12, -12, -12);
        const qreal dpr = devicePixelRatioF();
        QSizeF size = QSizeF(m_image.size()) / dpr;
        // Never enlarged past its own size: a small picture stays crisp in the middle.
        if (size.width() > area.width() || size.height() > area.height()) size.scale(area.size(), Qt::KeepAspectRatio);
        const QRectF target(area.center().x() - size.width() / 2, area.center().y() - size.height() / 2, size.width(),
                            size.height());
        QPainterPath clip;
        clip.addRoundedRect(target, m_radius, m_radius);
        p.setClipPath(clip);
        p.drawImage(target, m_image);
        p.setClipping(false);
        if (m_play) {
            const qreal d = std::min({64.0, target.width() / 3, target.height() / 3});
            const QRectF disc(target.center().x() - d / 2, target.center().y() - d / 2, d, d);
            p.setPen(Qt::NoPen);
            p.setBrush(QColor(0, 0, 0, 140));  // a scrim over the frame, whatever the palette
            p.drawEllipse(disc);
            QPainterPath triangle;
            const QPointF c = disc.center();
            triangle.moveTo(c.x() - d * 0.14, c.y() - d * 0.22);
            triangle.lineTo(c.x() + d * 0.24, c.y());
            triangle.lineTo(c.x() - d * 0.14, c.y() + d * 0.22);
            triangle.closeSubpath();
            p.setBrush(QColor(255, 255, 255, 235));
            p.drawPath(triangle);
        }
    }

private:
    QImage m_image;
    bool m_play = false;
    double m_radius = 8;
    QColor m_accent;
};

namespace {

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

bool isPicture(const FileItem& item, const QMimeType& mime)
{
    static const QList<QByteArray> readable = QImageReader::supportedMimeTypes();
    return readable.contains(mime.name().toLatin1())
        || (item.kind == FileKind::image && mime.name() != u"image/svg+xml"
            && QImageReader::supportedImageFormats().contains(item.ext.toLatin1()));
}

QString kindText(const FileItem& item, const QMimeType& mime)
{
    // Some comments of the shared MIME database start in lower case ("plain text document").
    if (!mime.isDefault() && !mime.comment().isEmpty()) return mime.comment().left(1).toUpper() + mime.comment().mid(1);
    return FileKinds::singular(item.kind);
}

}  // namespace

QuickLookWindow::QuickLookWindow(QWidget* parent) : QDialog(parent)
{
    setModal(false);
    setSizeGripEnabled(true);

    m_name = new QLabel(this);
    m_name->setTextFormat(Qt::PlainText);
    QFont bold = m_name->font();
    bold.setBold(true);
    m_name->setFont(bold);
    m_name->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_info = new QLabel(this);
    m_info->setTextFormat(Qt::PlainText);
    m_open = new QToolButton(this);
    m_open->setIcon(QIcon::fromTheme(QStringLiteral("document-open")));
    m_open->setText(QStringLiteral("Open"));
    m_open->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_open->setAutoRaise(true);
    m_open->setAccessibleName(QStringLiteral("Open with the default application"));
    m_open->setToolTip(QStringLiteral("Open with the default application (Return)"));
    connect(m_open, &QToolButton::clicked, this, &QuickLookWindow::openExternally);
    m_close = new QToolButton(this);
    m_close->setIcon(QIcon::fromTheme(QStringLiteral("window-close")));
    m_close->setAutoRaise(true);
    m_close->setAccessibleName(QStringLiteral("Close Quick Look"));
    m_close->setToolTip(QStringLiteral("Close (Space or Esc)"));
    connect(m_close, &QToolButton::clicked, this, &QuickLookWindow::reject);

    auto* titleRow = new QHBoxLayout;
    titleRow->setContentsMargins(12, 8, 8, 4);
    titleRow->addWidget(m_name, 1);
    titleRow->addWidget(m_info);
    titleRow->addSpacing(8);
    titleRow->addWidget(m_open);
    titleRow->addWidget(m_close);

    m_stack = new QStackedWidget(this);
    m_picture = new QuickLookPicture(m_stack);
    m_picture->setAccessibleName(QStringLiteral("Preview"));
    m_text = new QPlainTextEdit(m_stack);
    m_text->setReadOnly(true);
    m_text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_text->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_text->setAccessibleName(QStringLiteral("Text of the file"));
    m_text->installEventFilter(this);

    auto* details = new QWidget(m_stack);
    m_detailIcon = new QLabel(details);
    m_detailIcon->setAlignment(Qt::AlignCenter);
    m_detailName = new QLabel(details);
    m_detailName->setAlignment(Qt::AlignCenter);
    m_detailName->setWordWrap(true);
    m_detailName->setTextFormat(Qt::PlainText);
    m_detailName->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont large = m_detailName->font();
    large.setPointSizeF(large.pointSizeF() * 1.3);
    large.setBold(true);
    m_detailName->setFont(large);
    m_detailInfo = new QLabel(details);
    m_detailInfo->setAlignment(Qt::AlignCenter);
    m_detailInfo->setWordWrap(true);
    m_detailInfo->setTextFormat(Qt::PlainText);
    auto* detailsLayout = new QVBoxLayout(details);
    detailsLayout->addStretch(1);
    detailsLayout->addWidget(m_detailIcon);
    detailsLayout->addSpacing(8);
    detailsLayout->addWidget(m_detailName);
    detailsLayout->addWidget(m_detailInfo);
    detailsLayout->addStretch(1);

    m_stack->addWidget(m_picture);
    m_stack->addWidget(m_text);
    m_stack->addWidget(details);

    m_hint = new QLabel(this);
    m_hint->setAlignment(Qt::AlignCenter);
    m_hint->setTextFormat(Qt::PlainText);
    m_hint->hide();

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 8);
    layout->setSpacing(0);
    layout->addLayout(titleRow);
    layout->addWidget(m_stack, 1);
    layout->addWidget(m_hint);

    setFocusPolicy(Qt::StrongFocus);
    applyStyle();
}

QuickLookWindow::~QuickLookWindow() = default;

void QuickLookWindow::setThemeStyle(const ThemeStyle& style)
{
    m_style = style;
    applyStyle();
}

void QuickLookWindow::applyStyle()
{
    const ThemeStyle style = m_style.value_or(ThemeStyle(Theme::playful, palette()));
    if (m_style) setPalette(style.palette());
    QPalette secondary = palette();
    secondary.setColor(QPalette::WindowText, style.secondaryText());
    m_info->setPalette(secondary);
    m_detailInfo->setPalette(secondary);
    m_hint->setPalette(secondary);
    m_picture->setLook(style.cardRadius(), style.accent());
}

void QuickLookWindow::setPassive(bool passive)
{
    m_passive = passive;
    setAttribute(Qt::WA_ShowWithoutActivating, passive);
    setWindowFlag(Qt::WindowDoesNotAcceptFocus, passive);
}

void QuickLookWindow::showItem(const FileItem& item)
{
    m_item = item;
    ++m_generation;
    m_page = 0;
    m_pageCount = 0;
    m_problem.clear();
    m_picture->set({}, false);
    m_text->clear();
    m_hint->hide();
    setWindowTitle(item.name);
    setAccessibleName(QStringLiteral("Quick Look: ") + item.name);
    m_name->setText(item.name);

    const QMimeType mime = mimeOf(item);
    m_caption = kindText(item, mime) + QStringLiteral(" · ") + Fmt::size(item.size);
    showDetails(Content::loading);

    if (!isVisible()) {
        placeOnParent();
        show();
    }
    raise();
    if (!m_passive) {
        activateWindow();
        setFocus();
    }

    const quint64 generation = m_generation;
    const QString path = item.path;
    if (isPicture(item, mime)) {
        const QSize bound = pictureBound();
        m_reply.run([path, bound] { return PreviewReader::readImage(path, bound); },
                    [this, generation](const PreviewReader::Picture& picture) {
                        if (generation != m_generation) return;
                        if (picture.image.isNull()) return showProblem(picture.error);
                        if (picture.pixelSize.isValid())
                            m_caption += QStringLiteral(" · %1 × %2").arg(picture.pixelSize.width()).arg(picture.pixelSize.height());
                        showPicture(picture.image, Content::picture);
                    });
    } else if (mime.inherits(QStringLiteral("application/pdf"))) {
        showPage(0);
    } else if (mime.inherits(QStringLiteral("text/plain"))) {
        m_reply.run([path] { return PreviewReader::readText(path); },
                    [this, generation](const PreviewReader::Text& text) {
                        if (generation != m_generation) return;
                        if (!text.error.isEmpty()) return showProblem(text.error);
                        m_text->setPlainText(text.text);
                        m_content = Content::text;
                        m_stack->setCurrentWidget(m_text);
                        if (text.truncated) {
                            m_hint->setText(
                                QStringLiteral("Showing the first 256 kB. Press Return to open the whole file."));
                            m_hint->show();
                        }
                        updateCaption();
                        Q_EMIT contentShown();
                    });
    } else if (item.kind == FileKind::video || mime.name().startsWith(u"video/")) {
        m_reply.run([path] { return PreviewReader::videoFrame(path); },
                    [this, generation](const PreviewReader::Picture& frame) {
                        if (generation != m_generation) return;
                        if (frame.image.isNull()) return showProblem(frame.error);
                        showPicture(frame.image, Content::video);
                        m_hint->setText(QStringLiteral("Press Return to open in the video player"));
                        m_hint->show();
                    });
    } else {
        // Nothing to draw for this kind; a file that vanished still says so.
        m_reply.run([path] { return PreviewReader::unreadableReason(path); },
                    [this, generation](const QString& reason) {
                        if (generation != m_generation) return;
                        if (!reason.isEmpty()) return showProblem(reason);
                        showDetails(Content::details);
                        Q_EMIT contentShown();
                    });
    }
}

void QuickLookWindow::showPage(int page)
{
    if (m_item.path.isEmpty()) return;
    if (m_pageCount > 0) page = std::clamp(page, 0, m_pageCount - 1);
    if (page == m_page && m_content == Content::pdf) return;
    const quint64 generation = ++m_generation;
    const QString path = m_item.path;
    const QSize bound = pictureBound();
    m_reply.run([path, page, bound] { return PreviewReader::readPdfPage(path, page, bound); },
                [this, generation](const PreviewReader::Pages& pages) {
                    if (generation != m_generation) return;
                    if (pages.image.isNull()) return showProblem(pages.error);
                    m_page = pages.page;
                    m_pageCount = pages.pageCount;
                    m_hint->setText(m_pageCount > 1 ? QStringLiteral("Page Up and Page Down turn the pages")
                                                    : QString());
                    m_hint->setVisible(m_pageCount > 1);
                    showPicture(pages.image, Content::pdf);
                });
}

QImage QuickLookWindow::shownImage() const
{
    switch (m_content) {
    case Content::picture:
    case Content::pdf:
    case Content::video: return m_picture->image();
    default: return {};
    }
}

QString QuickLookWindow::shownText() const { return m_content == Content::text ? m_text->toPlainText() : QString(); }

void QuickLookWindow::showDetails(Content content)
{
    m_content = content;
    const QMimeType mime = mimeOf(m_item);
    const int side = 128;
    m_detailIcon->setPixmap(typeIcon(mime).pixmap(QSize(side, side), devicePixelRatioF()));
    m_detailIcon->setAccessibleName(kindText(m_item, mime));
    m_detailName->setText(m_item.name);
    m_detailInfo->setText(content == Content::loading ? QString() : m_caption);
    m_stack->setCurrentIndex(2);
    updateCaption();
}

void QuickLookWindow::showPicture(const QImage& image, Content content)
{
    m_content = content;
    m_picture->set(image, content == Content::video);
    m_picture->setAccessibleName(QStringLiteral("Preview of ") + m_item.name);
    m_stack->setCurrentWidget(m_picture);
    updateCaption();
    Q_EMIT contentShown();
}

void QuickLookWindow::showProblem(const QString& reason)
{
    m_content = Content::problem;
    m_problem = reason;
    const QMimeType mime = mimeOf(m_item);
    m_detailIcon->setPixmap(typeIcon(mime).pixmap(QSize(96, 96), devicePixelRatioF()));
    m_detailName->setText(QStringLiteral("This file can’t be previewed."));
    m_detailInfo->setText(reason);
    m_stack->setCurrentIndex(2);
    m_hint->hide();
    updateCaption();
    Q_EMIT contentShown();
}

void QuickLookWindow::updateCaption()
{
    QString info = m_caption;
    if (m_content == Content::pdf && m_pageCount > 0)
        info = QStringLiteral("Page %1 of %2").arg(m_page + 1).arg(m_pageCount);
    m_info->setText(info);
}

void QuickLookWindow::openExternally()
{
    if (m_item.path.isEmpty()) return;
    QDesktopServices::openUrl(m_item.url());
}

QSize QuickLookWindow::pictureBound() const
{
    // Large pictures are decoded at most at the screen's size: more would never show.
    const QScreen* s = screen() ? screen() : QGuiApplication::primaryScreen();
    if (!s) return {2048, 2048};
    return (QSizeF(s->size()) * s->devicePixelRatio()).toSize().expandedTo(QSize(640, 480));
}

void QuickLookWindow::placeOnParent()
{
    const QWidget* host = parentWidget() ? parentWidget()->window() : nullptr;
    QRect area;
    if (host)
        area = host->frameGeometry();
    else if (const QScreen* s = QGuiApplication::primaryScreen())
        area = s->availableGeometry();
    if (!area.isValid()) return;
    const QSize size(std::max(480, area.width() * 7 / 10), std::max(360, area.height() * 7 / 10));
    resize(size);
    move(area.center() - QPoint(size.width() / 2, size.height() / 2));
}

void QuickLookWindow::done(int result)
{
    const bool wasOpen = isVisible();
    QDialog::done(result);
    ++m_generation;  // a result still on its way is no longer wanted
    if (wasOpen) Q_EMIT closed();
}

void QuickLookWindow::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Space: reject(); return;
    case Qt::Key_Return:
    case Qt::Key_Enter: openExternally(); return;
    case Qt::Key_PageDown:
    case Qt::Key_Right:
    case Qt::Key_Down:
        if (m_content == Content::pdf) showPage(m_page + 1);
        return;
    case Qt::Key_PageUp:
    case Qt::Key_Left:
    case Qt::Key_Up:
        if (m_content == Content::pdf) showPage(m_page - 1);
        return;
    default: QDialog::keyPressEvent(event);
    }
}

bool QuickLookWindow::eventFilter(QObject* watched, QEvent* event)
{
    // In the text, the arrows and page keys scroll; Space, Return and Esc still belong to the window.
    if (watched == m_text && event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Space || key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter
            || key->key() == Qt::Key_Escape) {
            keyPressEvent(key);
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

}  // namespace fennic
