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

bool looksLikeHeif(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return false;
    const QByteArray head = file.read(64);
    return head.size() >= 12
        && heif_check_filetype(reinterpret_cast<const uint8_t*>(head.constData()), int(head.size()))
        == heif_filetype_yes_supported;
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
    if (looksLikeHeif(path)) return readHeif(path, maxPixelSize);

    Decoded out;
    static std::once_flag raiseLimit;
    std::call_once(raiseLimit, [] { QImageReader::setAllocationLimit(kAllocationLimitMB); });
    QImageReader reader(path);
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
