#include "FennicDemo.h"

#include "library/Scanner.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFont>
#include <QHash>
#include <QImage>
#include <QPageSize>
#include <QPainter>
#include <QPainterPath>
#include <QPdfWriter>
#include <sys/xattr.h>

namespace fennic::FennicDemo {
namespace {

constexpr double kDay = 86400;

QString ensureFolder(const QString& path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    return path;
}

void writeBytes(const QString& path, const QByteArray& content)
{
    QFile f(ensureFolder(path));
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate)) f.write(content);
}

// Stand-in content for formats Fennic only lists (music, video, archives): recognisable
// magic bytes followed by filler, so that sizes look real and no two files are alike.
QByteArray standIn(const QByteArray& magic, int size, quint32 seed)
{
    QByteArray data = magic;
    data.reserve(size);
    quint32 x = seed * 2654435761u + 7;
    while (data.size() < size) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        data.append(char(x));
    }
    return data;
}

void whereFrom(const QString& path, const char* url, const char* referrer = nullptr)
{
    const QByteArray file = QFile::encodeName(path);
    ::setxattr(file.constData(), "user.xdg.origin.url", url, std::strlen(url), 0);
    if (referrer) ::setxattr(file.constData(), "user.xdg.referrer.url", referrer, std::strlen(referrer), 0);
}

QFont font(int pixels, const char* family = "DejaVu Sans")
{
    QFont f(QString::fromLatin1(family));
    f.setPixelSize(pixels);
    return f;
}

void beach(const QString& path, int sunX)
{
    QImage image(1200, 800, QImage::Format_RGB32);
    QPainter p(&image);
    QLinearGradient sky(0, 0, 0, 460);
    sky.setColorAt(0, QColor(60, 130, 215));
    sky.setColorAt(1, QColor(150, 200, 240));
    p.fillRect(0, 0, 1200, 460, sky);
    p.fillRect(0, 460, 1200, 120, QColor(30, 110, 170));   // sea
    p.fillRect(0, 580, 1200, 220, QColor(232, 212, 160));  // sand
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(255, 236, 140));
    p.drawEllipse(QPoint(sunX, 140), 70, 70);
    p.end();
    image.save(ensureFolder(path), "JPG", 88);
}

void island(const QString& path)
{
    QImage image(1200, 800, QImage::Format_RGB32);
    image.fill(QColor(20, 90, 170));  // ocean
    QPainter p(&image);
    p.fillRect(0, 0, 1200, 300, QColor(120, 185, 235));
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(245, 245, 240));
    QPainterPath hill;
    hill.moveTo(420, 430);
    hill.quadTo(600, 300, 800, 430);
    hill.closeSubpath();
    p.drawPath(hill);
    p.end();
    image.save(ensureFolder(path), "JPG", 88);
}

void mountains(const QString& path)
{
    QImage image(1200, 800, QImage::Format_RGB32);
    image.fill(QColor(150, 190, 230));
    QPainter p(&image);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(90, 100, 120));
    p.drawPolygon(QPolygon({{0, 800}, {350, 250}, {700, 800}}));
    p.drawPolygon(QPolygon({{450, 800}, {850, 180}, {1200, 800}}));
    p.setBrush(Qt::white);  // snow on the peaks
    p.drawPolygon(QPolygon({{350, 250}, {290, 340}, {410, 340}}));
    p.drawPolygon(QPolygon({{850, 180}, {780, 290}, {920, 290}}));
    p.end();
    image.save(ensureFolder(path), "JPG", 88);
}

// A picture of printed lines, as signs and receipts are photographed.
void printed(const QString& path, const QStringList& lines, int pixels, const char* family = "DejaVu Sans")
{
    QImage image(1000, 140 + int(lines.size()) * (pixels + 30), QImage::Format_RGB32);
    image.fill(QColor(250, 250, 246));
    QPainter p(&image);
    p.setPen(QColor(25, 25, 25));
    p.setFont(font(pixels, family));
    int y = 60;
    for (const QString& line : lines) {
        p.drawText(QRect(60, y, 900, pixels + 20), Qt::AlignLeft | Qt::AlignVCenter, line);
        y += pixels + 30;
    }
    p.end();
    image.save(ensureFolder(path), "PNG");
}

// A screenshot of a window with a title and a few lines of text.
void screenshot(const QString& path, const QString& title, const QStringList& lines)
{
    QImage image(1440, 900, QImage::Format_RGB32);
    image.fill(QColor(236, 238, 242));
    QPainter p(&image);
    p.fillRect(120, 80, 1200, 740, Qt::white);
    p.fillRect(120, 80, 1200, 56, QColor(52, 58, 70));
    p.setPen(Qt::white);
    p.setFont(font(26));
    p.drawText(QRect(150, 80, 1100, 56), Qt::AlignVCenter, title);
    p.setPen(QColor(30, 30, 30));
    p.setFont(font(30));
    int y = 180;
    for (const QString& line : lines) {
        p.drawText(QRect(170, y, 1100, 50), Qt::AlignVCenter, line);
        y += 70;
    }
    p.end();
    image.save(ensureFolder(path), "PNG");
}

void pdf(const QString& path, const QString& title, const QStringList& lines)
{
    QPdfWriter writer(ensureFolder(path));
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setTitle(title);
    QPainter p(&writer);
    p.setFont(font(220));
    p.drawText(QRect(600, 600, 8000, 600), Qt::AlignLeft, title);
    p.setFont(font(140));
    int y = 1600;
    for (const QString& line : lines) {
        p.drawText(QRect(600, y, 8000, 400), Qt::AlignLeft, line);
        y += 400;
    }
}

// A brochure of photographs, as mail brings them: a real PDF of over 5 MB. Its pages are
// drawn here; the photographs' weight is stood in by comment lines appended as an empty
// incremental update (a new cross-reference section that changes nothing), which every PDF
// reader accepts and which keeps the demonstration quick to build.
void brochure(const QString& path, const QString& title, qint64 size)
{
    pdf(path, title, {"Photographs of the house and the harbour", "Sent for the viewing on Saturday"});
    QFile f(path);
    if (!f.open(QIODevice::ReadWrite)) return;
    const QByteArray original = f.readAll();
    const qsizetype trailerAt = original.lastIndexOf("trailer");
    const qsizetype startAt = original.lastIndexOf("startxref");
    if (trailerAt < 0 || startAt < trailerAt) return;
    const QByteArray previous = original.mid(startAt + 9).trimmed().split('\n').value(0).trimmed();
    QByteArray trailer = original.mid(trailerAt + 7, startAt - trailerAt - 7).trimmed();
    // The old trailer's dictionary, pointing back at the section it extends.
    trailer.insert(trailer.lastIndexOf(">>"), " /Prev " + previous + " ");
    QByteArray padding;
    const QByteArray line = "% " + QByteArray(76, 'x') + "\n";
    while (original.size() + padding.size() < size) padding += line;
    const qint64 xrefAt = original.size() + 1 + padding.size();
    f.seek(original.size());
    f.write("\n" + padding);
    f.write("xref\n0 1\n0000000000 65535 f \ntrailer\n" + trailer + "\nstartxref\n" + QByteArray::number(xrefAt)
            + "\n%%EOF\n");
}

// Days before `now` that fall in the previous calendar week, whether weeks start on Monday or
// on Sunday.
double lastWeek(Date now)
{
    const int weekday = now.toQDateTime().toLocalTime().date().dayOfWeek();  // Monday 1 … Sunday 7
    return weekday == 7 ? 7 : weekday + 4;
}

}  // namespace

Library build(const QString& root, Date now)
{
    Library library;
    library.root = root;
    const auto at = [&root](const char* relative) { return root + u'/' + QString::fromUtf8(relative); };
    // How long ago each file arrived, in days; the picture was taken or the file made a little before.
    QHash<QString, double> ageDays;
    const auto file = [&](const char* relative, double days) {
        QString path = at(relative);
        ageDays.insert(path, days);
        return path;
    };

    for (const char* folder : {"Desktop", "Documents", "Downloads", "Pictures", "Movies", "Music"})
        QDir().mkpath(at(folder));

    // Pictures: places, and words in pictures in several languages.
    beach(file("Pictures/Beach at Playa Blanca.jpg", 410), 900);
    beach(file("Pictures/Beach at Playa Blanca 2.jpg", 410), 910);  // a look-alike, moments later
    island(file("Pictures/Island from the ferry.jpg", 395));
    mountains(file("Pictures/Snowy ridge.jpg", 160));
    printed(file("Pictures/Receipt cafe.png", 3),
            {"CAFÉ AURORA", "Flat white        3.40", "Almond croissant  2.90", "TOTAL             6.30"}, 44);
    printed(file("Pictures/Station sign.png", 520), {"東京駅", "Tokyo Station"}, 64, "Noto Sans CJK JP");
    printed(file("Pictures/Salida.png", 300), {"SALIDA", "Andén 3"}, 64);

    // Screenshots on the Desktop.
    screenshot(file("Desktop/Screenshot from 2026-11-20 09-41-12.png", 3), "Quarterly budget",
               {"Travel        1,240.00", "Equipment       860.00", "Total         2,100.00"});
    screenshot(file("Desktop/Screenshot from 2025-12-02 16-05-48.png", 356), "Boarding pass",
               {"Flight FN 204", "Gate 12", "Seat 14A"});

    // Documents.
    pdf(file("Documents/Invoice 2041.pdf", 12), "Invoice 2041", {"Web design, October", "Amount due: 1,450.00"});
    pdf(file("Documents/Lease agreement.pdf", 600), "Lease agreement", {"Flat 3, 18 Harbour Road", "Term: 24 months"});
    pdf(file("Documents/Trip itinerary.pdf", 45), "Trip itinerary", {"Day 1: Lisbon", "Day 2: Sintra"});
    writeBytes(file("Documents/Notes.txt", 1), "Call the landlord about the boiler.\nBook the ferry.\n");
    writeBytes(file("Documents/Budget 2026.csv", 30), "month,travel,equipment\nJan,120,0\nFeb,80,450\n");
    writeBytes(file("Documents/Novel draft.odt", 700), standIn("PK\x03\x04", 48000, 11));

    // Downloads, from several places.
    pdf(file("Downloads/invoice-march.pdf", 250), "Invoice", {"March subscription", "Amount due: 12.00"});
    whereFrom(at("Downloads/invoice-march.pdf"), "https://mail-attachment.googleusercontent.com/attachment/u/0/",
              "https://mail.google.com/");
    brochure(file("Downloads/Harbour house brochure.pdf", lastWeek(now)), "Harbour House: photographs", 6'200'000);
    whereFrom(at("Downloads/Harbour house brochure.pdf"),
              "https://mail-attachment.googleusercontent.com/attachment/u/0/", "https://mail.google.com/");
    writeBytes(file("Downloads/fennic-themes-main.zip", 40), standIn("PK\x03\x04", 220000, 21));
    whereFrom(at("Downloads/fennic-themes-main.zip"), "https://codeload.github.com/example/themes/zip/main",
              "https://github.com/example/themes");
    writeBytes(file("Downloads/photo-editor_2.4_amd64.deb", 200), standIn("!<arch>\ndebian-binary", 3'400'000, 31));
    whereFrom(at("Downloads/photo-editor_2.4_amd64.deb"), "https://downloads.example.org/photo-editor_2.4_amd64.deb");
    pdf(file("Downloads/statement-2025.pdf", 90), "Annual statement 2025",
        {"Opening balance  2,310.00", "Closing balance  3,045.20"});
    whereFrom(at("Downloads/statement-2025.pdf"), "https://bank.example.com/statements/2025.pdf");
    QFile::copy(at("Pictures/Beach at Playa Blanca.jpg"), file("Downloads/IMG_2231.jpg", 405));  // an exact copy

    // Music and video stand-ins.
    writeBytes(file("Music/Morning Walk.mp3", 500), standIn("ID3\x04", 3'100'000, 51));
    writeBytes(file("Music/Harbour Lights.flac", 510), standIn("fLaC", 5'800'000, 52));
    writeBytes(file("Movies/Holiday clip.mp4", 400),
               standIn(QByteArray("\0\0\0\x20"
                                  "ftypisom",
                                  12),
                       48'000'000, 61));

    const QStringList roots{at("Desktop"), at("Documents"), at("Downloads"), at("Pictures"), at("Movies"), at("Music")};
    library.items = Scanner(roots, {}).scan();
    for (FileItem& item : library.items) {
        const double days = ageDays.value(item.path, 30);
        item.added = now - days * kDay;
        item.created = item.modified = now - (days + 0.5) * kDay;
    }
    return library;
}

}  // namespace fennic::FennicDemo
