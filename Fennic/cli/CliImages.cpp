// fennic-cli images index|show|find|similar: what pictures say and show, without a window.
#include "CliCommand.h"

#include "images/ImageAnalyzer.h"
#include "images/ImageIndex.h"
#include "images/OCRLanguages.h"
#include "images/VisualSearch.h"
#include "library/LibraryCache.h"
#include "model/Fmt.h"
#include "model/SupportFiles.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <cmath>

namespace fennic::cli {
namespace {

// Work is saved every so many pictures, so that an interrupted run keeps most of what it read.
constexpr int kSaveEvery = 100;
constexpr int kShownLabels = 10;

QString indexPath() { return SupportFiles::current().imageIndex(); }

ImageIndex loadIndex() { return ImageIndex::load(indexPath()).value_or(ImageIndex()); }

// A path as the library stores it: absolute, and symbolic links resolved when the plain form
// has no record.
QString recordKey(const ImageIndex& index, const QString& path)
{
    const QFileInfo info(path);
    QString absolute = QDir::cleanPath(info.absoluteFilePath());
    if (index.records.contains(absolute)) return absolute;
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? absolute : canonical;
}

QString onePath(const QStringList& rest, const char* command)
{
    if (rest.size() != 1) throw UsageError{QStringLiteral("images %1 takes one PATH").arg(QLatin1String(command))};
    return rest.first();
}

QString fixed(double value, int decimals) { return QString::number(value, 'f', decimals); }

void printJson(const QJsonValue& value)
{
    const QJsonDocument document = value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject());
    out() << QString::fromUtf8(document.toJson(QJsonDocument::Indented));
}

QStringList resolveLanguages(const std::optional<QString>& option)
{
    const QStringList supported = OCRLanguages::supported();
    if (!option) return OCRLanguages::defaults(QLocale::system().uiLanguages(), supported);
    QStringList requested;
    for (const QString& part : option->split(u',', Qt::SkipEmptyParts)) requested.append(part.trimmed());
    if (requested.isEmpty()) throw UsageError{QStringLiteral("--languages needs identifiers such as en-US,ja-JP")};
    const auto resolved = OCRLanguages::resolve(requested, supported);
    for (const QString& language : resolved.unavailable)
        err() << "fennic-cli: no recognition data for " << language << " here; reading without it\n";
    return resolved.use;
}

int runIndex(const std::optional<QString>& languageOption, const QStringList& rest)
{
    if (!rest.isEmpty()) throw UsageError{QStringLiteral("images index takes no arguments (got %1)").arg(rest.first())};
    const QStringList languages = resolveLanguages(languageOption);

    const QString cache = LibraryCache::defaultPath();
    const auto items = LibraryCache::load(cache);
    if (!items) {
        err() << "fennic-cli: no readable library cache at " << cache << ": run fennic-cli scan\n";
        return 1;
    }
    ImageIndex index = loadIndex();
    QSet<QString> live;
    for (const FileItem& item : *items) live.insert(item.path);
    const int pruned = index.prune(live);
    const QList<FileItem> due = index.pending(*items, languages);
    index.languages = languages;

    const bool showProgress = progressOnTerminal();
    QElapsedTimer timer;
    timer.start();
    int failed = 0;
    for (qsizetype i = 0; i < due.size(); ++i) {
        if (showProgress) {
            err() << "\rReading pictures… " << (i + 1) << " of " << due.size();
            err().flush();
        }
        ImageRecord record = ImageAnalyzer::analyze(due[i], languages);
        if (record.failed) ++failed;
        QString key = record.path;
        index.records.emplace(std::move(key), std::move(record));
        if ((i + 1) % kSaveEvery == 0) index.save(indexPath());
    }
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    if (showProgress) {
        err() << "\r\x1b[K";
        err().flush();
    }
    if (due.isEmpty() && pruned == 0 && QFileInfo::exists(indexPath())) {
        out() << "Nothing to read: "
              << Fmt::count(index.records.size(), QStringLiteral("picture"))
                            << " already read with " << languages.join(u',') << '\n';
        return 0;
    }
    const auto saved = index.save(indexPath());
    if (!saved) {
        err() << "fennic-cli: could not write " << indexPath() << ": " << saved.error << '\n';
        return 1;
    }
    out() << "Read " << Fmt::count(due.size(), QStringLiteral("picture")) << " in " << fixed(seconds, 1) << " s";
    if (!due.isEmpty()) out() << " (" << fixed(seconds * 1000.0 / double(due.size()), 0) << " ms each)";
    if (failed > 0) out() << ", " << failed << " unreadable";
    out() << "; " << Fmt::count(index.records.size(), QStringLiteral("picture")) << " in " << indexPath() << '\n';
    return 0;
}

QJsonObject recordJson(const ImageRecord& r)
{
    QJsonArray labels;
    for (const auto& [name, confidence] : r.topLabels(-1))
        labels.append(QJsonObject{{QStringLiteral("label"), name}, {QStringLiteral("confidence"), double(confidence)}});
    QJsonObject colors;
    for (auto it = r.colors.cbegin(); it != r.colors.cend(); ++it) colors.insert(it.key(), double(it.value()));
    QJsonArray lines;
    for (const TextLine& line : r.lines)
        lines.append(QJsonObject{{QStringLiteral("text"), line.text},
                                  {QStringLiteral("x"), double(line.x)},
                                   {QStringLiteral("y"), double(line.y)},
                                    {QStringLiteral("w"), double(line.w)},
                                     {QStringLiteral("h"), double(line.h)},
                                      {QStringLiteral("confidence"), double(line.confidence)}});
    return QJsonObject{{QStringLiteral("path"), r.path},
                        {QStringLiteral("size"), double(r.size)},
                         {QStringLiteral("modified"), r.modified.toIso()},
                          {QStringLiteral("pixelWidth"), double(r.pixelWidth)},
                           {QStringLiteral("pixelHeight"), double(r.pixelHeight)},
                            {QStringLiteral("failed"), r.failed},
                             {QStringLiteral("langs"), r.langs},
                              {QStringLiteral("labels"), labels},
                               {QStringLiteral("colors"), colors},
                                {QStringLiteral("lines"), lines},
                                 {QStringLiteral("printLength"), double(r.featurePrint().size())}};
}

int runShow(bool json, const QStringList& rest)
{
    const QString path = onePath(rest, "show");
    const ImageIndex index = loadIndex();
    const QString key = recordKey(index, path);
    const auto it = index.records.constFind(key);
    if (it == index.records.cend()) {
        err() << "fennic-cli: no image record for " << key << " (run fennic-cli images index)\n";
        return 1;
    }
    const ImageRecord& r = it.value();
    if (json) {
        printJson(recordJson(r));
        return 0;
    }
    out() << r.path << '\n';
    out() << "  pixel size: " << r.pixelWidth << " × " << r.pixelHeight << (r.failed ? "  (unreadable)" : "") << '\n';
    out() << "  read with: " << (r.langs.isEmpty() ? QStringLiteral("—") : r.langs) << '\n';
    QStringList labels;
    for (const auto& [name, confidence] : r.topLabels(kShownLabels))
        labels.append(QStringLiteral("%1 %2").arg(name, fixed(confidence, 2)));
    out() << "  labels: " << (labels.isEmpty() ? QStringLiteral("—") : labels.join(QStringLiteral(", "))) << '\n';
    QList<std::pair<QString, float>> colors;
    for (auto c = r.colors.cbegin(); c != r.colors.cend(); ++c) colors.append({c.key(), c.value()});
    std::sort(colors.begin(), colors.end(), [](const auto& a, const auto& b) { return a.second > b.second; });
    QStringList colorTexts;
    for (const auto& [name, share] : colors)
        colorTexts.append(QStringLiteral("%1 %2%").arg(name).arg(std::lround(share * 100)));
    out() << "  colours: "
          << (colorTexts.isEmpty() ? QStringLiteral("—") : colorTexts.join(QStringLiteral(", "))) << '\n';
    out() << "  feature print: " << r.featurePrint().size() << " floats\n";
    out() << "  lines: " << r.lines.size() << '\n';
    for (const TextLine& line : r.lines)
        out() << "    [" << fixed(line.x, 3) << ' ' << fixed(line.y, 3) << ' ' << fixed(line.w, 3) << ' '
              << fixed(line.h, 3) << "] " << fixed(line.confidence, 2) << "  " << line.text << '\n';
    return 0;
}

int runFind(bool json, const std::optional<QString>& modeOption, const QStringList& rest)
{
    const QString modeText = modeOption.value_or(QStringLiteral("everything"));
    const auto mode = VisualSearch::modeFromRawValue(modeText);
    if (!mode) throw UsageError{QStringLiteral("--mode must be everything, text or describe (got %1)").arg(modeText)};
    if (rest.isEmpty()) throw UsageError{QStringLiteral("images find needs a QUERY")};
    const QString query = rest.join(u' ');

    const ImageIndex index = loadIndex();
    QElapsedTimer timer;
    timer.start();
    const QList<VisualMatch> hits = VisualSearch::search(query, *mode, index.records.values());
    const double ms = double(timer.nsecsElapsed()) / 1e6;
    if (json) {
        QJsonArray array;
        for (const VisualMatch& hit : hits)
            array.append(QJsonObject{{QStringLiteral("path"), hit.path},
                                      {QStringLiteral("score"), double(hit.score)},
                                       {QStringLiteral("matched"), hit.matched},
                                        {QStringLiteral("reasons"), QJsonArray::fromStringList(hit.reasons)}});
        printJson(array);
        return 0;
    }
    for (const VisualMatch& hit : hits)
        out() << fixed(hit.score, 3) << "  " << hit.matched << "  " << hit.path << "  — "
              << hit.reasons.join(QStringLiteral("; ")) << '\n';
    out() << Fmt::count(hits.size(),
                        QStringLiteral("match"), QStringLiteral("matches"))
                                       << " of "
                                       << Fmt::count(index.records.size(), QStringLiteral("picture"))
                                                     << " (" << VisualSearch::title(*mode) << ", " << fixed(ms, 1)
                                                     << " ms)\n";
    // Silence would read as "no such pictures" when the words themselves were not understood.
    if (*mode != VisualSearch::Mode::text)
        for (const QString& word : VisualQuery::parse(query).unrecognised())
            out() << QStringLiteral("Not recognised: \u201C%1\u201D\n").arg(word);
    return 0;
}

int runSimilar(bool json, const QStringList& rest)
{
    const QString path = onePath(rest, "similar");
    const ImageIndex index = loadIndex();
    const QString key = recordKey(index, path);
    const auto record = index.records.constFind(key);
    if (record == index.records.cend()) {
        err() << "fennic-cli: no image record for " << key << " (run fennic-cli images index)\n";
        return 1;
    }
    if (!record->print) {
        err() << "fennic-cli: " << key << " has no feature print\n";
        return 1;
    }
    const auto near = VisualSearch::similar(key, index.records);
    if (json) {
        QJsonArray array;
        for (const auto& [other, distance] : near)
            array.append(QJsonObject{{QStringLiteral("path"), other}, {QStringLiteral("distance"), double(distance)}});
        printJson(array);
        return 0;
    }
    for (const auto& [other, distance] : near) out() << fixed(distance, 3) << "  " << other << '\n';
    out() << Fmt::count(near.size(), QStringLiteral("look-alike"))
                        << " within " << fixed(VisualSearch::kUnrelatedDistance, 2) << '\n';
    return 0;
}

int runImages(CliArgs& args)
{
    // Options are taken out first, then the subcommand decides which of them it accepts, so a
    // misplaced option is an error rather than silently ignored.
    const bool json = args.flag(QStringLiteral("json"));
    const auto mode = args.value(QStringLiteral("mode"));
    const auto languages = args.value(QStringLiteral("languages"));
    QStringList rest = args.finish();
    if (rest.isEmpty()) throw UsageError{QStringLiteral("images needs a subcommand: index, show, find or similar")};
    const QString sub = rest.takeFirst();
    auto refuse = [&sub](bool given, const char* option) {
        if (given) throw UsageError{QStringLiteral("images %1 does not take --%2").arg(sub, QLatin1String(option))};
    };
    if (sub == u"index") {
        refuse(json, "json");
        refuse(mode.has_value(), "mode");
        return runIndex(languages, rest);
    }
    refuse(languages.has_value(), "languages");
    if (sub == u"find") return runFind(json, mode, rest);
    refuse(mode.has_value(), "mode");
    if (sub == u"show") return runShow(json, rest);
    if (sub == u"similar") return runSimilar(json, rest);
    throw UsageError{QStringLiteral("unknown images subcommand %1 (index, show, find or similar)").arg(sub)};
}

const CliRegistration kImages{CliCommand{
    "images",
    "images index [--languages en-US,ja-JP] | show PATH [--json] | find \"QUERY\" [--mode everything|text|describe] "
    "[--json] | similar PATH [--json]",
    runImages}};

}  // namespace
}  // namespace fennic::cli
