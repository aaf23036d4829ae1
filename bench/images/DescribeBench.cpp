// Picture descriptions: accuracy over real photographs and the cost of WordNet's lookups.
//
//   bench_describe accuracy PHOTOS DESCRIPTIONS   top-3 accuracy over a folder of photos
//   bench_describe wordnet                        start-up and per-request cost of WordNet
//
// accuracy: every picture in PHOTOS is analysed as the application does (the vision model's
// labels, colours, text; English), then each line of DESCRIPTIONS, "FILE<TAB>description",
// is searched with the label engine over all of them; a line counts when FILE is among the
// first three hits. Lines starting with "#" are skipped. Prints one row per line and the total.
//
// wordnet: in a fresh process, the first lookup (which unpacks the compiled-in table and
// builds the concept labels derived from it), then the median cost of looking up one noun and
// of parsing whole descriptions, over many repetitions.

#include "images/ConceptLabels.h"
#include "images/ImageAnalyzer.h"
#include "images/LabelEngine.h"
#include "images/VisualQuery.h"
#include "images/VisualSearch.h"
#include "images/WordNet.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <algorithm>
#include <cstdio>
#include <vector>

using namespace fennic;

namespace {

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.empty() ? 0.0 : v[v.size() / 2];
}

int accuracy(const QString& photos, const QString& descriptions)
{
    QList<ImageRecord> records;
    for (const QFileInfo& info : QDir(photos).entryInfoList(QDir::Files, QDir::Name)) {
        FileItem item;
        item.path = info.absoluteFilePath();
        item.name = info.fileName();
        item.ext = info.suffix().toLower();
        item.size = info.size();
        item.kind = FileKind::image;
        records.append(ImageAnalyzer::analyze(item, {QStringLiteral("en-US")}));
    }
    QFile file(descriptions);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(descriptions));
        return 1;
    }
    const LabelEngine engine;
    int lines = 0;
    int hits = 0;
    std::printf("| Picture | Description | Rank | Top hit's reasons |\n|---|---|---|---|\n");
    for (const QByteArray& raw : file.readAll().split('\n')) {
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.isEmpty() || line.startsWith(u'#')) continue;
        const QString target = QDir(photos).absoluteFilePath(line.section(u'\t', 0, 0));
        const QString text = line.section(u'\t', 1);
        const QList<VisualMatch> found = VisualSearch::describe(text, records, engine);
        int rank = 0;
        for (qsizetype i = 0; i < found.size(); ++i)
            if (found[i].path == target) rank = int(i) + 1;
        ++lines;
        if (rank >= 1 && rank <= 3) ++hits;
        const QString reasons = found.isEmpty() ? QStringLiteral("(no hits)") : found.front().reasons.join(u", ");
        std::printf("| %s | %s | %s | %s |\n", qPrintable(QFileInfo(target).fileName()), qPrintable(text),
                    rank ? qPrintable(QString::number(rank)) : "–", qPrintable(reasons));
    }
    std::printf("\ntop-3: %d of %d (%.0f%%) over %lld pictures\n", hits, lines, lines ? 100.0 * hits / lines : 0.0,
                qlonglong(records.size()));
    return 0;
}

int wordnet()
{
    QElapsedTimer t;
    t.start();
    const auto first = WordNet::labels(QStringLiteral("giraffe"));
    const double firstMs = double(t.nsecsElapsed()) / 1e6;
    t.restart();
    const qsizetype concepts = ConceptLabels::all().size();
    const double conceptsMs = double(t.nsecsElapsed()) / 1e6;
    std::printf("first lookup (unpacks the table): %.2f ms; concept labels from the hierarchy (%lld rows): %.2f ms\n",
                firstMs, qlonglong(concepts), conceptsMs);
    (void)first;

    const char* nouns[] = {"squirrel", "horses", "giraffe", "rocket", "dog", "animal", "crane", "democracy"};
    for (const char* noun : nouns) {
        std::vector<double> us;
        qsizetype size = 0;
        for (int r = 0; r < 200; ++r) {
            t.restart();
            size = WordNet::labels(QString::fromLatin1(noun)).size();
            us.push_back(double(t.nsecsElapsed()) / 1e3);
        }
        std::printf("WordNet::labels(\"%s\"): median %.1f µs (%lld labels)\n", noun, median(us), qlonglong(size));
    }
    const char* descriptions[] = {"a motorbike",     "horses in a field",    "a squirrel on a tree",
                                  "snowy mountains", "a giraffe and zebras", "receipt with a coffee cup"};
    for (const char* text : descriptions) {
        std::vector<double> us;
        for (int r = 0; r < 200; ++r) {
            t.restart();
            const VisualQuery q = VisualQuery::parse(QString::fromUtf8(text));
            us.push_back(double(t.nsecsElapsed()) / 1e3);
        }
        std::printf("VisualQuery::parse(\"%s\"): median %.1f µs\n", text, median(us));
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() >= 4 && args[1] == u"accuracy") return accuracy(args[2], args[3]);
    if (args.size() >= 2 && args[1] == u"wordnet") return wordnet();
    std::fprintf(stderr, "usage: bench_describe accuracy PHOTOS DESCRIPTIONS | bench_describe wordnet\n");
    return 2;
}
