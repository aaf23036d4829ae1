#include "AskField.h"

#include "library/Library.h"
#include "model/Calendar.h"

#include <QApplication>
#include <QDateTime>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QSyntaxHighlighter>
#include <QTextBlock>
#include <QTextLayout>
#include <algorithm>
#include <cmath>

namespace fennic {

namespace {

// Chip geometry at scale 1: the room left of the words for the category dot, the room right
// of them, the dot, and the corner radius; plus the least gap between a chip and the glyphs
// or chip beside it.
constexpr double kLeftInset = 19.0;
constexpr double kRightInset = 7.0;
constexpr double kDotOffset = 7.5;
constexpr double kDotDiameter = 5.5;
constexpr double kCornerRadius = 7.0;
constexpr double kGap = 4.0;
// The document's margin on every side: more than any style's room before a chip, so each
// style can take off what it does not need (see applyStyle).
constexpr double kDocumentMargin = 40.0;
// Room between the field's left edge and the first glyph beyond the first chip's inset.
constexpr double kLeadingRoom = 3.0;
// How far a chip's words lean towards its tint (0: the palette's text colour).
constexpr double kTextTint = 0.22;

bool isBlank(QChar c) { return c.isSpace(); }

// Line breaks (and tabs) of pasted or programmatic text become blanks: the request is one line.
QString oneLine(QString text)
{
    text.replace(QStringLiteral("\r\n"), QStringLiteral(" "));
    for (QChar& c : text)
        if (c == u'\n' || c == u'\r' || c == u'\t' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            c = u' ';
    return text;
}

QColor mix(const QColor& a, const QColor& b, double t)
{
    return QColor::fromRgbF(static_cast<float>(a.redF() * (1 - t) + b.redF() * t),
                            static_cast<float>(a.greenF() * (1 - t) + b.greenF() * t),
                            static_cast<float>(a.blueF() * (1 - t) + b.blueF() * t));
}

}  // namespace

// Reads the chips of the text on every change of it and sets the formats that go with them:
// the words' colour, and the extra spacing that keeps a chip's dot and insets off the
// neighbouring glyphs. Formats set this way stay out of the undo history.
class AskField::Highlighter : public QSyntaxHighlighter {
public:
    explicit Highlighter(AskField& field) : QSyntaxHighlighter(field.document()), m_field(field) { }

protected:
    void highlightBlock(const QString& text) override;

private:
    void addSpacing(int position, double extra);

    AskField& m_field;
};

void AskField::Highlighter::addSpacing(int position, double extra)
{
    if (extra <= 0 || position < 0) return;
    QTextCharFormat f = format(position);
    f.setFontLetterSpacingType(QFont::AbsoluteSpacing);
    f.setFontLetterSpacing(f.fontLetterSpacing() + extra);
    setFormat(position, 1, f);
    m_field.m_spacing.append({position, extra});
}

void AskField::Highlighter::highlightBlock(const QString& text)
{
    // The field is one line; anything after a stray second block is left plain.
    if (currentBlock().blockNumber() != 0) return;
    m_field.m_tokens.clear();
    m_field.m_spacing.clear();
    if (m_field.m_style == AskStyle::describe || text.trimmed().isEmpty() || !m_field.m_analyzer) {
        m_field.viewport()->update();
        return;
    }

    const SearchParser::Analysis analysis = m_field.m_analyzer(text);
    const qsizetype size = text.size();
    for (const ParsedQuery::Span& span : analysis.query.spans) {
        if (span.role != ParsedQuery::Role::filter || !span.filter) continue;
        qsizetype start = std::max<qsizetype>(span.location, 0);
        qsizetype end = std::min(span.end(), size);
        while (start < end && isBlank(text[start])) ++start;
        while (end > start && isBlank(text[end - 1])) --end;
        if (start >= end) continue;
        m_field.m_tokens.append({int(start), int(end - start), m_field.m_theme.tokenColour(span.filter->category())});
    }

    const QColor textColour = m_field.palette().color(QPalette::Text);
    for (const Token& token : std::as_const(m_field.m_tokens)) {
        QTextCharFormat f;
        f.setForeground(mix(textColour, token.tint, kTextTint));
        setFormat(token.start, token.length, f);
    }

    // Spacing: a chip reaches kLeftInset before its first glyph and kRightInset after its
    // last, so the blanks beside it are widened until neighbouring glyphs and chips clear
    // it by kGap. The extra goes after the last character before the next glyph.
    const double s = AskStyles::scale(m_field.m_style);
    const auto isTokenStart = [&](qsizetype i) {
        return std::any_of(m_field.m_tokens.cbegin(), m_field.m_tokens.cend(),
                           [i](const Token& t) { return t.start == i; });
    };
    const auto isTokenEnd = [&](qsizetype i) {
        return std::any_of(m_field.m_tokens.cbegin(), m_field.m_tokens.cend(),
                           [i](const Token& t) { return t.start + t.length == i; });
    };
    for (const Token& token : std::as_const(m_field.m_tokens)) {
        // Before the chip: back to the end of the previous glyph.
        qsizetype before = token.start;
        while (before > 0 && isBlank(text[before - 1])) --before;
        if (before > 0) {
            const double required = s * (kLeftInset + kGap + (isTokenEnd(before) ? kRightInset : 0.0));
            const double natural = m_field.m_metrics.horizontalAdvance(text.mid(before, token.start - before));
            addSpacing(token.start - 1, required - natural);
        }
        // After the chip, when plain words follow (a following chip widens its own side).
        const qsizetype end = token.start + token.length;
        qsizetype after = end;
        while (after < size && isBlank(text[after])) ++after;
        if (after < size && !isTokenStart(after)) {
            const double natural = m_field.m_metrics.horizontalAdvance(text.mid(end, after - end));
            addSpacing(int(after) - 1, s * (kRightInset + kGap) - natural);
        }
    }
    m_field.viewport()->update();
}

AskField::ChipShape AskField::chipShape(double left, double right, double top, double height, double scale)
{
    if (right < left) std::swap(left, right);
    ChipShape shape;
    shape.chip = QRectF(left - scale * kLeftInset, top, right - left + scale * (kLeftInset + kRightInset), height);
    shape.radius = std::min(scale * kCornerRadius + 2.0, height / 2.0);
    const double d = scale * kDotDiameter;
    shape.dot = QRectF(shape.chip.left() + scale * kDotOffset, shape.chip.center().y() - d / 2.0, d, d);
    return shape;
}

AskField::AskField(AskStyle style, QWidget* parent)
    : QPlainTextEdit(parent), m_style(style), m_theme(Theme::playful, palette()), m_metrics(font())
{
    m_analyzer = [](const QString& text) {
        return SearchParser::analyze(text, Date::fromQDateTime(QDateTime::currentDateTimeUtc()), Calendar::current(),
                                     Library::home());
    };
    setAccessibleName(QStringLiteral("Ask Fennic"));
    setFrameShape(QFrame::NoFrame);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    setWordWrapMode(QTextOption::NoWrap);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTabChangesFocus(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    // The frame and its background belong to whoever holds the field (AskBar).
    viewport()->setAutoFillBackground(false);
    setAutoFillBackground(false);

    m_highlighter = new Highlighter(*this);
    document()->setDocumentMargin(kDocumentMargin);
    // Setting the margin is a step in the document's history; nothing typed is lost here.
    document()->clearUndoRedoStacks();
    applyStyle();
    connect(this, &QPlainTextEdit::textChanged, this, &AskField::onTextChanged);
}

AskField::~AskField() = default;

QString AskField::text() const { return toPlainText(); }

void AskField::setText(const QString& text)
{
    const QString line = oneLine(text);
    if (line == toPlainText()) return;
    m_settingText = true;
    setPlainText(line);
    moveCursor(QTextCursor::End);
    m_settingText = false;
    m_lastText = toPlainText();
}

void AskField::clearText()
{
    if (document()->isEmpty()) return;
    QTextCursor cursor(document());
    cursor.select(QTextCursor::Document);
    cursor.removeSelectedText();
    setTextCursor(cursor);
}

void AskField::setAskStyle(AskStyle style)
{
    if (style == m_style) return;
    m_style = style;
    applyStyle();
    restyle();
}

void AskField::setThemeStyle(const ThemeStyle& theme)
{
    m_theme = theme;
    restyle();
}

void AskField::setAnalyzer(std::function<SearchParser::Analysis(const QString&)> analyzer)
{
    m_analyzer = std::move(analyzer);
    restyle();
}

QString AskField::placeholder() const { return AskStyles::placeholder(m_style); }

void AskField::setFocusToken(int token)
{
    if (token == m_focusToken) return;
    m_focusToken = token;
    setFocus(Qt::OtherFocusReason);
}

void AskField::setAutofocus(bool autofocus)
{
    m_autofocus = autofocus;
    if (autofocus && isVisible()) setFocus(Qt::OtherFocusReason);
}

void AskField::setKeyHandler(std::function<bool(QKeyEvent*)> handler) { m_keyHandler = std::move(handler); }

QSize AskField::sizeHint() const { return {320, AskStyles::height(m_style)}; }

QSize AskField::minimumSizeHint() const { return {120, AskStyles::height(m_style)}; }

void AskField::applyStyle()
{
    setFont(AskStyles::font(m_style, QApplication::font()));
    m_metrics = QFontMetricsF(font());
    const int height = AskStyles::height(m_style);
    setFixedHeight(height);
    // Room before the first glyph, wide enough for a chip that starts the request, so the
    // words never move when the first one becomes a chip (a description never shows chips);
    // room after the last for its right inset.
    const double s = AskStyles::scale(m_style);
    const double left =
        m_style == AskStyle::describe ? std::ceil(s * kLeadingRoom * 2) : std::ceil(s * (kLeftInset + kLeadingRoom));
    const double right = std::ceil(s * (kRightInset + kLeadingRoom));
    const double top = (height - m_metrics.lineSpacing()) / 2.0;
    // The plain-text layout keeps the document's margin on every side, the top included, and
    // changing it would be a step in the undo history; so the margin stays fixed and the
    // viewport reaches past the field's edges by whatever of it the style does not want.
    const auto edge = [](double wanted) { return int(std::lround(wanted - kDocumentMargin)); };
    setViewportMargins(edge(left), edge(top), edge(right), 0);
    updateGeometry();
}

void AskField::restyle()
{
    m_highlighter->rehighlight();
    viewport()->update();
}

void AskField::onTextChanged()
{
    const QString current = toPlainText();
    if (current == m_lastText) return;
    m_lastText = current;
    if (!m_settingText) Q_EMIT textEdited(current);
}

QList<AskField::ChipShape> AskField::chipShapesInViewport() const
{
    QList<ChipShape> rects;
    rects.reserve(m_tokens.size());
    const QTextBlock block = document()->firstBlock();
    // Lays the block out when it has not been yet.
    (void)blockBoundingRect(block);
    const QTextLayout* layout = block.layout();
    const int size = int(block.length()) - 1;
    const double s = AskStyles::scale(m_style);
    const QPointF origin = contentOffset() + (layout ? layout->position() : QPointF());
    for (const Token& token : m_tokens) {
        const int end = token.start + token.length;
        if (!layout || layout->lineCount() == 0 || token.start < 0 || end > size) {
            rects.append(ChipShape{});
            continue;
        }
        const QTextLine line = layout->lineForTextPosition(token.start);
        double left = line.cursorToX(token.start);
        double right = line.cursorToX(end);
        for (const auto& [position, extra] : m_spacing)
            if (position == end - 1) right -= extra;
        rects.append(chipShape(origin.x() + left, origin.x() + right, origin.y() + line.y(), line.height(), s));
    }
    return rects;
}

QList<QRectF> AskField::chipRects() const
{
    QList<QRectF> rects;
    const QPointF shift = viewport()->geometry().topLeft();
    for (const ChipShape& shape : chipShapesInViewport())
        rects.append(shape.chip.isNull() ? QRectF() : shape.chip.translated(shift));
    return rects;
}

void AskField::reportFocus(bool focused)
{
    if (focused == m_reportedFocus) return;
    m_reportedFocus = focused;
    Q_EMIT focusChanged(focused);
}

bool AskField::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        // The field's own keys come before the window's shortcuts while it has the focus.
        auto* key = static_cast<QKeyEvent*>(event);
        const auto mods = key->modifiers() & ~Qt::KeypadModifier;
        switch (key->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Escape:
        case Qt::Key_Up:
        case Qt::Key_Down:
            if (mods == Qt::NoModifier) {
                event->accept();
                return true;
            }
            break;
        default: break;
        }
    } else if (event->type() == QEvent::ApplicationFontChange) {
        applyStyle();
        restyle();
    }
    return QPlainTextEdit::event(event);
}

void AskField::keyPressEvent(QKeyEvent* event)
{
    const auto mods = event->modifiers() & ~Qt::KeypadModifier;
    const bool plain = mods == Qt::NoModifier;
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (plain) {
            Q_EMIT submitted();
            event->accept();
            return;
        }
        // A modified Return is the key handler's or nobody's; it never breaks the line.
        if (m_keyHandler && m_keyHandler(event)) {
            event->accept();
            return;
        }
        event->ignore();
        return;
    case Qt::Key_Escape:
        if (plain) {
            Q_EMIT escapePressed();
            event->accept();
            return;
        }
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        if (plain) {
            Q_EMIT moved(event->key() == Qt::Key_Up ? -1 : 1);
            event->accept();
            return;
        }
        break;
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
        if (!(mods & (Qt::ControlModifier | Qt::AltModifier))) {
            focusNextPrevChild(event->key() == Qt::Key_Tab && !(mods & Qt::ShiftModifier));
            event->accept();
            return;
        }
        break;
    default: break;
    }
    if (m_keyHandler && m_keyHandler(event)) {
        event->accept();
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
}

void AskField::paintEvent(QPaintEvent* event)
{
    const QList<ChipShape> shapes = chipShapesInViewport();
    if (!shapes.isEmpty()) {
        QPainter painter(viewport());
        painter.setRenderHint(QPainter::Antialiasing);
        for (qsizetype i = 0; i < shapes.size(); ++i) {
            const ChipShape& shape = shapes[i];
            if (shape.chip.isEmpty() || !shape.chip.intersects(QRectF(event->rect()))) continue;
            const QColor& tint = m_tokens[i].tint;
            painter.setPen(QPen(ThemeStyle::withOpacity(tint, m_theme.chipStrokeOpacity()), 1.0));
            painter.setBrush(ThemeStyle::withOpacity(tint, m_theme.chipFillOpacity()));
            // Half a pixel in, so the one-pixel outline lands on whole pixels inside the chip.
            painter.drawRoundedRect(shape.chip.adjusted(0.5, 0.5, -0.5, -0.5), shape.radius, shape.radius);
            painter.setPen(Qt::NoPen);
            painter.setBrush(tint);
            painter.drawEllipse(shape.dot);
        }
    }

    QPlainTextEdit::paintEvent(event);

    // The hint, on the line where the text will stand.
    const QTextBlock block = document()->firstBlock();
    const QTextLayout* layout = block.layout();
    if (document()->isEmpty() && layout && layout->preeditAreaText().isEmpty() && layout->lineCount() > 0) {
        const QTextLine line = layout->lineAt(0);
        const QPointF origin = contentOffset() + layout->position();
        const double margin = document()->documentMargin();
        const QRectF area(origin.x() + line.x(), origin.y() + line.y(), viewport()->width() - line.x() - margin,
                          line.height());
        QPainter painter(viewport());
        painter.setFont(font());
        painter.setPen(palette().color(QPalette::PlaceholderText));
        const QString hint = QFontMetricsF(font()).elidedText(placeholder(), Qt::ElideRight, area.width());
        painter.drawText(area, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, hint);
    }
}

void AskField::focusInEvent(QFocusEvent* event)
{
    QPlainTextEdit::focusInEvent(event);
    reportFocus(true);
}

void AskField::focusOutEvent(QFocusEvent* event)
{
    QPlainTextEdit::focusOutEvent(event);
    // A context menu borrows the focus only for a moment; the field stays the one in use.
    if (event->reason() != Qt::PopupFocusReason) reportFocus(false);
}

void AskField::showEvent(QShowEvent* event)
{
    QPlainTextEdit::showEvent(event);
    if (m_autofocus) setFocus(Qt::OtherFocusReason);
}

void AskField::changeEvent(QEvent* event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        m_metrics = QFontMetricsF(font());
        restyle();
    } else if (event->type() == QEvent::PaletteChange) {
        restyle();
    }
}

void AskField::wheelEvent(QWheelEvent* event)
{
    // One line never scrolls up or down; let the wheel reach whatever holds the field.
    if (std::abs(event->angleDelta().y()) > std::abs(event->angleDelta().x())) {
        event->ignore();
        return;
    }
    QPlainTextEdit::wheelEvent(event);
}

bool AskField::canInsertFromMimeData(const QMimeData* source) const { return source && source->hasText(); }

void AskField::insertFromMimeData(const QMimeData* source)
{
    if (!source || !source->hasText()) return;
    QTextCursor cursor = textCursor();
    cursor.insertText(oneLine(source->text()));
    setTextCursor(cursor);
    ensureCursorVisible();
}

}  // namespace fennic
