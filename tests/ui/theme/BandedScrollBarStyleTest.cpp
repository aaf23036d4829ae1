// A long list's scroll bar painted band by band, against the application's style.
#include "theme/BandedScrollBarStyle.h"

#include <QImage>
#include <QScrollBar>
#include <gtest/gtest.h>
#include <memory>

using namespace fennic;

namespace {

// A long list's scroll bar is painted band by band; it must look exactly as the application's
// style paints it, whatever its state: at either end, in the middle, with the handle held.
TEST(BandedScrollBarStyleTest, PaintsTheSamePixelsAsTheApplicationStyle)
{
    BandedScrollBarStyle* banded = BandedScrollBarStyle::ofApplicationStyle(nullptr);
    ASSERT_TRUE(banded) << "the application's style can be made again by its name";
    const std::unique_ptr<QStyle> owned(banded);
    const auto paint = [](QScrollBar& bar) {
        QImage image(bar.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        bar.render(&image);
        return image;
    };
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

}  // namespace
