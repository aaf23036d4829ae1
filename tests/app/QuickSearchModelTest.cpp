#include "AppTestSupport.h"

#include "quick/QuickSearchModel.h"

#include <QFileInfo>
#include <QKeySequence>
#include <QRegularExpression>
#include <QTest>
#include <gtest/gtest.h>

using namespace fennic;
using fennic::test::AppFixture;

namespace {

// The rows are looked for on the pool: asks, then waits until the request's are in.
bool ask(QuickSearchModel& quick, const QString& request)
{
    quick.setQuery(request);
    return QTest::qWaitFor([&] { return !quick.searching(); }, 5000);
}

class QuickSearch : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (int i = 0; i < 15; ++i) f.tree.write(QStringLiteral("Documents/note %1.txt").arg(i), "x");
        f.tree.write("Documents/plan.pdf", "%PDF");
        f.env.flashMs = 30;
        m = &f.make();
        m->library().scan();
        ASSERT_TRUE(m->waitForIdle());
        quick = std::make_unique<QuickSearchModel>(*m);
    }

    AppFixture f;
    AppModel* m = nullptr;
    std::unique_ptr<QuickSearchModel> quick;
};

}  // namespace

TEST_F(QuickSearch, ResultsAreCappedAtTwelveAndFollowTheLatestRequest)
{
    ASSERT_TRUE(ask(*quick, "note"));
    EXPECT_EQ(quick->results().size(), QuickSearchModel::kMaxResults);

    quick->setQuery("pdfs");
    EXPECT_TRUE(quick->searching());
    EXPECT_EQ(quick->results().size(), QuickSearchModel::kMaxResults) << "the last rows stay until the new come";
    ASSERT_TRUE(QTest::qWaitFor([&] { return !quick->searching(); }, 5000));
    ASSERT_EQ(quick->results().size(), 1);
    EXPECT_EQ(quick->results()[0].item.name, "plan.pdf");
    EXPECT_FALSE(quick->results()[0].isImageMatch);

    // Requests changed faster than they are answered: only the last one's rows land.
    for (const char* typed : {"n", "no", "not", "note", "note 1", "pdf", "pdfs"}) quick->setQuery(typed);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !quick->searching(); }, 5000));
    QTest::qWait(50);  // anything still on its way from an earlier request
    ASSERT_EQ(quick->results().size(), 1);
    EXPECT_EQ(quick->results()[0].item.name, "plan.pdf");

    quick->setQuery("   ");
    EXPECT_FALSE(quick->searching());
    EXPECT_TRUE(quick->results().isEmpty()) << "a blank request clears the list at once";
}

TEST_F(QuickSearch, MovesStayInsideTheList)
{
    quick->move(1);
    EXPECT_FALSE(quick->browsing()) << "an empty list ignores the arrows";
    ASSERT_TRUE(ask(*quick, "note"));
    quick->move(-1);
    EXPECT_TRUE(quick->browsing());
    EXPECT_EQ(quick->index(), 0) << "up on the first row stays there";
    for (int i = 0; i < 20; ++i) quick->move(1);
    EXPECT_EQ(quick->index(), QuickSearchModel::kMaxResults - 1) << "down on the last row stays there";
    ASSERT_TRUE(ask(*quick, "pdfs"));
    EXPECT_EQ(quick->index(), 0) << "a shorter list pulls the selection in";
}

TEST_F(QuickSearch, FlashesClearThemselvesAndTrashGoesThroughTheModel)
{
    ASSERT_TRUE(ask(*quick, "pdfs"));
    EXPECT_FALSE(quick->copyText().has_value());
    EXPECT_EQ(quick->flash(), "No text in this one");
    QSignalSpy flash(quick.get(), &QuickSearchModel::flashChanged);
    ASSERT_TRUE(flash.wait(1000));
    EXPECT_FALSE(quick->flash().has_value());

    quick->trashSelected();
    EXPECT_EQ(quick->flash(), "Moved to the Trash — Ctrl+Z in Fennic puts it back");
    EXPECT_TRUE(quick->results().isEmpty()) << "the file leaves the list at once";
    ASSERT_TRUE(QTest::qWaitFor([&] { return !quick->searching(); }, 5000));
    EXPECT_TRUE(quick->results().isEmpty()) << "and does not come back with the search after it";
    ASSERT_TRUE(m->toast().current());
    EXPECT_EQ(m->toast().current()->actionTitle, "Undo");
    ASSERT_TRUE(m->waitForIdle());
}

TEST_F(QuickSearch, HelpLineNamesTheKeysThePanelActsOn)
{
    const QString help = QString::fromUtf8(QuickSearchModel::kHelp);
    for (const char* foreign : {"⌘", "⌥", "⌃", "⇧", "↩", "⌫", "Finder", "Command"})
        EXPECT_FALSE(help.contains(QString::fromUtf8(foreign))) << foreign;

    // Every Ctrl shortcut the line names is a key Qt can read, and the panel acts on it.
    quick->actions = {};  // nothing reaches the desktop
    ASSERT_TRUE(ask(*quick, "pdfs"));
    ASSERT_EQ(quick->results().size(), 1);
    const QRegularExpression named(QStringLiteral("Ctrl\\+(\\w+)"));
    QStringList keys;
    for (const QRegularExpressionMatch& match : named.globalMatch(help)) keys << match.captured(1);
    EXPECT_EQ(keys, QStringList({"C", "T", "R", "Backspace"}));
    for (const QString& key : keys) {
        const QKeySequence sequence = QKeySequence::fromString("Ctrl+" + key, QKeySequence::PortableText);
        ASSERT_EQ(sequence.count(), 1) << key.toStdString();
        const QKeyCombination pressed = sequence[0];
        // A document is not a picture, so there is no image to copy.
        const bool acts = key != u"C";
        EXPECT_EQ(quick->handle(pressed.key(), pressed.keyboardModifiers(), false), acts) << key.toStdString();
    }
    EXPECT_TRUE(quick->results().isEmpty()) << "Ctrl+Backspace moved the file to the Trash";
    ASSERT_TRUE(QTest::qWaitFor([&] { return !quick->searching(); }, 5000));
    ASSERT_TRUE(m->waitForIdle());
}

TEST(QuickSearchPictures, PicturesFoundByTheirTextSayWhyAndTheKeysActOnThem)
{
    AppFixture f;
    ASSERT_FALSE(f.writeTextPicture("Pictures/scan.png", "INVOICE 2041").isEmpty());
    f.tree.write("Documents/invoice.txt", "x");
    AppModel& m = f.make();
    m.library().scan();
    ASSERT_TRUE(m.waitForIdle(120000));  // scanned, then the picture read

    QuickSearchModel quick(m);
    quick.setQuery("invoice");
    // The name's match first, then the picture's, each from the pool.
    ASSERT_TRUE(QTest::qWaitFor([&] { return quick.results().size() == 2; }, 5000));
    for (const QuickResult& row : quick.results()) {
        if (row.item.name == "invoice.txt") {
            EXPECT_FALSE(row.isImageMatch);
            EXPECT_FALSE(row.reason.has_value());
        } else {
            EXPECT_TRUE(row.isImageMatch) << "found by what the picture says";
            EXPECT_EQ(row.reason, "“invoice” in text");
        }
    }
    QSignalSpy later(&quick, &QuickSearchModel::resultsChanged);
    EXPECT_FALSE(later.wait(500)) << "the picture search adds nothing already shown";

    // The keys, with the desktop replaced by a record of what was asked of it.
    QStringList asked;
    quick.actions = {[&](const QString& p) { asked << "open " + QFileInfo(p).fileName(); },
                     [&](const QString& p) { asked << "reveal " + QFileInfo(p).fileName(); },
                     [&](const QString& p) { asked << "image " + QFileInfo(p).fileName(); },
                     [&](const QString& t) { asked << "text " + t; }};
    int closed = 0;
    quick.close = [&] { ++closed; };
    EXPECT_FALSE(quick.handle(Qt::Key_Space, {}, false)) << "a space before browsing is typed";
    const int picture = quick.results()[0].isImageMatch ? 0 : 1;
    for (int i = 0; i < picture; ++i) quick.handle(Qt::Key_Down, {}, false);
    if (picture == 0) quick.handle(Qt::Key_Up, {}, false);
    ASSERT_TRUE(quick.browsing());
    EXPECT_TRUE(quick.handle(Qt::Key_Space, {}, false));
    EXPECT_TRUE(quick.previewing());
    EXPECT_FALSE(quick.handle(Qt::Key_C, Qt::ControlModifier, true)) << "the field copies its own selection";
    EXPECT_TRUE(quick.handle(Qt::Key_C, Qt::ControlModifier, false));
    EXPECT_EQ(quick.flash(), "Copied the image");
    EXPECT_TRUE(quick.handle(Qt::Key_T, Qt::ControlModifier, false));
    EXPECT_TRUE(quick.handle(Qt::Key_R, Qt::ControlModifier, false));
    ASSERT_EQ(asked.size(), 3);
    EXPECT_EQ(asked[0], "image scan.png");
    EXPECT_TRUE(asked[1].startsWith("text ")) << asked[1].toStdString();
    EXPECT_TRUE(asked[1].contains("2041"));
    EXPECT_EQ(asked[2], "reveal scan.png");
    EXPECT_TRUE(quick.handle(Qt::Key_Escape, {}, false));
    EXPECT_FALSE(quick.previewing());
    EXPECT_EQ(closed, 0) << "Esc closes the preview first";
    EXPECT_TRUE(quick.handle(Qt::Key_Escape, {}, false));
    EXPECT_EQ(closed, 1);
    EXPECT_TRUE(quick.handle(Qt::Key_Return, {}, false));
    EXPECT_EQ(asked.last(), "open scan.png");
}
