// Controls painted tile by tile, against the application's style.
#include "theme/BandedStyle.h"

#include <QApplication>
#include <QImage>
#include <QProgressBar>
#include <QScrollBar>
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>

using namespace fennic;

namespace {

QImage paint(QWidget& widget)
{
    QImage image(widget.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    widget.render(&image);
    return image;
}

// The largest difference of one channel between two pictures of the same size. A translucent
// edge drawn into a tile's transparent picture and then copied over what is beneath rounds one
// more time than one drawn straight onto it, so a tiled edge may be one step off.
int largestDifference(const QImage& a, const QImage& b)
{
    if (a.size() != b.size()) return 256;
    int largest = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            largest = std::max({largest, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                                std::abs(qBlue(p) - qBlue(q)), std::abs(qAlpha(p) - qAlpha(q))});
        }
    }
    return largest;
}

// A long list's scroll bar is painted band by band; it must look exactly as the application's
// style paints it, whatever its state: at either end, in the middle, with the handle held.
TEST(BandedStyleTest, PaintsScrollBarsWithTheSamePixelsAsTheApplicationStyle)
{
    BandedStyle* banded = BandedStyle::ofApplicationStyle(nullptr);
    ASSERT_TRUE(banded) << "the application's style can be made again by its name";
    const std::unique_ptr<QStyle> owned(banded);
    for (const int value : {0, 37, 5000, 9999}) {
        for (const bool held : {false, true}) {
            QScrollBar plain(Qt::Vertical);
            QScrollBar wrapped(Qt::Vertical);
            wrapped.setStyle(banded);
            for (QScrollBar* bar : {&plain, &wrapped}) {
                bar->resize(15, 529);
                bar->setRange(0, 9999);
                bar->setPageStep(9);
                bar->setValue(value);
                bar->setSliderDown(held);
            }
            EXPECT_EQ(paint(plain), paint(wrapped)) << "value " << value << (held ? ", held" : "");
        }
    }
}

// The status line's progress bar is painted in columns and looks as the application's style
// paints it: empty, part way with its stripes, full, with its text, and one too narrow to split.
TEST(BandedStyleTest, PaintsProgressBarsAsTheApplicationStyleDoes)
{
    BandedStyle* banded = BandedStyle::ofApplicationStyle(nullptr);
    ASSERT_TRUE(banded);
    const std::unique_ptr<QStyle> owned(banded);
    for (const int width : {120, 13}) {
        for (const int value : {0, 37, 100}) {
            for (const bool text : {false, true}) {
                QProgressBar plain;
                QProgressBar wrapped;
                wrapped.setStyle(banded);
                for (QProgressBar* bar : {&plain, &wrapped}) {
                    bar->resize(width, 10);
                    bar->setRange(0, 100);
                    bar->setValue(value);
                    bar->setTextVisible(text);
                }
                EXPECT_LE(largestDifference(paint(plain), paint(wrapped)), 1)
                    << "width " << width << ", value " << value << (text ? ", with text" : "");
            }
        }
    }
}

TEST(BandedStyleTest, InstallsOnceOverTheApplicationStyle)
{
    const QString name = QApplication::style()->name();
    BandedStyle::install();
    QStyle* installed = QApplication::style();
    ASSERT_TRUE(qobject_cast<BandedStyle*>(installed));
    EXPECT_EQ(static_cast<BandedStyle*>(installed)->baseStyle()->name(), name) << "the desktop's style stays beneath";
    BandedStyle::install();
    EXPECT_EQ(QApplication::style(), installed) << "a second install keeps the first";
    const std::unique_ptr<QStyle> another(BandedStyle::ofApplicationStyle(nullptr));
    ASSERT_TRUE(another) << "a banded application style can be made again";
    EXPECT_EQ(static_cast<BandedStyle*>(another.get())->baseStyle()->name(), name);
}

}  // namespace
