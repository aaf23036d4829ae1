#include "Shelf.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <algorithm>

namespace fennic {
namespace {

bool containsCaseInsensitive(const QList<FileCollection>& collections, const QString& name)
{
    return std::any_of(collections.begin(), collections.end(),
                       [&](const FileCollection& c) { return c.name.compare(name, Qt::CaseInsensitive) == 0; });
}

QString uniqueName(const QList<FileCollection>& collections, const QString& wanted)
{
    if (!containsCaseInsensitive(collections, wanted)) return wanted;
    for (qint64 n = 2;; ++n) {
        QString candidate = wanted + u' ' + QString::number(n);
        if (!containsCaseInsensitive(collections, candidate)) return candidate;
    }
}

QStringList withoutDuplicates(const QStringList& paths)
{
    QStringList result;
    QSet<QString> seen;
    result.reserve(paths.size());
    for (const QString& p : paths)
        if (!seen.contains(p)) {
            seen.insert(p);
            result.append(p);
        }
    return result;
}

QJsonArray toArray(const QStringList& list)
{
    QJsonArray array;
    for (const QString& s : list) array.append(s);
    return array;
}

// A list of strings, or none when the value is not an array of strings only.
std::optional<QStringList> stringList(const QJsonValue& value)
{
    if (!value.isArray()) return std::nullopt;
    const QJsonArray array = value.toArray();
    QStringList list;
    list.reserve(array.size());
    for (const auto& v : array) {
        if (!v.isString()) return std::nullopt;
        list.append(v.toString());
    }
    return list;
}

}  // namespace

std::optional<FileCollection> Shelf::collection(const QUuid& id) const
{
    for (const FileCollection& c : m_collections)
        if (c.id == id) return c;
    return std::nullopt;
}

FileCollection* Shelf::find(const QUuid& id)
{
    for (FileCollection& c : m_collections)
        if (c.id == id) return &c;
    return nullptr;
}

void Shelf::toggleFavourite(const QString& path)
{
    const qsizetype i = m_favourites.indexOf(path);
    if (i >= 0) {
        m_favourites.removeAt(i);
        // A shelf decoded from a hand-edited file may hold a path twice; the set must still
        // say "starred" while any occurrence remains.
        if (!m_favourites.contains(path)) m_favouriteSet.remove(path);
    } else {
        m_favourites.append(path);
        m_favouriteSet.insert(path);
    }
}

QString Shelf::normalise(const QString& tag)
{
    QString t = tag.trimmed();
    qsizetype hashes = 0;
    while (hashes < t.size() && t[hashes] == u'#') ++hashes;
    t = t.mid(hashes).trimmed().toLower();
    // Runs of whitespace (any Unicode space, tabs and newlines too) become one "-".
    QString result;
    result.reserve(t.size());
    bool pendingSeparator = false;
    for (const QChar c : std::as_const(t)) {
        if (c.isSpace()) {
            pendingSeparator = !result.isEmpty();
            continue;
        }
        if (pendingSeparator) result.append(u'-');
        pendingSeparator = false;
        result.append(c);
    }
    return result;
}

std::optional<QString> Shelf::addTag(const QString& tag, const QStringList& paths)
{
    const QString normalised = normalise(tag);
    if (normalised.isEmpty()) return std::nullopt;
    for (const QString& path : paths) {
        QStringList& list = m_tags[path];
        if (!list.contains(normalised)) list.append(normalised);
    }
    return normalised;
}

void Shelf::removeTag(const QString& tag, const QString& path)
{
    auto it = m_tags.find(path);
    if (it == m_tags.end()) return;
    it->removeAll(tag);
    if (it->isEmpty()) m_tags.erase(it);
}

QSet<QString> Shelf::pathsTagged(const QString& tag) const
{
    const QString normalised = normalise(tag);
    QSet<QString> result;
    for (auto it = m_tags.cbegin(); it != m_tags.cend(); ++it)
        if (it->contains(normalised)) result.insert(it.key());
    return result;
}

QList<Shelf::TagCount> Shelf::allTags() const
{
    QHash<QString, int> counts;
    for (const QStringList& list : m_tags) {
        // A path counts once per tag even if a hand-edited file repeats the tag.
        QSet<QString> seen;
        for (const QString& t : list)
            if (!seen.contains(t)) {
                seen.insert(t);
                ++counts[t];
            }
    }
    QList<TagCount> result;
    result.reserve(counts.size());
    for (auto it = counts.cbegin(); it != counts.cend(); ++it) result.append({it.key(), it.value()});
    std::sort(result.begin(), result.end(), [](const TagCount& a, const TagCount& b) {
        if (a.count != b.count) return a.count > b.count;
        return a.tag < b.tag;
    });
    return result;
}

std::optional<FileCollection> Shelf::newCollection(const QString& name, const QStringList& paths)
{
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty()) return std::nullopt;
    FileCollection c{QUuid::createUuid(), uniqueName(m_collections, trimmed), withoutDuplicates(paths)};
    m_collections.append(c);
    return c;
}

void Shelf::add(const QStringList& paths, const QUuid& to)
{
    FileCollection* c = find(to);
    if (!c) return;
    QSet<QString> held(c->paths.cbegin(), c->paths.cend());
    for (const QString& p : paths)
        if (!held.contains(p)) {
            held.insert(p);
            c->paths.append(p);
        }
}

void Shelf::remove(const QStringList& paths, const QUuid& from)
{
    FileCollection* c = find(from);
    if (!c) return;
    const QSet<QString> gone(paths.cbegin(), paths.cend());
    c->paths.removeIf([&](const QString& p) { return gone.contains(p); });
}

void Shelf::rename(const QUuid& id, const QString& name)
{
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty()) return;
    if (FileCollection* c = find(id)) c->name = trimmed;
}

void Shelf::deleteCollection(const QUuid& id)
{
    m_collections.removeIf([&](const FileCollection& c) { return c.id == id; });
}

void Shelf::move(const QString& from, const QString& to)
{
    if (from == to) return;
    const qsizetype i = m_favourites.indexOf(from);
    if (i >= 0) {
        m_favourites[i] = to;
        if (!m_favourites.contains(from)) m_favouriteSet.remove(from);
        m_favouriteSet.insert(to);
    }
    auto it = m_tags.find(from);
    if (it != m_tags.end()) {
        const QStringList list = *it;
        m_tags.erase(it);
        m_tags.insert(to, list);
    }
    for (FileCollection& c : m_collections)
        for (QString& p : c.paths)
            if (p == from) p = to;
}

QByteArray Shelf::encode() const
{
    // QJsonObject keeps its keys sorted, so the file comes out with sorted keys at every level.
    QJsonArray collections;
    for (const FileCollection& c : m_collections) {
        QJsonObject o;
        o.insert(QStringLiteral("id"), c.id.toString(QUuid::WithoutBraces).toUpper());
        o.insert(QStringLiteral("name"), c.name);
        o.insert(QStringLiteral("paths"), toArray(c.paths));
        collections.append(o);
    }
    QJsonObject tags;
    for (auto it = m_tags.cbegin(); it != m_tags.cend(); ++it) tags.insert(it.key(), toArray(it.value()));
    QJsonObject root;
    root.insert(QStringLiteral("collections"), collections);
    root.insert(QStringLiteral("favourites"), toArray(m_favourites));
    root.insert(QStringLiteral("tags"), tags);
    return QJsonDocument(root).toJson(QJsonDocument::Compact);
}

std::optional<Shelf> Shelf::decode(const QByteArray& json)
{
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject()) return std::nullopt;
    const QJsonObject root = doc.object();

    Shelf shelf;
    const auto favourites = stringList(root.value(QStringLiteral("favourites")));
    if (!favourites) return std::nullopt;
    shelf.m_favourites = *favourites;
    shelf.m_favouriteSet = QSet<QString>(favourites->cbegin(), favourites->cend());

    const QJsonValue tags = root.value(QStringLiteral("tags"));
    if (!tags.isObject()) return std::nullopt;
    const QJsonObject tagObject = tags.toObject();
    for (auto it = tagObject.constBegin(); it != tagObject.constEnd(); ++it) {
        const auto list = stringList(it.value());
        if (!list) return std::nullopt;
        if (!list->isEmpty()) shelf.m_tags.insert(it.key(), *list);
    }

    const QJsonValue collections = root.value(QStringLiteral("collections"));
    if (!collections.isArray()) return std::nullopt;
    for (const auto& v : collections.toArray()) {
        if (!v.isObject()) return std::nullopt;
        const QJsonObject o = v.toObject();
        const QJsonValue id = o.value(QStringLiteral("id"));
        const QJsonValue name = o.value(QStringLiteral("name"));
        const auto paths = stringList(o.value(QStringLiteral("paths")));
        if (!id.isString() || !name.isString() || !paths) return std::nullopt;
        const QUuid uuid = QUuid::fromString(id.toString());
        if (uuid.isNull()) return std::nullopt;
        shelf.m_collections.append(FileCollection{uuid, name.toString(), *paths});
    }
    return shelf;
}

Shelf Shelf::load(const QString& file)
{
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly)) return Shelf();
    return decode(f.readAll()).value_or(Shelf());
}

bool Shelf::save(const QString& file) const
{
    QSaveFile f(file);
    if (!f.open(QIODevice::WriteOnly)) return false;
    const QByteArray data = encode();
    if (f.write(data) != data.size()) {
        f.cancelWriting();
        return false;
    }
    return f.commit();
}

}  // namespace fennic
