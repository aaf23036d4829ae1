#include "ImageFinder.h"

#include <algorithm>

namespace fennic::ImageFinder {

std::shared_ptr<const Pictures> gather(const QList<FileItem>& library, const QHash<QString, ImageRecord>& records)
{
    auto pictures = std::make_shared<Pictures>();
    pictures->records.reserve(records.size());
    pictures->items.reserve(records.size());
    pictures->position.reserve(records.size());
    for (const FileItem& item : library) {
        if (item.kind != FileKind::image) continue;
        const auto record = records.constFind(item.path);
        if (record == records.cend()) continue;
        pictures->position.insert(item.path, pictures->records.size());
        pictures->records.append(*record);
        pictures->items.append(item);
    }
    return pictures;
}

VisualSearch::Mode modeFor(FindMode mode)
{
    switch (mode) {
    case FindMode::everything: return VisualSearch::Mode::everything;
    case FindMode::text: return VisualSearch::Mode::text;
    case FindMode::describe: return VisualSearch::Mode::describe;
    }
    return VisualSearch::Mode::everything;
}

namespace {

QList<FoundPicture> lookAlikes(const QString& origin, const Pictures& pictures)
{
    QList<FoundPicture> found;
    const auto chosen = pictures.position.constFind(origin);
    if (chosen == pictures.position.cend()) return found;
    found.append({pictures.items.at(*chosen), 1.0f, 1.0f, {QStringLiteral("The picture you chose")}, {}});
    QHash<QString, ImageRecord> byPath;
    byPath.reserve(pictures.records.size());
    for (const ImageRecord& record : pictures.records)
        if (record.print) byPath.insert(record.path, record);
    for (const auto& [path, distance] : VisualSearch::similar(origin, byPath)) {
        const auto at = pictures.position.constFind(path);
        if (at == pictures.position.cend()) continue;
        const float likeness = std::clamp(1.0f - distance / VisualSearch::kUnrelatedDistance, 0.0f, 1.0f);
        found.append({pictures.items.at(*at), likeness, likeness, {QStringLiteral("Looks alike")}, {}});
    }
    return found;
}

QList<FoundPicture> matches(const Request& request, const Pictures& pictures)
{
    QList<FoundPicture> found;
    if (request.query.trimmed().isEmpty()) return found;
    QList<VisualMatch> hits = VisualSearch::search(request.query, request.mode, pictures.records);
    found.reserve(hits.size());
    for (VisualMatch& hit : hits) {
        const auto at = pictures.position.constFind(hit.path);
        if (at == pictures.position.cend()) continue;
        found.append({pictures.items.at(*at), hit.score, 0.0f, std::move(hit.reasons), {}});
    }
    // Words found in a picture are marked on it; a description's words are not looked for there.
    if (request.mode != VisualSearch::Mode::describe) {
        const qsizetype marked = std::min<qsizetype>(found.size(), kHighlightLimit);
        for (qsizetype i = 0; i < marked; ++i) {
            const auto at = pictures.position.constFind(found[i].item.path);
            if (at == pictures.position.cend()) continue;
            const ImageRecord& record = pictures.records.at(*at);
            if (!record.lines.isEmpty()) found[i].highlights = VisualSearch::highlights(request.query, record);
        }
    }
    return found;
}

}  // namespace

QList<FoundPicture> find(const Request& request, const Pictures& pictures)
{
    QList<FoundPicture> found =
        request.similarTo ? lookAlikes(*request.similarTo, pictures) : matches(request, pictures);
    if (request.favouritesOnly || !request.tag.isEmpty()) {
        const QSet<QString> tagged = request.tag.isEmpty() ? QSet<QString>() : request.shelf.pathsTagged(request.tag);
        found.removeIf([&](const FoundPicture& picture) {
            return (request.favouritesOnly && !request.shelf.isFavourite(picture.item.path))
                || (!request.tag.isEmpty() && !tagged.contains(picture.item.path));
        });
    }
    if (!request.similarTo) {
        // The fit is relative: the best picture shown fills its bar.
        float best = 0.0f;
        for (const FoundPicture& picture : found) best = std::max(best, picture.score);
        for (FoundPicture& picture : found) picture.fit = best > 0.0f ? picture.score / best : 0.0f;
    }
    return found;
}

}  // namespace fennic::ImageFinder
