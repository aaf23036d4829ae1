// fennic-cli cleanup, duplicates, trash, put-back and shelf: the organising side without a
// window. The commands act as the application's model would (the same texts, the same
// files in the support folder), so that each operation can be used and checked from a shell.
#include "CliCommand.h"

#include "images/ImageAnalyzer.h"
#include "images/ImageIndex.h"
#include "library/CaptureDate.h"
#include "library/Library.h"
#include "library/LibraryCache.h"
#include "library/Scanner.h"
#include "model/Fmt.h"
#include "model/SupportFiles.h"
#include "organise/CleanupKind.h"
#include "organise/DuplicateFinder.h"
#include "organise/FileOps.h"
#include "organise/Shelf.h"
#include "organise/TrashMessages.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QSet>
#include <cmath>

namespace fennic::cli {
namespace {

// Files listed per clean-up rule in the text view; --json lists them all.
constexpr qsizetype kTextFilesPerRule = 10;
constexpr const char* kLastTrashFile = "last-trash.json";

void expectNoArguments(CliArgs& args, const char* command)
{
    const QStringList rest = args.finish();
    if (!rest.isEmpty())
        throw UsageError{QStringLiteral("%1 takes no arguments (got %2)").arg(QLatin1String(command), rest.first())};
}

QString quoted(const QString& name) { return QStringLiteral("\u201c") + name + QStringLiteral("\u201d"); }

void printJson(const QJsonObject& object)
{
    out() << QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented));
}

// Absolute, cleaned paths as typed (links are not resolved: trashing a link trashes the link).
QStringList absolutePaths(const QStringList& paths)
{
    QStringList result;
    for (const QString& p : paths) result.append(QDir::cleanPath(QDir::current().absoluteFilePath(p)));
    return result;
}

// The paths, each of which must exist; a usage error names the first that does not, before
// anything is changed.
QStringList existingPaths(const QStringList& paths)
{
    QStringList absolute = absolutePaths(paths);
    for (const QString& p : absolute)
        if (!QFileInfo(p).exists() && !QFileInfo(p).isSymLink()) throw UsageError{QStringLiteral("no such file: ") + p};
    return absolute;
}

QJsonArray pathArray(const QList<FileItem>& files)
{
    QJsonArray array;
    for (const FileItem& f : files) array.append(f.path);
    return array;
}

QJsonObject itemJson(const FileItem& item) { return QJsonDocument::fromJson(LibraryCache::encodeItem(item)).object(); }

std::optional<FileItem> itemFromJson(const QJsonValue& value)
{
    if (!value.isObject()) return std::nullopt;
    const auto items = LibraryCache::decode(QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact));
    if (!items || items->size() != 1) return std::nullopt;
    return items->first();
}

// --- cleanup ---------------------------------------------------------------------------

int runCleanup(CliArgs& args)
{
    const bool json = args.flag(QStringLiteral("json"));
    const Date now = args.date(QStringLiteral("now")).value_or(Date::fromQDateTime(QDateTime::currentDateTimeUtc()));
    expectNoArguments(args, "cleanup");
    const auto items = cachedItems();
    if (!items) return 1;

    const QList<CleanupKinds::Suggestion> suggestions = CleanupKinds::suggestions(*items, now, Library::downloads());
    const qint64 total = CleanupKinds::reclaimable(suggestions);
    if (json) {
        QJsonArray list;
        for (const CleanupKinds::Suggestion& s : suggestions) {
            list.append(QJsonObject{{"kind", CleanupKinds::rawValue(s.kind)},
                                    {"title", CleanupKinds::title(s.kind)},
                                    {"detail", CleanupKinds::detail(s.kind)},
                                    {"count", s.files.size()},
                                    {"size", s.size()},
                                    {"files", pathArray(s.files)}});
        }
        printJson(QJsonObject{{"now", now.toIso()}, {"suggestions", list}, {"reclaimable", total}});
        return 0;
    }
    QTextStream& s = out();
    s << "Clean-up suggestions as of " << Fmt::date(now) << ":\n";
    for (const CleanupKinds::Suggestion& suggestion : suggestions) {
        s << "  " << CleanupKinds::title(suggestion.kind) << ": "
          << Fmt::count(suggestion.files.size(), CleanupKinds::noun(suggestion.kind)) << ", "
          << Fmt::size(suggestion.size()) << " (" << CleanupKinds::detail(suggestion.kind) << ")\n";
        for (qsizetype i = 0; i < std::min(kTextFilesPerRule, suggestion.files.size()); ++i)
            s << "      " << Library::abbreviate(suggestion.files[i].path) << "  "
              << Fmt::size(suggestion.files[i].size) << '\n';
        if (suggestion.files.size() > kTextFilesPerRule)
            s << "      … and "
              << Fmt::count(suggestion.files.size() - kTextFilesPerRule,
                            QStringLiteral("more"), QStringLiteral("more")) << '\n';
    }
    s << "Reclaimable: " << Fmt::size(total) << '\n';
    return 0;
}

// --- duplicates ------------------------------------------------------------------------

QJsonArray groupsJson(const QList<DuplicateGroup>& groups)
{
    QJsonArray list;
    for (const DuplicateGroup& g : groups) {
        QJsonArray files;
        for (const FileItem& f : g.files) files.append(QJsonObject{{"path", f.path}, {"size", f.size}});
        list.append(QJsonObject{{"keep", g.keep}, {"reclaimable", g.reclaimable()}, {"files", files}});
    }
    return list;
}

void printGroups(QTextStream& s, const QList<DuplicateGroup>& groups, const QString& what)
{
    qint64 total = 0;
    for (const DuplicateGroup& g : groups) total += g.reclaimable();
    s << Fmt::count(groups.size(), QStringLiteral("group"))
                    << " of " << what << ", " << Fmt::size(total) << " reclaimable\n";
    for (const DuplicateGroup& g : groups) {
        s << '\n'
          << Fmt::count(g.files.size(),
                        QStringLiteral("copy"), QStringLiteral("copies"))
                                       << ", " << Fmt::size(g.reclaimable()) << " reclaimable\n";
        for (const FileItem& f : g.files)
            s << (f.path == g.keep ? "  keep  " : "        ") << Library::abbreviate(f.path) << "  "
              << Fmt::size(f.size) << '\n';
    }
}

// Runs like the application's "find duplicates": exact copies (the first 60 % of the
// progress), then look-alike photos with the image index's feature prints, made from the file
// where the index has none (the remaining 40 %).
int runDuplicates(CliArgs& args)
{
    const bool json = args.flag(QStringLiteral("json"));
    const bool exactOnly = args.flag(QStringLiteral("exact-only"));
    expectNoArguments(args, "duplicates");
    const auto items = cachedItems();
    if (!items) return 1;

    const bool showProgress = progressOnTerminal();
    int shown = -1;
    auto report = [&](double fraction) {
        const int percent = int(std::floor(fraction * 100.0));
        if (!showProgress || percent == shown) return;
        shown = percent;
        err() << "\rLooking for duplicates… " << percent << '%';
        err().flush();
    };
    const QList<DuplicateGroup> groups =
        DuplicateFinder::exact(*items, Library::downloads(), [&](double p) { report(exactOnly ? p : 0.6 * p); });
    QList<DuplicateGroup> lookalikes;
    if (!exactOnly) {
        const ImageIndex index = ImageIndex::load(SupportFiles::current().imageIndex()).value_or(ImageIndex());
        // Pictures the last scan did not date (a library cache without its dates file).
        QList<FileItem> dated = *items;
        CaptureDate::fillMissing(dated);
        lookalikes =
            DuplicateFinder::lookalikes(dated, DuplicateFinder::kLookalikeWindow, DuplicateFinder::kLookalikeThreshold,
                                        ImageAnalyzer::printProvider(index), [&](double p) { report(0.6 + 0.4 * p); });
    }
    if (showProgress) {
        err() << "\r\x1b[K";
        err().flush();
    }

    qint64 total = 0;
    for (const DuplicateGroup& g : groups) total += g.reclaimable();
    if (json) {
        QJsonObject result{{"groups", groupsJson(groups)}, {"reclaimable", total}};
        if (!exactOnly) result.insert(QStringLiteral("lookalikes"), groupsJson(lookalikes));
        printJson(result);
        return 0;
    }
    printGroups(out(), groups, QStringLiteral("identical files"));
    if (!exactOnly) {
        out() << '\n';
        printGroups(out(), lookalikes, QStringLiteral("look-alike photos"));
    }
    return 0;
}

// --- trash and put-back ----------------------------------------------------------------

QString lastTrashPath() { return SupportFiles::current().file(QLatin1String(kLastTrashFile)); }

bool saveLastTrash(const QList<FileOps::TrashedItem>& moved)
{
    const QString file = lastTrashPath();
    if (moved.isEmpty()) return !QFileInfo::exists(file) || QFile::remove(file);
    QJsonArray list;
    for (const FileOps::TrashedItem& m : moved)
        list.append(
            QJsonObject{{"item", itemJson(m.item)}, {"trashed", m.trashed ? QJsonValue(*m.trashed) : QJsonValue()}});
    QSaveFile f(file);
    if (!f.open(QIODevice::WriteOnly)) return false;
    f.write(QJsonDocument(QJsonObject{{"moved", list}}).toJson(QJsonDocument::Indented));
    return f.commit();
}

std::optional<QList<FileOps::TrashedItem>> loadLastTrash()
{
    QFile f(lastTrashPath());
    if (!f.open(QIODevice::ReadOnly)) return std::nullopt;
    const QJsonDocument doc = QJsonDocument::fromJson(f.readAll());
    const QJsonValue moved = doc.object().value(QStringLiteral("moved"));
    if (!moved.isArray()) return std::nullopt;
    QList<FileOps::TrashedItem> result;
    for (const auto& v : moved.toArray()) {
        const auto item = itemFromJson(v.toObject().value(QStringLiteral("item")));
        if (!item) return std::nullopt;
        const QJsonValue trashed = v.toObject().value(QStringLiteral("trashed"));
        result.append({*item, trashed.isString() ? std::optional(trashed.toString()) : std::nullopt});
    }
    return result;
}

// Keeps the cached library in step, as the application does: trashed items leave it and
// restored ones come back. Without a readable cache there is nothing to keep in step.
void updateCache(const QSet<QString>& removed, const QList<FileItem>& restored)
{
    const QString file = LibraryCache::defaultPath();
    auto items = LibraryCache::load(file);
    if (!items) return;
    const qsizetype before = items->size();
    items->removeIf([&](const FileItem& f) { return removed.contains(f.path); });
    QSet<QString> present;
    for (const FileItem& f : std::as_const(*items)) present.insert(f.path);
    bool added = false;
    for (const FileItem& f : restored)
        if (!present.contains(f.path)) {
            items->append(f);
            added = true;
        }
    if (items->size() != before || added) LibraryCache::save(file, *items);
}

int runTrash(CliArgs& args)
{
    const bool json = args.flag(QStringLiteral("json"));
    const QStringList paths = absolutePaths(args.finish());
    if (paths.isEmpty()) throw UsageError{QStringLiteral("trash needs at least one path")};

    // The library's own record of a file where there is one, otherwise a fresh one.
    QHash<QString, FileItem> known;
    if (const auto cached = LibraryCache::load(LibraryCache::defaultPath()))
        for (const FileItem& f : *cached) known.insert(f.path, f);
    QList<FileItem> items;
    for (const QString& p : paths) {
        if (known.contains(p)) {
            items.append(known.value(p));
        } else if (auto item = Scanner::makeItem(p)) {
            items.append(*item);
        } else {
            FileItem missing;
            missing.path = p;
            missing.name = QFileInfo(p).fileName();
            missing.ext = pathExtension(missing.name).toLower();
            items.append(missing);
        }
    }

    const FileOps::TrashResult result = FileOps::trash(items);
    QSet<QString> moved;
    for (const FileOps::TrashedItem& m : result.moved) moved.insert(m.item.path);
    if (!moved.isEmpty()) updateCache(moved, {});
    // This operation replaces the one before, even when it moved nothing: as in the app, whose
    // new notice takes the place of the one that offered Undo.
    if (!saveLastTrash(result.moved))
        err() << "fennic-cli: could not record the trash operation in " << lastTrashPath() << '\n';
    const auto notice = TrashMessages::moveToTrash(result);

    if (json) {
        QJsonArray movedRows, failedRows;
        for (const FileOps::TrashedItem& m : result.moved)
            movedRows.append(
                QJsonObject{{"path", m.item.path}, {"trashed", m.trashed ? QJsonValue(*m.trashed) : QJsonValue()}});
        for (qsizetype i = 0; i < result.failed.size(); ++i)
            failedRows.append(QJsonObject{{"path", result.failed[i].path}, {"reason", result.reasons.value(i)}});
        printJson(
            QJsonObject{{"moved", movedRows}, {"failed", failedRows}, {"message", notice ? notice->text : QString()}});
    } else {
        QTextStream& s = out();
        for (const FileOps::TrashedItem& m : result.moved)
            s << "moved   " << m.item.path << "  ->  " << m.trashed.value_or(QStringLiteral("(unknown)")) << '\n';
        for (qsizetype i = 0; i < result.failed.size(); ++i)
            s << "failed  " << result.failed[i].path << ": " << result.reasons.value(i) << '\n';
        if (notice) s << notice->text << '\n';
    }
    return result.failed.isEmpty() ? 0 : 1;
}

int runPutBack(CliArgs& args)
{
    const bool json = args.flag(QStringLiteral("json"));
    expectNoArguments(args, "put-back");
    if (!QFileInfo::exists(lastTrashPath())) {
        err() << "fennic-cli: nothing to put back\n";
        return 1;
    }
    const auto moved = loadLastTrash();
    if (!moved) {
        err() << "fennic-cli: the record of the last trash operation " << lastTrashPath() << " is damaged\n";
        return 1;
    }
    const QList<FileItem> restored = FileOps::putBack(*moved);
    updateCache({}, restored);
    // What could not go back stays recorded, so that it can be tried again once its place is free.
    QSet<QString> back;
    for (const FileItem& f : restored) back.insert(f.path);
    QList<FileOps::TrashedItem> rest = *moved;
    rest.removeIf([&](const FileOps::TrashedItem& m) { return back.contains(m.item.path); });
    saveLastTrash(rest);

    const TrashMessages::Notice notice = TrashMessages::putBack(restored.size(), moved->size());
    if (json) {
        QJsonArray left;
        for (const FileOps::TrashedItem& m : rest) left.append(m.item.path);
        printJson(QJsonObject{{"restored", pathArray(restored)}, {"stillInTrash", left}, {"message", notice.text}});
    } else {
        out() << notice.text << '\n';
    }
    return restored.size() == moved->size() ? 0 : 1;
}

// --- shelf -----------------------------------------------------------------------------

QString shelfPath() { return SupportFiles::current().shelf(); }

Shelf loadShelf()
{
    const QString file = shelfPath();
    if (QFileInfo::exists(file)) {
        QFile f(file);
        if (!f.open(QIODevice::ReadOnly) || !Shelf::decode(f.readAll()))
            err() << "fennic-cli: " << file << " is unreadable or damaged; using an empty shelf\n";
    }
    return Shelf::load(file);
}

int saveShelf(const Shelf& shelf)
{
    if (shelf.save(shelfPath())) return 0;
    err() << "fennic-cli: could not write " << shelfPath() << '\n';
    return 1;
}

QString displayNameOf(const QString& path)
{
    FileItem f;
    f.path = path;
    f.name = QFileInfo(path).fileName();
    f.ext = pathExtension(f.name).toLower();
    f.kind = FileKinds::classify(f.ext);
    return f.displayName();
}

std::optional<FileCollection> collectionNamed(const Shelf& shelf, const QString& name)
{
    const QString wanted = name.trimmed();
    for (const FileCollection& c : shelf.collections())
        if (c.name == wanted) return c;
    for (const FileCollection& c : shelf.collections())
        if (c.name.compare(wanted, Qt::CaseInsensitive) == 0) return c;
    return std::nullopt;
}

void listShelf(const Shelf& shelf, bool json)
{
    const QList<Shelf::TagCount> tags = shelf.allTags();
    if (json) {
        QJsonArray tagList;
        for (const Shelf::TagCount& t : tags) {
            QStringList paths(shelf.pathsTagged(t.tag).values());
            paths.sort();
            tagList.append(
                QJsonObject{{"tag", t.tag}, {"count", t.count}, {"paths", QJsonArray::fromStringList(paths)}});
        }
        QJsonArray collections;
        for (const FileCollection& c : shelf.collections())
            collections.append(QJsonObject{{"id", c.id.toString(QUuid::WithoutBraces).toUpper()},
                                           {"name", c.name},
                                           {"paths", QJsonArray::fromStringList(c.paths)}});
        printJson(QJsonObject{{"favourites", QJsonArray::fromStringList(shelf.favourites())},
                              {"tags", tagList},
                              {"collections", collections}});
        return;
    }
    QTextStream& s = out();
    s << "Favourites: " << shelf.favourites().size() << '\n';
    for (const QString& p : shelf.favourites()) s << "  " << Library::abbreviate(p) << '\n';
    s << "Tags: " << tags.size() << '\n';
    for (const Shelf::TagCount& t : tags)
        s << "  #" << t.tag << "  " << Fmt::count(t.count, QStringLiteral("file")) << '\n';
    s << "Collections: " << shelf.collections().size() << '\n';
    for (const FileCollection& c : shelf.collections()) {
        s << "  " << c.name << "  " << Fmt::count(c.paths.size(), QStringLiteral("file")) << '\n';
        for (const QString& p : c.paths) s << "      " << Library::abbreviate(p) << '\n';
    }
}

int runShelf(CliArgs& args)
{
    const bool json = args.flag(QStringLiteral("json"));
    QStringList rest = args.finish();
    const QString sub = rest.isEmpty() ? QStringLiteral("list") : rest.takeFirst();
    auto needArgs = [&](qsizetype n, const char* usage) {
        if (rest.size() < n) throw UsageError{QStringLiteral("usage: fennic-cli shelf ") + QLatin1String(usage)};
    };
    const QString file = QStringLiteral("file");

    if (sub == u"list") {
        if (!rest.isEmpty()) throw UsageError{QStringLiteral("shelf list takes no arguments")};
        listShelf(loadShelf(), json);
        return 0;
    }
    if (json) throw UsageError{QStringLiteral("--json is for shelf list")};
    if (sub == u"star" || sub == u"unstar") {
        needArgs(1, "star|unstar PATH…");
        const QStringList paths = sub == u"star" ? existingPaths(rest) : absolutePaths(rest);
        Shelf shelf = loadShelf();
        int changed = 0;
        for (const QString& p : paths)
            if (shelf.isFavourite(p) != (sub == u"star")) {
                shelf.toggleFavourite(p);
                ++changed;
            }
        out() << (sub == u"star" ? "Starred " : "Unstarred ") << Fmt::count(changed, file) << '\n';
        return saveShelf(shelf);
    }
    if (sub == u"tag") {
        needArgs(2, "tag TAG PATH…");
        const QString tag = rest.takeFirst();
        const QStringList paths = existingPaths(rest);
        Shelf shelf = loadShelf();
        const auto normalised = shelf.addTag(tag, paths);
        if (!normalised) throw UsageError{QStringLiteral("the tag \"%1\" is empty once tidied").arg(tag)};
        const QString subject =
            paths.size() == 1 ? quoted(displayNameOf(paths.first())) : Fmt::count(paths.size(), file);
        out() << "Tagged " << subject << " #" << *normalised << '\n';
        return saveShelf(shelf);
    }
    if (sub == u"untag") {
        needArgs(2, "untag TAG PATH…");
        const QString tag = rest.takeFirst();
        Shelf shelf = loadShelf();
        // The app removes the stored (normalised) form, which is what a user sees listed.
        const QString stored = Shelf::normalise(tag);
        int changed = 0;
        for (const QString& p : absolutePaths(rest)) {
            if (!shelf.tagsOf(p).contains(stored)) continue;
            shelf.removeTag(stored, p);
            ++changed;
        }
        out() << "Removed #" << stored << " from " << Fmt::count(changed, file) << '\n';
        return saveShelf(shelf);
    }
    if (sub == u"collect") {
        needArgs(2, "collect NAME PATH…");
        const QString name = rest.takeFirst();
        const QStringList paths = existingPaths(rest);
        Shelf shelf = loadShelf();
        if (const auto existing = collectionNamed(shelf, name)) {
            shelf.add(paths, existing->id);
            out() << "Added " << Fmt::count(paths.size(), file) << " to " << quoted(existing->name) << '\n';
        } else {
            const auto made = shelf.newCollection(name, paths);
            if (!made) throw UsageError{QStringLiteral("a collection needs a name")};
            out() << "Made the collection " << quoted(made->name) << " with " << Fmt::count(paths.size(), file) << '\n';
        }
        return saveShelf(shelf);
    }
    if (sub == u"uncollect") {
        needArgs(2, "uncollect NAME PATH…");
        const QString name = rest.takeFirst();
        Shelf shelf = loadShelf();
        const auto existing = collectionNamed(shelf, name);
        if (!existing) throw UsageError{QStringLiteral("no collection named ") + quoted(name.trimmed())};
        shelf.remove(absolutePaths(rest), existing->id);
        out() << "Removed from " << quoted(existing->name) << '\n';
        return saveShelf(shelf);
    }
    if (sub == u"delete-collection") {
        needArgs(1, "delete-collection NAME");
        Shelf shelf = loadShelf();
        const auto existing = collectionNamed(shelf, rest.join(u' '));
        if (!existing) throw UsageError{QStringLiteral("no collection named ") + quoted(rest.join(u' ').trimmed())};
        shelf.deleteCollection(existing->id);
        out() << "Deleted the collection " << quoted(existing->name) << "; its files are untouched\n";
        return saveShelf(shelf);
    }
    throw UsageError{
        QStringLiteral("unknown shelf command ") + sub
                       + QStringLiteral(" (list, star, unstar, tag, untag, collect, uncollect, delete-collection)")};
}

const CliRegistration cleanupCommand({"cleanup", "cleanup [--json] [--now ISO-8601]   the six clean-up suggestions",
                                      runCleanup});
const CliRegistration duplicatesCommand({"duplicates",
                                         "duplicates [--json] [--exact-only]   identical files and look-alike photos",
                                         runDuplicates});
const CliRegistration trashCommand({"trash", "trash PATH… [--json]   move files to the Trash", runTrash});
const CliRegistration putBackCommand({"put-back", "put-back [--json]   put back what the last trash moved",
                                      runPutBack});
const CliRegistration shelfCommand(
    {"shelf",
     "shelf [list|star|unstar|tag|untag|collect|uncollect|delete-collection] …   favourites, tags, collections",
     runShelf});

}  // namespace
}  // namespace fennic::cli
