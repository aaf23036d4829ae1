// Marking the request's words in names: folded comparison, positions in the name as written,
// the card's two-line name that keeps the extension when it has to shorten, and its detail line.
#include "browser/NameHighlight.h"
#include "browser/BrowserModel.h"
#include "browser/CardDelegate.h"

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QStandardItemModel>
#include <gtest/gtest.h>

using namespace fennic;
using Range = NameHighlight::Range;

TEST(NameHighlight, MatchesFoldedWordsAtTheirPlaceInTheName)
{
    EXPECT_EQ(NameHighlight::ranges(QStringLiteral("Café menu.pdf"), {QStringLiteral("cafe")}), (QList<Range>{{0, 4}}));
    EXPECT_EQ(NameHighlight::ranges(QStringLiteral("Old CAFE\u0301 photos"), {QStringLiteral("café")}),
                                    (QList<Range>{{4, 5}}))
              << "a combining accent stays with its letter";
    EXPECT_EQ(NameHighlight::ranges(QStringLiteral("Straße.txt"), {QStringLiteral("strasse")}), (QList<Range>{{0, 6}}))
              << "a letter that folds to two still maps back to one";
    EXPECT_EQ(NameHighlight::ranges(QStringLiteral("ＲＥＰＯＲＴ 2024"), {QStringLiteral("report")}),
                                    (QList<Range>{{0, 6}}));
    EXPECT_EQ(NameHighlight::ranges(QStringLiteral("🦊 fox.png"), {QStringLiteral("fox")}), (QList<Range>{{3, 3}}))
              << "positions count a surrogate pair as two";
}

TEST(NameHighlight, MergesOverlapsAndIgnoresEmptyWords)
{
    EXPECT_EQ(NameHighlight::ranges(QStringLiteral("summer trip summary"), {QStringLiteral("sum")}),
                                    (QList<Range>{{0, 3}, {12, 3}}));
    EXPECT_EQ(NameHighlight::ranges(QStringLiteral("holiday"), {QStringLiteral("holi"), QStringLiteral("liday")}),
                                                   (QList<Range>{{0, 7}}));
    EXPECT_EQ(NameHighlight::ranges(
        QStringLiteral("taxes"), {QStringLiteral("tax"), QStringLiteral("es")}), (QList<Range>{{0, 5}}))
        << "touching matches make one mark";
    EXPECT_TRUE(NameHighlight::ranges(QStringLiteral("report"), {QString(), QStringLiteral("  ")}).isEmpty());
    EXPECT_TRUE(NameHighlight::ranges(QStringLiteral("report"), {QStringLiteral("invoice")}).isEmpty());
}

TEST(CardDelegate, NamesTakeTwoLinesAndKeepTheirEnd)
{
    const QFont font = QApplication::font();
    EXPECT_EQ(CardDelegate::nameLines(QStringLiteral("a.png"), font, 150), QStringList{QStringLiteral("a.png")});

    const QString longName = QStringLiteral("A very long name of a quarterly report that goes on and on and on.pdf");
    const QStringList lines = CardDelegate::nameLines(longName, font, 150);
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(longName.startsWith(lines[0]));
    EXPECT_TRUE(lines[1].contains(QChar(0x2026))) << lines[1].toStdString();
    EXPECT_TRUE(lines[1].endsWith(QStringLiteral(".pdf"))) << "the extension stays visible";
    const QFontMetrics metrics(font);
    for (const QString& line : lines) EXPECT_LE(metrics.horizontalAdvance(line), 150) << line.toStdString();
}

// The detail under a card's name is laid out once per value: switching what it shows, or the
// value changing, must never leave an earlier text on the card.
TEST(CardDelegate, TheDetailFollowsTheSortAndTheItem)
{
    FileItem item;
    item.path = QStringLiteral("/tmp/report.bin");
    item.name = QStringLiteral("report.bin");
    item.size = 123456;
    item.modified = Date::fromUnix(1700000000);
    item.added = Date::fromUnix(1600000000);
    QStandardItemModel model(1, 1);
    const auto show = [&model](const FileItem& file) {
        model.setData(model.index(0, 0), QVariant::fromValue(file), BrowserModel::ItemRole);
    };
    const auto paint = [&model](CardDelegate& delegate) {
        QStyleOptionViewItem option;
        option.font = QApplication::font();
        option.palette = QApplication::palette();
        option.rect = QRect(QPoint(0, 0), delegate.cardHint(option));
        QImage image(option.rect.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::white);
        QPainter painter(&image);
        delegate.paint(&painter, option, model.index(0, 0));
        return image;
    };
    // What a delegate that has never painted anything else shows.
    const auto fresh = [&](SortKey key) {
        CardDelegate delegate;
        delegate.setDetail(key);
        return paint(delegate);
    };

    show(item);
    CardDelegate delegate;
    const QImage bySize = paint(delegate);
    EXPECT_EQ(bySize, fresh(SortKey::name));
    delegate.setDetail(SortKey::dateModified);
    const QImage byModified = paint(delegate);
    EXPECT_NE(byModified, bySize) << "a date replaces the size";
    EXPECT_EQ(byModified, fresh(SortKey::dateModified));
    delegate.setDetail(SortKey::dateAdded);
    EXPECT_EQ(paint(delegate), fresh(SortKey::dateAdded));

    item.added = Date::fromUnix(1500000000);
    show(item);
    EXPECT_EQ(paint(delegate), fresh(SortKey::dateAdded)) << "a new date shows at once";
    delegate.setDetail(SortKey::size);
    item.size = 999;
    show(item);
    EXPECT_EQ(paint(delegate), fresh(SortKey::size)) << "a new size shows at once";
}
