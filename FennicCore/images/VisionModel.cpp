#include "images/VisionModel.h"

#include "images/ConceptLabels.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPainter>
#include <QStandardPaths>
#include <cmath>
#include <mutex>
#include <opencv2/core.hpp>
#include <opencv2/dnn.hpp>
#include <opencv2/imgproc.hpp>

namespace fennic {
namespace {

constexpr const char* kNetworkFile = "mobilenet_v2.onnx";
constexpr const char* kLabelsFile = "labels.txt";
// The network was trained on centre crops of this share of the shorter side.
constexpr double kCropShare = 0.875;

bool isComplete(const QString& folder)
{
    return QFileInfo(QDir(folder).filePath(QString::fromLatin1(kNetworkFile))).isFile()
        && QFileInfo(QDir(folder).filePath(QString::fromLatin1(kLabelsFile))).isFile();
}

std::mutex& sharedLock()
{
    static std::mutex lock;
    return lock;
}

std::shared_ptr<VisionModel>& sharedSlot()
{
    static std::shared_ptr<VisionModel> model;
    return model;
}

bool& sharedTried()
{
    static bool tried = false;
    return tried;
}

}  // namespace

struct VisionModel::Impl {
    mutable std::mutex lock;
    mutable cv::dnn::Net net;
    QStringList identifiers;
};

VisionModel::VisionModel() : m_impl(std::make_unique<Impl>()) { }
VisionModel::~VisionModel() = default;

std::optional<QString> VisionModel::locate()
{
    const QString name = QString::fromLatin1(kFolderName);
    if (qEnvironmentVariableIsSet("FENNIC_MODEL_DIR")) {
        const QString dir = qEnvironmentVariable("FENNIC_MODEL_DIR");
        if (isComplete(dir)) return QDir(dir).absolutePath();
        if (isComplete(QDir(dir).filePath(name))) return QDir(QDir(dir).filePath(name)).absolutePath();
        return std::nullopt;
    }
    // The install prefix (bin/../share) and the build tree (where the executables sit a few
    // folders below share/).
    QDir dir = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalPath();
    for (int level = 0; level < 5 && !dir.isRoot(); ++level) {
        const QString candidate = dir.filePath(QStringLiteral("share/fennic/models/") + name);
        if (isComplete(candidate)) return candidate;
        if (!dir.cdUp()) break;
    }
    const QString user = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/fennic/models/") + name;
    if (isComplete(user)) return user;
    return std::nullopt;
}

std::shared_ptr<VisionModel> VisionModel::shared()
{
    std::lock_guard guard(sharedLock());
    if (!sharedTried()) {
        sharedTried() = true;
        if (const auto folder = locate()) sharedSlot() = load(*folder);
    }
    return sharedSlot();
}

void VisionModel::resetSharedForTesting()
{
    std::lock_guard guard(sharedLock());
    sharedTried() = false;
    sharedSlot().reset();
}

QStringList VisionModel::readLabels(const QString& file)
{
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly | QIODevice::Text)) return {};
    QStringList identifiers;
    while (!in.atEnd()) {
        QString line = QString::fromUtf8(in.readLine()).trimmed();
        const qsizetype comma = line.indexOf(u',');
        if (comma >= 0) line.truncate(comma);
        QString id = line.trimmed().toLower();
        id.replace(u' ', u'_').replace(u'-', u'_');
        identifiers.append(id);
    }
    return identifiers;
}

std::unique_ptr<VisionModel> VisionModel::load(const QString& folder)
{
    if (!isComplete(folder)) return nullptr;
    std::unique_ptr<VisionModel> model(new VisionModel);
    model->m_impl->identifiers = readLabels(QDir(folder).filePath(QString::fromLatin1(kLabelsFile)));
    if (model->m_impl->identifiers.isEmpty()) return nullptr;
    try {
        const QByteArray path = QFile::encodeName(QDir(folder).filePath(QString::fromLatin1(kNetworkFile)));
        model->m_impl->net = cv::dnn::readNetFromONNX(path.toStdString());
        if (model->m_impl->net.empty()) return nullptr;
        model->m_impl->net.setPreferableBackend(cv::dnn::DNN_BACKEND_OPENCV);
        model->m_impl->net.setPreferableTarget(cv::dnn::DNN_TARGET_CPU);
    } catch (const cv::Exception&) {
        return nullptr;
    }
    return model;
}

const QStringList& VisionModel::identifiers() const { return m_impl->identifiers; }

std::optional<VisionModel::Result> VisionModel::run(const QImage& image) const
{
    if (image.isNull() || image.width() < 2 || image.height() < 2) return std::nullopt;

    // Centre square of the shorter side, over white where the picture is transparent.
    const int side = std::max(1, int(std::lround(std::min(image.width(), image.height()) * kCropShare)));
    const QRect crop((image.width() - side) / 2, (image.height() - side) / 2, side, side);
    QImage rgb(side, side, QImage::Format_RGB888);
    rgb.fill(Qt::white);
    {
        QPainter painter(&rgb);
        painter.drawImage(QPoint(0, 0), image, crop);
    }
    const cv::Mat wrapped(rgb.height(), rgb.width(), CV_8UC3, const_cast<uchar*>(rgb.constBits()),
                          size_t(rgb.bytesPerLine()));
    cv::Mat resized;
    cv::resize(wrapped, resized, cv::Size(kInputSize, kInputSize), 0, 0, cv::INTER_AREA);
    // The network takes RGB scaled to [-1, 1]; the pixels already are RGB.
    const cv::Mat blob = cv::dnn::blobFromImage(resized, 1.0 / 127.5, cv::Size(kInputSize, kInputSize),
                                                cv::Scalar(127.5, 127.5, 127.5), /*swapRB=*/false);

    std::vector<cv::Mat> outputs;
    try {
        std::lock_guard guard(m_impl->lock);
        m_impl->net.setInput(blob, "input");
        m_impl->net.forward(outputs, std::vector<cv::String>{"embedding", "prob"});
    } catch (const cv::Exception&) {
        return std::nullopt;
    }
    if (outputs.size() != 2) return std::nullopt;
    const cv::Mat embedding = outputs[0].reshape(1, 1);
    const cv::Mat prob = outputs[1].reshape(1, 1);
    if (embedding.type() != CV_32F || prob.type() != CV_32F) return std::nullopt;

    Result result;
    const auto* p = prob.ptr<float>(0);
    std::vector<float> probabilities(p, p + prob.cols);
    const QStringList& ids = m_impl->identifiers;
    const int classes = int(std::min<size_t>(probabilities.size(), size_t(ids.size())));
    // Output 0 is the background class, never a label. Identifiers shared by two classes
    // (two "crane"s, two "maillot"s) add up.
    constexpr float kNegligible = 0.001f;
    for (int i = 1; i < classes; ++i)
        if (probabilities[size_t(i)] >= kNegligible) result.labels[ids[i]] += probabilities[size_t(i)];
    result.labels.removeIf([](const auto& entry) { return entry.value() < kMinimumConfidence; });
    for (auto it = result.labels.begin(); it != result.labels.end(); ++it) it.value() = std::min(it.value(), 1.0f);
    ConceptLabels::aggregate(probabilities, ids, kMinimumConfidence, result.labels);

    const auto* e = embedding.ptr<float>(0);
    result.print.resize(size_t(embedding.cols));
    double norm = 0.0;
    for (int i = 0; i < embedding.cols; ++i) {
        const float root = std::sqrt(std::max(e[i], 0.0f));
        result.print[size_t(i)] = root;
        norm += double(root) * root;
    }
    norm = std::sqrt(norm);
    if (norm > 0.0)
        for (float& v : result.print) v = float(v / norm * kPrintScale);
    return result;
}

}  // namespace fennic
