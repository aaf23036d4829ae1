// The Ask field and its bar, shown offscreen and driven with keys: chips over the filters of
// the request, the keys the field keeps for itself, focus, and the clear button.
#include "ask/AskField.h"
#include "ask/AskBar.h"
#include "library/Library.h"
#include "theme/DesktopLook.h"

#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QToolButton>
#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace fennic {
namespace {

const Date kNow = Date::fromIso(QStringLiteral("2026-03-10T12:00:00Z"));

SearchParser::Analysis fixedAnalysis(const QString& text)
{
    return SearchParser::analyze(text, kNow, Calendar{}, Library::home());
}

// A window holding an Ask bar and a line edit after it in the focus chain.
class AskFieldTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        DesktopLook::ensureIconTheme();
        window.resize(640, 160);
        auto* layout = new QVBoxLayout(&window);
        bar = new AskBar(AskStyle::toolbar, &window);
        next = new QLineEdit(&window);
        next->setAccessibleName(QStringLiteral("Next"));
        layout->addWidget(bar);
        layout->addWidget(next);
        field()->setAnalyzer(fixedAnalysis);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        field()->setFocus();
    }

    AskField* field() { return bar->field(); }

    QStringList tokenTexts()
    {
        QStringList texts;
        for (const AskField::Token& t : field()->tokens()) texts << field()->text().mid(t.start, t.length);
        return texts;
    }

    // Where the caret stands before the character at `position`, in the field's coordinates.
    double caretX(int position)
    {
        QTextCursor cursor(field()->document());
        cursor.setPosition(position);
        return field()->cursorRect(cursor).translated(field()->viewport()->geometry().topLeft()).left();
    }

    QWidget window;
    AskBar* bar = nullptr;
    QLineEdit* next = nullptr;
};

TEST_F(AskFieldTest, ChipsCoverExactlyTheFiltersAndLeaveRoomForTheirWords)
{
    // Whoever listens to the edits already finds the chips of the new text.
    qsizetype tokensWhenEdited = -1;
    QObject::connect(field(), &AskField::textEdited, field(), [&] { tokensWhenEdited = field()->tokens().size(); });
    QTest::keyClicks(field(), QStringLiteral("pdfs from gmail last week"));
    EXPECT_EQ(tokenTexts(), (QStringList{"pdfs", "from gmail", "last week"}));
    EXPECT_EQ(tokensWhenEdited, 3);

    const QList<QRectF> chips = field()->chipRects();
    ASSERT_EQ(chips.size(), 3);
    const double scale = AskStyles::scale(AskStyle::toolbar);
    for (int i = 0; i < chips.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_TRUE(QRectF(field()->rect()).contains(chips[i]));
        if (i > 0) {
            EXPECT_LE(chips[i - 1].right(), chips[i].left());
        }
        // The words start after the room for the dot and end before the right inset.
        const AskField::Token token = field()->tokens()[i];
        EXPECT_NEAR(chips[i].left() + 19 * scale, caretX(token.start), 1.5);
        EXPECT_NEAR(chips[i].right() - 7 * scale, caretX(token.start + token.length), 1.5);
    }

    // Plain words beside a chip keep clear of it on both sides.
    field()->setText(QStringLiteral("hello pdfs world"));
    ASSERT_EQ(tokenTexts(), QStringList{"pdfs"});
    const QRectF chip = field()->chipRects().value(0);
    EXPECT_GE(chip.left(), caretX(5));
    EXPECT_LE(chip.right(), caretX(11));
}

TEST_F(AskFieldTest, WordsStayEditableAndChipsFollowTheEdits)
{
    QSignalSpy edited(field(), &AskField::textEdited);
    QTest::keyClicks(field(), QStringLiteral("pdfs from gmail"));
    EXPECT_EQ(edited.size(), 15);
    EXPECT_EQ(edited.last().at(0).toString(), QStringLiteral("pdfs from gmail"));

    QTest::keyClicks(field(), QStringLiteral(" over 5 MB"));
    EXPECT_EQ(tokenTexts(), (QStringList{"pdfs", "from gmail", "over 5 MB"}));

    // Backspace through "5 MB" leaves "over" as plain words.
    for (int i = 0; i < 5; ++i) QTest::keyClick(field(), Qt::Key_Backspace);
    EXPECT_EQ(field()->text(), QStringLiteral("pdfs from gmail over"));
    EXPECT_EQ(tokenTexts(), (QStringList{"pdfs", "from gmail"}));
    EXPECT_EQ(field()->chipRects().size(), 2);

    QTest::keyClick(field(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(field()->text(), QStringLiteral("pdfs from gmail over 5 MB"));
    EXPECT_EQ(tokenTexts(), (QStringList{"pdfs", "from gmail", "over 5 MB"}));
    EXPECT_EQ(edited.last().at(0).toString(), field()->text());

    // A change of style or theme is no step of the history: the next undo still edits text.
    bar->setAskStyle(AskStyle::hero);
    bar->setThemeStyle(ThemeStyle(Theme::minimal, bar->palette()));
    QTest::keyClick(field(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_NE(field()->text(), QStringLiteral("pdfs from gmail over 5 MB"));
    QTest::keyClick(field(), Qt::Key_Z, Qt::ShiftModifier | Qt::ControlModifier);
    EXPECT_EQ(field()->text(), QStringLiteral("pdfs from gmail over 5 MB"));

    // Selecting everything and typing replaces the request.
    QTest::keyClick(field(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(field(), QStringLiteral("jpgs"));
    EXPECT_EQ(field()->text(), QStringLiteral("jpgs"));
    EXPECT_EQ(tokenTexts(), QStringList{"jpgs"});
}

TEST_F(AskFieldTest, DescriptionsNeverShowChips)
{
    bar->setAskStyle(AskStyle::describe);
    for (const char* text : {"a white island", "pdfs from gmail"}) {
        field()->setText(QString::fromUtf8(text));
        EXPECT_TRUE(field()->tokens().isEmpty()) << text;
        EXPECT_TRUE(field()->chipRects().isEmpty()) << text;
    }
    // Back in a searching style the same text shows its chips again.
    bar->setAskStyle(AskStyle::hero);
    EXPECT_EQ(tokenTexts(), (QStringList{"pdfs", "from gmail"}));
}

TEST_F(AskFieldTest, RangesCountUtf16UnitsPastAccentsAndEmoji)
{
    const QString text = QStringLiteral("café 🦊 pdfs from gmail");
    field()->setText(text);
    ASSERT_EQ(field()->tokens().size(), 2);
    const AskField::Token first = field()->tokens()[0];
    EXPECT_EQ(first.start, text.indexOf(QStringLiteral("pdfs")));
    EXPECT_EQ(first.start, 8);  // the fox takes two UTF-16 units
    EXPECT_EQ(tokenTexts(), (QStringList{"pdfs", "from gmail"}));
    EXPECT_NEAR(field()->chipRects()[0].left() + 19, caretX(first.start), 1.5);
    // The emoji's glyph keeps clear of the chip after it.
    EXPECT_GE(field()->chipRects()[0].left(), caretX(first.start - 1));
}

TEST_F(AskFieldTest, KeysTheFieldKeepsForItself)
{
    QSignalSpy submitted(field(), &AskField::submitted);
    QSignalSpy escaped(field(), &AskField::escapePressed);
    QSignalSpy moved(field(), &AskField::moved);
    QTest::keyClicks(field(), QStringLiteral("pdfs"));
    QTest::keyClick(field(), Qt::Key_Return);
    QTest::keyClick(field(), Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(submitted.size(), 2);
    QTest::keyClick(field(), Qt::Key_Escape);
    EXPECT_EQ(escaped.size(), 1);
    QTest::keyClick(field(), Qt::Key_Up);
    QTest::keyClick(field(), Qt::Key_Down);
    ASSERT_EQ(moved.size(), 2);
    EXPECT_EQ(moved[0].at(0).toInt(), -1);
    EXPECT_EQ(moved[1].at(0).toInt(), 1);
    // None of them edits the text, and a modified Return never breaks the line.
    QTest::keyClick(field(), Qt::Key_Return, Qt::ShiftModifier);
    EXPECT_EQ(field()->text(), QStringLiteral("pdfs"));
    EXPECT_EQ(field()->document()->blockCount(), 1);

    QTest::keyClick(field(), Qt::Key_Tab);
    EXPECT_TRUE(next->hasFocus());
    QTest::keyClick(next, Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_TRUE(field()->hasFocus());
    EXPECT_EQ(field()->text(), QStringLiteral("pdfs"));
}

TEST_F(AskFieldTest, KeyHandlerSeesOtherKeysBeforeTheEditing)
{
    QList<int> seen;
    field()->setKeyHandler([&seen](QKeyEvent* event) {
        seen << event->key();
        return event->key() == Qt::Key_PageDown;
    });
    QTest::keyClick(field(), Qt::Key_PageDown);
    QTest::keyClicks(field(), QStringLiteral("ab"));
    QTest::keyClick(field(), Qt::Key_Return);
    EXPECT_EQ(seen, (QList<int>{Qt::Key_PageDown, Qt::Key_A, Qt::Key_B}));
    EXPECT_EQ(field()->text(), QStringLiteral("ab"));
}

TEST_F(AskFieldTest, PastedLinesJoinIntoOne)
{
    QSignalSpy edited(field(), &AskField::textEdited);
    QApplication::clipboard()->setText(QStringLiteral("pdfs\nfrom gmail\r\nlast week\n"));
    QTest::keyClick(field(), Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(field()->text(), QStringLiteral("pdfs from gmail last week "));
    EXPECT_EQ(field()->document()->blockCount(), 1);
    EXPECT_EQ(tokenTexts(), (QStringList{"pdfs", "from gmail", "last week"}));
    EXPECT_EQ(edited.size(), 1);

    field()->setText(QStringLiteral("one\ntwo"));
    EXPECT_EQ(field()->text(), QStringLiteral("one two"));
}

TEST_F(AskFieldTest, SetTextIsQuietAndFocusTokenTakesFocusOnlyWhenItChanges)
{
    QSignalSpy edited(field(), &AskField::textEdited);
    QSignalSpy focus(field(), &AskField::focusChanged);
    field()->setText(QStringLiteral("pdfs"));
    field()->setText(QStringLiteral("pdfs"));
    EXPECT_EQ(edited.size(), 0);
    EXPECT_EQ(tokenTexts(), QStringList{"pdfs"});

    next->setFocus();
    EXPECT_FALSE(field()->hasFocus());
    field()->setFocusToken(0);  // the value it starts from
    EXPECT_FALSE(field()->hasFocus());
    field()->setFocusToken(1);
    EXPECT_TRUE(field()->hasFocus());
    next->setFocus();
    field()->setFocusToken(1);
    EXPECT_FALSE(field()->hasFocus());
    field()->setFocusToken(2);
    EXPECT_TRUE(field()->hasFocus());

    // Focus out, in, out, in (it had the focus when the spy started).
    ASSERT_EQ(focus.size(), 4);
    EXPECT_EQ(focus[0].at(0).toBool(), false);
    EXPECT_EQ(focus[3].at(0).toBool(), true);
}

TEST_F(AskFieldTest, AutofocusTakesFocusWhenShown)
{
    AskField other(AskStyle::panel, &window);
    other.hide();
    other.setAutofocus(true);
    EXPECT_FALSE(other.hasFocus());
    other.show();
    EXPECT_TRUE(other.hasFocus());
}

TEST_F(AskFieldTest, ClearButtonEmptiesTheFieldAndHides)
{
    QToolButton* clear = bar->clearButton();
    EXPECT_FALSE(clear->isVisible());
    QTest::keyClicks(field(), QStringLiteral("pdfs"));
    EXPECT_TRUE(clear->isVisible());
    EXPECT_LE(field()->geometry().right(), clear->geometry().left());

    QSignalSpy edited(field(), &AskField::textEdited);
    QTest::mouseClick(clear, Qt::LeftButton);
    EXPECT_EQ(field()->text(), QString());
    ASSERT_EQ(edited.size(), 1);
    EXPECT_EQ(edited[0].at(0).toString(), QString());
    EXPECT_FALSE(clear->isVisible());
    EXPECT_TRUE(field()->tokens().isEmpty());
    // The clearing is an edit like any other: undo brings the request back.
    QTest::keyClick(field(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(field()->text(), QStringLiteral("pdfs"));
}

TEST(AskFieldChip, ShapeKeepsItsInsetsRadiusAndDot)
{
    for (const double scale : {1.0, 1.25, 1.4}) {
        for (const double height : {8.0, 17.0, 40.0}) {
            SCOPED_TRACE(scale * 100 + height);
            const AskField::ChipShape shape = AskField::chipShape(100, 140, 10, height, scale);
            EXPECT_DOUBLE_EQ(shape.chip.left(), 100 - 19 * scale);
            EXPECT_DOUBLE_EQ(shape.chip.right(), 140 + 7 * scale);
            EXPECT_DOUBLE_EQ(shape.chip.top(), 10);
            EXPECT_DOUBLE_EQ(shape.chip.height(), height);
            EXPECT_DOUBLE_EQ(shape.radius, std::min(scale * 7 + 2, height / 2));
            // The dot sits at its offset, centred, and clear of the words.
            EXPECT_DOUBLE_EQ(shape.dot.left(), shape.chip.left() + 7.5 * scale);
            EXPECT_DOUBLE_EQ(shape.dot.width(), 5.5 * scale);
            EXPECT_DOUBLE_EQ(shape.dot.center().y(), shape.chip.center().y());
            EXPECT_TRUE(shape.chip.contains(shape.dot));
            EXPECT_LT(shape.dot.right(), 100);
        }
    }
}

}  // namespace
}  // namespace fennic
