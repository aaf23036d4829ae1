#include "quicklook/QuickLookWindow.h"
#include "support/TempTree.h"
#include "support/TestItems.h"
#include "theme/DesktopLook.h"

#include <QLabel>
#include <QPainter>
#include <QPdfWriter>
#include <QPlainTextEdit>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>
#include <gtest/gtest.h>

using namespace fennic;

namespace {

class QuickLook : public ::testing::Test {
protected:
    void SetUp() override
    {
        DesktopLook::ensureIconTheme();
        host.resize(1000, 700);
        host.show();
        window = std::make_unique<QuickLookWindow>(&host);
    }

    // Shows the file and waits until what it holds (or the problem) is on screen.
    bool look(const FileItem& item)
    {
        QSignalSpy shown(window.get(), &QuickLookWindow::contentShown);
        window->showItem(item);
        return shown.wait(15000);
    }

    FileItem sized(const QString& path)
    {
        return test::datedItem(path, QFileInfo(path).size(), test::itemAt(path).kind, "2026-01-01T00:00:00Z");
    }

    test::TempTree tree;
    QWidget host;
    std::unique_ptr<QuickLookWindow> window;
};

}  // namespace

TEST_F(QuickLook, APictureIsShownFitAndNamed)
{
    QImage image(640, 400, QImage::Format_RGB32);
    image.fill(QColor(200, 30, 30));
    const QString path = tree.path("red.png");
    ASSERT_TRUE(image.save(path, "PNG"));

    ASSERT_TRUE(look(sized(path)));
    EXPECT_EQ(window->content(), QuickLookWindow::Content::picture);
    EXPECT_EQ(window->shownImage().size(), QSize(640, 400));
    EXPECT_EQ(window->shownImage().pixelColor(10, 10), QColor(200, 30, 30));
    EXPECT_EQ(window->accessibleName(), "Quick Look: red.png");
    EXPECT_TRUE(window->isVisible());
    // About 70% of the window it belongs to, centred on it.
    EXPECT_NEAR(window->width(), host.frameGeometry().width() * 0.7, 2);
    EXPECT_NEAR(window->geometry().center().x(), host.frameGeometry().center().x(), 2);
}

TEST_F(QuickLook, APdfShowsItsPagesAndTurnsThem)
{
    const QString path = tree.path("two pages.pdf");
    {
        QPdfWriter pdf(path);
        pdf.setResolution(72);
        QPainter p(&pdf);
        p.fillRect(QRect(0, 0, 200, 200), Qt::black);
        pdf.newPage();
        p.drawText(QPoint(50, 50), "Second page");
    }
    ASSERT_TRUE(look(sized(path)));
    EXPECT_EQ(window->content(), QuickLookWindow::Content::pdf);
    EXPECT_EQ(window->pageCount(), 2);
    EXPECT_EQ(window->page(), 0);
    const QImage first = window->shownImage();
    ASSERT_FALSE(first.isNull());
    EXPECT_LT(qGray(first.pixel(first.width() / 20, first.height() / 40)), 60);  // the black square

    QSignalSpy shown(window.get(), &QuickLookWindow::contentShown);
    QTest::keyClick(window.get(), Qt::Key_PageDown);
    ASSERT_TRUE(shown.wait(15000));
    EXPECT_EQ(window->page(), 1);
    EXPECT_NE(window->shownImage(), first);
}

TEST_F(QuickLook, TextFilesAndSourceFilesShowTheirText)
{
    ASSERT_TRUE(look(sized(tree.write("notes.txt", "Buy milk\nCall Ana — ünïcode"))));
    EXPECT_EQ(window->content(), QuickLookWindow::Content::text);
    EXPECT_EQ(window->shownText(), QString::fromUtf8("Buy milk\nCall Ana — ünïcode"));

    // Switching files while open.
    ASSERT_TRUE(look(sized(tree.write("main.cpp", "int main() { return 0; }\n"))));
    EXPECT_EQ(window->content(), QuickLookWindow::Content::text);
    EXPECT_TRUE(window->shownText().startsWith("int main()"));
}

TEST_F(QuickLook, OtherFilesShowTheirKindAndAMissingFileSaysWhy)
{
    ASSERT_TRUE(look(sized(tree.writeSized("backup.bin", 5000))));
    EXPECT_EQ(window->content(), QuickLookWindow::Content::details);

    ASSERT_TRUE(look(test::itemAt(tree.path("gone.png"))));
    EXPECT_EQ(window->content(), QuickLookWindow::Content::problem);
    EXPECT_FALSE(window->problem().isEmpty());
    bool said = false;
    for (const QLabel* label : window->findChildren<QLabel*>())
        said |= label->isVisible() && label->text() == QString::fromUtf8("This file can’t be previewed.");
    EXPECT_TRUE(said);

    const QString broken = tree.write("broken.png", "not a picture");
    ASSERT_TRUE(look(sized(broken)));
    EXPECT_EQ(window->content(), QuickLookWindow::Content::problem);
}

TEST_F(QuickLook, EscAndSpaceCloseIt)
{
    ASSERT_TRUE(look(sized(tree.write("a.txt", "a"))));
    QSignalSpy closed(window.get(), &QuickLookWindow::closed);
    QTest::keyClick(window.get(), Qt::Key_Escape);
    EXPECT_EQ(closed.size(), 1);
    EXPECT_FALSE(window->isVisible());

    ASSERT_TRUE(look(sized(tree.write("b.txt", "b"))));
    EXPECT_TRUE(window->isVisible());
    // Space closes even from inside the text, where it would otherwise be typed over.
    QTest::keyClick(window->findChild<QPlainTextEdit*>(), Qt::Key_Space);
    EXPECT_EQ(closed.size(), 2);
    EXPECT_FALSE(window->isVisible());
}

TEST_F(QuickLook, AVideoShowsAFrame)
{
    const QString ffmpeg = QStandardPaths::findExecutable("ffmpeg");
    if (ffmpeg.isEmpty()) GTEST_SKIP() << "ffmpeg isn't installed, so no video can be made";
    const QString path = tree.path("clip.mp4");
    QProcess make;
    make.start(ffmpeg, {"-loglevel", "error", "-f", "lavfi", "-i", "testsrc=duration=1:size=320x240:rate=10", path});
    ASSERT_TRUE(make.waitForFinished(60000));
    ASSERT_TRUE(look(sized(path)));
    EXPECT_EQ(window->content(), QuickLookWindow::Content::video);
    EXPECT_FALSE(window->shownImage().isNull());
}
