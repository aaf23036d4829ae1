// Image benchmarks: text recognition quality and speed against the tesseract command, whole-
// picture analysis throughput, visual search and the index file at 20,000 records, and
// look-alike distances on a drawn test set.
//
//   bench_images [ocr|analyze|search|plist|lookalike|all] [--records N] [--runs R]
//   bench_images write-set DIR     writes the drawn test set (for trying fennic-cli by hand)
#include "Pictures.h"
#include "images/ImageAnalyzer.h"
#include "images/ImageDecoder.h"
#include "images/ImageIndex.h"
#include "images/VisionModel.h"
#include "images/VisualSearch.h"
#include "images/Vocabulary.h"
#include "model/Fold.h"
#include "support/BenchTimer.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>
#include <cstdio>

using namespace fennic;

namespace {

using bench::median;

QStringList wordsOf(const QString& text)
{
    QStringList words;
    QString current;
    for (const QChar c : Fold::text(text)) {
        if (c.isLetterOrNumber())
            current += c;
        else if (!current.isEmpty())
            words.append(current), current.clear();
    }
    if (!current.isEmpty()) words.append(current);
    return words;
}

// Share of the truth's words found in the reading, each found word used once.
double recovered(const QStringList& truth, const QString& reading)
{
    QHash<QString, int> available;
    for (const QString& w : wordsOf(reading)) ++available[w];
    int found = 0, total = 0;
    for (const QString& t : truth) {
        for (const QString& w : wordsOf(t)) {
            ++total;
            if (available.value(w) > 0) --available[w], ++found;
        }
    }
    return total ? double(found) / total : 1.0;
}

struct CommandRun {
    QString text;
    double ms = 0;
};

CommandRun tesseractCommand(const QString& file, bool limitThreads)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    if (limitThreads)
        env.insert(QStringLiteral("OMP_THREAD_LIMIT"), QStringLiteral("1"));
    else
        env.remove(QStringLiteral("OMP_THREAD_LIMIT"));
    process.setProcessEnvironment(env);
    bench::Stopwatch timer;
    process.start(QStringLiteral("tesseract"),
                                 {file, QStringLiteral("stdout"), QStringLiteral("-l"), QStringLiteral("eng")});
    process.waitForFinished(300000);
    CommandRun run;
    run.ms = timer.ms();
    run.text = QString::fromUtf8(process.readAllStandardOutput());
    return run;
}

QString joined(const QList<TextLine>& lines)
{
    QStringList texts;
    for (const TextLine& l : lines) texts.append(l.text);
    return texts.join(u'\n');
}

void benchOcr(const QString& folder)
{
    std::printf("## Text recognition on drawn screenshots (720 x 450 pt windows, DejaVu Sans)\n");
    std::printf("| scale | text px (pt) | words | recovered: Fennic | recovered: tesseract cmd | Fennic ms | cmd ms "
                "(OMP_THREAD_LIMIT=1) | cmd ms (default threads) |\n");
    std::printf("|---|---|---|---|---|---|---|---|\n");
    // Warm up: load Tesseract and the English data once, as the indexing task does.
    ImageAnalyzer::recognizeText(test::screenshot(99, 14, 1.0), {QStringLiteral("en-US")});
    struct Row {
        qreal scale;
        int size;
    };
    const Row rows[] = {{2.0, 12}, {2.0, 13}, {2.0, 14}, {2.0, 16}, {2.0, 20},
                        {1.0, 10}, {1.0, 12}, {1.0, 14}, {1.0, 16}};
    for (const Row& row : rows) {
        int words = 0;
        double ours = 0, theirs = 0;
        std::vector<double> ourMs, cmdMs, cmdDefaultMs;
        constexpr int kSeeds = 2;
        for (int seed = 1; seed <= kSeeds; ++seed) {
            QStringList truth;
            const QImage shot = test::screenshot(seed, row.size, row.scale, &truth);
            const QString file = test::save(
                shot,
                QDir(folder).filePath(QStringLiteral("shot-%1x-%2-%3.png").arg(row.scale).arg(row.size).arg(seed)));
            words += int(truth.size());
            bench::Stopwatch timer;
            const QImage decoded = ImageDecoder::read(file).image;
            const QList<TextLine> lines = ImageAnalyzer::recognizeText(decoded, {QStringLiteral("en-US")});
            ourMs.push_back(timer.ms());
            ours += recovered(truth, joined(lines));
            const CommandRun limited = tesseractCommand(file, true);
            cmdMs.push_back(limited.ms);
            theirs += recovered(truth, limited.text);
            cmdDefaultMs.push_back(tesseractCommand(file, false).ms);
        }
        std::printf("| %.0fx | %d | %d | %.1f%% | %.1f%% | %.0f | %.0f | %.0f |\n", row.scale, row.size, words,
                    100.0 * ours / kSeeds, 100.0 * theirs / kSeeds, median(ourMs), median(cmdMs), median(cmdDefaultMs));
        std::fflush(stdout);
    }
}

FileItem itemFor(const QString& path)
{
    FileItem item;
    item.path = path;
    item.name = QFileInfo(path).fileName();
    item.ext = QFileInfo(path).suffix().toLower();
    item.size = QFileInfo(path).size();
    item.kind = FileKind::image;
    return item;
}

struct TestSet {
    QStringList originals;                      // distinct pictures
    QStringList kinds;                          // what each original shows; same kind = related scenes
    QList<std::pair<QString, QString>> copies;  // (original, copy)
};

TestSet writeSet(const QString& folder)
{
    QDir().mkpath(folder + QStringLiteral("/Pictures/Screenshots"));
    auto at = [&folder](const QString& name) { return QDir(folder).filePath(name); };
    TestSet set;
    const QImage sea1 = test::seaAndSand(QSize(1600, 1067), 1);
    const QImage sea2 = test::seaAndSand(QSize(1600, 1067), 7);
    const QImage alps = test::snowyMountains(QSize(1600, 1067), 1);
    const QImage alps2 = test::snowyMountains(QSize(1600, 1067), 5);
    set.originals = {
        test::save(
            sea1, at(QStringLiteral("Pictures/Beach Day.jpg")), 92),
            test::save(
                sea2, at(QStringLiteral("Pictures/Another Beach.jpg")), 92),
                test::save(
                    alps, at(QStringLiteral("Pictures/Alps.jpg")), 92),
                    test::save(
                        alps2, at(QStringLiteral("Pictures/Alps Again.jpg")), 92),
                        test::save(
                            test::randomScene(QSize(1200, 800), 3), at(QStringLiteral("Pictures/Shapes.png"))),
                            test::save(
                                test::randomScene(QSize(1200, 800), 11),
                                at(QStringLiteral("Pictures/More Shapes.png"))),
                                test::save(
                                    test::receipt(QSize(520, 420)), at(QStringLiteral("Pictures/Receipt.png"))),
                                    test::save(
                                        test::screenshot(1, 14, 2.0),
                                        at(QStringLiteral("Pictures/Screenshots/Screenshot 2025-05-01 at 10.00.00.png"))),
                                        test::save(
                                            test::screenshot(2, 13, 2.0),
                                            at(QStringLiteral("Pictures/Screenshots/Screenshot 2025-05-02 at 11.30.00.png"))),
                                            test::save(
                                                test::textPicture(
                                                    {QStringLiteral("会議メモ"),
                                                        QStringLiteral("東京駅で待ち合わせしましょう"),
                                                                       QStringLiteral("Meeting at Tokyo station")},
                                                        30, QSize(640, 220)),
                                                    at(QStringLiteral("Pictures/Screenshots/Screenshot Japanese.png"))),
                                                test::save(test::textPicture(
                                                    {QStringLiteral("我们明天去北京看长城"),
                                                                    QStringLiteral("Great Wall trip")},
                                                     30, QSize(640, 160), QStringLiteral("Noto Sans CJK SC")),
                                                    at(QStringLiteral("Pictures/Screenshots/Screenshot Chinese.png"))),
                                            };
    set.kinds = {
        QStringLiteral("beach"),         QStringLiteral("beach"),        QStringLiteral("mountains"),
                                                                                        QStringLiteral("mountains"),     QStringLiteral("shapes"),       QStringLiteral("shapes"),
                                                                                                                                                                        QStringLiteral("receipt"),       QStringLiteral("app window"),   QStringLiteral("app window"),
                                                                                                                                                                                                                                                        QStringLiteral("lines of text"), QStringLiteral("lines of text")};
    auto copy = [&](int index, const QImage& image, const QString& name, double scale, int quality) {
        const QImage resized =
            scale == 1.0 ? image : image.scaled(image.size() * scale, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        set.copies.append({set.originals[index], test::save(resized, at(name), quality)});
    };
    copy(0, sea1, QStringLiteral("Pictures/Beach Day (small).jpg"), 0.5, 60);
    copy(0, sea1, QStringLiteral("Pictures/Beach Day (re-saved).jpg"), 1.0, 35);
    copy(2, alps, QStringLiteral("Pictures/Alps (small).jpg"), 0.4, 70);
    copy(2, alps, QStringLiteral("Pictures/Alps (re-saved).jpg"), 1.0, 35);
    copy(4, QImage(set.originals[4]), QStringLiteral("Pictures/Shapes (small).jpg"), 0.5, 75);
    copy(7, QImage(set.originals[7]), QStringLiteral("Pictures/Screenshots/Screenshot copy.jpg"), 0.75, 80);
    return set;
}

void benchAnalyze(const QString& folder, int runs)
{
    const TestSet set = writeSet(folder);
    std::printf("## Whole-picture analysis (decode + text + model + palette), one picture at a time\n");
    std::printf("Model: %s\n", VisionModel::shared() ? "present" : "absent");
    ImageAnalyzer::analyze(itemFor(set.originals.last()), {QStringLiteral("en-US")});  // warm up (loads data)
    std::printf("| picture | pixels | ms (median of %d) | lines | top label |\n|---|---|---|---|---|\n", runs);
    std::vector<double> all;
    for (const QString& path : set.originals) {
        std::vector<double> ms;
        ImageRecord record;
        for (int r = 0; r < runs; ++r) {
            bench::Stopwatch timer;
            record = ImageAnalyzer::analyze(itemFor(path), {QStringLiteral("en-US")});
            ms.push_back(timer.ms());
        }
        all.push_back(median(ms));
        const auto top = record.topLabels(1);
        std::printf(
            "| %s | %lldx%lld | %.0f | %lld | %s |\n", qPrintable(QFileInfo(path).fileName()), record.pixelWidth,
            record.pixelHeight, median(ms), qlonglong(record.lines.size()),
            top.isEmpty() ? "-" : qPrintable(QStringLiteral("%1 %2").arg(top[0].first).arg(top[0].second, 0, 'f', 2)));
        std::fflush(stdout);
    }
    double sum = 0;
    for (double v : all) sum += v;
    std::printf("Mean over %zu pictures: %.0f ms per picture (%.2f pictures/s)\n", all.size(), sum / all.size(),
                1000.0 * all.size() / sum);
}

void benchLookalikes(const QString& folder)
{
    const TestSet set = writeSet(folder);
    for (const bool withModel : {true, false}) {
        if (!withModel) {
            qputenv("FENNIC_MODEL_DIR", QFile::encodeName(folder + QStringLiteral("/no-model")));
            VisionModel::resetSharedForTesting();
        }
        if (withModel && !VisionModel::shared()) continue;
        QHash<QString, std::vector<float>> prints;
        for (const QString& p : set.originals) prints.insert(p, ImageAnalyzer::featurePrint(p));
        for (const auto& [o, c] : set.copies) prints.insert(c, ImageAnalyzer::featurePrint(c));
        std::printf("## Look-alike distances (%s print, %zu floats)\n", withModel ? "model" : "fallback",
                    prints.value(set.originals.first()).size());
        std::printf("| copy | distance to its original |\n|---|---|\n");
        double worstCopy = 0;
        for (const auto& [original, copy] : set.copies) {
            const float d = VisualSearch::distance(prints.value(original), prints.value(copy));
            worstCopy = std::max(worstCopy, double(d));
            std::printf("| %s | %.3f |\n", qPrintable(QFileInfo(copy).fileName()), d);
        }
        // Pictures of different kinds are unrelated; two of the same kind (two drawn beaches, two
        // windows of the same application) are related scenes and may well look alike.
        double closest = INFINITY, closestRelated = INFINITY;
        QString closestPair, relatedPair;
        std::vector<double> unrelated, related;
        for (int i = 0; i < set.originals.size(); ++i)
            for (int j = i + 1; j < set.originals.size(); ++j) {
                const float d = VisualSearch::distance(prints.value(set.originals[i]), prints.value(set.originals[j]));
                const QString pair = QFileInfo(set.originals[i]).fileName()
                    + QStringLiteral(" / ") + QFileInfo(set.originals[j]).fileName();
                if (set.kinds[i] == set.kinds[j]) {
                    related.push_back(d);
                    if (d < closestRelated) closestRelated = d, relatedPair = pair;
                } else {
                    unrelated.push_back(d);
                    if (d < closest) closest = d, closestPair = pair;
                }
            }
        std::printf(
            "Copies: farthest %.3f. Unrelated pictures (%zu pairs of different kinds): closest %.3f (%s), median "
            "%.3f. Related scenes (%zu pairs of the same kind): closest %.3f (%s), median %.3f.\n\n",
            worstCopy, unrelated.size(), closest, qPrintable(closestPair), median(unrelated), related.size(),
            closestRelated, qPrintable(relatedPair), median(related));
    }
    qunsetenv("FENNIC_MODEL_DIR");
    VisionModel::resetSharedForTesting();
}

QList<ImageRecord> syntheticRecords(int count)
{
    QRandomGenerator random{2024};
    const QStringList& labels = Vocabulary::allLabels();
    const QStringList& words = test::dictionary();
    QList<ImageRecord> records;
    records.reserve(count);
    for (int i = 0; i < count; ++i) {
        QHash<QString, float> recordLabels;
        for (int k = 0, n = 2 + int(random.bounded(7)); k < n; ++k)
            recordLabels.insert(labels[int(random.bounded(labels.size()))], 0.03f + float(random.bounded(0.9)));
        QHash<QString, float> colors;
        for (int k = 0, n = 1 + int(random.bounded(4)); k < n; ++k)
            colors.insert(ImageAnalyzer::colorNames()[int(random.bounded(12))], 0.02f + float(random.bounded(0.5)));
        QList<TextLine> lines;
        // About a third of pictures are screenshots with text.
        const int lineCount = random.bounded(3) == 0 ? 5 + int(random.bounded(30)) : int(random.bounded(2));
        for (int k = 0; k < lineCount; ++k) {
            QStringList line;
            for (int w = 0, n = 2 + int(random.bounded(8)); w < n; ++w)
                line.append(words[int(random.bounded(words.size()))]);
            lines.append(
                TextLine{line.join(u' '), float(random.bounded(0.5)), 1.0f - 0.03f * float(k), 0.4f, 0.02f, 0.9f});
        }
        std::vector<float> print(1280);
        for (float& v : print) v = float(random.bounded(0.05));
        ImageRecord record(
            QStringLiteral("/home/user/Pictures/Photos/%1/IMG_%2.jpg").arg(2000 + i % 25).arg(i, 5, 10, QChar(u'0')),
                           1'000'000 + i, Date{700000000.0 + i}, recordLabels, colors, lines, QString(),
                           QByteArray(reinterpret_cast<const char*>(print.data()), qsizetype(print.size() * 4)), 4032,
                           3024, random.bounded(50) == 0);
        record.langs = QStringLiteral("en-US");
        records.append(record);
    }
    return records;
}

void benchSearch(int count, int runs)
{
    const QList<ImageRecord> records = syntheticRecords(count);
    const LabelEngine engine;
    std::printf(
        "## Visual search over %d records (median of %d runs)\n| mode | query | hits | ms |\n|---|---|---|---|\n",
        count, runs);
    const std::pair<VisualSearch::Mode, const char*> queries[] = {
        {VisualSearch::Mode::describe, "a white island in a blue ocean"},
        {VisualSearch::Mode::describe, "receipt with a coffee cup"},
        {VisualSearch::Mode::describe, "photos of a beach"},
        {VisualSearch::Mode::describe, "blue and white"},
        {VisualSearch::Mode::describe, "dogs playing in the snow"},
        {VisualSearch::Mode::describe, "horses in a field"},
        {VisualSearch::Mode::describe, "a squirrel, a giraffe and an animal"},
        {VisualSearch::Mode::text, "invoice"},
        {VisualSearch::Mode::text, "total due"},
        {VisualSearch::Mode::text, "zzyzx"},
        {VisualSearch::Mode::everything, "coffee receipt"},
    };
    for (const auto& [mode, query] : queries) {
        std::vector<double> ms;
        qsizetype hits = 0;
        for (int r = 0; r < runs; ++r) {
            bench::Stopwatch timer;
            hits = VisualSearch::search(QString::fromUtf8(query), mode, records).size();
            ms.push_back(timer.ms());
        }
        std::printf("| %s | %s | %lld | %.1f |\n", qPrintable(VisualSearch::rawValue(mode)), query, qlonglong(hits),
                    median(ms));
    }
    QHash<QString, ImageRecord> byPath;
    for (const ImageRecord& r : records) byPath.insert(r.path, r);
    std::vector<double> ms;
    for (int r = 0; r < runs; ++r) {
        bench::Stopwatch timer;
        VisualSearch::similar(records[r].path, byPath);
        ms.push_back(timer.ms());
    }
    std::printf("| similar | (1,280-float prints) | - | %.1f |\n\n", median(ms));
}

void benchPlist(int count, int runs, const QString& folder)
{
    const QList<ImageRecord> records = syntheticRecords(count);
    ImageIndex index;
    index.languages = {QStringLiteral("en-US")};
    for (const ImageRecord& r : records) index.records.insert(r.path, r);
    const QString file = QDir(folder).filePath(QStringLiteral("images.plist"));
    std::vector<double> save, load, encode, decode;
    for (int r = 0; r < runs; ++r) {
        bench::Stopwatch parts;
        const QByteArray bytes = index.encode();
        encode.push_back(parts.ms());
        parts.restart();
        if (ImageIndex::decode(bytes)->records.size() != index.records.size()) std::printf("decode failed\n");
        decode.push_back(parts.ms());
        bench::Stopwatch timer;
        if (!index.save(file)) std::printf("save failed\n");
        save.push_back(timer.ms());
        timer.restart();
        const auto loaded = ImageIndex::load(file);
        load.push_back(timer.ms());
        if (!loaded || loaded->records.size() != index.records.size()) std::printf("load failed\n");
    }
    qint64 lines = 0;
    for (const ImageRecord& r : records) lines += r.lines.size();
    std::printf("## images.plist with %d records (%lld text lines, 1,280-float prints)\n", count, lines);
    std::printf(
        "save %.0f ms, load %.0f ms (median of %d), file %.1f MB (%.1f MB of it prints); in memory: encode %.0f ms, "
        "decode %.0f ms\n\n",
        median(save), median(load), runs, QFileInfo(file).size() / 1e6, count * 5120 / 1e6, median(encode),
        median(decode));
}

}  // namespace

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    int records = 20000, runs = 5;
    for (qsizetype i = 0; i + 1 < args.size(); ++i) {
        if (args[i] == u"--records")
            records = args[i + 1].toInt(), args.remove(i, 2), --i;
        else if (args[i] == u"--runs")
            runs = std::max(1, args[i + 1].toInt()), args.remove(i, 2), --i;
    }
    const QString what = args.value(0, QStringLiteral("all"));
    if (what == u"write-set") {
        if (args.size() < 2) return std::fprintf(stderr, "usage: bench_images write-set DIR\n"), 2;
        const TestSet set = writeSet(args[1]);
        std::printf("wrote %lld pictures under %s\n", qlonglong(set.originals.size() + set.copies.size()),
                    qPrintable(args[1]));
        return 0;
    }
    QTemporaryDir scratch;
    std::printf("(2-core machine; other builds may be running: load average %s)\n\n",
                qPrintable(QString::fromLatin1([] {
                    QFile f(QStringLiteral("/proc/loadavg"));
                    return f.open(QIODevice::ReadOnly) ? f.readLine().trimmed() : QByteArray("?");
                }())));
    if (what == u"ocr" || what == u"all") benchOcr(scratch.path());
    if (what == u"analyze" || what == u"all") benchAnalyze(scratch.path() + QStringLiteral("/set"), std::min(runs, 3));
    if (what == u"search" || what == u"all") benchSearch(records, runs);
    if (what == u"plist" || what == u"all") benchPlist(records, std::min(runs, 3), scratch.path());
    if (what == u"lookalike" || what == u"all") benchLookalikes(scratch.path() + QStringLiteral("/set"));
    return 0;
}
