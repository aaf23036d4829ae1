#include "Pictures.h"

#include <QFont>
#include <QFontMetrics>
#include <QImageWriter>
#include <QPainter>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <algorithm>
#include <cmath>

namespace fennic::test {

int textBaseline(int index, int pixelSize) { return 20 + pixelSize + int(index * pixelSize * 1.8); }

QImage textPicture(const QStringList& lines, int pixelSize, QSize size, const QString& family)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::TextAntialiasing);
    QFont font(family);
    font.setPixelSize(pixelSize);
    painter.setFont(font);
    painter.setPen(Qt::black);
    for (int i = 0; i < lines.size(); ++i) painter.drawText(20, textBaseline(i, pixelSize), lines[i]);
    return image;
}

namespace {

// Smooth value noise summed over octaves: enough natural texture for the vision model to see
// water, sand and rock in drawn pictures.
double hash2(int x, int y, int seed)
{
    quint32 h = quint32(x) * 374761393u + quint32(y) * 668265263u + quint32(seed) * 2246822519u;
    h = (h ^ (h >> 13)) * 1274126177u;
    return double(h ^ (h >> 16)) / 4294967296.0;
}

double valueNoise(double x, double y, int seed)
{
    const int xi = int(std::floor(x)), yi = int(std::floor(y));
    double fx = x - xi, fy = y - yi;
    fx = fx * fx * (3 - 2 * fx);
    fy = fy * fy * (3 - 2 * fy);
    const double a = hash2(xi, yi, seed), b = hash2(xi + 1, yi, seed), c = hash2(xi, yi + 1, seed),
                 d = hash2(xi + 1, yi + 1, seed);
    return a + (b - a) * fx + (c - a) * fy + (a - b - c + d) * fx * fy;
}

double fbm(double x, double y, int seed, int octaves = 5)
{
    double sum = 0, amplitude = 0.5, frequency = 1;
    for (int i = 0; i < octaves; ++i) {
        sum += amplitude * valueNoise(x * frequency, y * frequency, seed + i * 17);
        amplitude *= 0.5;
        frequency *= 2.03;
    }
    return sum;
}

QRgb clamped(double r, double g, double b)
{
    return qRgb(qBound(0, int(r), 255), qBound(0, int(g), 255), qBound(0, int(b), 255));
}

}  // namespace

QImage seaAndSand(QSize size, int seed)
{
    const int w = size.width(), h = size.height();
    QImage image(size, QImage::Format_RGB32);
    constexpr double kHorizon = 0.38, kShoreline = 0.62;
    for (int y = 0; y < h; ++y) {
        auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
        const double fy = double(y) / h;
        for (int x = 0; x < w; ++x) {
            const double fx = double(x) / w;
            double r, g, b;
            if (fy < kHorizon) {
                const double t = fy / kHorizon;
                r = 80 + 100 * t, g = 140 + 70 * t, b = 220 + 25 * t;
                const double cloud = std::clamp((fbm(fx * 6, fy * 14, seed) - 0.5) * 3.0, 0.0, 1.0);
                r += (245 - r) * cloud, g += (245 - g) * cloud, b += (248 - b) * cloud;
            } else if (fy < kShoreline) {
                const double t = (fy - kHorizon) / (kShoreline - kHorizon);
                const double depth = 1.0 / (0.15 + t);
                const double wave = fbm(fx * 12 / depth + 3, fy * 40 / depth, seed + 5);
                r = 15 + 60 * t + 70 * wave, g = 70 + 90 * t + 70 * wave, b = 120 + 50 * t + 60 * wave;
                if (wave > 0.62) {
                    const double k = (wave - 0.62) * 4;
                    r += 150 * k, g += 140 * k, b += 120 * k;
                }
                const double edge = (kShoreline - fy) / (kShoreline - kHorizon);
                if (edge < 0.08 + 0.05 * fbm(fx * 20, 0, seed + 9))
                    r = g = b = 200 + 55 * fbm(fx * 80, fy * 80, seed + 11);
            } else {
                const double t = (fy - kShoreline) / (1 - kShoreline);
                const double grain = fbm(fx * 60, fy * 30 / (0.3 + t), seed + 21) - 0.5;
                const double ripple = fbm(fx * 8, fy * 40, seed + 31);
                r = 190 + 30 * t + 50 * grain + 20 * ripple, g = 168 + 30 * t + 45 * grain + 18 * ripple,
                b = 125 + 25 * t + 40 * grain + 12 * ripple;
                if (t < 0.1) r -= 45, g -= 45, b -= 35;
            }
            row[x] = clamped(r, g, b);
        }
    }
    return image;
}

QImage snowyMountains(QSize size, int seed)
{
    const int w = size.width(), h = size.height();
    QImage image(size, QImage::Format_RGB32);
    for (int x = 0; x < w; ++x) {
        const double fx = double(x) / w;
        const double far = 0.25 + 0.3 * fbm(fx * 3, 0.5, seed, 6);
        const double near = 0.45 + 0.2 * fbm(fx * 5 + 7, 1.5, seed + 3, 6);
        for (int y = 0; y < h; ++y) {
            const double fy = double(y) / h;
            double r, g, b;
            if (fy < far && fy < near) {
                const double t = fy / far;
                r = 100 + 80 * t, g = 150 + 60 * t, b = 225 + 20 * t;
            } else if (fy < near) {
                const double rock = fbm(fx * 30, fy * 30, seed + 40);
                if (fy < far + 0.12 + 0.08 * fbm(fx * 10, fy * 5, seed + 50))
                    r = g = 225 + 30 * rock, b = 240 + 15 * rock;
                else
                    r = 90 + 60 * rock, g = 85 + 55 * rock, b = 95 + 50 * rock;
            } else {
                const double t = (fy - near) / (1 - near);
                const double grass = fbm(fx * 40, fy * 40, seed + 60);
                if (fy < near + 0.06 + 0.05 * fbm(fx * 12, 3, seed + 70))
                    r = g = 230 + 25 * grass, b = 245;
                else
                    r = 60 + 50 * grass + 20 * t, g = 90 + 60 * grass + 20 * t, b = 70 + 40 * grass;
            }
            reinterpret_cast<QRgb*>(image.scanLine(y))[x] = clamped(r, g, b);
        }
    }
    return image;
}

QImage randomScene(QSize size, int seed)
{
    QRandomGenerator random{quint32(seed)};
    QImage image(size, QImage::Format_RGB32);
    image.fill(QColor::fromHsv(int(random.bounded(360)), 80 + int(random.bounded(150)), 60 + int(random.bounded(190))));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 30; ++i) {
        painter.setBrush(QColor::fromHsv(int(random.bounded(360)), int(random.bounded(256)), int(random.bounded(256))));
        const QRectF r(random.bounded(size.width()) - size.width() / 4.0,
                       random.bounded(size.height()) - size.height() / 4.0, random.bounded(size.width() / 2) + 10,
                       random.bounded(size.height() / 2) + 10);
        if (i % 2)
            painter.drawEllipse(r);
        else
            painter.drawRect(r);
    }
    return image;
}

const QStringList& dictionary()
{
    static const QStringList words = QStringLiteral(
        "account address after again almost also answer april around autumn backup balance before below "
        "between billing birthday budget calendar camera change chapter check client cloud colour comment "
        "company contact contract copy create customer daily darker delete delivery design details "
        "display document download draft during editor email energy estimate evening export family "
        "february feedback field figure final folder friday garden general group harbour history holiday "
        "house import invoice journal kitchen language launch letter library light limit linked manager "
        "market meeting member message minutes monday morning network notes number office online order "
        "output package paper partner payment people personal picture planning preview printer private "
        "project quarter question receipt recent record report request review river saturday schedule "
        "search second section server settings shared signed simple source spring status storage summary "
        "summer support system table thursday ticket timeline today total travel tuesday update upload "
        "version video weekly window winter working yellow 2024 2025 12 48 365 1080")
            .split(u' ', Qt::SkipEmptyParts);
    return words;
}

QImage screenshot(int seed, int pixelSize, qreal scale, QStringList* words)
{
    QRandomGenerator random{quint32(seed)};
    auto sentence = [&](int count) {
        QStringList picked;
        for (int i = 0; i < count; ++i) picked.append(dictionary()[int(random.bounded(dictionary().size()))]);
        picked.first()[0] = picked.first()[0].toUpper();
        return picked.join(u' ');
    };
    const QSize logical(720, 450);
    QImage image(logical * scale, QImage::Format_RGB32);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::TextAntialiasing);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    QStringList drawn;
    auto draw = [&](const QRect& box, const QString& text, int flags = Qt::AlignLeft | Qt::AlignVCenter) {
        painter.drawText(box, flags, text);
        drawn.append(text.split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts));
    };
    const int line = int(pixelSize * 1.7);
    // Title bar.
    painter.fillRect(QRect(0, 0, logical.width(), line + 8), QColor(236, 236, 236));
    painter.setPen(QColor(40, 40, 40));
    painter.setFont(font);
    draw(QRect(0, 0, logical.width(), line + 8), sentence(3), Qt::AlignCenter);
    // Sidebar.
    const int sidebar = 190;
    painter.fillRect(QRect(0, line + 8, sidebar, logical.height()), QColor(245, 245, 247));
    for (int y = line + 20, i = 0; y + line < logical.height() && i < 9; y += line + 4, ++i)
        draw(QRect(16, y, sidebar - 20, line), sentence(2));
    // Heading, paragraphs and a button.
    int y = line + 24;
    QFont heading = font;
    heading.setPixelSize(int(pixelSize * 1.5));
    heading.setBold(true);
    painter.setFont(heading);
    painter.setPen(Qt::black);
    draw(QRect(sidebar + 24, y, logical.width() - sidebar - 40, int(line * 1.5)), sentence(4));
    y += int(line * 1.5) + 10;
    painter.setFont(font);
    const int width = logical.width() - sidebar - 48;
    while (y + 3 * line < logical.height() - line * 2) {
        const QFontMetrics metrics(font);
        // Wrap by hand so that the words drawn are known line by line.
        QString current;
        int lines = 0;
        const QStringList paragraph = sentence(14 + int(random.bounded(10))).split(u' ');
        for (const QString& word : paragraph) {
            const QString candidate = current.isEmpty() ? word : current + u' ' + word;
            if (metrics.horizontalAdvance(candidate) > width && !current.isEmpty()) {
                draw(QRect(sidebar + 24, y, width, line), current);
                y += line, ++lines, current = word;
            } else {
                current = candidate;
            }
        }
        if (!current.isEmpty()) draw(QRect(sidebar + 24, y, width, line), current), y += line;
        y += line / 2;
    }
    const QRect button(logical.width() - 150, logical.height() - line * 2 - 10, 120, line + 8);
    painter.setBrush(QColor(0, 110, 230));
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(button, 6, 6);
    painter.setPen(Qt::white);
    draw(button, dictionary()[int(random.bounded(dictionary().size()))], Qt::AlignCenter);
    if (words) *words = drawn;
    return image;
}

QImage receipt(QSize size)
{
    return textPicture({QStringLiteral("BLUE HARBOUR CAFE"),
        QStringLiteral("12 Quay Street"),
            QStringLiteral("Flat White 3.80"),
                QStringLiteral("Croissant 2.90"),
                               QStringLiteral("Subtotal 6.70"),
                                              QStringLiteral("VAT 1.12"),
                                                             QStringLiteral("TOTAL 6.70"),
                                                                            QStringLiteral("VISA **** 4421"),
                                                                                           QStringLiteral("Thank you")},
                                                                            22, size,
                                                                            QStringLiteral("DejaVu Sans Mono"));
}

QString save(const QImage& image, const QString& path, int quality)
{
    QImageWriter writer(path);
    if (quality >= 0) writer.setQuality(quality);
    writer.write(image);
    return path;
}

}  // namespace fennic::test
