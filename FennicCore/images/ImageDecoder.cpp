#include "images/ImageDecoder.h"

#include <QFile>
#include <QImageReader>
#include <libheif/heif.h>
#include <memory>
#include <mutex>

namespace fennic::ImageDecoder {
namespace {

// Large PNGs and TIFFs are decoded whole before scaling; allow that for files below the
// 80 MB limit rather than failing them.
constexpr int kAllocationLimitMB = 1024;

QSize fitted(QSize size, int maxPixelSize)
{
    if (size.width() <= maxPixelSize && size.height() <= maxPixelSize) return size;
    return size.scaled(maxPixelSize, maxPixelSize, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
}

// What the first bytes of a file say about how to decode it.
struct Sniffed {
    enum Kind {
        heif,       // libheif
        named,      // this Qt format, without trying the others
        qtDecides,  // a format without a signature worth testing here: Qt's own probing
        nothing,    // no picture: nothing is decoded
    } kind = nothing;
    QByteArray format;
};

// Decoding a file that is not a picture used to cost a trial of every image plugin, some of
// which (TGA) accept almost anything at first and read on; files named like pictures that are
// not (stand-ins, damaged downloads) are common, and this is read for every candidate of a
// look-alike search. The signature decides the plugin; a file named after a format without
// one is left to Qt.
Sniffed sniff(const QByteArray& head, const QString& path)
{
    auto starts = [&](QByteArrayView magic, qsizetype at = 0) { return head.mid(at).startsWith(magic); };
    if (head.size() >= 12
        && heif_check_filetype(reinterpret_cast<const uint8_t*>(head.constData()), int(head.size()))
            == heif_filetype_yes_supported)
        return {Sniffed::heif, {}};
    if (starts("\xFF\xD8\xFF")) return {Sniffed::named, "jpeg"};
    if (starts("\x89PNG\r\n\x1a\n")) return {Sniffed::named, "png"};
    if (starts("GIF87a") || starts("GIF89a")) return {Sniffed::named, "gif"};
    if (starts("RIFF") && starts("WEBP", 8)) return {Sniffed::named, "webp"};
    if (starts(QByteArrayView("II*\0", 4)) || starts(QByteArrayView("MM\0*", 4))) return {Sniffed::named, "tiff"};
    if (starts("BM")) return {Sniffed::named, "bmp"};
    if (starts("icns")) return {Sniffed::named, "icns"};
    // Text formats (SVG, XPM, XBM), the portable any-maps, ICO and the rest: Qt tells them.
    static const char* const kOthers[] = {"<?xml", "<svg", "/* XPM */", "#define", "P1", "P2",
                                          "P3",    "P4",   "P5",        "P6",      "P7", "\x8aMNG"};
    for (const char* magic : kOthers)
        if (starts(magic)) return {Sniffed::qtDecides, {}};
    if (starts(QByteArrayView("\0\0\1\0", 4)) || starts(QByteArrayView("\0\0\2\0", 4))) return {Sniffed::qtDecides, {}};
    // Formats whose files carry no signature at all.
    const QString suffix = path.section(u'.', -1).toLower();
    static const QStringList kUnsigned{QStringLiteral("tga"), QStringLiteral("wbmp"), QStringLiteral("svgz")};
    if (kUnsigned.contains(suffix)) return {Sniffed::qtDecides, {}};
    return {};
}

Decoded readHeif(const QString& path, int maxPixelSize)
{
    Decoded out;
    std::unique_ptr<heif_context, decltype(&heif_context_free)> context(heif_context_alloc(), heif_context_free);
    if (!context) return out;
    const QByteArray name = QFile::encodeName(path);
    if (heif_context_read_from_file(context.get(), name.constData(), nullptr).code != heif_error_Ok) return out;
    heif_image_handle* rawHandle = nullptr;
    if (heif_context_get_primary_image_handle(context.get(), &rawHandle).code != heif_error_Ok) return out;
    std::unique_ptr<heif_image_handle, decltype(&heif_image_handle_release)> handle(rawHandle,
                                                                                    heif_image_handle_release);
    out.opened = true;
    out.pixelWidth = heif_image_handle_get_width(handle.get());
    out.pixelHeight = heif_image_handle_get_height(handle.get());

    // Decoding applies the file's rotation and mirroring.
    heif_image* rawImage = nullptr;
    if (heif_decode_image(handle.get(), &rawImage, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, nullptr).code
        != heif_error_Ok)
        return out;
    std::unique_ptr<heif_image, decltype(&heif_image_release)> image(rawImage, heif_image_release);
    int stride = 0;
    const uint8_t* pixels = heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
    const int width = heif_image_get_width(image.get(), heif_channel_interleaved);
    const int height = heif_image_get_height(image.get(), heif_channel_interleaved);
    if (!pixels || width <= 0 || height <= 0) return out;
    // Copy out of libheif's buffer before it is released.
    QImage decoded = QImage(pixels, width, height, stride, QImage::Format_RGBA8888).copy();
    const QSize target = fitted(decoded.size(), maxPixelSize);
    out.image =
        target == decoded.size() ? decoded : decoded.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return out;
}

}  // namespace

Decoded read(const QString& path, int maxPixelSize)
{
    Decoded out;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return out;
    const Sniffed sniffed = sniff(file.read(64), path);
    switch (sniffed.kind) {
    case Sniffed::heif: return readHeif(path, maxPixelSize);
    case Sniffed::nothing: return out;
    case Sniffed::named:
    case Sniffed::qtDecides: break;
    }
    static std::once_flag raiseLimit;
    std::call_once(raiseLimit, [] { QImageReader::setAllocationLimit(kAllocationLimitMB); });
    QImageReader reader;
    if (sniffed.kind == Sniffed::named) {
        if (!file.seek(0)) return out;
        reader.setDevice(&file);
        reader.setFormat(sniffed.format);
    } else {
        file.close();
        reader.setFileName(path);
    }
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (!reader.canRead()) return out;
    out.opened = true;
    if (size.isValid()) {
        out.pixelWidth = size.width();
        out.pixelHeight = size.height();
        // Scaled while decoding where the format allows it (JPEG), after decoding otherwise.
        const QSize target = fitted(size, maxPixelSize);
        if (target != size) reader.setScaledSize(target);
    }
    QImage image = reader.read();
    if (image.isNull()) return out;
    if (!size.isValid()) {
        out.pixelWidth = image.width();
        out.pixelHeight = image.height();
    }
    const QSize target = fitted(image.size(), maxPixelSize);
    if (target != image.size()) image = image.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    out.image = std::move(image);
    return out;
}

}  // namespace fennic::ImageDecoder
