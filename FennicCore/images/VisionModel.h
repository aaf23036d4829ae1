#pragma once

#include <QHash>
#include <QImage>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>
#include <vector>

namespace fennic {

// The vision model that ships with Fennic (MobileNetV2 trained on ImageNet, as ONNX), run on
// the CPU with OpenCV's DNN module. One run gives classification labels (the model's classes
// plus the aggregated concept labels) and the embedding that becomes the feature print.
//
// The model folder is found in this order: FENNIC_MODEL_DIR (the folder itself or its
// "mobilenet_v2_imagenet" subfolder; when the variable is set nothing else is tried), then
// "share/fennic/models/mobilenet_v2_imagenet" under the executable's folder or one of its
// parents (the install prefix and the build tree), then the user's data folder
// (~/.local/share/fennic/models/...). Without it Fennic runs on: labels stay empty and the
// feature print falls back to a small classical descriptor.
class VisionModel {
public:
    static constexpr const char* kFolderName = "mobilenet_v2_imagenet";
    static constexpr int kInputSize = 224;
    // Labels weaker than this are dropped; the classifier spreads tiny values over all classes.
    static constexpr float kMinimumConfidence = 0.03f;
    // Prints are scaled so that look-alike copies lie within 0.45 and unrelated photos beyond
    // about 0.95 of each other.
    static constexpr float kPrintScale = 0.9f;

    struct Result {
        QHash<QString, float> labels;  // identifiers and concepts at or above kMinimumConfidence
        std::vector<float> print;      // kPrintScale x L2-normalised square root of the embedding
    };

    ~VisionModel();
    VisionModel(const VisionModel&) = delete;
    VisionModel& operator=(const VisionModel&) = delete;

    // The model folder, or none when no complete one (network and labels) is found.
    static std::optional<QString> locate();

    // The process-wide model, loaded on first use from locate(); null when there is none or it
    // cannot be loaded. Any thread.
    static std::shared_ptr<VisionModel> shared();
    // Test hook: forget the shared model so that the next shared() looks again (after
    // FENNIC_MODEL_DIR changed). Never used by the application.
    static void resetSharedForTesting();

    // Loads the network and labels from a folder; null on any fault.
    static std::unique_ptr<VisionModel> load(const QString& folder);

    // The label identifiers of a folder's "labels.txt" (first name of each line, lower-cased,
    // spaces and hyphens turned into "_"); index i names output i. Empty when unreadable.
    static QStringList readLabels(const QString& file);

    // Classifies and embeds one picture (any format; transparency is laid over white).
    // Serialised internally; any thread. None when the network fails on this input.
    std::optional<Result> run(const QImage& image) const;

    const QStringList& identifiers() const;

private:
    VisionModel();
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace fennic
