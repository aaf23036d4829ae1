#include "images/TextRecognizer.h"

#include "images/OCRLanguages.h"

#include <QByteArray>
#include <QFile>
#include <QHash>
#include <algorithm>
#include <cmath>
#include <dlfcn.h>
#include <memory>
#include <mutex>
#include <tesseract/capi.h>

namespace fennic::TextRecognizer {
namespace {

// The C interface of libtesseract, resolved at run time so that the library (and the OpenMP
// runtime it pulls in) loads only after the thread limit is in the environment.
struct Api {
    decltype(&TessBaseAPICreate) create = nullptr;
    decltype(&TessBaseAPIDelete) destroy = nullptr;
    decltype(&TessBaseAPIInit2) init = nullptr;
    decltype(&TessBaseAPISetVariable) setVariable = nullptr;
    decltype(&TessBaseAPISetPageSegMode) setPageSegMode = nullptr;
    decltype(&TessBaseAPISetImage) setImage = nullptr;
    decltype(&TessBaseAPISetSourceResolution) setResolution = nullptr;
    decltype(&TessBaseAPIRecognize) recognize = nullptr;
    decltype(&TessBaseAPIGetIterator) getIterator = nullptr;
    decltype(&TessBaseAPIClear) clear = nullptr;
    decltype(&TessResultIteratorGetPageIterator) pageIterator = nullptr;
    decltype(&TessPageIteratorBoundingBox) boundingBox = nullptr;
    decltype(&TessResultIteratorGetUTF8Text) utf8Text = nullptr;
    decltype(&TessResultIteratorConfidence) confidence = nullptr;
    decltype(&TessResultIteratorNext) next = nullptr;
    decltype(&TessResultIteratorDelete) deleteIterator = nullptr;
    decltype(&TessDeleteText) deleteText = nullptr;
};

template <typename F> bool resolveSymbol(void* library, const char* name, F& slot)
{
    slot = reinterpret_cast<F>(dlsym(library, name));
    return slot != nullptr;
}

const Api* loadApi()
{
    // Tesseract's OpenMP threading must be off. The limit in the environment works when the
    // OpenMP runtime loads with Tesseract; a value the user set is kept.
    if (!qEnvironmentVariableIsSet("OMP_THREAD_LIMIT")) qputenv("OMP_THREAD_LIMIT", "1");
    void* library = dlopen("libtesseract.so.5", RTLD_NOW | RTLD_LOCAL);
    if (!library) library = dlopen("libtesseract.so", RTLD_NOW | RTLD_LOCAL);
    if (!library) return nullptr;
    // Often the runtime is already loaded (Qt's BLAKE2 library brings it) and has read the
    // environment at start-up; then no parallel region may become active, which keeps every
    // one of them on its calling thread.
    using SetMaxActiveLevels = void (*)(int);
    if (!qEnvironmentVariableIsSet("OMP_MAX_ACTIVE_LEVELS"))
        if (auto setLevels = reinterpret_cast<SetMaxActiveLevels>(dlsym(library, "omp_set_max_active_levels")))
            setLevels(0);
    auto api = std::make_unique<Api>();
    const bool ok = resolveSymbol(library, "TessBaseAPICreate", api->create)
        && resolveSymbol(library, "TessBaseAPIDelete", api->destroy)
        && resolveSymbol(library, "TessBaseAPIInit2", api->init)
        && resolveSymbol(library, "TessBaseAPISetVariable", api->setVariable)
        && resolveSymbol(library, "TessBaseAPISetPageSegMode", api->setPageSegMode)
        && resolveSymbol(library, "TessBaseAPISetImage", api->setImage)
        && resolveSymbol(library, "TessBaseAPISetSourceResolution", api->setResolution)
        && resolveSymbol(library, "TessBaseAPIRecognize", api->recognize)
        && resolveSymbol(library, "TessBaseAPIGetIterator", api->getIterator)
        && resolveSymbol(library, "TessBaseAPIClear", api->clear)
        && resolveSymbol(library, "TessResultIteratorGetPageIterator", api->pageIterator)
        && resolveSymbol(library, "TessPageIteratorBoundingBox", api->boundingBox)
        && resolveSymbol(library, "TessResultIteratorGetUTF8Text", api->utf8Text)
        && resolveSymbol(library, "TessResultIteratorConfidence", api->confidence)
        && resolveSymbol(library, "TessResultIteratorNext", api->next)
        && resolveSymbol(library, "TessResultIteratorDelete", api->deleteIterator)
        && resolveSymbol(library, "TessDeleteText", api->deleteText);
    // Leptonica, loaded with Tesseract, reports things like boxes clipped at the picture's edge
    // on standard error; none of them is for the user.
    using SetSeverity = int (*)(int);
    constexpr int kLeptonicaSilent = 6;  // L_SEVERITY_NONE
    if (auto setSeverity = reinterpret_cast<SetSeverity>(dlsym(library, "setMsgSeverity")))
        setSeverity(kLeptonicaSilent);
    // The library stays loaded for the life of the process (its recognisers live as long).
    return ok ? api.release() : nullptr;
}

const Api* api()
{
    static const Api* loaded = loadApi();
    return loaded;
}

// Resolutions outside this range are not believed (Tesseract's own limits).
constexpr int kMinCredibleResolution = 70;
constexpr int kMaxCredibleResolution = 2400;

// One initialised recogniser; `lock` serialises its use.
struct Engine {
    TessBaseAPI* handle = nullptr;
    bool ready = false;
    std::mutex lock;
};

// Recognisers by language set. Created on first use and never freed: they live as long as
// the process, and reloading a language's model costs far more than keeping it.
Engine* engineFor(const QString& languages)
{
    static std::mutex poolLock;
    static auto* pool = new QHash<QString, Engine*>();
    const Api* tess = api();
    if (!tess) return nullptr;
    std::lock_guard guard(poolLock);
    if (Engine* existing = pool->value(languages)) return existing->ready ? existing : nullptr;
    auto* engine = new Engine;
    engine->handle = tess->create();
    // Tesseract's own notices (resolution estimates and the like) are not for the user.
    tess->setVariable(engine->handle, "debug_file", "/dev/null");
    const QByteArray path = QFile::encodeName(OCRLanguages::dataPath());
    engine->ready =
        tess->init(engine->handle, path.constData(), languages.toUtf8().constData(), tesseract::OEM_LSTM_ONLY) == 0;
    pool->insert(languages, engine);
    return engine->ready ? engine : nullptr;
}

}  // namespace

bool available() { return api() != nullptr; }

std::optional<QList<Line>> recognize(const QImage& image, const QString& languages, Layout layout)
{
    const Api* tess = api();
    Engine* engine = engineFor(languages);
    if (!tess || !engine) return std::nullopt;
    if (image.isNull() || image.width() < 3 || image.height() < 3) return QList<Line>{};
    // Grey pictures go in as they are; colour ones as RGB, so that Tesseract converts and
    // thresholds them exactly as it does files of its own.
    const bool grey = image.format() == QImage::Format_Grayscale8;
    const QImage pixels = grey ? image : image.convertToFormat(QImage::Format_RGB888);

    QList<Line> lines;
    std::lock_guard guard(engine->lock);
    tess->setPageSegMode(engine->handle,
                         layout == Layout::singleLine ? tesseract::PSM_SINGLE_LINE : tesseract::PSM_AUTO);
    tess->setImage(engine->handle, pixels.constBits(), pixels.width(), pixels.height(), grey ? 1 : 3,
                   int(pixels.bytesPerLine()));
    // The picture's own resolution, as the tesseract command takes it from a file; Tesseract
    // guesses one from the text otherwise, and its layout analysis depends on it.
    const int ppi = int(std::lround(image.dotsPerMeterY() * 0.0254));
    if (ppi >= kMinCredibleResolution && ppi <= kMaxCredibleResolution) tess->setResolution(engine->handle, ppi);
    if (tess->recognize(engine->handle, nullptr) != 0) {
        tess->clear(engine->handle);
        return lines;
    }
    if (TessResultIterator* it = tess->getIterator(engine->handle)) {
        do {
            char* text = tess->utf8Text(it, tesseract::RIL_TEXTLINE);
            if (!text) continue;
            const QString trimmed = QString::fromUtf8(text).trimmed();
            tess->deleteText(text);
            if (trimmed.isEmpty()) continue;
            int left = 0, top = 0, right = 0, bottom = 0;
            if (!tess->boundingBox(tess->pageIterator(it), tesseract::RIL_TEXTLINE, &left, &top, &right, &bottom))
                continue;
            const float confidence = std::clamp(tess->confidence(it, tesseract::RIL_TEXTLINE) / 100.0f, 0.0f, 1.0f);
            lines.append(Line{trimmed, QRect(QPoint(left, top), QPoint(right - 1, bottom - 1)), confidence});
        } while (tess->next(it, tesseract::RIL_TEXTLINE));
        tess->deleteIterator(it);
    }
    tess->clear(engine->handle);
    return lines;
}

}  // namespace fennic::TextRecognizer
