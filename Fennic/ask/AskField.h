#pragma once

#include "AskStyle.h"
#include "search/SearchParser.h"
#include "theme/ThemeStyle.h"

#include <QColor>
#include <QFontMetricsF>
#include <QList>
#include <QPlainTextEdit>
#include <QRectF>
#include <functional>

namespace fennic {

// The field a request is typed into. It stays ordinary editable text (selection, undo, the
// clipboard, input methods), but every stretch of the request that the parser turns into a
// filter is drawn on a coloured chip behind its words, so the person sees what was understood
// while typing. One line only: Return submits, pasted line breaks become blanks.
//
// The field draws no frame or background of its own; AskBar puts it in one.
class AskField : public QPlainTextEdit {
    Q_OBJECT

public:
    // One chip: a stretch of the text in UTF-16 units, and its tint.
    struct Token {
        int start = 0;
        int length = 0;
        QColor tint;
        friend bool operator==(const Token&, const Token&) = default;
    };

    // How one chip is drawn around its words: the chip, its corner radius and the category
    // dot at its left.
    struct ChipShape {
        QRectF chip;
        double radius = 0;
        QRectF dot;
    };
    // The chip around glyphs spanning [left, right] horizontally on a line from `top` of
    // `height`, at `scale`.
    static ChipShape chipShape(double left, double right, double top, double height, double scale);

    explicit AskField(AskStyle style = AskStyle::toolbar, QWidget* parent = nullptr);
    ~AskField() override;

    // The request as typed. setText with the text already there does nothing; otherwise it
    // replaces the text (line breaks become blanks) without emitting textEdited, and the undo
    // history starts afresh.
    QString text() const;
    void setText(const QString& text);
    // Empties the field as the person would: undoable, and emits textEdited("").
    void clearText();

    AskStyle askStyle() const { return m_style; }
    void setAskStyle(AskStyle style);
    const ThemeStyle& themeStyle() const { return m_theme; }
    void setThemeStyle(const ThemeStyle& theme);
    // How a request is parsed. The default parses with the current time, the user's calendar
    // and the library's home folder.
    void setAnalyzer(std::function<SearchParser::Analysis(const QString&)> analyzer);

    // The chips of the current text, in order.
    QList<Token> tokens() const { return m_tokens; }
    // Each chip's rectangle in this widget's coordinates, one per token (a token whose
    // stretch is no longer inside the text gives an empty rectangle).
    QList<QRectF> chipRects() const;
    // The hint drawn while the field is empty.
    QString placeholder() const;

    // Each value different from the last one seen (initially 0) takes the keyboard focus.
    void setFocusToken(int token);
    // Take the keyboard focus whenever the field is shown.
    void setAutofocus(bool autofocus);
    // Gets every key the field does not handle itself before the default editing does;
    // returns true when it handled the key.
    void setKeyHandler(std::function<bool(QKeyEvent*)> handler);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

Q_SIGNALS:
    // The person changed the text (typing, deleting, pasting, undo, the clear button).
    void textEdited(const QString& text);
    // Return or Enter.
    void submitted();
    void escapePressed();
    // Up (-1) or Down (+1), to move through results or suggestions.
    void moved(int direction);
    void focusChanged(bool focused);

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    bool canInsertFromMimeData(const QMimeData* source) const override;
    void insertFromMimeData(const QMimeData* source) override;

private:
    class Highlighter;
    friend class Highlighter;

    // Applies the style's font, margins and height.
    void applyStyle();
    // Re-reads the text's chips and their formats (the highlighter asks for this on every
    // change of the text) and redraws.
    void restyle();
    void onTextChanged();
    // The chips in the viewport's coordinates, one per token (a null chip for a token whose
    // stretch is not inside the text).
    QList<ChipShape> chipShapesInViewport() const;
    void reportFocus(bool focused);

    AskStyle m_style;
    ThemeStyle m_theme;
    std::function<SearchParser::Analysis(const QString&)> m_analyzer;
    std::function<bool(QKeyEvent*)> m_keyHandler;
    Highlighter* m_highlighter = nullptr;
    QFontMetricsF m_metrics;
    QList<Token> m_tokens;
    // Extra spacing added after the character at a position (so that a chip's dot and insets
    // never cover a neighbouring glyph), kept to find the true end of a chip's words.
    QList<std::pair<int, double>> m_spacing;
    QString m_lastText;
    bool m_settingText = false;
    bool m_autofocus = false;
    bool m_reportedFocus = false;
    int m_focusToken = 0;
};

}  // namespace fennic
