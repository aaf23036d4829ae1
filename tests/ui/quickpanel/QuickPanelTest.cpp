// The Quick Search panel driven by its keys, offscreen: results that follow each keystroke,
// moving, opening, previewing, the Trash from the keyboard, and closing.
#include "quickpanel/QuickPanel.h"
#include "app/AppModel.h"
#include "app/LibraryHome.h"
#include "app/LibraryModel.h"
#include "app/Organiser.h"
#include "ask/AskBar.h"
#include "ask/AskField.h"
#include "quicklook/QuickLookWindow.h"
#include "theme/DesktopLook.h"
#include "thumbnails/ThumbnailLoader.h"
#include "window/MainWindow.h"
#include "window/WindowActions.h"

#include <QAction>
#include <QFile>
#include <QListView>
#include <QTest>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

class PanelFixture : public test::LibraryHome {
public:
    PanelFixture()
    {
        // More invoices than the panel shows.
        for (int i = 1; i <= 15; ++i)
            tree.write(QStringLiteral("Documents/invoice %1.pdf").arg(i, 2, 10, QLatin1Char('0')),
                                      QByteArray("%PDF-1.4\n") + QByteArray(qsizetype(100) * i, 'i'));
        tree.write("Documents/holiday notes.txt", QByteArray(300, 'h'));
        DesktopLook::ensureIconTheme();
        env.flashMs = 60000;
        model = std::make_unique<AppModel>(env);
        model->library().finishWelcome();
        EXPECT_TRUE(model->waitForIdle());
        panel = std::make_unique<QuickPanel>(*model, thumbnails);
        panel->model().actions.open = [this](const QString& path) { opened.append(path); };
        panel->model().actions.reveal = [this](const QString& path) { revealed.append(path); };
        panel->present();
        EXPECT_TRUE(QTest::qWaitForWindowActive(panel.get()));
    }

    AskField* field() const { return panel->askBar()->field(); }
    int shownRows() const { return panel->resultList()->model()->rowCount(); }
    QString selectedName() const { return panel->resultList()->currentIndex().data(Qt::DisplayRole).toString(); }
    void key(int key, Qt::KeyboardModifiers mods = Qt::NoModifier) { QTest::keyClick(field(), Qt::Key(key), mods); }
    // Types, then waits for the rows of what was typed: they are looked for on the pool.
    void type(const QString& text)
    {
        QTest::keyClicks(field(), text);
        settle();
    }
    void settle()
    {
        EXPECT_TRUE(QTest::qWaitFor([this] { return !panel->model().searching(); }, 5000));
    }

    ThumbnailLoader thumbnails{ThumbnailCache(tree.path(".thumbnails"))};
    std::unique_ptr<AppModel> model;
    std::unique_ptr<QuickPanel> panel;
    QStringList opened;
    QStringList revealed;
};

}  // namespace

TEST(QuickPanel, ResultsFollowEveryKeystrokeUpToADozen)
{
    PanelFixture f;
    EXPECT_TRUE(f.field()->hasFocus()) << "the field takes the keyboard when the panel opens";
    EXPECT_FALSE(f.panel->resultList()->isVisibleTo(f.panel.get())) << "no list before a request";

    // No typing pause: each key's rows come as soon as they are found.
    f.type("holi");
    EXPECT_EQ(f.shownRows(), 1);
    EXPECT_EQ(f.selectedName(), "holiday notes.txt");
    for (int i = 0; i < 4; ++i) f.key(Qt::Key_Backspace);
    EXPECT_EQ(f.shownRows(), 0) << "an empty request empties the list at once";
    f.type("invoice");
    EXPECT_EQ(f.shownRows(), QuickSearchModel::kMaxResults) << "fifteen invoices, a dozen shown";
    EXPECT_TRUE(f.panel->resultList()->isVisibleTo(f.panel.get()));
    EXPECT_EQ(f.field()->tokens().size(), 0) << "a plain word is not a chip";

    f.type(" pdfs");
    EXPECT_EQ(f.field()->tokens().size(), 1) << "the panel's field draws chips like the window's";

    f.field()->setText(QString());
    QTest::keyClicks(f.field(), "zebra");
    EXPECT_EQ(f.panel->emptyText(), "") << "no \"no files\" before the search has answered";
    f.settle();
    EXPECT_EQ(f.shownRows(), 0);
    EXPECT_EQ(f.panel->emptyText(), "No files match “zebra”.");
    EXPECT_LT(f.panel->height(), 400) << "the panel shrinks to what it shows";
}

TEST(QuickPanel, ArrowsMoveWithinTheListAndReturnOpensAndCloses)
{
    PanelFixture f;
    f.type("invoice");
    ASSERT_EQ(f.shownRows(), 12);
    const QString first = f.selectedName();
    f.key(Qt::Key_Up);
    EXPECT_EQ(f.selectedName(), first) << "up on the first row stays there";
    f.key(Qt::Key_Down);
    f.key(Qt::Key_Down);
    const QString third = f.selectedName();
    EXPECT_NE(third, first);
    for (int i = 0; i < 20; ++i) f.key(Qt::Key_Down);
    EXPECT_EQ(f.panel->resultList()->currentIndex().row(), 11) << "down on the last row stays there";
    EXPECT_TRUE(f.field()->hasFocus()) << "the field keeps the keyboard while moving";

    f.key(Qt::Key_R, Qt::ControlModifier);
    ASSERT_EQ(f.revealed.size(), 1);
    EXPECT_TRUE(f.revealed.first().endsWith(f.selectedName()));

    f.key(Qt::Key_Return);
    ASSERT_EQ(f.opened.size(), 1);
    EXPECT_TRUE(f.opened.first().endsWith(f.selectedName()));
    EXPECT_FALSE(f.panel->isVisible()) << "opening a file closes the panel";

    // Shown again, the last request is selected so typing replaces it.
    f.panel->present();
    EXPECT_TRUE(f.field()->textCursor().hasSelection());
    QTest::keyClicks(f.field(), "holiday");
    EXPECT_EQ(f.field()->text(), "holiday");
}

TEST(QuickPanel, SpacePreviewsAndEscClosesThePreviewBeforeThePanel)
{
    PanelFixture f;
    f.type("invoice");
    f.key(Qt::Key_Space);
    EXPECT_EQ(f.field()->text(), "invoice ") << "before moving into the list, Space is typed";
    f.settle();
    f.key(Qt::Key_Down);
    f.key(Qt::Key_Space);
    ASSERT_NE(f.panel->preview(), nullptr);
    EXPECT_TRUE(f.panel->preview()->isVisible());
    EXPECT_EQ(f.panel->preview()->item().name, f.selectedName());
    EXPECT_TRUE(f.panel->isVisible()) << "the preview opens beside the panel, which keeps the keyboard";

    // The preview follows the selection.
    f.key(Qt::Key_Down);
    EXPECT_EQ(f.panel->preview()->item().name, f.selectedName());

    f.key(Qt::Key_Escape);
    EXPECT_FALSE(f.panel->preview()->isVisible());
    EXPECT_TRUE(f.panel->isVisible()) << "the first Esc closes only the preview";
    f.key(Qt::Key_Escape);
    EXPECT_FALSE(f.panel->isVisible());
}

TEST(QuickPanel, CtrlBackspaceDeletesAWordWhileTypingAndTrashesOnceInTheList)
{
    PanelFixture f;
    f.type("holiday notes");
    ASSERT_EQ(f.shownRows(), 1);
    f.key(Qt::Key_Backspace, Qt::ControlModifier);
    EXPECT_EQ(f.field()->text(), "holiday ") << "Ctrl+Backspace in the request is the text field's";
    f.settle();
    EXPECT_TRUE(QFile::exists(f.tree.path("Documents/holiday notes.txt")));

    f.key(Qt::Key_T, Qt::ControlModifier);
    EXPECT_EQ(f.panel->flashText(), "No text in this one");

    f.key(Qt::Key_Down);
    f.key(Qt::Key_Backspace, Qt::ControlModifier);
    EXPECT_FALSE(QFile::exists(f.tree.path("Documents/holiday notes.txt"))) << "moved to the Trash";
    EXPECT_EQ(f.panel->flashText(), "Moved to the Trash — Ctrl+Z in Fennic puts it back");
    EXPECT_EQ(f.shownRows(), 0) << "the file leaves the list at once";
    f.settle();
    EXPECT_EQ(f.shownRows(), 0) << "and the list asked again does not bring it back";
    EXPECT_TRUE(f.model->organiser().canUndoTrash()) << "Undo in the window puts it back";
}

TEST(QuickPanel, ClosesWhenAnotherWindowTakesTheFocus)
{
    PanelFixture f;
    QWidget other;
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !f.panel->isVisible(); }, 1000));
}

TEST(QuickPanel, TheWindowsMenuEntryOpensThePanelWithoutRaisingTheWindow)
{
    PanelFixture f;
    f.panel->dismiss();
    MainWindow window(*f.model, f.thumbnails);
    QAction* entry = window.actions().action(WindowActions::Id::quickSearch);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->shortcut().toString(), "Ctrl+Shift+Space");
    entry->trigger();
    QuickPanel* panel = window.quickPanel();
    EXPECT_TRUE(panel->isVisible());
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(panel->accessibleName(), "Quick Search");
}
